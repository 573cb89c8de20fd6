// Recording channel-group data through the C interface: what a block must
// hold, the end time it gets, what each bad block or read is answered with,
// and that a refused call leaves the recording as it was.

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <ostream>
#include <string>

#include "KrdFileLibApi.h"
#include "tests/Api/HostFixture.h"
#include "tests/Api/TestHost.h"
#include "tests/TestSupport/IndexSql.h"

namespace Varnholt::Testing {
namespace {

constexpr int64_t kMax = std::numeric_limits<int64_t>::max();
constexpr int64_t kMin = std::numeric_limits<int64_t>::min();

// Bytes 0, 1, 2, ... of a block.
std::string Counting(std::size_t count) {
  std::string bytes;
  for (std::size_t i = 0; i < count; ++i) bytes.push_back(static_cast<char>(i));
  return bytes;
}

// A recording "d" with these groups, and a block of group 1 at 100:
//   1: divisor 10, 2 channels of 4-byte samples (frame 8 bytes); channel 1
//      at place 0 and channel 2 at place 1; a block of 3 frames at 100
//   2: a data type that is not registered
//   3: divisor 0, 1 channel of 2-byte samples; channel 3
//   4: no channels (frame size 0)
//   5: 1 channel of a data type whose samples have no bytes
class DataRecordingTest : public HostFixture {
 protected:
  void SetUp() override {
    HostFixture::SetUp();
    Configure(100, 10000, 64 * 1024, {{1, 2}, {2, 4}, {4, 0}});
  }

  KrdFileHandle OpenRecording(uint8_t mode) {
    const KrdFileHandle recorder = OpenOrFail("d", kRecord);
    uint16_t id = 0;
    EXPECT_EQ(CreateHeader(recorder, 1000, 0, HostBytes("data").String()), 0);
    EXPECT_EQ(CreateDevice(recorder, 65535, HostBytes("rig").String(), &id), 0);
    EXPECT_EQ(CreatePhysicalChannel(recorder, 0, 0, HostBytes("in").String(), &id), 0);
    for (const auto& [divisor, count, type] : {std::tuple{10u, 2, 2}, std::tuple{10u, 1, 99},
                                               std::tuple{0u, 1, 1}, std::tuple{10u, 0, 1},
                                               std::tuple{10u, 1, 4}}) {
      EXPECT_EQ(CreateChannelGroup(recorder, divisor, static_cast<uint8_t>(count),
                                   static_cast<uint16_t>(type), &id),
                0);
    }
    EXPECT_EQ(CreateChannel(recorder, 1, 1, 0, HostBytes("a").String(), &id), 0);
    EXPECT_EQ(CreateChannel(recorder, 1, 1, 1, HostBytes("b").String(), &id), 0);
    EXPECT_EQ(CreateChannel(recorder, 3, 1, 0, HostBytes("c").String(), &id), 0);
    EXPECT_EQ(RecordChannelGroupData(recorder, 1, 100, HostBytes(Counting(24)).Array()), 0);
    if (mode == kRecord) return recorder;
    EXPECT_EQ(Close(recorder), 0);
    return OpenOrFail("d", mode);
  }

