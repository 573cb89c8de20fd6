#pragma once

#include <cstdint>

#include "KrdFileLib/Reading/SampleBuffer.h"
#include "KrdFileLibApi.h"

namespace Varnholt::KrdFiles {

// The samples of GetChannelData in the host's new array handle itself: a
// read fills the handle it will return, so a result takes its own size in
// memory once, not twice. A host array counts its elements in 32 bits,
// which bounds the result.
class HostSampleBuffer final : public Reading::SampleBuffer {
 public:
  HostSampleBuffer();
  ~HostSampleBuffer() override;

  // Stores the filled handle into *destination, or after a failure a new
  // empty one; false when no handle could be made (*destination is null).
  bool HandTo(KrdU8ArrayHandle* destination, bool succeeded) noexcept;

 private:
  uint8_t* Grow(uint64_t capacity) override;

  void** handle_ = nullptr;
};

}  // namespace Varnholt::KrdFiles
