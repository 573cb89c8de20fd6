#include "KrdFileLib/Reading/SampleChunks.h"

#include <algorithm>

#include "KrdFileLib/Errors.h"

namespace Varnholt::KrdFiles::Reading {

namespace {

// The front of buffer that holds whole samples.
std::span<uint8_t> WholeSamples(std::span<uint8_t> buffer, uint32_t sample_size) {
  const std::size_t sample_bytes = std::max<std::size_t>(sample_size, 1);
  if (buffer.size() < sample_bytes) throw Errors::SampleBufferTooSmall(buffer.size(), sample_size);
  return buffer.first(buffer.size() / sample_bytes * sample_bytes);
}

}  // namespace

SampleChunks::SampleChunks(std::span<uint8_t> buffer, uint32_t sample_size, const Take& take)
    : buffer_(WholeSamples(buffer, sample_size)), take_(take) {}

std::span<uint8_t> SampleChunks::Room(uint64_t bytes) {
  if (filled_ == buffer_.size()) Flush();
  const std::size_t room =
      static_cast<std::size_t>(std::min<uint64_t>(bytes, buffer_.size() - filled_));
  const std::span<uint8_t> taken = buffer_.subspan(filled_, room);
  filled_ += room;
  return taken;
}

void SampleChunks::Flush() {
  if (filled_ == 0) return;
  // Emptied first: a chunk goes to the caller once, even when take throws.
  const std::size_t chunk_bytes = filled_;
  filled_ = 0;
  take_(buffer_.first(chunk_bytes));
}

}  // namespace Varnholt::KrdFiles::Reading
