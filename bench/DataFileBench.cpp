// Throughput of the data file's hot paths: encoding a data block and
// appending it (each append reaches the operating system before it returns),
// and cutting one channel out of an 8-channel block.

#include <benchmark/benchmark.h>

#include <filesystem>
#include <memory>
#include <string>

#include "KrdFileLib/DataTypeRegistry.h"
#include "KrdFileLib/DataFile/KrdInstance.h"
#include "KrdFileLib/Packets/ChannelGroupPacket.h"
#include "KrdFileLib/Packets/DataPacket.h"
#include "KrdFileLib/Packets/FrameGrid.h"
#include "KrdFileLib/Reading/ChannelSampleReader.h"
#include "KrdFileLib/Reading/SampleBuffer.h"

namespace {

using namespace Varnholt::KrdFiles;
using namespace Varnholt::KrdFiles::Packets;
using namespace Varnholt::KrdFiles::Reading;

constexpr uint16_t kInt16Type = 1;

// A fresh KRD file in the temp folder, removed afterwards.
class ScratchFile {
 public:
  explicit ScratchFile(const std::string& name)
      : path_((std::filesystem::temp_directory_path() / ("krd-bench-" + name + ".krd")).string()),
        file_(path_) {
    std::filesystem::remove(path_);
    file_.Create();
  }
  ~ScratchFile() {
    file_.Close();
    std::filesystem::remove(path_);
  }
  KrdInstance& File() { return file_; }

 private:
  std::string path_;
  KrdInstance file_;
};

// Encode a block of state.range(0) sample bytes and append it to the file.
void BM_EncodeAndAppendDataBlock(benchmark::State& state) {
  DataTypeRegistry::Process().Replace({{kInt16Type, 2}});
  const ChannelGroupPacket group(1, 8, kInt16Type);  // 16-byte frames
  const auto block_bytes = static_cast<std::size_t>(state.range(0));
  ScratchFile scratch("append");
  const Bytes samples(block_bytes, 0x5A);  // the caller's block, which the packet refers to
  int64_t start = 0;
  for (auto _ : state) {
    DataPacket block(group, start, samples);
    scratch.File().AssignEndOffset(block);
    scratch.File().WritePacket(block);
    start += static_cast<int64_t>(block_bytes / 16);
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_EncodeAndAppendDataBlock)->Arg(32)->Arg(1 << 10)->Arg(64 << 10)->Arg(1 << 20);

// Read one channel of a 1 MiB block of 8 interleaved int16 channels, with
// the read chunk size as the argument.
void BM_ExtractOneChannel(benchmark::State& state) {
  DataTypeRegistry::Process().Replace({{kInt16Type, 2}});
  const ChannelGroupPacket group(1, 8, kInt16Type);
  ScratchFile scratch("extract");
  DataPacket block(group, 0, Bytes(1 << 20, 0x5A));
  scratch.File().AssignEndOffset(block);
  scratch.File().WritePacket(block);
  ChannelSampleReader reader(scratch.File(), group, 3, static_cast<uint64_t>(state.range(0)));
  const TimeWindow whole_block{0, block.EndTimeOffset()};
  for (auto _ : state) {
    ByteVectorSampleBuffer samples;
    reader.AppendSamples(block, whole_block, samples);
    benchmark::DoNotOptimize(samples.Filled().data());
  }
  // Counted as the bytes of the block the channel was cut from.
  state.SetBytesProcessed(state.iterations() * (1 << 20));
}
BENCHMARK(BM_ExtractOneChannel)->Arg(64 << 10)->Arg(1 << 20);

}  // namespace
