#pragma once

#include <cstdint>
#include <span>

namespace Varnholt::KrdFiles::Reading {

// Where a channel read puts the samples it cuts out of the data file
// (ChannelSampleReader): the whole result in memory (SampleBuffer), or the
// caller's buffer handed back a chunk at a time (SampleChunks). The reader
// asks for room once per chunk it reads from the file, so a sink costs one
// call per chunk, never one per sample.
class SampleSink {
 public:
  virtual ~SampleSink() = default;

  // Room for the next samples, which the caller fills completely: at most
  // bytes (whole samples) and never less than one sample.
  virtual std::span<uint8_t> Room(uint64_t bytes) = 0;

 protected:
  SampleSink() = default;
  SampleSink(const SampleSink&) = default;
  SampleSink& operator=(const SampleSink&) = default;
};

}  // namespace Varnholt::KrdFiles::Reading
