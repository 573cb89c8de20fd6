// Reading one channel back through the exported functions.
//
// BM_ReadChannel walks one channel of eight (4-byte samples) through a
// 256 MiB recording of 64 KiB blocks with GetChannelData, each call
// starting at the previous call's continuation time, against the raw
// limit: the same sample bytes read with pread in the same chunks (the read
// chunk size) and cut with a strided copy of one sample per frame. The
// argument is the blocks one call spans. The page cache is warm for both.
//
// BM_ReadOneFrame measures the latency of a one-frame GetChannelData at
// random times in a recording of the argument's number of blocks, against
// a pread of that one sample at its known place in the file.

#include <fcntl.h>
#include <unistd.h>

#include <cstring>
#include <random>

#include "bench/BenchHost.h"

namespace Varnholt::Bench {
namespace {

// A read-only descriptor of the recording's data file, for the raw reads.
class RawFile {
 public:
  explicit RawFile(const std::string& path) : descriptor_(::open(path.c_str(), O_RDONLY)) {}
  ~RawFile() {
    if (descriptor_ >= 0) ::close(descriptor_);
  }
  bool Read(uint64_t offset, uint8_t* into, std::size_t bytes) const {
    return ::pread(descriptor_, into, bytes, static_cast<off_t>(offset)) ==
           static_cast<ssize_t>(bytes);
  }

