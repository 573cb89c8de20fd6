// Data blocks' frame checks and end times, and reading one channel's
// samples back by time window.

#include <filesystem>
#include <tuple>

#include "KrdFileLib/Packets/ChannelPacket.h"
#include "KrdFileLib/Packets/DataPacket.h"
#include "tests/Packets/PacketTestSupport.h"

namespace Varnholt::KrdFiles::Packets {
namespace {

constexpr int64_t kNone = ChannelData::kNoMoreData;

struct BlockCase {
  const char* name;
  uint8_t channel_count;
  uint16_t data_type;
  uint64_t sample_bytes;
  int64_t end_time;  // of a block at 1000 with divisor 10, when it is accepted
  int32_t code;
  std::string message;
};

void PrintTo(const BlockCase& block, std::ostream* out) { *out << block.name; }

const std::string kNotWholeFrames =
    "The channel group data to be recorded was no an integer multiple of the channel sample size.";

const BlockCase kBlockCases[] = {
    {"TenFrames", 3, kTwoByteType, 60, 1090, 0, ""},
    {"OneFrame", 3, kTwoByteType, 6, 1000, 0, ""},
    {"PartOfAFrame", 3, kTwoByteType, 61, 0, 47, kNotWholeFrames},
    {"NoBytes", 3, kTwoByteType, 0, 0, 47,
     "The channel group data to be recorded has zero length."},
    {"GroupWithoutChannels", 0, kTwoByteType, 6, 0, 47, kNotWholeFrames},
    {"UnregisteredDataType", 3, 99, 6, 0, 36, "The specified data-type ID (99) is not registered."},
};

class DataBlockTest : public PacketFileTest, public ::testing::WithParamInterface<BlockCase> {};

TEST_P(DataBlockTest, AcceptsWholeFramesOnlyAndEndsAtTheLastFrame) {
  const BlockCase& block = GetParam();
  const ChannelGroupPacket group(10, block.channel_count, block.data_type);
  std::shared_ptr<DataPacket> packet;
  EXPECT_EQ(Failure([&] {
              packet = std::make_shared<DataPacket>(group, 1000, Bytes(block.sample_bytes));
            }),
            std::make_pair(block.code, block.message));
  if (packet) {
    EXPECT_EQ(packet->EndTimeOffset(), block.end_time);
  }
}

INSTANTIATE_TEST_SUITE_P(Cases, DataBlockTest, ::testing::ValuesIn(kBlockCases),
                         [](const auto& info) { return std::string(info.param.name); });

// Group 1 has three channels of 2-byte samples, one frame every 10 ticks.
// Block A has frames at 100 to 140, block B at 200 to 220. The channel
// read is the one at interleave index 1; its sample in the frame at time t
// is {t / 10, 1}, so each sample names its frame.
class ChannelReadTest : public PacketFileTest {
 protected:
  void SetUp() override {
    PacketFileTest::SetUp();
    group_ = AddGroup(10, 3);
    channel_->AddToIndex(index_);
    RecordBlock(100, 5);
    RecordBlock(200, 3);
  }
  void RecordBlock(int64_t start, int frames) {
    Bytes samples;
    for (int frame = 0; frame < frames; ++frame) {
      const auto tick = static_cast<uint8_t>((start + 10 * frame) / 10);
      PutBytes(samples, Bytes{tick, 0, tick, 1, tick, 2});
    }
    DataPacket block(*group_, start, samples);
    file_.AssignEndOffset(block);
    block.AddToIndex(index_);
    file_.WritePacket(block);
  }
  // The channel's samples of every frame with a time in [first, last].
  static Bytes ExpectedSamples(int64_t first, int64_t last) {
    Bytes samples;
    for (int64_t time : {100, 110, 120, 130, 140, 200, 210, 220}) {
      if (first <= time && time <= last) PutBytes(samples, Bytes{uint8_t(time / 10), 1});
    }
    return samples;
  }

