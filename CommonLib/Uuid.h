#pragma once

#include <array>
#include <cstdint>

namespace Varnholt::CommonLib {

// A 16-byte GUID as a recording's data file and index file both carry it.
// The bytes are kept in the order in which they are written to the files.
struct Uuid {
  static constexpr std::size_t kSize = 16;

  std::array<uint8_t, kSize> bytes{};

  // The all-zero GUID, which marks "no GUID assigned yet".
  static Uuid Nil() { return Uuid{}; }
  // A random GUID with the RFC 4122 version-4 and variant bits set.
  static Uuid Random();

  bool IsNil() const;
  friend bool operator==(const Uuid&, const Uuid&) = default;
};

}  // namespace Varnholt::CommonLib
