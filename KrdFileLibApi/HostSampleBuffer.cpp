#include "KrdFileLibApi/HostSampleBuffer.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <limits>
#include <new>

#include "KrdFileLibApi/HostAllocator.h"
#include "KrdFileLibApi/HostValues.h"

namespace Varnholt::KrdFiles {

namespace {

constexpr std::size_t kDataOffset = HostBlock<std::vector<uint8_t>>::kDataOffset;

// The most samples a host array holds: its count is a signed 32-bit number,
// and the block must fit the address space.
constexpr uint64_t kMostSampleBytes = std::min<uint64_t>(
    std::numeric_limits<int32_t>::max(), std::numeric_limits<std::size_t>::max() - kDataOffset);

uint8_t* ElementsOf(void** handle) { return static_cast<uint8_t*>(*handle) + kDataOffset; }

}  // namespace

HostSampleBuffer::HostSampleBuffer() : SampleBuffer(kMostSampleBytes) {}

HostSampleBuffer::~HostSampleBuffer() { HostAllocator::Process().Dispose(handle_); }

uint8_t* HostSampleBuffer::Grow(uint64_t capacity) {
  void** grown =
      HostAllocator::Process().NewHandle(kDataOffset + static_cast<std::size_t>(capacity));
  if (grown == nullptr) throw std::bad_alloc();
  if (handle_ != nullptr) {
    std::memcpy(ElementsOf(grown), ElementsOf(handle_), static_cast<std::size_t>(Size()));
    HostAllocator::Process().Dispose(handle_);
  }
  handle_ = grown;
  return ElementsOf(handle_);
}

bool HostSampleBuffer::HandTo(KrdU8ArrayHandle* destination, bool succeeded) noexcept {
  if (!succeeded || handle_ == nullptr) {
    return StoreToHost(destination, std::vector<uint8_t>());
  }
  const auto count = static_cast<int32_t>(Size());
  std::memcpy(*handle_, &count, sizeof count);
  *destination = reinterpret_cast<KrdU8ArrayHandle>(handle_);
  handle_ = nullptr;
  return true;
}

}  // namespace Varnholt::KrdFiles
