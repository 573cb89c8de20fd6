// Reading one channel back by time, checked against a model of the
// recording: random blocks with gaps, random ranges in both directions,
// read chunk sizes from nothing to more than a block, and walks that follow
// the continuation time from end to end.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "KrdFileLibApi.h"
#include "tests/Api/HostFixture.h"
#include "tests/Api/TestHost.h"

namespace Varnholt::Testing {
namespace {

constexpr uint16_t kDataType = 1;  // 2-byte samples
constexpr uint8_t kChannels = 3;
constexpr uint32_t kDivisor = 10;
constexpr uint8_t kReadChannel = 1;  // interleave index of the channel read back
constexpr int64_t kNone = -1;

// One recorded block as the model sees it: its frames' times and bytes.
struct Block {
  int64_t start;
  int frames;
  std::string bytes;  // kChannels samples of 2 bytes per frame
  int64_t End() const { return start + (frames - 1) * int64_t{kDivisor}; }
  std::string Sample(int frame) const {
    return bytes.substr((static_cast<std::size_t>(frame) * kChannels + kReadChannel) * 2, 2);
  }
};

// What a read returns: the samples and where the next read continues.
struct Read {
  std::string samples;
  int64_t continuation;
  bool operator==(const Read&) const = default;
};
void PrintTo(const Read& read, std::ostream* out) {
  *out << read.samples.size() / 2 << " samples, continuing at " << read.continuation;
}

// Blocks in time order, each after a gap that may be off the frame grid.
std::vector<Block> RandomBlocks(std::mt19937& random) {
  std::vector<Block> blocks;
  int64_t next_start = std::uniform_int_distribution<int64_t>(0, 50)(random);
  for (int i = 0; i < 12; ++i) {
    Block block{next_start, std::uniform_int_distribution<int>(1, 15)(random), ""};
    for (int byte = 0; byte < block.frames * kChannels * 2; ++byte) {
      block.bytes.push_back(static_cast<char>(random()));
    }
    blocks.push_back(block);
    next_start = block.End() + std::uniform_int_distribution<int64_t>(1, 40)(random);
  }
  return blocks;
}

// The read the library must return for the window [first, last]: every
// sample inside, in time order; forward, the next frame after the window in
// the last block that overlaps it, else the next block's start; backward,
// the frame before the window in the first overlapping block, else the
// previous block's end.
Read ModelRead(const std::vector<Block>& blocks, int64_t first, int64_t last, bool forward) {
  Read read{"", kNone};
  std::vector<const Block*> overlapping;
  for (const Block& block : blocks) {
    if (block.start > last || block.End() < first) continue;
    overlapping.push_back(&block);
    for (int frame = 0; frame < block.frames; ++frame) {
      const int64_t time = block.start + frame * int64_t{kDivisor};
      if (time >= first && time <= last) read.samples += block.Sample(frame);
    }
  }
  if (forward && !overlapping.empty() && overlapping.back()->End() > last) {
    const Block& block = *overlapping.back();
    read.continuation = block.start + ((last - block.start) / kDivisor + 1) * kDivisor;
  } else if (!forward && !overlapping.empty() && overlapping.front()->start < first) {
    const Block& block = *overlapping.front();
    read.continuation = block.start + ((first - 1 - block.start) / kDivisor) * kDivisor;
  } else if (forward) {
    for (const Block& block : blocks) {
      if (block.start > last) return {read.samples, block.start};
    }
  } else {
    for (auto block = blocks.rbegin(); block != blocks.rend(); ++block) {
      if (block->start < first) return {read.samples, block->End()};
    }
  }
  return read;
}

class ChannelReadModelTest : public HostFixture, public ::testing::WithParamInterface<uint32_t> {
 protected:
  void SetUp() override {
    HostFixture::SetUp();
    Configure(100, 10000, /*read_chunk_size=*/GetParam(), {{kDataType, 2}});
    std::mt19937 random(GetParam());
    blocks_ = RandomBlocks(random);
    file_ = OpenOrFail("model", kRecord);
    uint16_t id = 0;
    ASSERT_EQ(CreateHeader(file_, 1000, 0, HostBytes("model").String()), 0);
    ASSERT_EQ(CreateDevice(file_, 65535, HostBytes("rig").String(), &id), 0);
    ASSERT_EQ(CreatePhysicalChannel(file_, 0, 0, HostBytes("in").String(), &id), 0);
    ASSERT_EQ(CreateChannelGroup(file_, kDivisor, kChannels, kDataType, &id), 0);
    ASSERT_EQ(CreateChannel(file_, 1, 1, kReadChannel, HostBytes("read").String(), &id), 0);
    std::vector<Block> in_recording_order = blocks_;
    std::shuffle(in_recording_order.begin(), in_recording_order.end(), random);
    for (const Block& block : in_recording_order) {
      ASSERT_EQ(RecordChannelGroupData(file_, 1, block.start, HostBytes(block.bytes).Array()), 0);
    }
  }

  Read ReadChannel(int64_t start, int64_t length) {
    Read read{"", 12345};
    KrdU8ArrayHandle samples = nullptr;
    EXPECT_EQ(GetChannelData(file_, 1, start, length, &read.continuation, &samples), 0)
        << LastMessage(file_);
    read.samples = TakeBytes(samples);
    return read;
  }

  std::string AllSamples() const {
    std::string all;
    for (const Block& block : blocks_) {
      for (int frame = 0; frame < block.frames; ++frame) all += block.Sample(frame);
    }
    return all;
  }

  std::vector<Block> blocks_;
  KrdFileHandle file_ = 0;
};

TEST_P(ChannelReadModelTest, RandomRangesReadAsTheModelSays) {
  std::mt19937 random(GetParam() + 1);
  const int64_t end = blocks_.back().End();
  for (int round = 0; round < 300; ++round) {
    const int64_t start = std::uniform_int_distribution<int64_t>(-30, end + 30)(random);
    int64_t length = std::uniform_int_distribution<int64_t>(1, round % 3 == 0 ? 3 : 200)(random);
    if (round % 2 == 1) length = -length;
    const int64_t first = length > 0 ? start : start + length + 1;
    const int64_t last = length > 0 ? start + length - 1 : start;
    ASSERT_EQ(ReadChannel(start, length), ModelRead(blocks_, first, last, length > 0))
        << "start " << start << ", length " << length;
  }
}

TEST_P(ChannelReadModelTest, WalksByContinuationVisitEverySampleOnce) {
  for (const int64_t length : {1, 37, 1000}) {
    std::string forward;
    for (int64_t time = -100; time != kNone;) {
      const Read read = ReadChannel(time, length);
      forward += read.samples;
      ASSERT_TRUE(read.continuation == kNone || read.continuation > time);
      time = read.continuation;
    }
    EXPECT_EQ(forward, AllSamples()) << "forward by " << length;

    std::string backward;
    for (int64_t time = blocks_.back().End() + 100; time != kNone;) {
      const Read read = ReadChannel(time, -length);
      backward.insert(0, read.samples);
      ASSERT_TRUE(read.continuation == kNone || read.continuation < time);
      time = read.continuation;
    }
    EXPECT_EQ(backward, AllSamples()) << "backward by " << length;
  }
}

// Read chunk sizes: none and less than a frame (one frame is read at a
// time), exactly one frame, a few frames and a part, more than any block.
INSTANTIATE_TEST_SUITE_P(ChunkSizes, ChannelReadModelTest,
                         ::testing::Values(0u, 1u, 5u, 6u, 20u, 1u << 20));

}  // namespace
}  // namespace Varnholt::Testing
