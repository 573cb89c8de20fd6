#pragma once

// Host input as a host builds it, for tests of the C interface and of the
// C++ layer under it.

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "KrdFileLibApi.h"

namespace Varnholt::Testing {

// A string or byte-array handle as a host passes one in: a pointer to a
// block holding the count and the bytes. The count may be set to a value
// that does not match the bytes, as a faulty host would.
class HostBytes {
 public:
  explicit HostBytes(std::string_view bytes)
      : HostBytes(bytes, static_cast<int32_t>(bytes.size())) {}
  HostBytes(std::string_view bytes, int32_t count)
      : storage_(1 + (bytes.size() + sizeof(int32_t) - 1) / sizeof(int32_t)),
        block_(storage_.data()) {
    storage_[0] = count;
    std::memcpy(storage_.data() + 1, bytes.data(), bytes.size());
  }
  HostBytes(const HostBytes&) = delete;
  HostBytes& operator=(const HostBytes&) = delete;

  KrdStringHandle String() { return reinterpret_cast<KrdStringHandle>(&block_); }
  KrdU8ArrayHandle Array() { return reinterpret_cast<KrdU8ArrayHandle>(&block_); }

 private:
  std::vector<int32_t> storage_;  // the count, then the bytes
  void* block_;
};

// Reads a returned string or byte array and disposes of its handle.
inline std::string TakeBytes(void* handle) {
  if (handle == nullptr) return "<null handle>";
  const auto* block = static_cast<const KrdString*>(*static_cast<void**>(handle));
  std::string bytes(reinterpret_cast<const char*>(block->str),
                    static_cast<std::size_t>(block->cnt));
  DisposeHostHandle(handle);
  return bytes;
}

}  // namespace Varnholt::Testing