 private:
  int descriptor_;
};

constexpr uint8_t kChannelIndex = 3;
constexpr ReadShape kWalkShape{4096, (64 << 10) / ReadShape::kFrameBytes};  // 256 MiB

// One pass of the raw limit: blocks_per_call blocks into one result, chunk
// by chunk, one sample per frame copied out.
bool RawPass(const RawFile& file, const std::vector<uint64_t>& block_offsets,
             uint64_t blocks_per_call, std::vector<uint8_t>& chunk, std::vector<uint8_t>& result) {
  const uint64_t frames_per_chunk = chunk.size() / ReadShape::kFrameBytes;
  for (uint64_t first = 0; first < block_offsets.size(); first += blocks_per_call) {
    result.resize(blocks_per_call * kWalkShape.frames_per_block * ReadShape::kSampleBytes);
    uint8_t* out = result.data();
    for (uint64_t block = first; block < first + blocks_per_call; ++block) {
      for (uint64_t frame = 0; frame < kWalkShape.frames_per_block; frame += frames_per_chunk) {
        const uint64_t offset = block_offsets[block] + frame * ReadShape::kFrameBytes;
        if (!file.Read(offset, chunk.data(), chunk.size())) return false;
        const uint8_t* sample = chunk.data() + kChannelIndex * ReadShape::kSampleBytes;
        for (uint64_t i = 0; i < frames_per_chunk; ++i) {
          std::memcpy(out, sample, ReadShape::kSampleBytes);
          out += ReadShape::kSampleBytes;
          sample += ReadShape::kFrameBytes;
        }
      }
    }
    benchmark::DoNotOptimize(result.data());
  }
  return true;
}

// One pass through the library, by continuation times; false on a failure.
bool LibraryPass(benchmark::State& state, const BenchRecording& recording, int64_t length,
                 uint64_t& sample_bytes) {
  for (int64_t start = 0; start != -1;) {
    KrdU8ArrayHandle samples = nullptr;
    const int32_t code = GetChannelData(recording.File(), recording.Channel(kChannelIndex), start,
                                        length, &start, &samples);
    sample_bytes += static_cast<uint64_t>((*samples)->dimSize);
    DisposeHostHandle(samples);
    if (!Succeeded(state, code, "GetChannelData")) return false;
  }
  return true;
}

void BM_ReadChannel(benchmark::State& state) {
  const auto blocks_per_call = static_cast<uint64_t>(state.range(0));
  BenchRecording recording("read-walk");
  if (!OpenRecorded(recording, kWalkShape)) return state.SkipWithError("set-up failed");
  const RawFile raw_file(recording.DataPath());
  std::vector<uint64_t> block_offsets;
  for (uint64_t block = 0; block < kWalkShape.blocks; ++block) {
    block_offsets.push_back(FirstSampleOffset(recording, kWalkShape, block));
  }
  std::vector<uint8_t> chunk(kReadChunkBytes / ReadShape::kFrameBytes * ReadShape::kFrameBytes);
  std::vector<uint8_t> result;
  const auto length = static_cast<int64_t>(blocks_per_call * kWalkShape.frames_per_block);

  uint64_t sample_bytes = 0;  // a warm-up pass brings the file into the page cache
  if (!RawPass(raw_file, block_offsets, blocks_per_call, chunk, result)) {
    return state.SkipWithError("raw read failed");
  }
  Stopwatch library_time;
  Stopwatch raw_time;
  bool ok = true;
  for (auto _ : state) {
    sample_bytes = 0;
    library_time.Time([&] { ok = LibraryPass(state, recording, length, sample_bytes); });
    if (!ok) break;
    raw_time.Time([&] { ok = RawPass(raw_file, block_offsets, blocks_per_call, chunk, result); });
    if (!ok) return state.SkipWithError("raw read failed");
  }
  if (sample_bytes * ReadShape::kChannels != kWalkShape.blocks * kWalkShape.BlockBytes()) {
    return state.SkipWithError("the walk did not return every sample");
  }
  const double megabytes = static_cast<double>(state.iterations()) *
                           static_cast<double>(kWalkShape.blocks * kWalkShape.BlockBytes()) / 1e6;
  ReportRates(state, "MBps", megabytes / library_time.Seconds(), megabytes / raw_time.Seconds());
}
BENCHMARK(BM_ReadChannel)->Arg(1)->Arg(16)->MinTime(2.0)->Unit(benchmark::kMillisecond);

void BM_ReadOneFrame(benchmark::State& state) {
  const ReadShape shape{static_cast<uint64_t>(state.range(0)), 4};
  BenchRecording recording("read-latency-" + std::to_string(shape.blocks));
  if (!OpenRecorded(recording, shape)) return state.SkipWithError("set-up failed");
  const RawFile raw_file(recording.DataPath());
  const uint64_t first_sample = FirstSampleOffset(recording, shape, 0);
  std::mt19937_64 random(42);
  std::uniform_int_distribution<int64_t> tick(0, shape.LastTick());
  std::vector<double> library_us;
  std::vector<double> raw_us;
  for (auto _ : state) {
    const int64_t time = tick(random);
    int64_t continuation = 0;
    KrdU8ArrayHandle samples = nullptr;
    int32_t code = 0;
    Stopwatch library_time;
    library_time.Time([&] {
      code = GetChannelData(recording.File(), recording.Channel(kChannelIndex), time, 1,
                            &continuation, &samples);
    });
    const bool one_sample = (*samples)->dimSize == ReadShape::kSampleBytes;
    DisposeHostHandle(samples);
    if (!Succeeded(state, code, "GetChannelData")) break;
    if (!one_sample) return state.SkipWithError("a one-frame read did not return one sample");

    const auto tick_index = static_cast<uint64_t>(time);
    const uint64_t block = tick_index / shape.frames_per_block;
    const uint64_t offset = first_sample + block * (15 + shape.BlockBytes()) +
                            (tick_index % shape.frames_per_block) * ReadShape::kFrameBytes +
                            kChannelIndex * ReadShape::kSampleBytes;
    uint8_t sample[ReadShape::kSampleBytes];
    Stopwatch raw_time;
    raw_time.Time([&] { raw_file.Read(offset, sample, sizeof sample); });
    library_us.push_back(library_time.Seconds() * 1e6);
    raw_us.push_back(raw_time.Seconds() * 1e6);
  }
  ReportLatencies(state, "median", Quantile(library_us, 0.5), Quantile(raw_us, 0.5));
  ReportLatencies(state, "p99", Quantile(library_us, 0.99), Quantile(raw_us, 0.99));
}
BENCHMARK(BM_ReadOneFrame)->Arg(1000)->Arg(1000000)->Iterations(20000)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace Varnholt::Bench
