#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "KrdFileLib/Packets/Coding.h"
#include "KrdFileLib/Reading/SampleSink.h"

namespace Varnholt::KrdFiles::Reading {

// Where a channel read puts its samples: memory its caller owns, filled
// from the front. A read reserves once what the index's rows say the result
// will hold and then copies each sample once, from its read chunk straight
// to its place here, so it needs no memory beyond the result and one chunk.
//
// A buffer holds at most MaxBytes() (a host's array counts its elements in
// 32 bits); a read whose result would pass that is refused with code 36,
// as soon as the rows show it and before a byte of the data file is read.
class SampleBuffer : public SampleSink {
 public:
  explicit SampleBuffer(uint64_t max_bytes) : max_bytes_(max_bytes) {}
  SampleBuffer(const SampleBuffer&) = delete;
  SampleBuffer& operator=(const SampleBuffer&) = delete;

  uint64_t Size() const { return size_; }
  uint64_t MaxBytes() const { return max_bytes_; }
  // The bytes filled so far.
  std::span<const uint8_t> Filled() const { return {data_, static_cast<std::size_t>(size_)}; }

  // Makes room for total_bytes in all (code 36 past MaxBytes).
  void Reserve(uint64_t total_bytes);
  // The next bytes of the buffer, for the caller to fill; room is made as
  // by Reserve when there is too little.
  std::span<uint8_t> Extend(uint64_t bytes);
  // The whole of bytes, as Extend.
  std::span<uint8_t> Room(uint64_t bytes) override { return Extend(bytes); }

 protected:
  // Moves to storage of capacity bytes that keeps the first Size() bytes,
  // and returns where it starts.
  virtual uint8_t* Grow(uint64_t capacity) = 0;

 private:
  uint64_t max_bytes_;
  uint64_t size_ = 0;
  uint64_t capacity_ = 0;
  uint8_t* data_ = nullptr;
};

// A buffer in the library's own memory, for C++ callers.
class ByteVectorSampleBuffer final : public SampleBuffer {
 public:
  ByteVectorSampleBuffer();
  // The samples read, once the read is done; the buffer is not used after.
  Packets::Bytes Take();

 private:
  uint8_t* Grow(uint64_t capacity) override;

  Packets::Bytes bytes_;
};

}  // namespace Varnholt::KrdFiles::Reading
