// Reading one channel's samples out of data blocks where the exported
// functions cannot show it: frames past the window stay unread, and a
// channel outside its group's frames is refused. (Samples, windows and
// continuation times are checked against a model through the C interface.)

#include <filesystem>

#include "KrdFileLib/Packets/ChannelPacket.h"
#include "KrdFileLib/Packets/DataPacket.h"
#include "KrdFileLib/Reading/ChannelRead.h"
#include "tests/Packets/PacketTestSupport.h"

namespace Varnholt::KrdFiles::Reading {
namespace {

using namespace Packets;

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

  // The samples of a read.
  Bytes Read(const ChannelPacket& channel, int64_t start, int64_t length, uint64_t chunk_size) {
    ByteVectorSampleBuffer samples;
    ChannelRead(index_, file_, channel, start, length, chunk_size).Into(samples);
    return samples.Take();
  }

  std::shared_ptr<ChannelGroupPacket> group_;
  std::shared_ptr<ChannelPacket> channel_ = std::make_shared<ChannelPacket>(1, 1, 1, "");
};

// Block A's last two frames are cut off the file: a window that stops
// before them is read without touching them, in one large chunk.
TEST_F(ChannelReadTest, ReadsNoFrameBeyondTheWindow) {
  std::filesystem::resize_file(path_, 15 + 3 * 6 + 5);
  EXPECT_EQ(Read(*channel_, 100, 21, 1 << 20), ExpectedSamples(100, 120));
  EXPECT_EQ(Failure([&] { Read(*channel_, 100, 31, 1 << 20); }),
            std::make_pair(3, std::string("KRD file ended unexpectedly.")));
}

TEST_F(ChannelReadTest, RefusesAnEmptyIntervalAndAChannelOutsideItsGroup) {
  EXPECT_EQ(Failure([&] { Read(*channel_, 100, 0, 64); }),
            std::make_pair(42, std::string("GetChannelData() requires that the time interval "
                                           "length be non-zero.")));
  const ChannelPacket outside(1, 1, 3, "");
  EXPECT_EQ(Failure([&] { Read(outside, 100, 10, 64); }).first, 43);
  const ChannelPacket groupless(2, 1, 0, "");
  EXPECT_EQ(Failure([&] { Read(groupless, 100, 10, 64); }).first, 19);
}

TEST_F(ChannelReadTest, WindowsReachingTowardsTheTimeLimitsReadEverythingOnTheirWay) {
  const int64_t max = std::numeric_limits<int64_t>::max();
  EXPECT_EQ(Read(*channel_, 0, max, 64), ExpectedSamples(0, max));
  EXPECT_EQ(Read(*channel_, 220, -max, 64), ExpectedSamples(0, 220));
}

}  // namespace
}  // namespace Varnholt::KrdFiles::Reading
