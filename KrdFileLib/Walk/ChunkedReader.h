#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "CommonLib/NonCopyableClassBase.h"

namespace Varnholt::KrdFiles {
class KrdInstance;
}

namespace Varnholt::KrdFiles::Walk {

// Reads a data file front to back through one buffer, for a walk through
// its packets. Frames and fixed fields are taken out of the buffer, which
// is filled from the file a chunk at a time, so that the walk makes one
// read per chunk rather than per packet and holds no more than one chunk
// however large the file. What the walk passes over (a data block's
// samples) is never read where it lies past the buffer.
//
// Where the packets are large the walk asks for sparse fills: each then
// reads one page, which holds a block's frame and fixed fields (and the
// small packets after it), so the samples between two blocks are neither
// read nor copied, where a chunk would copy them all.
class ChunkedReader : public CommonLib::NonCopyableClassBase {
 public:
  static constexpr std::size_t kChunkBytes = std::size_t{1} << 20;
  static constexpr std::size_t kPageBytes = 256;

  // Reads file, whose size the caller has taken: what lies past it is
  // never read.
  ChunkedReader(KrdInstance& file, uint64_t size);

  uint64_t Size() const { return size_; }
  // The count bytes at offset, or as many as the file holds there (count
  // at most kChunkBytes); valid until the next call.
  std::span<const uint8_t> Bytes(uint64_t offset, std::size_t count);
  // The count bytes at offset copied out, read past the buffer when they
  // are more than a chunk. Fails as KrdInstance::ReadBytes when they run
  // past the end of the file, before anything is allocated.
  std::vector<uint8_t> Copy(uint64_t offset, uint64_t count);
  // Whether fills read a page (large packets ahead) or a whole chunk.
  void ReadSparsely(bool sparse) { sparse_ = sparse; }

 private:
  bool Holds(uint64_t offset, uint64_t count) const;
  // Reads from offset into the buffer: at least count bytes, where the file
  // has them.
  void Fill(uint64_t offset, std::size_t count);

  KrdInstance& file_;
  uint64_t size_;
  std::vector<uint8_t> buffer_;
  uint64_t buffer_offset_ = 0;
  std::size_t filled_ = 0;
  bool sparse_ = false;
};

}  // namespace Varnholt::KrdFiles::Walk