  uint64_t KrdSize() const { return std::filesystem::file_size(dir_.File("d.krd")); }
};

// The samples of a channel over a range, or "<code>".
std::string Samples(KrdFileHandle file, uint16_t channel, int64_t start, int64_t length,
                    int64_t* continuation = nullptr) {
  int64_t next = 0;
  KrdU8ArrayHandle samples = nullptr;
  const int32_t code = GetChannelData(file, channel, start, length, &next, &samples);
  const std::string bytes = TakeBytes(samples);
  if (continuation != nullptr) *continuation = next;
  return code == 0 ? bytes : "<" + std::to_string(code) + ">";
}

int64_t MaxTime(KrdFileHandle file, uint16_t group) {
  int64_t time = -7;
  EXPECT_EQ(GetMaxChGroupTime(file, group, &time), 0);
  return time;
}

TEST_F(DataRecordingTest, ABlockOfWholeFramesEndsAtItsLastFrame) {
  const KrdFileHandle file = OpenRecording(kRecord);
  EXPECT_EQ(MaxTime(file, 1), 120) << "3 frames from 100, 10 apart";
  int64_t continuation = 0;
  EXPECT_EQ(Samples(file, 2, 100, 30, &continuation), Counting(24).substr(4, 4) +
                                                           Counting(24).substr(12, 4) +
                                                           Counting(24).substr(20, 4));
  EXPECT_EQ(continuation, -1);
  EXPECT_EQ(Samples(file, 1, 111, 5), "") << "between two frames";
  EXPECT_EQ(Samples(file, 1, 120, -1), Counting(24).substr(16, 4)) << "one tick";

  EXPECT_EQ(RecordChannelGroupData(file, 1, 500, HostBytes(Counting(8)).Array()), 0);
  EXPECT_EQ(MaxTime(file, 1), 500) << "one frame starts and ends the block";
  EXPECT_EQ(RecordChannelGroupData(file, 1, 300, HostBytes(Counting(8)).Array()), 0);
  EXPECT_EQ(MaxTime(file, 1), 500) << "the block that starts last, not the one recorded last";
  EXPECT_EQ(MaxTime(file, 4), 0) << "no blocks";

  EXPECT_EQ(RecordChannelGroupData(file, 3, 7, HostBytes("aabbcc").Array()), 0);
  EXPECT_EQ(MaxTime(file, 3), 7) << "with divisor 0 every frame lies at the start";
  EXPECT_EQ(Samples(file, 3, 7, 1), "aabbcc");
  EXPECT_EQ(RecordChannelGroupData(file, 3, kMax, HostBytes("aabbcc").Array()), 0);

  EXPECT_EQ(RecordChannelGroupData(file, 1, kMax - 20, HostBytes(Counting(24)).Array()), 0);
  EXPECT_EQ(MaxTime(file, 1), kMax) << "the last frame at the largest time offset";
  EXPECT_EQ(Samples(file, 1, kMax, -1), Counting(24).substr(16, 4));
}

TEST_F(DataRecordingTest, RangesWrapAtTheTimeLimitsAndComeOutInverted) {
  const KrdFileHandle file = OpenRecording(kRead);
  EXPECT_EQ(Samples(file, 1, 0, kMax), Samples(file, 1, 100, 21)) << "everything from time 0";
  EXPECT_EQ(Samples(file, 1, kMax, 2), "<36>");
  EXPECT_EQ(LastMessage(file), "The startTime exceeds endTime.");
  EXPECT_EQ(Samples(file, 1, kMin, -2), "<36>");
  EXPECT_EQ(Samples(file, 1, kMax, -kMax), Samples(file, 1, 100, 21)) << "everything up to the end";
}

TEST_F(DataRecordingTest, ADataTypeDroppedByANewInitializeFailsTheRead) {
  const KrdFileHandle file = OpenRecording(kRead);
  Configure(100, 10000, 64 * 1024, {{1, 2}});
  EXPECT_EQ(Samples(file, 1, 100, 10), "<36>");
  EXPECT_EQ(LastMessage(file), "The specified data-type ID (2) is not registered.");
}

// A block of 2 GiB and 8 one-byte frames (a sparse file) is more than one
// host array can hold: a read of all of it is refused before a byte of it
// is read, while a read of a piece gets exactly the piece.
TEST_F(DataRecordingTest, AResultPastWhatAHostArrayHoldsIsRefusedAndPiecesAreRead) {
  Configure(100, 10000, 64 * 1024, {{1, 1}});
  const KrdFileHandle recorder = OpenOrFail("big", kRecord);
  DescribeOneChannel(recorder, 1);
  ASSERT_EQ(Close(recorder), 0);

  constexpr uint64_t kFrames = (uint64_t{1} << 31) + 8;
  const std::string krd = dir_.File("big.krd");
  const uint64_t offset = std::filesystem::file_size(krd);
  std::string head{12};  // a data block of group 1 at time 0
  for (int shift = 24; shift >= 0; shift -= 8) head.push_back(char((kFrames + 10) >> shift));
  head += std::string(8, '\0') + std::string("\0\1", 2);
  std::ofstream(krd, std::ios::binary | std::ios::app) << head;
  std::filesystem::resize_file(krd, offset + head.size() + kFrames);
  ASSERT_TRUE(ExecuteSql(dir_.File("big.krq"), "INSERT INTO data VALUES (1, 0, " +
                                                   std::to_string(kFrames - 1) + ", " +
                                                   std::to_string(offset) + ")"));

  const KrdFileHandle reader = OpenOrFail("big", kRead);
  int64_t continuation = 0;
  KrdU8ArrayHandle samples = nullptr;
  EXPECT_EQ(GetChannelData(reader, 1, 0, kMax, &continuation, &samples), 36);
  EXPECT_EQ(LastMessage(reader),
            "The samples asked for come to 2147483656 bytes, more than the 2147483647 bytes an "
            "array can hold; read the time range in shorter pieces.");
  EXPECT_EQ(TakeBytes(samples), "") << "a new, empty handle";

  EXPECT_EQ(GetChannelData(reader, 1, int64_t{1} << 31, 100, &continuation, &samples), 0);
  EXPECT_EQ(RunTimeSize(samples), 4 + 8) << "the result's handle holds the result and no more";
  EXPECT_EQ(TakeBytes(samples), std::string(8, '\0'));
  EXPECT_EQ(continuation, -1);
}

// Every failure of the data functions, with its text; the data file and the
// data as read back stay as they were, and the handle keeps working.
struct DataFailure {
  const char* name;
  uint8_t mode;
  std::function<int32_t(KrdFileHandle)> call;
  int32_t code;
  std::string message;
};
void PrintTo(const DataFailure& row, std::ostream* out) { *out << row.name; }

class DataFailureTest : public DataRecordingTest,
                        public ::testing::WithParamInterface<DataFailure> {};

TEST_P(DataFailureTest, ReturnsItsCodeAndTextAndChangesNothing) {
  const DataFailure& row = GetParam();
  const KrdFileHandle file = OpenRecording(row.mode);
  const uint64_t size = KrdSize();
  const std::string data = Samples(file, 1, 0, kMax) + Samples(file, 2, kMax, -kMax);
  EXPECT_EQ(row.call(file), row.code);
  EXPECT_EQ(LastMessage(file), row.message);
  EXPECT_EQ(KrdSize(), size);
  EXPECT_EQ(Samples(file, 1, 0, kMax) + Samples(file, 2, kMax, -kMax), data);
  EXPECT_EQ(MaxTime(file, 1), 120);
}

std::function<int32_t(KrdFileHandle)> Record(uint16_t group, int64_t start, std::size_t bytes) {
  return [=](KrdFileHandle file) {
    return RecordChannelGroupData(file, group, start, HostBytes(Counting(bytes)).Array());
  };
}
std::function<int32_t(KrdFileHandle)> ReadEmpty(uint16_t channel, int64_t length) {
  return [=](KrdFileHandle file) {
    int64_t continuation = 0;
    KrdU8ArrayHandle samples = nullptr;
    const int32_t code = GetChannelData(file, channel, 100, length, &continuation, &samples);
    return TakeBytes(samples).empty() && continuation == 0 ? code : -1;
  };
}

const char* const kNotWholeFrames =
    "The channel group data to be recorded was no an integer multiple of the channel sample size.";
const char* const kEmpty = "The channel group data to be recorded has zero length.";

INSTANTIATE_TEST_SUITE_P(
    Data, DataFailureTest,
    ::testing::Values(
        DataFailure{"NotWholeFrames", HostFixture::kRecord, Record(1, 0, 20), 47, kNotWholeFrames},
        DataFailure{"Empty", HostFixture::kRecord, Record(1, 0, 0), 47, kEmpty},
        DataFailure{"BytesInAGroupOfNoChannels", HostFixture::kRecord, Record(4, 0, 1), 47,
                    kNotWholeFrames},
        DataFailure{"NothingInAGroupOfNoChannels", HostFixture::kRecord, Record(4, 0, 0), 47,
                    kEmpty},
        DataFailure{"BytesOfSamplesWithoutBytes", HostFixture::kRecord, Record(5, 0, 3), 47,
                    kNotWholeFrames},
        DataFailure{"UnregisteredDataType", HostFixture::kRecord, Record(2, 0, 4), 36,
                    "The specified data-type ID (99) is not registered."},
        DataFailure{"EndPastTheTimeLimit", HostFixture::kRecord, Record(1, kMax - 19, 24), 36,
                    "A block of 3 frames 10 ticks apart from 9223372036854775788 would end past "
                    "the largest time offset (9223372036854775807)."},
        DataFailure{"UnknownGroup", HostFixture::kRecord, Record(9, 0, 8), 19,
                    "Could not find an channel group with the ID 9"},
        DataFailure{"RepeatedBlock", HostFixture::kRecord, Record(1, 100, 24), 41,
                    "UNIQUE constraint failed: data.channel_group_id, data.start_time_offset, "
                    "data.end_time_offset"},
        DataFailure{"RecordInReadMode", HostFixture::kRead, Record(1, 0, 8), 29,
                    "This operation is not allowed in read mode."},
        DataFailure{"RecordInEditMode", HostFixture::kEdit, Record(1, 0, 8), 30,
                    "This operation is not allowed in edit mode."},
        DataFailure{"ReadUnknownChannel", HostFixture::kRead, ReadEmpty(9, 10), 21,
                    "Could not find an channel with the ID 9"},
        DataFailure{"ReadNothing", HostFixture::kRecord, ReadEmpty(1, 0), 42,
                    "GetChannelData() requires that the time interval length be non-zero."},
        DataFailure{"LatestOfUnknownGroup", HostFixture::kEdit,
                    [](KrdFileHandle file) {
                      int64_t time = 0;
                      return GetMaxChGroupTime(file, 9, &time);
                    },
                    19, "Could not find an channel group with the ID 9"}),
    [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace Varnholt::Testing
