#include "KrdFileLib/Reading/SampleBuffer.h"

#include <algorithm>
#include <limits>

#include "KrdFileLib/Errors.h"

namespace Varnholt::KrdFiles::Reading {

void SampleBuffer::Reserve(uint64_t total_bytes) {
  if (total_bytes > max_bytes_) throw Errors::ResultTooLarge(total_bytes, max_bytes_);
  if (total_bytes <= capacity_) return;
  data_ = Grow(total_bytes);
  capacity_ = total_bytes;
}

std::span<uint8_t> SampleBuffer::Extend(uint64_t bytes) {
  if (bytes > max_bytes_ - size_) throw Errors::ResultTooLarge(size_ + bytes, max_bytes_);
  if (size_ + bytes > capacity_) {
    // More than the rows promised: grow by half again, to keep copies few.
    Reserve(std::clamp(capacity_ + capacity_ / 2, size_ + bytes, max_bytes_));
  }
  const std::span<uint8_t> room(data_ + size_, static_cast<std::size_t>(bytes));
  size_ += bytes;
  return room;
}

ByteVectorSampleBuffer::ByteVectorSampleBuffer()
    : SampleBuffer(std::numeric_limits<std::ptrdiff_t>::max()) {}

uint8_t* ByteVectorSampleBuffer::Grow(uint64_t capacity) {
  bytes_.resize(static_cast<std::size_t>(capacity));
  return bytes_.data();
}

Packets::Bytes ByteVectorSampleBuffer::Take() {
  bytes_.resize(static_cast<std::size_t>(Size()));
  return std::move(bytes_);
}

}  // namespace Varnholt::KrdFiles::Reading
