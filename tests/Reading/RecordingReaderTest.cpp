// RecordingReader over a pair recorded through the file object: what it
// lists, the blocks it walks, channel reads handed on chunk by chunk (the
// same samples and continuation times as GetChannelData, in no more memory
// than the caller's chunk), events by time, and pairs it cannot open.

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <limits>
#include <new>

#include "KrdFileLib/DataTypeRegistry.h"
#include "KrdFileLib/File/KrfModes.h"
#include "KrdFileLib/Reading/RecordingReader.h"
#include "KrdFileLib/Reading/SampleBuffer.h"
#include "tests/TestSupport/Outcomes.h"
#include "tests/TestSupport/TempDir.h"

// The largest allocation made while a test watches: every operator new of
// this program but the aligned ones comes through here, and goes to malloc.
namespace {
std::atomic<bool> watching_allocations{false};
std::atomic<std::size_t> largest_allocation{0};

void* Allocate(std::size_t bytes) noexcept {
  if (watching_allocations.load()) {
    std::size_t largest = largest_allocation.load();
    while (bytes > largest && !largest_allocation.compare_exchange_weak(largest, bytes)) {
    }
  }
  return std::malloc(bytes == 0 ? 1 : bytes);
}
}  // namespace

void* operator new(std::size_t bytes) {
  if (void* memory = Allocate(bytes)) return memory;
  throw std::bad_alloc();
}
void* operator new[](std::size_t bytes) { return operator new(bytes); }
void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept { return Allocate(bytes); }
void* operator new[](std::size_t bytes, const std::nothrow_t&) noexcept { return Allocate(bytes); }
// g++ takes the free of memory from a replaced operator new for a mismatch.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
#endif
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif

namespace Varnholt::KrdFiles::Reading {
namespace {

using Testing::Failure;
using Outcome = std::pair<int32_t, std::string>;

constexpr uint16_t kTwoBytes = 7;  // data type of 2-byte samples
constexpr int64_t kMaxTime = std::numeric_limits<int64_t>::max();

// Group 1 frames three channels of 2-byte samples every 10 ticks, in blocks
// recorded out of time order: A from 100 (3000 frames), B from 40000
// (2000), C from 70000 (2500), in which every sample differs from every
// other; then 250 blocks of 2 frames, one every 100 ticks from 100000, more
// rows than a chunk holds. Channel 1 is the group's interleave index 1.
class RecordingReaderTest : public ::testing::Test {
 protected:
  static constexpr int64_t kBlockStarts[] = {70000, 100, 40000};
  static constexpr int kBlockFrames[] = {2500, 3000, 2000};
  static constexpr int kShortBlocks = 250;

  void SetUp() override {
    DataTypeRegistry::Process().Replace({{kTwoBytes, 2}});
    KrfRecorder recorder(krd_, krq_, nullptr, nullptr);
    recorder.Open();
    recorder.CreateHeader(1000, 4, "bench 4");
    recorder.CreateStart(3, {1, 2, 3});
    recorder.CreateAnnotation("calibrated");
    recorder.CreateDevice(65535, "rig");
    recorder.CreateDevice(0, "amplifier");
    recorder.CreateDeviceAttribute(1, 5, 1, {8});
    recorder.CreateDeviceAttribute(1, 5, 0, {9});
    recorder.CreatePhysicalChannel(1, 3, "input 3");
    recorder.CreatePhysicalChannelAttribute(1, 2, 0, {7, 7});
    recorder.CreateChannelGroup(10, 3, kTwoBytes);
    recorder.CreateChannel(1, 1, 1, "volts");
    recorder.CreateChannel(1, 1, 2, "amps");
    recorder.CreatePostProcess(1, 1, 20, false, true, {4}, "offset", true, "mV");
    recorder.CreatePostProcess(1, 0, 10, true, false, {2}, "scale", false, "");
    recorder.CreateEventSource(1, kTwoBytes, "trigger");
    recorder.CreateEventSource(1, kTwoBytes, "marker");
    recorder.CreateEvent(1, 150, {1});
    recorder.CreateEvent(2, 150, {2});
    recorder.CreateEvent(1, 100, {3});
    recorder.CreateEvent(2, 200, {4});
    uint16_t sample = 0;
    for (std::size_t block = 0; block < 3; ++block) {
      KrfFileBase::Bytes samples;
      for (int value = 0; value < kBlockFrames[block] * 3; ++value, ++sample) {
        samples.push_back(static_cast<uint8_t>(sample >> 8));
        samples.push_back(static_cast<uint8_t>(sample));
      }
      recorder.RecordChannelGroupData(1, kBlockStarts[block], samples);
    }
    for (int block = 0; block < kShortBlocks; ++block) {
      recorder.RecordChannelGroupData(1, 100000 + 100 * block, Bytes(12, uint8_t(block)));
    }
    recorder.Close();
  }
  void TearDown() override { DataTypeRegistry::Process().Replace({}); }

