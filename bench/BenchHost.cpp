#include "bench/BenchHost.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <new>

namespace Varnholt::Bench {

namespace {

// A string handle's block for a short text, as a host passes one in.
class HostText {
 public:
  explicit HostText(const std::string& text) : array_(text.size()) {
    std::memcpy(array_.Bytes(), text.data(), text.size());
  }
  KrdStringHandle Handle() { return reinterpret_cast<KrdStringHandle>(array_.Handle()); }

 private:
  HostByteArray array_;
};

}  // namespace

void InitializeLibrary() {
  static const bool initialized = [] {
    struct {
      int32_t dim_sizes[2] = {2, 2};
      uint16_t elements[4] = {kInt16Type, 2, kInt32Type, 4};
    } table;
    void* block = &table;
    KrdLibrarySettings settings{kReadChunkBytes, reinterpret_cast<KrdU16Array2DHandle>(&block),
                                100, 10000};
    return Initialize(&settings) == 0;
  }();
  if (!initialized) std::abort();
}

std::filesystem::path BenchFolder() {
  const std::filesystem::path folder = "/tmp/krd-bench";
  std::filesystem::create_directories(folder);
  return folder;
}

std::filesystem::path MemoryBenchFolder() {
  std::error_code error;
  const std::filesystem::path parent = std::filesystem::is_directory("/dev/shm", error)
                                           ? std::filesystem::path("/dev/shm")
                                           : std::filesystem::temp_directory_path();
  const std::filesystem::path folder = parent / "krd-bench";
  std::filesystem::create_directories(folder);
  return folder;
}

HostByteArray::HostByteArray(std::size_t bytes)
    : block_(static_cast<KrdU8Array*>(std::malloc(sizeof(KrdU8Array) + bytes))) {
  if (block_ == nullptr) throw std::bad_alloc();
  block_->dimSize = static_cast<int32_t>(bytes);
  std::memset(block_->elt, 0x5A, bytes);
}

HostByteArray::~HostByteArray() { std::free(block_); }

BenchRecording::BenchRecording(std::string name, std::filesystem::path folder)
    : name_(std::move(name)), folder_(std::move(folder)) {}

BenchRecording::~BenchRecording() { Close(); }

std::string BenchRecording::DataPath() const { return (folder_ / (name_ + ".krd")).string(); }

std::string BenchRecording::IndexPath() const { return (folder_ / (name_ + ".krq")).string(); }

bool BenchRecording::OpenPair(uint8_t mode) {
  Close();
  HostText krd(DataPath());
  HostText krq(IndexPath());
  return Open(krd.Handle(), krq.Handle(), mode, &file_) == 0;
}

void BenchRecording::Create(uint8_t channel_count, uint16_t data_type) {
  InitializeLibrary();
  Remove();
  if (!OpenPair(/*record*/ 1)) std::abort();
  HostText label("bench " + name_);
  uint16_t device = 0;
  uint16_t physical_channel = 0;
  bool ok = CreateHeader(file_, 1000000, 0, label.Handle()) == 0 &&
            CreateDevice(file_, 65535, label.Handle(), &device) == 0 &&
            CreatePhysicalChannel(file_, device, 0, label.Handle(), &physical_channel) == 0 &&
            CreateChannelGroup(file_, 1, channel_count, data_type, &group_) == 0;
  channels_.assign(channel_count, 0);
  for (uint8_t index = 0; ok && index < channel_count; ++index) {
    ok = CreateChannel(file_, group_, physical_channel, index, label.Handle(),
                       &channels_[index]) == 0;
  }
  if (!ok) std::abort();
}

bool BenchRecording::OpenForReading() {
  InitializeLibrary();
  if (!OpenPair(/*read*/ 0)) return false;
  KrdU16ArrayHandle groups = nullptr;
  const bool listed = ChannelGroupList(file_, &groups) == 0 && (*groups)->dimSize == 1;
  if (listed) group_ = (*groups)->elt[0];
  DisposeHostHandle(groups);
  KrdU16ArrayHandle channels = nullptr;
  if (!listed || ChInGroupList(file_, group_, &channels) != 0) return false;
  channels_.assign((*channels)->elt, (*channels)->elt + (*channels)->dimSize);
  DisposeHostHandle(channels);
  return true;
}

void BenchRecording::Close() {
  if (file_ != 0) ::Close(file_);
  file_ = 0;
}

void BenchRecording::Remove() {
  Close();
  std::error_code ignored;
  for (const char* suffix : {".krd", ".krq", ".krq-wal", ".krq-shm"}) {
    std::filesystem::remove(folder_ / (name_ + suffix), ignored);
  }
}

namespace {

bool IsComplete(BenchRecording& recording, const ReadShape& shape) {
  int64_t last_tick = 0;
  return recording.OpenForReading() &&
         GetMaxChGroupTime(recording.File(), recording.Group(), &last_tick) == 0 &&
         last_tick == shape.LastTick();
}

bool Record(BenchRecording& recording, const ReadShape& shape) {
  recording.Create(ReadShape::kChannels, kInt32Type);
  HostByteArray samples(shape.BlockBytes());
  for (uint64_t block = 0; block < shape.blocks; ++block) {
    const auto start_time = static_cast<int64_t>(block * shape.frames_per_block);
    // Distinct sample values, so that a wrong cut would show.
    std::memcpy(samples.Bytes(), &block, sizeof block);
    if (RecordChannelGroupData(recording.File(), recording.Group(), start_time,
                               samples.Handle()) != 0) {
      return false;
    }
  }
  recording.Close();
  return true;
}

}  // namespace

bool OpenRecorded(BenchRecording& recording, const ReadShape& shape) {
  if (IsComplete(recording, shape)) return true;
  return Record(recording, shape) && IsComplete(recording, shape);
}

uint64_t FirstSampleOffset(const BenchRecording& recording, const ReadShape& shape,
                           uint64_t block) {
  const uint64_t packet_bytes = 15 + shape.BlockBytes();
  const uint64_t first_block = std::filesystem::file_size(recording.DataPath()) -
                               shape.blocks * packet_bytes;
  return first_block + block * packet_bytes + 15;
}

bool Succeeded(benchmark::State& state, int32_t code, const char* call) {
  if (code == 0) return true;
  state.SkipWithError((std::string(call) + " failed with code " + std::to_string(code)).c_str());
  return false;
}

void ReportRates(benchmark::State& state, const char* unit, double library, double raw) {
  state.counters[std::string("lib_") + unit] = library;
  state.counters[std::string("raw_") + unit] = raw;
  state.counters["ratio"] = raw > 0 ? library / raw : 0;
}

void ReportLatencies(benchmark::State& state, const char* name, double library_us, double raw_us) {
  state.counters[std::string("lib_") + name + "_us"] = library_us;
  state.counters[std::string("raw_") + name + "_us"] = raw_us;
  state.counters[std::string(name) + "_ratio"] = library_us > 0 ? raw_us / library_us : 0;
}

double Quantile(std::vector<double>& values, double q) {
  if (values.empty()) return 0;
  const auto rank = static_cast<std::size_t>(std::ceil(q * static_cast<double>(values.size()))) - 1;
  const auto nth = values.begin() + static_cast<std::ptrdiff_t>(std::min(rank, values.size() - 1));
  std::nth_element(values.begin(), nth, values.end());
  return *nth;
}

}  // namespace Varnholt::Bench
