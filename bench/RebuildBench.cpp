// Rebuilding a recording's index from its data file with the exported
// CreateIndex, each figure beside its limit measured in the same run on the
// same file, with a warm page cache (the recordings lie in /dev/shm where
// the system has it, and are removed afterwards):
//
// BM_RebuildLargeBlocks: 1 GiB of 64 KiB blocks (16384 blocks of one
// group of eight int32 channels), against reading the same file front to
// back with read() in 1 MiB chunks. The rebuild needs each block's frame and
// fixed fields, not its samples, so it may beat the read (ratio >= 1.0).
//
// BM_RebuildSmallBlocks: 1,000,000 blocks of 64 bytes, against inserting
// the same 1,000,000 data rows into an empty index with the same table, one
// reused statement and one transaction, synchronous writes off as the
// rebuild has them: the index's own limit (ratio >= 0.6 is the aim).

#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <string>
#include <vector>

#include "bench/BenchHost.h"

namespace Varnholt::Bench {
namespace {

constexpr ReadShape kLargeBlocks{16384, (64 << 10) / ReadShape::kFrameBytes};  // 1 GiB
constexpr ReadShape kSmallBlocks{1000000, 64 / ReadShape::kFrameBytes};

// A string handle's block for a path, as a host passes one in.
class HostPath {
 public:
  explicit HostPath(const std::string& path) : array_(path.size()) {
    std::copy(path.begin(), path.end(), array_.Bytes());
  }
  KrdStringHandle Handle() { return reinterpret_cast<KrdStringHandle>(array_.Handle()); }

 private:
  HostByteArray array_;
};

void RemoveIndex(const std::string& krq) {
  std::error_code ignored;
  for (const char* suffix : {"", "-wal", "-shm"}) std::filesystem::remove(krq + suffix, ignored);
}

// The recording of shape in the memory folder, removed with this object.
class Recorded {
 public:
  Recorded(const std::string& name, const ReadShape& shape)
      : recording_(name, MemoryBenchFolder()),
        rebuilt_((MemoryBenchFolder() / (name + "-rebuilt.krq")).string()) {
    ok_ = OpenRecorded(recording_, shape);
    recording_.Close();
  }
  ~Recorded() {
    RemoveIndex(rebuilt_);
    recording_.Remove();
  }
  bool Ok() const { return ok_; }
  std::string Krd() const { return recording_.DataPath(); }
  const std::string& Rebuilt() const { return rebuilt_; }

  // CreateIndex into a fresh index; its code.
  int32_t Rebuild() const {
    RemoveIndex(rebuilt_);
    HostPath krd(Krd());
    HostPath krq(rebuilt_);
    return CreateIndex(krd.Handle(), krq.Handle());
  }