  Testing::TempDir dir_;
  std::string krd_ = dir_.File("rec.krd");
  std::string krq_ = dir_.File("rec.krq");
};

TEST_F(RecordingReaderTest, ListsEveryEntityWithItsFields) {
  RecordingReader recording(krd_, krq_);
  const FileInformation information = recording.Information();
  EXPECT_EQ(information.label, "bench 4");
  EXPECT_EQ(information.device_id, 4);
  EXPECT_EQ(information.time_base, 1000u);
  EXPECT_EQ(information.start_data_type, 3);
  EXPECT_EQ(information.start, (Bytes{1, 2, 3}));
  EXPECT_EQ(information.annotation, "calibrated");
  EXPECT_NE(information.guid, (std::array<uint8_t, 16>{}));

  EXPECT_EQ(recording.Devices(),
            (std::vector<Device>{{0, 65535, "rig", {}},
                                 {1, 0, "amplifier", {{5, 0, {9}}, {5, 1, {8}}}}}));
  EXPECT_EQ(recording.PhysicalChannels(),
            (std::vector<PhysicalChannel>{{1, 1, 3, "input 3", {{2, 0, {7, 7}}}}}));
  EXPECT_EQ(recording.ChannelGroups(), (std::vector<ChannelGroup>{{1, 10, 3, kTwoBytes}}));
  const std::vector<PostProcessStep> chain = {
      {2, 0, 10, true, false, false, {}, "scale", {2}},
      {1, 2, 20, false, true, true, {'m', 'V'}, "offset", {4}}};
  EXPECT_EQ(recording.Channels(), (std::vector<Channel>{{1, 1, 1, 1, false, "volts", chain},
                                                        {2, 1, 1, 2, false, "amps", {}}}));
  EXPECT_EQ(recording.EventSources(),
            (std::vector<EventSource>{{1, 1, kTwoBytes, "trigger"}, {2, 1, kTwoBytes, "marker"}}));
}

TEST_F(RecordingReaderTest, WalksAGroupsBlocksInTimeOrder) {
  RecordingReader recording(krd_, krq_);
  std::vector<Block> blocks;
  recording.ForEachBlock(1, 0, kMaxTime, [&](const Block& block) { blocks.push_back(block); });
  ASSERT_EQ(blocks.size(), 3u + kShortBlocks);
  EXPECT_EQ(blocks[0].start_time, 100);
  EXPECT_EQ(blocks[0].end_time, 30090);
  EXPECT_EQ(blocks[0].frame_count, 3000u);
  EXPECT_EQ(blocks[1].start_time, 40000);
  EXPECT_EQ(blocks[2].frame_count, 2500u);
  // C was recorded first, so its packet lies before the others.
  EXPECT_LT(blocks[2].offset, blocks[0].offset);
  EXPECT_LT(blocks[0].offset, blocks[1].offset);

  std::vector<int64_t> starts;
  recording.ForEachBlock(1, 30090, 40000,
                         [&](const Block& block) { starts.push_back(block.start_time); });
  EXPECT_EQ(starts, (std::vector<int64_t>{100, 40000}));
  EXPECT_EQ(Failure([&] { recording.ForEachBlock(2, 0, 1, [](const Block&) {}); }).first, 19);
  EXPECT_EQ(Failure([&] { recording.ForEachBlock(1, 1, 0, [](const Block&) {}); }),
            Outcome(36, "The startTime exceeds endTime."));
}

// A read window and the size of the caller's buffer.
struct ChunkedRead {
  int64_t start;
  int64_t length;
  std::size_t buffer_bytes;
};
void PrintTo(const ChunkedRead& read, std::ostream* out) {
  *out << read.start << " by " << read.length << " through " << read.buffer_bytes << " bytes";
}

class ChunkedReadTest : public RecordingReaderTest,
                        public ::testing::WithParamInterface<ChunkedRead> {};

// Every chunk but the last fills the buffer's whole samples, and together
// they are what GetChannelData returns, with its continuation time.
TEST_P(ChunkedReadTest, HandsOnWhatGetChannelDataReturnsInChunksOfTheBuffer) {
  const ChunkedRead& read = GetParam();
  ByteVectorSampleBuffer expected;
  int64_t expected_continuation = 0;
  {
    KrfReader file(krd_, krq_, nullptr, nullptr);
    file.Open();
    file.GetChannelData(1, read.start, read.length, expected_continuation, expected);
  }
  RecordingReader recording(krd_, krq_);
  std::vector<uint8_t> buffer(read.buffer_bytes);
  std::vector<std::size_t> chunk_sizes;
  Bytes samples;
  const int64_t continuation = recording.ReadChannel(
      1, read.start, read.length, buffer, [&](std::span<const uint8_t> chunk) {
        EXPECT_EQ(chunk.data(), buffer.data());
        chunk_sizes.push_back(chunk.size());
        samples.insert(samples.end(), chunk.begin(), chunk.end());
      });
  EXPECT_EQ(samples, expected.Take());
  EXPECT_EQ(continuation, expected_continuation);
  for (std::size_t chunk = 0; chunk < chunk_sizes.size(); ++chunk) {
    const bool last = chunk + 1 == chunk_sizes.size();
    EXPECT_EQ(chunk_sizes[chunk] % 2, 0u);
    EXPECT_TRUE(last ? chunk_sizes[chunk] > 0 : chunk_sizes[chunk] == read.buffer_bytes / 2 * 2);
  }
}

// Buffers of one sample, of one frame, of an odd size, of part of a block
// and of more than all; windows over everything both ways, inside a block,
// across a gap, inside a gap (nothing to hand on) and over short blocks.
INSTANTIATE_TEST_SUITE_P(
    WindowsAndBuffers, ChunkedReadTest,
    ::testing::Values(ChunkedRead{0, kMaxTime, 2}, ChunkedRead{0, kMaxTime, 6},
                      ChunkedRead{0, kMaxTime, 1001}, ChunkedRead{100000, -100000, 1000},
                      ChunkedRead{1005, 2000, 14}, ChunkedRead{29000, 20000, 1000},
                      ChunkedRead{45000, -10000, 600}, ChunkedRead{32000, 5000, 8},
                      ChunkedRead{-1, -5, 8}, ChunkedRead{99990, 1000, 10},
                      ChunkedRead{0, kMaxTime, 1 << 20}));

// The result (16000 bytes), block A's frames (18000) and the group's rows
// (253) would each take more than the chunk; a lookup's packet or
// statement takes less.
TEST_F(RecordingReaderTest, AReadNeedsNoBufferLargerThanTheCallersChunk) {
  RecordingReader recording(krd_, krq_);
  std::vector<uint8_t> buffer(4096);
  uint64_t sample_bytes = 0;
  largest_allocation = 0;
  watching_allocations = true;
  recording.ReadChannel(1, 0, kMaxTime, buffer,
                        [&](std::span<const uint8_t> chunk) { sample_bytes += chunk.size(); });
  watching_allocations = false;
  EXPECT_EQ(sample_bytes, 2u * (7500 + 2 * kShortBlocks));
  EXPECT_LE(largest_allocation.load(), buffer.size());
}

TEST_F(RecordingReaderTest, RefusesReadsAsGetChannelDataDoesAndABufferOfNoWholeSample) {
  RecordingReader recording(krd_, krq_);
  std::vector<uint8_t> buffer(2);
  const auto read = [&](uint16_t channel, int64_t length, std::span<uint8_t> into) {
    return Failure([&] { recording.ReadChannel(channel, 0, length, into, [](auto) {}); });
  };
  EXPECT_EQ(read(3, 10, buffer), Outcome(21, "Could not find an channel with the ID 3"));
  EXPECT_EQ(read(1, 0, buffer).first, 42);
  EXPECT_EQ(read(1, 10, std::span(buffer).first(1)),
            Outcome(36, "A buffer of 1 bytes cannot hold one sample of 2 bytes."));
}

TEST_F(RecordingReaderTest, HandsOnTheEventsOfOneSourceOrOfAllInTheirTimeRange) {
  RecordingReader recording(krd_, krq_);
  const auto events = [&](std::optional<uint16_t> source, int64_t first, int64_t last) {
    std::vector<Event> found;
    recording.ForEachEvent(source, first, last,
                           [&](const Event& event) { found.push_back(event); });
    return found;
  };
  EXPECT_EQ(events(1, 100, 150), (std::vector<Event>{{3, 1, 100, {3}}, {1, 1, 150, {1}}}));
  EXPECT_EQ(events(std::nullopt, 150, 200),
            (std::vector<Event>{{1, 1, 150, {1}}, {2, 2, 150, {2}}, {4, 2, 200, {4}}}));
  EXPECT_TRUE(events(std::nullopt, 200, 150).empty());
  EXPECT_EQ(Failure([&] { events(3, 0, 1); }),
            Outcome(23, "Could not find an event source with the ID 3"));
}

TEST_F(RecordingReaderTest, RefusesAPairWithAFileMissingAsOpenDoesInReadMode) {
  EXPECT_EQ(Failure([&] { RecordingReader(dir_.File("none.krd"), krq_); }),
            Outcome(1, "The KRD file could not be opened because it does not exist."));
  EXPECT_EQ(Failure([&] { RecordingReader(krd_, dir_.File("none.krq")); }),
            Outcome(4, "The index file could not be found."));
}

}  // namespace
}  // namespace Varnholt::KrdFiles::Reading
