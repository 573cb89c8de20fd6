#include "CommonLib/Uuid.h"

#include <algorithm>
#include <random>

namespace Varnholt::CommonLib {

namespace {

// One generator per thread, seeded from the system's random device, so that
// concurrent callers never share generator state.
std::mt19937_64& ThreadGenerator() {
  thread_local std::mt19937_64 generator = [] {
    std::random_device device;
    std::seed_seq seed{device(), device(), device(), device(), device(), device(), device(), device()};
    return std::mt19937_64(seed);
  }();
  return generator;
}

}  // namespace

Uuid Uuid::Random() {
  Uuid uuid;
  std::mt19937_64& generator = ThreadGenerator();
  for (std::size_t i = 0; i < kSize; i += 8) {
    uint64_t word = generator();
    for (std::size_t j = 0; j < 8; ++j) {
      uuid.bytes[i + j] = static_cast<uint8_t>(word >> (8 * j));
    }
  }
  uuid.bytes[6] = static_cast<uint8_t>((uuid.bytes[6] & 0x0F) | 0x40);  // version 4
  uuid.bytes[8] = static_cast<uint8_t>((uuid.bytes[8] & 0x3F) | 0x80);  // RFC 4122 variant
  return uuid;
}

bool Uuid::IsNil() const {
  return std::all_of(bytes.begin(), bytes.end(), [](uint8_t b) { return b == 0; });
}

}  // namespace Varnholt::CommonLib
