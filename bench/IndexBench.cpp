// Latency of the index's read path: finding the data blocks of a channel
// group by time, as every channel-data read does first, on an index opened
// by a second connection the way a reader opens a recording.

#include <benchmark/benchmark.h>

#include <filesystem>
#include <string>

#include "KrdFileLib/Index/DataTable.h"
#include "KrdFileLib/Index/IndexConnection.h"

namespace {

using namespace Varnholt::KrdFiles::Index;

constexpr int64_t kBlockTicks = 1000;

// A KRQ file holding state.range(0) back-to-back blocks of group 1.
std::string IndexWithBlocks(int64_t blocks) {
  const std::string path =
      (std::filesystem::temp_directory_path() / "krd-bench-index.krq").string();
  std::filesystem::remove(path);
  std::filesystem::remove(path + "-wal");
  std::filesystem::remove(path + "-shm");
  IndexConnection writer(path, nullptr);
  writer.Create();
  DataTable row;
  for (int64_t block = 0; block < blocks; ++block) {
    row.channel_group_id.Set(1);
    row.start_time_offset.Set(block * kBlockTicks);
    row.end_time_offset.Set((block + 1) * kBlockTicks);
    row.offset.Set(block * 4096);
    row.Insert(writer, /*skip_row_id=*/false);
  }
  writer.Close();
  return path;
}

// One time-range lookup of three blocks in the middle of the recording.
void BM_SelectDataInRange(benchmark::State& state) {
  const int64_t blocks = state.range(0);
  const std::string path = IndexWithBlocks(blocks);
  IndexConnection reader(path, nullptr);
  reader.Open();
  const int64_t middle = blocks / 2 * kBlockTicks;
  for (auto _ : state) {
    auto found = DataTable::SelectDataInRange(reader, 1, middle + 1, middle + 2 * kBlockTicks);
    benchmark::DoNotOptimize(found.data());
  }
  reader.Close();
  std::filesystem::remove(path);
}
BENCHMARK(BM_SelectDataInRange)->Arg(1000)->Arg(100000);

}  // namespace
