#pragma once

// What the data-path benchmarks share: a host's side of the C interface
// (byte-array handles, a recording with one channel group set up through the
// exported functions) and the measuring helpers that put every library
// figure next to the raw limit of the same work.

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "KrdFileLibApi.h"

namespace Varnholt::Bench {

// The sample data types the benchmarks register.
inline constexpr uint16_t kInt16Type = 1;
inline constexpr uint16_t kInt32Type = 2;
inline constexpr uint32_t kReadChunkBytes = 64 * 1024;

// Registers the data types with the default commit limits (batch 100,
// interval 10000 ms), once per process.
void InitializeLibrary();

// The folder the benchmarks record into: local disk under /tmp.
std::filesystem::path BenchFolder();
// The folder for recordings too large to keep: /dev/shm where the system
// has it, so that a walk through one measures the library rather than the
// disk; the system's temporary folder otherwise.
std::filesystem::path MemoryBenchFolder();

// A byte array as a host passes one in.
class HostByteArray {
 public:
  explicit HostByteArray(std::size_t bytes);
  HostByteArray(const HostByteArray&) = delete;
  HostByteArray& operator=(const HostByteArray&) = delete;
  ~HostByteArray();

  uint8_t* Bytes() { return block_->elt; }
  KrdU8ArrayHandle Handle() { return &block_; }

 private:
  KrdU8Array* block_;
};

// A recording pair in folder, named name.krd and name.krq.
class BenchRecording {
 public:
  explicit BenchRecording(std::string name, std::filesystem::path folder = BenchFolder());
  ~BenchRecording();  // closes the pair; the files stay unless Remove()d

  // Creates a new pair (removing an old one) with a header and one group of
  // channel_count channels of data_type, one frame per tick.
  void Create(uint8_t channel_count, uint16_t data_type);
  // Opens the existing pair read-only; false when it cannot be opened.
  bool OpenForReading();
  void Close();
  void Remove();

  KrdFileHandle File() const { return file_; }
  uint16_t Group() const { return group_; }
  uint16_t Channel(std::size_t index) const { return channels_.at(index); }
  std::string DataPath() const;
  std::string IndexPath() const;

 private:
  bool OpenPair(uint8_t mode);

  std::string name_;
  std::filesystem::path folder_;
  KrdFileHandle file_ = 0;
  uint16_t group_ = 0;
  std::vector<uint16_t> channels_;
};

// Shape of the recordings the read benchmarks walk: one group of eight
// int32 channels (32-byte frames), blocks of frames_per_block frames laid
// back to back in time, block k starting at tick k * frames_per_block.
struct ReadShape {
  uint64_t blocks;
  uint64_t frames_per_block;

  static constexpr uint8_t kChannels = 8;
  static constexpr uint64_t kSampleBytes = 4;
  static constexpr uint64_t kFrameBytes = kChannels * kSampleBytes;
  uint64_t BlockBytes() const { return frames_per_block * kFrameBytes; }
  int64_t LastTick() const { return static_cast<int64_t>(blocks * frames_per_block) - 1; }
};

// Opens the recording of that shape for reading. It is recorded once and
// kept in its folder for later runs; one that is not complete (an
// interrupted set-up) is recorded again. False when that fails.
bool OpenRecorded(BenchRecording& recording, const ReadShape& shape);

// Where block k's first sample byte lies in the data file: the blocks are
// the file's last packets.
uint64_t FirstSampleOffset(const BenchRecording& recording, const ReadShape& shape, uint64_t block);

// Fails the benchmark unless code is 0; true when it is.
bool Succeeded(benchmark::State& state, int32_t code, const char* call);

// Seconds spent in the calls it times, summed.
class Stopwatch {
 public:
  template <typename Work>
  void Time(Work&& work) {
    const auto begin = std::chrono::steady_clock::now();
    work();
    seconds_ += std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
  }
  double Seconds() const { return seconds_; }

 private:
  double seconds_ = 0;
};

// Reports a library and a raw figure of the same work as counters, with
// their ratio (library / raw for rates; raw / library for latencies, so that
// 1.0 always means "as fast as the raw limit").
void ReportRates(benchmark::State& state, const char* unit, double library, double raw);
void ReportLatencies(benchmark::State& state, const char* name, double library_us, double raw_us);

// The q-quantile (0..1) of the values, in place.
double Quantile(std::vector<double>& values, double q);

}  // namespace Varnholt::Bench
