// The index side of the packets that the exported functions do not show:
// checks no host can reach, the post-process chain's shifting, and the rows
// of the file-wide packets.

#include <functional>

#include "KrdFileLib/Index/FileInformationTable.h"
#include "KrdFileLib/Packets/AnnotationPacket.h"
#include "KrdFileLib/Packets/ChannelPacket.h"
#include "KrdFileLib/Packets/DeviceAttributePacket.h"
#include "KrdFileLib/Packets/DevicePacket.h"
#include "KrdFileLib/Packets/EventPacket.h"
#include "KrdFileLib/Packets/HeaderPacket.h"
#include "KrdFileLib/Packets/PostProcessPacket.h"
#include "KrdFileLib/Packets/StartPacket.h"
#include "tests/Packets/PacketTestSupport.h"

namespace Varnholt::KrdFiles::Packets {
namespace {

using Connection = Index::IndexConnection;

struct RuleCase {
  const char* name;
  std::function<void(Connection&)> call;  // runs on an index holding the setup below
  int32_t code;
  std::string message;
};

void PrintTo(const RuleCase& rule, std::ostream* out) { *out << rule.name; }

PostProcessPacket::Step StepAt(uint16_t channel, uint8_t index) {
  PostProcessPacket::Step step;
  step.channel_id = channel;
  step.post_process_index = index;
  return step;
}

// The checks that no host reaches through the exported functions (a row
// found by its key is always recorded) or that the post-process chain
// relies on. Setup: root device 0 with child 1 (attribute 2/3), channel
// group 1 of three channels, channel 1 in it with a step at index 0.
const RuleCase kRuleCases[] = {
    {"EventLookupBeyond16Bits", [](Connection& c) { EventPacket::Find(c, 70000); }, 25,
     "Could not find an event with the ID 70000"},
    {"PostProcessLookup", [](Connection& c) { PostProcessPacket::Find(c, 2); }, 27,
     "Could not find an post-process with the ID 2"},
    {"UnrecordedDevice", [](Connection& c) { DevicePacket().RequireRecorded(c); }, 42,
     "The device packet is not recorded in the KRQ file."},
    {"UnrecordedDeviceAttribute",
     [](Connection& c) { DeviceAttributePacket(1, 2, 4, {}).RequireRecorded(c); }, 42,
     "The device-attribute packet is not recorded in the KRQ file."},
    {"PostProcessIndexTaken",
     [](Connection& c) { PostProcessPacket(StepAt(1, 0)).CheckIndexIsFree(c); }, 48,
     "Channel 1 already has a post-process defined for index 0"},
    {"PostProcessIndexFree",
     [](Connection& c) { PostProcessPacket(StepAt(1, 1)).CheckIndexIsFree(c); }, 0, ""},
    {"PostProcessOfAMissingChannel",
     [](Connection& c) { PostProcessPacket(StepAt(3, 0)).CheckIndexIsFree(c); }, 21,
     "Could not find an channel with the ID 3"},
    {"UnrecordedPostProcess",
     [](Connection& c) { PostProcessPacket(StepAt(1, 0)).RequireRecorded(c); }, 42,
     "The post-process packet is not recorded in the KRQ file."},
    {"UnrecordedEvent", [](Connection& c) { EventPacket(1, 0, {}).RequireRecorded(c); }, 42,
     "The event packet is not recorded in the KRQ file."},
};

class IndexRuleTest : public PacketFileTest, public ::testing::WithParamInterface<RuleCase> {
 protected:
  void SetUp() override {
    PacketFileTest::SetUp();
    DevicePacket(kNoParentDeviceId, "root").AddToIndex(index_);
    DevicePacket(0, "child").AddToIndex(index_);
    DeviceAttributePacket(1, 2, 3, {}).AddToIndex(index_);
    AddGroup(10, 3);
    ChannelPacket(1, 1, 0, "").AddToIndex(index_);
    PostProcessPacket(StepAt(1, 0)).AddToIndex(index_);
  }
};

TEST_P(IndexRuleTest, RaisesItsCodeAndMessageOrPasses) {
  EXPECT_EQ(Failure([&] { GetParam().call(index_); }),
            std::make_pair(GetParam().code, GetParam().message));
}

INSTANTIATE_TEST_SUITE_P(Cases, IndexRuleTest, ::testing::ValuesIn(kRuleCases),
                         [](const auto& info) { return std::string(info.param.name); });

using PacketIndexTest = PacketFileTest;

// Inserting at index 0 of the chain 0, 1 pushes the former steps to 1, 2;
// rebuilding an index inserts where the file says, without pushing.
TEST_F(PacketIndexTest, AddingAStepShiftsTheChainAndRestoringDoesNot) {
  PostProcessPacket(StepAt(1, 0)).AddToIndex(index_);
  PostProcessPacket(StepAt(1, 1)).AddToIndex(index_);
  PostProcessPacket(StepAt(2, 0)).AddToIndex(index_);
  PostProcessPacket inserted(StepAt(1, 0));
  inserted.AddToIndex(index_);
  EXPECT_EQ(inserted.PostProcessId(), 4u);
  const auto index_of = [&](uint32_t id) {
    return PostProcessPacket::Find(index_, id)->Fields().post_process_index;
  };
  EXPECT_EQ(std::vector<int>({index_of(1), index_of(2), index_of(3), index_of(4)}),
            std::vector<int>({1, 2, 0, 0}));

  PostProcessPacket restored(StepAt(1, 1));
  restored.RestoreInIndex(index_, file_);
  EXPECT_EQ(std::vector<int>({index_of(1), index_of(2), index_of(5)}), std::vector<int>({1, 2, 1}));
}

// Adding at a free position still moves the steps after it: a step at 6
// goes to 7 when one is added at 5, and a step before 5 stays.
TEST_F(PacketIndexTest, AddingAStepAtAFreeIndexStillMovesTheStepsAfterIt) {
  PostProcessPacket(StepAt(1, 0)).AddToIndex(index_);
  PostProcessPacket(StepAt(1, 6)).AddToIndex(index_);
  PostProcessPacket(StepAt(1, 5)).AddToIndex(index_);
  const auto index_of = [&](uint32_t id) {
    return PostProcessPacket::Find(index_, id)->Fields().post_process_index;
  };
  EXPECT_EQ(std::vector<int>({index_of(1), index_of(2), index_of(3)}), std::vector<int>({0, 7, 5}));
}

TEST_F(PacketIndexTest, HeaderStartAndAnnotationFillTheOneFileInformationRow) {
  HeaderPacket header(3, "label", 1000);
  header.AddToIndex(index_);
  StartPacket(4, Bytes{1, 2}).AddToIndex(index_);
  AnnotationPacket("note").AddToIndex(index_);

  Index::FileInformationTable row;
  row.RequireHeader(index_);
  EXPECT_EQ(row.device_id.Value(), 3);
  EXPECT_EQ(row.uuid.Value(), header.Guid());
  EXPECT_EQ(row.file_version.Value(), kFileVersion);
  EXPECT_EQ(row.label.Value(), "label");
  EXPECT_EQ(row.time_base.Value(), 1000u);
  EXPECT_EQ(row.real_time_start.Value(), (Bytes{1, 2}));
  EXPECT_EQ(row.real_time_start_type.Value(), 4);
  EXPECT_EQ(row.annotation.Value(), "note");
  EXPECT_FALSE(row.NextRow());
}

TEST_F(PacketIndexTest, StartWithoutAHeaderCreatesTheRow) {
  StartPacket(4, Bytes{1}).RestoreInIndex(index_, file_);
  Index::FileInformationTable row;
  row.RequireHeader(index_);
  EXPECT_EQ(row.real_time_start.Value(), (Bytes{1}));
}

// Rebuilding an index from a file whose header has no GUID gives the file
// one: bytes 15 to 30, and nothing else, change.
TEST_F(PacketIndexTest, RestoringAHeaderWithoutGuidWritesANewOneInPlace) {
  const Bytes before = [] {
    Bytes image = HeaderPacket(1, "ab", 2).GetImage();
    std::fill(image.begin() + 15, image.begin() + 31, 0);
    PutBytes(image, Bytes{11, 0, 0, 0, 1, 'x'});  // an annotation after it
    return image;
  }();
  AppendRaw(before);
  const auto header = HeaderPacket::ReadFromFile(file_, index_);
  header->RestoreInIndex(index_, file_);

  const Bytes after = FileBytes();
  ASSERT_EQ(after.size(), before.size());
  EXPECT_TRUE(std::equal(after.begin(), after.begin() + 15, before.begin()));
  EXPECT_TRUE(std::equal(after.begin() + 31, after.end(), before.begin() + 31));
  EXPECT_FALSE(header->Guid().IsNil());
  EXPECT_TRUE(
      std::equal(header->Guid().bytes.begin(), header->Guid().bytes.end(), after.begin() + 15));
  Index::FileInformationTable row;
  row.RequireHeader(index_);
  EXPECT_EQ(row.uuid.Value(), header->Guid());
}

TEST_F(PacketIndexTest, RestoringAHeaderWithAGuidLeavesTheFileAsItWas) {
  HeaderPacket written(1, "ab", 2);
  Write(written);
  const Bytes before = FileBytes();
  HeaderPacket::ReadFromFile(file_, index_)->RestoreInIndex(index_, file_);
  EXPECT_EQ(FileBytes(), before);
}

}  // namespace
}  // namespace Varnholt::KrdFiles::Packets