  std::shared_ptr<ChannelGroupPacket> group_;
  std::shared_ptr<ChannelPacket> channel_ = std::make_shared<ChannelPacket>(1, 1, 1, "");
};

struct WindowCase {
  int64_t first;
  int64_t last;
  int64_t forward_continuation;
  int64_t backward_continuation;
};

class ChannelWindowTest : public ChannelReadTest,
                          public ::testing::WithParamInterface<std::tuple<WindowCase, uint64_t>> {};

// Each window is read forward from its first tick and backward from its
// last; both give its samples in time order. Chunk sizes of one byte and of
// one frame plus a bit read one frame at a time.
TEST_P(ChannelWindowTest, ReadsTheSamplesInTheWindowAndWhereDataContinues) {
  const auto& [window, chunk_size] = GetParam();
  const int64_t length = window.last - window.first + 1;
  const ChannelData forward =
      channel_->GetChannelData(index_, file_, window.first, length, chunk_size);
  const ChannelData backward =
      channel_->GetChannelData(index_, file_, window.last, -length, chunk_size);
  EXPECT_EQ(forward.samples, ExpectedSamples(window.first, window.last));
  EXPECT_EQ(backward.samples, forward.samples);
  EXPECT_EQ(forward.continuation_time, window.forward_continuation);
  EXPECT_EQ(backward.continuation_time, window.backward_continuation);
}

INSTANTIATE_TEST_SUITE_P(
    Windows, ChannelWindowTest,
    ::testing::Combine(::testing::Values(WindowCase{95, 125, 130, kNone},   // ends between frames
                                         WindowCase{105, 130, 140, 100},    // starts between
                                         WindowCase{110, 110, 120, 100},    // a single tick
                                         WindowCase{100, 140, 200, kNone},  // all of block A
                                         WindowCase{135, 205, 210, 130},    // spans both blocks
                                         WindowCase{141, 199, 200, 140},    // between the blocks
                                         WindowCase{221, 300, kNone, 220},  // after the last
                                         WindowCase{0, 99, 100, kNone}),    // before the first
                       ::testing::Values(1u, 6u, 7u, 13u, 1u << 20)));

// Block A's last two frames are cut off the file: a window that stops
// before them is read without touching them, in one large chunk.
TEST_F(ChannelReadTest, ReadsNoFrameBeyondTheWindow) {
  std::filesystem::resize_file(path_, 15 + 3 * 6 + 5);
  EXPECT_EQ(channel_->GetChannelData(index_, file_, 100, 21, 1 << 20).samples,
            ExpectedSamples(100, 120));
  EXPECT_EQ(Failure([&] { channel_->GetChannelData(index_, file_, 100, 31, 1 << 20); }),
            std::make_pair(3, std::string("KRD file ended unexpectedly.")));
}

TEST_F(ChannelReadTest, RefusesAnEmptyIntervalAndAChannelOutsideItsGroup) {
  EXPECT_EQ(Failure([&] { channel_->GetChannelData(index_, file_, 100, 0, 64); }),
            std::make_pair(42, std::string("GetChannelData() requires that the time interval "
                                           "length be non-zero.")));
  const ChannelPacket outside(1, 1, 3, "");
  EXPECT_EQ(Failure([&] { outside.GetChannelData(index_, file_, 100, 10, 64); }).first, 43);
  const ChannelPacket groupless(2, 1, 0, "");
  EXPECT_EQ(Failure([&] { groupless.GetChannelData(index_, file_, 100, 10, 64); }).first, 19);
}

TEST_F(ChannelReadTest, WindowsReachingTowardsTheTimeLimitsReadEverythingOnTheirWay) {
  const int64_t max = std::numeric_limits<int64_t>::max();
  EXPECT_EQ(channel_->GetChannelData(index_, file_, 0, max, 64).samples, ExpectedSamples(0, max));
  EXPECT_EQ(channel_->GetChannelData(index_, file_, 220, -max, 64).samples,
            ExpectedSamples(0, 220));
}

}  // namespace
}  // namespace Varnholt::KrdFiles::Packets
