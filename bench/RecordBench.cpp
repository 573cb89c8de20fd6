// Recording throughput through the exported functions: one
// RecordChannelGroupData call per block (one data packet and its index row,
// in the OS's hands when the call returns), against the raw limit: the same
// packet bytes appended to a plain file with one write and one flush per
// block. Both run interleaved in the same loop, so they see the same page
// cache and writeback; each is timed on its own.
//
// A recorder syncs its data file before each index commit (every 100 blocks
// with the default batch), so that a committed row never points at bytes a
// power loss could take back. The raw limit is also given with the same
// sync every 100 blocks (raw_durable), which is what that ordering costs a
// plain file.

#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "bench/BenchHost.h"

namespace Varnholt::Bench {
namespace {

constexpr uint8_t kChannels = 8;  // of int16: 16-byte frames
constexpr uint64_t kFrameBytes = kChannels * 2;
// Files are started afresh after this many bytes so that a long run does
// not fill the disk; the restart is not timed.
constexpr uint64_t kRestartAfterBytes = uint64_t{512} << 20;

// The raw limit: a data packet's bytes (frame, fixed body, samples) put
// into one buffer once, then per block the start time is stamped in and the
// buffer appended with fwrite and fflush.
class RawAppender {
 public:
  explicit RawAppender(std::size_t sample_bytes) : packet_(15 + sample_bytes, 0x5A) {
    const uint32_t body_length = static_cast<uint32_t>(10 + sample_bytes);
    packet_[0] = 12;
    for (int i = 0; i < 4; ++i) packet_[1 + i] = static_cast<uint8_t>(body_length >> (24 - 8 * i));
    packet_[13] = 0;  // group id
    packet_[14] = 0;
  }
  ~RawAppender() { Stop(); }

  void Start() {
    Stop();
    file_ = std::fopen((BenchFolder() / "record-raw.bin").c_str(), "wb");
  }
  void Stop() {
    if (file_ != nullptr) std::fclose(file_);
    file_ = nullptr;
    std::filesystem::remove(BenchFolder() / "record-raw.bin");
  }
  bool Append(int64_t start_time) {
    for (int i = 0; i < 8; ++i) packet_[5 + i] = static_cast<uint8_t>(start_time >> (56 - 8 * i));
    return std::fwrite(packet_.data(), 1, packet_.size(), file_) == packet_.size() &&
           std::fflush(file_) == 0;
  }
  bool Sync() { return ::fdatasync(fileno(file_)) == 0; }

 private:
  std::vector<uint8_t> packet_;
  std::FILE* file_ = nullptr;
};

void BM_RecordBlock(benchmark::State& state) {
  const auto block_bytes = static_cast<std::size_t>(state.range(0));
  BenchRecording recording("record");
  RawAppender raw(block_bytes);
  HostByteArray samples(block_bytes);
  Stopwatch library_time;
  Stopwatch raw_time;
  Stopwatch raw_sync_time;
  constexpr int64_t kBlocksPerSync = 100;  // the default batch
  int64_t blocks_since_sync = 0;
  uint64_t written = kRestartAfterBytes;
  int64_t start_time = 0;
  for (auto _ : state) {
    if (written >= kRestartAfterBytes) {
      recording.Create(kChannels, kInt16Type);
      raw.Start();
      written = 0;
    }
    int32_t code = 0;
    library_time.Time([&] {
      code = RecordChannelGroupData(recording.File(), recording.Group(), start_time,
                                    samples.Handle());
    });
    if (!Succeeded(state, code, "RecordChannelGroupData")) break;
    bool appended = false;
    raw_time.Time([&] { appended = raw.Append(start_time); });
    if (appended && ++blocks_since_sync == kBlocksPerSync) {
      blocks_since_sync = 0;
      raw_sync_time.Time([&] { appended = raw.Sync(); });
    }
    if (!appended) {
      state.SkipWithError("raw append failed");
      break;
    }
    start_time += static_cast<int64_t>(block_bytes / kFrameBytes);
    written += block_bytes;
  }
  recording.Remove();
  const double blocks = static_cast<double>(state.iterations());
  const double megabytes = blocks * static_cast<double>(block_bytes) / 1e6;
  ReportRates(state, "MBps", megabytes / library_time.Seconds(), megabytes / raw_time.Seconds());
  state.counters["lib_blocks_per_s"] = blocks / library_time.Seconds();
  state.counters["raw_blocks_per_s"] = blocks / raw_time.Seconds();
  const double raw_durable_seconds = raw_time.Seconds() + raw_sync_time.Seconds();
  state.counters["raw_durable_MBps"] = megabytes / raw_durable_seconds;
  state.counters["ratio_durable"] = raw_durable_seconds / library_time.Seconds();
}
BENCHMARK(BM_RecordBlock)->Arg(32)->Arg(1 << 10)->Arg(64 << 10)->Arg(1 << 20)->MinTime(2.0);

}  // namespace
}  // namespace Varnholt::Bench
