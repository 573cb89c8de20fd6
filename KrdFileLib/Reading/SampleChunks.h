#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>

#include "KrdFileLib/Reading/SampleSink.h"

namespace Varnholt::KrdFiles::Reading {

// Hands a channel read's samples to its caller chunk by chunk, all through
// one buffer the caller owns: the buffer fills from the front, goes to take
// whenever it is full, and once more with what is left when the read ends.
// Each chunk holds whole samples, so a read needs no memory of its own
// beyond the data file's read chunk, however long its window.
class SampleChunks final : public SampleSink {
 public:
  using Take = std::function<void(std::span<const uint8_t>)>;

  // Uses as much of buffer as holds whole samples of sample_size bytes;
  // code 36 when that is not one sample.
  SampleChunks(std::span<uint8_t> buffer, uint32_t sample_size, const Take& take);

  // Room in the buffer, handed on first when it is full.
  std::span<uint8_t> Room(uint64_t bytes) override;
  // Hands on what the buffer holds, if anything.
  void Flush();

 private:
  std::span<uint8_t> buffer_;
  std::size_t filled_ = 0;
  const Take& take_;
};

}  // namespace Varnholt::KrdFiles::Reading
