#include "KrdFileLib/Walk/ChunkedReader.h"

#include <algorithm>

#include "KrdFileLib/DataFile/KrdInstance.h"

namespace Varnholt::KrdFiles::Walk {

ChunkedReader::ChunkedReader(KrdInstance& file, uint64_t size) : file_(file), size_(size) {}

bool ChunkedReader::Holds(uint64_t offset, uint64_t count) const {
  return offset >= buffer_offset_ && offset - buffer_offset_ <= filled_ &&
         count <= filled_ - (offset - buffer_offset_);
}

std::span<const uint8_t> ChunkedReader::Bytes(uint64_t offset, std::size_t count) {
  if (!Holds(offset, count)) Fill(offset, count);
  const std::size_t start = static_cast<std::size_t>(offset - buffer_offset_);
  return std::span<const uint8_t>(buffer_).subspan(start, std::min(count, filled_ - start));
}

std::vector<uint8_t> ChunkedReader::Copy(uint64_t offset, uint64_t count) {
  if (count <= kChunkBytes) {
    const std::span<const uint8_t> held = Bytes(offset, static_cast<std::size_t>(count));
    if (held.size() == count) return std::vector<uint8_t>(held.begin(), held.end());
  }
  std::vector<uint8_t> bytes;
  file_.ReadBytes(offset, count, bytes);  // checks the range before it allocates
  return bytes;
}

void ChunkedReader::Fill(uint64_t offset, std::size_t count) {
  // The buffer is sized once, for a chunk or the whole file if that is
  // less; fills only say how much of it they read.
  if (buffer_.empty()) {
    buffer_.resize(static_cast<std::size_t>(std::min<uint64_t>(kChunkBytes, size_)));
  }
  const uint64_t left = size_ - std::min(offset, size_);
  const std::size_t wanted = std::max(count, sparse_ ? kPageBytes : kChunkBytes);
  const auto reading = static_cast<std::size_t>(std::min<uint64_t>({wanted, left, buffer_.size()}));
  buffer_offset_ = offset;
  filled_ = file_.ReadAvailable(offset, std::span<uint8_t>(buffer_).first(reading));
}

}  // namespace Varnholt::KrdFiles::Walk
