// Cutting one channel out of a block, for every sample size the extraction
// has a loop of its own for and for one it has not, against a plain
// reference, through chunks that end inside frames.

#include "KrdFileLib/Packets/DataPacket.h"
#include "KrdFileLib/Reading/ChannelSampleReader.h"
#include "KrdFileLib/Reading/SampleBuffer.h"
#include "tests/Packets/PacketTestSupport.h"

namespace Varnholt::KrdFiles::Reading {
namespace {

using namespace Packets;

constexpr uint16_t kTestedType = 42;
constexpr uint8_t kChannels = 3;
constexpr uint64_t kFrames = 37;

// The sample of channel at frame, as the block lays them: the bytes of
// frames [first, end), sample by sample.
Bytes ReferenceSamples(const Bytes& block, uint32_t sample_size, uint8_t channel, uint64_t first,
                       uint64_t end) {
  Bytes samples;
  for (uint64_t frame = first; frame < end; ++frame) {
    for (uint32_t byte = 0; byte < sample_size; ++byte) {
      samples.push_back(block[(frame * kChannels + channel) * sample_size + byte]);
    }
  }
  return samples;
}

class SampleExtractionTest : public PacketFileTest,
                             public ::testing::WithParamInterface<uint32_t> {
 protected:
  void SetUp() override {
    PacketFileTest::SetUp();
    DataTypeRegistry::Process().Replace({{kTestedType, GetParam()}});
  }
};

TEST_P(SampleExtractionTest, EveryChannelMatchesTheReferenceInAnyChunking) {
  const uint32_t sample_size = GetParam();
  const ChannelGroupPacket group(10, kChannels, kTestedType);
  Bytes samples(kFrames * kChannels * sample_size);
  for (std::size_t i = 0; i < samples.size(); ++i) samples[i] = static_cast<uint8_t>(i * 7 + 1);
  DataPacket block(group, 1000, samples);
  Write(block);

  const uint64_t frame_size = group.FrameSize();
  for (uint8_t channel = 0; channel < kChannels; ++channel) {
    for (uint64_t chunk_size : {uint64_t{1}, 5 * frame_size + 3, uint64_t{1} << 20}) {
      ChannelSampleReader reader(file_, group, channel, chunk_size);
      ByteVectorSampleBuffer whole;
      whole.Extend(1)[0] = 0xEE;  // what is there already stays in front
      reader.AppendSamples(block, {0, 2000}, whole);
      Bytes expected{0xEE};
      PutBytes(expected, ReferenceSamples(samples, sample_size, channel, 0, kFrames));
      EXPECT_EQ(whole.Take(), expected) << "channel " << int{channel} << ", chunk " << chunk_size;

      ByteVectorSampleBuffer inside;  // frames 2 to 30: times 1020 to 1300
      reader.AppendSamples(block, {1011, 1309}, inside);
      EXPECT_EQ(inside.Take(), ReferenceSamples(samples, sample_size, channel, 2, 31));
    }
  }
}

INSTANTIATE_TEST_SUITE_P(SampleSizes, SampleExtractionTest, ::testing::Values(1u, 2u, 3u, 4u, 8u, 16u),
                         [](const auto& info) { return std::to_string(info.param) + "Bytes"; });

// A block whose frame claims far more bytes than the file holds fails as a
// cut-off file before the result grows for them.
TEST_F(PacketFileTest, ABlockLongerThanTheFileFailsBeforeItsSamplesAreAllocated) {
  const auto group = AddGroup(1, 3);
  Bytes frame{12};
  PutUInt32(frame, 0xFFFFFFF4);  // 10 + a multiple of the 6-byte frame
  PutUInt64(frame, 0);
  PutUInt16(frame, group->GroupId());
  PutBytes(frame, Bytes(60, 1));
  const uint64_t offset = AppendRaw(frame);

  const DataPacket block = DataPacket::ReadOfGroup(file_, index_, *group, offset);
  ChannelSampleReader reader(file_, *group, 0, 1 << 16);
  ByteVectorSampleBuffer samples;
  EXPECT_EQ(Failure([&] { reader.AppendSamples(block, {0, block.EndTimeOffset()}, samples); }),
            std::make_pair(3, std::string("KRD file ended unexpectedly.")));
  EXPECT_EQ(samples.Take().capacity(), 0u);
}

}  // namespace
}  // namespace Varnholt::KrdFiles::Reading