 private:
  BenchRecording recording_;
  std::string rebuilt_;
  bool ok_ = false;
};

// The raw limit of (a): the file read front to back; false on a failure.
bool ReadWholeFile(const std::string& path, std::vector<uint8_t>& chunk) {
  const int descriptor = ::open(path.c_str(), O_RDONLY);
  if (descriptor < 0) return false;
  ssize_t got = 0;
  while ((got = ::read(descriptor, chunk.data(), chunk.size())) > 0) {
    benchmark::DoNotOptimize(chunk.data());
  }
  ::close(descriptor);
  return got == 0;
}

// The rows of an index's data table, and the statement that made the table.
struct DataRows {
  std::string create_table;
  std::vector<std::array<int64_t, 4>> rows;
};

DataRows ReadDataRows(const std::string& krq) {
  DataRows read;
  sqlite3* db = nullptr;
  sqlite3_stmt* statement = nullptr;
  if (sqlite3_open_v2(krq.c_str(), &db, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK &&
      sqlite3_prepare_v2(db, "SELECT sql FROM sqlite_master WHERE name = 'data'", -1, &statement,
                         nullptr) == SQLITE_OK &&
      sqlite3_step(statement) == SQLITE_ROW) {
    read.create_table = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
  }
  sqlite3_finalize(statement);
  statement = nullptr;
  if (sqlite3_prepare_v2(db, "SELECT * FROM data ORDER BY rowid", -1, &statement, nullptr) ==
      SQLITE_OK) {
    while (sqlite3_step(statement) == SQLITE_ROW) {
      read.rows.push_back({sqlite3_column_int64(statement, 0), sqlite3_column_int64(statement, 1),
                           sqlite3_column_int64(statement, 2), sqlite3_column_int64(statement, 3)});
    }
  }
  sqlite3_finalize(statement);
  sqlite3_close(db);
  return read;
}

// The raw limit of (b): the rows inserted into a new index holding only
// the data table, with one prepared statement in one transaction.
bool InsertRows(const std::string& krq, const DataRows& data) {
  RemoveIndex(krq);
  sqlite3* db = nullptr;
  sqlite3_stmt* insert = nullptr;
  const std::string setup =
      "PRAGMA journal_mode=WAL; PRAGMA synchronous=OFF; " + data.create_table + "; BEGIN";
  bool ok = sqlite3_open_v2(krq.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE,
                            nullptr) == SQLITE_OK &&
            sqlite3_exec(db, setup.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK &&
            sqlite3_prepare_v2(db, "INSERT INTO data VALUES (?, ?, ?, ?)", -1, &insert, nullptr) ==
                SQLITE_OK;
  for (std::size_t row = 0; ok && row < data.rows.size(); ++row) {
    for (int column = 0; column < 4; ++column) {
      sqlite3_bind_int64(insert, column + 1, data.rows[row][column]);
    }
    ok = sqlite3_step(insert) == SQLITE_DONE;
    sqlite3_reset(insert);
  }
  sqlite3_finalize(insert);
  ok = ok && sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr) == SQLITE_OK;
  sqlite3_close(db);
  RemoveIndex(krq);
  return ok;
}

// False, with the benchmark failed, unless the rebuilt index has a row for
// every block.
bool RebuiltEveryBlock(benchmark::State& state, const Recorded& recorded, const ReadShape& shape) {
  if (ReadDataRows(recorded.Rebuilt()).rows.size() == shape.blocks) return true;
  state.SkipWithError("the rebuilt index lacks blocks");
  return false;
}

void BM_RebuildLargeBlocks(benchmark::State& state) {
  InitializeLibrary();
  const Recorded recorded("rebuild-large", kLargeBlocks);
  if (!recorded.Ok()) return state.SkipWithError("set-up failed");
  std::vector<uint8_t> chunk(1 << 20);
  if (!ReadWholeFile(recorded.Krd(), chunk)) return state.SkipWithError("read failed");
  Stopwatch library_time;
  Stopwatch raw_time;
  for (auto _ : state) {
    int32_t code = 0;
    library_time.Time([&] { code = recorded.Rebuild(); });
    if (!Succeeded(state, code, "CreateIndex")) return;
    bool read = false;
    raw_time.Time([&] { read = ReadWholeFile(recorded.Krd(), chunk); });
    if (!read) return state.SkipWithError("read failed");
  }
  if (!RebuiltEveryBlock(state, recorded, kLargeBlocks)) return;
  const double megabytes = static_cast<double>(state.iterations()) *
                           static_cast<double>(std::filesystem::file_size(recorded.Krd())) / 1e6;
  ReportRates(state, "MBps", megabytes / library_time.Seconds(), megabytes / raw_time.Seconds());
}
BENCHMARK(BM_RebuildLargeBlocks)->Iterations(5)->Unit(benchmark::kMillisecond);

void BM_RebuildSmallBlocks(benchmark::State& state) {
  InitializeLibrary();
  const Recorded recorded("rebuild-small", kSmallBlocks);
  if (!recorded.Ok()) return state.SkipWithError("set-up failed");
  if (!Succeeded(state, recorded.Rebuild(), "CreateIndex")) return;
  const DataRows data = ReadDataRows(recorded.Rebuilt());
  const std::string raw_index = recorded.Rebuilt() + "-raw";
  Stopwatch library_time;
  Stopwatch raw_time;
  for (auto _ : state) {
    int32_t code = 0;
    library_time.Time([&] { code = recorded.Rebuild(); });
    if (!Succeeded(state, code, "CreateIndex")) return;
    bool inserted = false;
    raw_time.Time([&] { inserted = InsertRows(raw_index, data); });
    if (!inserted) return state.SkipWithError("raw insert failed");
  }
  if (!RebuiltEveryBlock(state, recorded, kSmallBlocks)) return;
  const double rows = static_cast<double>(state.iterations() * kSmallBlocks.blocks);
  ReportRates(state, "rows_per_s", rows / library_time.Seconds(), rows / raw_time.Seconds());
}
BENCHMARK(BM_RebuildSmallBlocks)->Iterations(2)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace Varnholt::Bench
