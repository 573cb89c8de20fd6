// The rules of the device tree, the physical channels, the groups and the
// channels as a host sees them through the C interface, and what the index
// keeps of them.

#include <gtest/gtest.h>

#include <string>

#include "KrdFileLibApi.h"
#include "tests/Api/HostFixture.h"
#include "tests/Api/RecordingStructure.h"
#include "tests/Api/TestHost.h"
#include "tests/TestSupport/IndexSql.h"

namespace Varnholt::Testing {
namespace {

using StructureRulesTest = StructureFixture;

const char* const kStandardStructure =
    "device 0 'rig' children [1] physical [] attributes { 1/0='serial-17' }\n"
    "device 1 'daq' children [] physical [1 2] attributes { }\n"
    "physical 1 #0 'ai0' channels [1] sources [1] attributes { 2/0='V' }\n"
    "physical 2 #1 'ai1' channels [2] sources [] attributes { }\n"
    "group 1 divisor 10 count 2 type 3 channels [1 2]\n"
    "group 2 divisor 1 count 1 type 3 channels []\n"
    "channel 1 'pressure' at 0 steps "
    "[ 1@0 type 7 flags 1/0/1 unit 'bar' label 'scale' data 'x2' ]\n"
    "channel 2 'temperature' at 1 steps [ ]\n"
    "source 1 'limit' type 5 latest 50 events [ 2@20='lo' 1@50='hi' ]\n";

TEST_F(StructureRulesTest, ReadsBackAsRecordedAfterReopeningAndFromARebuiltIndex) {
  const KrdFileHandle recorder = OpenStandard(kRecord);
  EXPECT_EQ(StructureOf(recorder), kStandardStructure);
  EXPECT_EQ(Close(recorder), 0);
  EXPECT_EQ(StructureOf(OpenOrFail("s", kRead)), kStandardStructure);

  HostBytes krd(dir_.File("s.krd"));
  HostBytes krq(dir_.File("rebuilt.krq"));
  ASSERT_EQ(CreateIndex(krd.String(), krq.String()), 0);
  EXPECT_EQ(StructureOf(OpenOrFail("s", kRead, "rebuilt")), kStandardStructure);
}

TEST_F(StructureRulesTest, DevicesGoLeafFirstAndTakeTheirAttributesButNotTheirChannels) {
  const KrdFileHandle file = OpenStandard(kRecord);
  EXPECT_EQ(CreateDeviceAttribute(file, 0, 1, 2, HostBytes("").Array()), 0) << "an empty value";
  EXPECT_EQ(CreateDeviceAttribute(file, 0, 1, 1, HostBytes("b").Array()), 0)
      << "the same key at another index";
  KrdU16Array2DHandle attributes = nullptr;
  EXPECT_EQ(DeviceAttributeList(file, 0, &attributes), 0);
  EXPECT_EQ(TakeAttributeIds(attributes), (AttributeRows{{1, 0}, {1, 1}, {1, 2}}));

  EXPECT_EQ(DeleteDevice(file, 1), 0) << "physical channels do not hold a device";
  KrdStringHandle label = nullptr;
  EXPECT_EQ(GetPhysicalChannelLabel(file, 1, &label), 0);
  EXPECT_EQ(TakeBytes(label), "ai0");

  EXPECT_EQ(DeleteDevice(file, 0), 0) << "the root, once it has no children";
  KrdU8ArrayHandle value = nullptr;
  EXPECT_EQ(GetDeviceAttribute(file, 0, 1, 0, &value), 11) << "the attribute went with it";
  EXPECT_EQ(TakeBytes(value), "");
}

// An ID names one entity for the life of a recording: a deleted entity's
// packet stays in the data file, and rows that named it (a group's blocks,
// a device's physical channels) stay in the index.
TEST_F(StructureRulesTest, IdsAreNeverHandedOutTwice) {
  Configure(100, 10000, 64 * 1024, {{3, 4}});
  const KrdFileHandle file = OpenStandard(kRecord);
  uint16_t id = 0;
  ASSERT_EQ(RecordChannelGroupData(file, 2, 0, HostBytes("abcd").Array()), 0);
  ASSERT_EQ(DeleteChannelGroup(file, 2), 0);
  EXPECT_EQ(CreateChannelGroup(file, 1, 1, 3, &id), 0);
  EXPECT_EQ(id, 3);
  ASSERT_EQ(CreateChannel(file, 3, 1, 0, HostBytes("new").String(), &id), 0);
  EXPECT_EQ(id, 3);
  int64_t continuation = 0;
  KrdU8ArrayHandle samples = nullptr;
  EXPECT_EQ(GetChannelData(file, 3, 0, 10, &continuation, &samples), 0);
  EXPECT_EQ(TakeBytes(samples), "") << "the deleted group's block is not the new group's";

  ASSERT_EQ(DeleteChannel(file, 3), 0);
  EXPECT_EQ(CreateChannel(file, 1, 1, 0, HostBytes("again").String(), &id), 0);
  EXPECT_EQ(id, 4);
  ASSERT_EQ(DeleteDevice(file, 1), 0);
  EXPECT_EQ(CreateDevice(file, 0, HostBytes("new daq").String(), &id), 0);
  EXPECT_EQ(id, 2);
  KrdU16ArrayHandle ids = nullptr;
  EXPECT_EQ(PhysicalChannelList(file, 2, &ids), 0);
  EXPECT_TRUE(TakeIds(ids).empty()) << "the deleted device's physical channels stay its own";
  ASSERT_EQ(DeleteEventSource(file, 1), 0);
  EXPECT_EQ(CreateEventSource(file, 1, 5, HostBytes("limit 2").String(), &id), 0);
  EXPECT_EQ(id, 2);
  ASSERT_EQ(DeletePhysicalChannel(file, 2), 0);
  EXPECT_EQ(CreatePhysicalChannel(file, 2, 1, HostBytes("ai1").String(), &id), 0);
  EXPECT_EQ(id, 3);

  ASSERT_EQ(DeleteDevice(file, 2), 0);
  ASSERT_EQ(DeleteDevice(file, 0), 0);
  const uint64_t size = KrdSize();
  EXPECT_EQ(CreateDevice(file, 65535, HostBytes("rig").String(), &id), 36);
  EXPECT_EQ(LastMessage(file),
            "The root device's ID 0 has been handed out before; a recording never hands out an "
            "ID twice, so no root device can be created again.");
  EXPECT_EQ(KrdSize(), size);
  EXPECT_EQ(Close(file), 0);

  HostBytes krd(dir_.File("s.krd"));
  HostBytes krq(dir_.File("rebuilt.krq"));
  EXPECT_EQ(CreateIndex(krd.String(), krq.String()), 0) << "no two packets share an ID";

  const KrdFileHandle editor = OpenOrFail("s", kEdit);
  ASSERT_EQ(DeleteChannel(editor, 4), 0);
  EXPECT_EQ(CreateChannel(editor, 1, 1, 0, HostBytes("edited").String(), &id), 0);
  EXPECT_EQ(id, 5) << "an editor knows what it deleted";
  EXPECT_EQ(CreateChannelGroup(editor, 1, 1, 3, &id), 0);
  EXPECT_EQ(id, 4) << "and the highest ID the index names: the deleted group 2's block is there";
}

// IDs end below the markers 65534 (unrecorded) and 65535 (no parent).
TEST_F(StructureRulesTest, TheLastIdIs65533) {
  Configure(100000, 10000);
  const KrdFileHandle file = OpenStandard(kRecord);
  uint16_t id = 0;
  int32_t code = 0;
  int created = 0;
  while ((code = CreateChannelGroup(file, 1, 1, 3, &id)) == 0) ++created;
  EXPECT_EQ(code, 36);
  EXPECT_EQ(created, 65533 - 2);
  EXPECT_EQ(id, 65533);
  EXPECT_EQ(LastMessage(file),
            "Every channel group ID up to 65533 has been handed out; a recording never hands out "
            "an ID twice, so no further channel group can be created.");
  EXPECT_EQ(DeleteChannelGroup(file, 65533), 0);
  EXPECT_EQ(CreateChannelGroup(file, 1, 1, 3, &id), 36);
}

TEST_F(StructureRulesTest, PhysicalChannelsAreNumberedPerDeviceAndTakeTheirAttributes) {
  const KrdFileHandle file = OpenStandard(kEdit);
  uint16_t id = 0;
  EXPECT_EQ(CreatePhysicalChannel(file, 0, 0, HostBytes("rig ai0").String(), &id), 0)
      << "number 0 is taken on device 1 only";
  EXPECT_EQ(DeletePhysicalChannel(file, 1), 0) << "channel 1 still names it";
  KrdU8ArrayHandle value = nullptr;
  EXPECT_EQ(GetPhysicalChannelAttribute(file, 1, 2, 0, &value), 16);
  EXPECT_EQ(TakeBytes(value), "");
  KrdStringHandle label = nullptr;
  EXPECT_EQ(GetChLabel(file, 1, &label), 0);
  EXPECT_EQ(TakeBytes(label), "pressure");
  EXPECT_EQ(CreatePhysicalChannel(file, 1, 0, HostBytes("ai0 again").String(), &id), 0)
      << "its number is free again";
}

TEST_F(StructureRulesTest, AGroupTakesChannelsByPlaceOnlyAndGoesOnceItHasNone) {
  const KrdFileHandle file = OpenStandard(kRecord);
  uint16_t id = 0;
  EXPECT_EQ(CreateChannel(file, 1, 2, 0, HostBytes("shared place").String(), &id), 0);
  EXPECT_EQ(CreateChannel(file, 1, 1, 1, HostBytes("one too many").String(), &id), 0);
  KrdU16ArrayHandle channels = nullptr;
  EXPECT_EQ(ChInGroupList(file, 1, &channels), 0);
  EXPECT_EQ(TakeIds(channels), (std::vector<uint16_t>{1, 2, 3, 4}));
  EXPECT_EQ(ChInPhysicalChannelList(file, 1, &channels), 0);
  EXPECT_EQ(TakeIds(channels), (std::vector<uint16_t>{1, 4}));

  for (uint16_t channel : {1, 2, 3}) {
    EXPECT_EQ(DeleteChannel(file, channel), 0);
    EXPECT_EQ(DeleteChannelGroup(file, 1), 33);
  }
  EXPECT_EQ(DeleteChannel(file, 4), 0);
  EXPECT_EQ(DeleteChannelGroup(file, 1), 0);
  EXPECT_EQ(ChannelGroupList(file, &channels), 0);
  EXPECT_EQ(TakeIds(channels), (std::vector<uint16_t>{2}));
  EXPECT_EQ(ChannelList(file, &channels), 0);
  EXPECT_TRUE(TakeIds(channels).empty());
}

std::vector<uint32_t> Events(KrdFileHandle file, uint16_t source, int64_t start, int64_t end) {
  KrdU32ArrayHandle events = nullptr;
  EXPECT_EQ(EventList(file, source, start, end, &events), 0);
  return TakeIds(events);
}

TEST_F(StructureRulesTest, EventsListByInclusiveTimeRangeAndGoWithTheirSource) {
  const KrdFileHandle file = OpenStandard(kRecord);  // events 2 at 20, 1 at 50
  uint32_t event = 0;
  EXPECT_EQ(CreateEvent(file, 1, 20, HostBytes("again").Array(), &event), 0) << "same time";
  EXPECT_EQ(CreateEvent(file, 1, -5, HostBytes("").Array(), &event), 0) << "before the others";
  EXPECT_EQ(Events(file, 1, 20, 20), (std::vector<uint32_t>{2, 3}));
  EXPECT_EQ(Events(file, 1, 20, 50), (std::vector<uint32_t>{2, 3, 1}));
  EXPECT_EQ(Events(file, 1, -5, 49), (std::vector<uint32_t>{4, 2, 3}));
  EXPECT_TRUE(Events(file, 1, 50, 20).empty()) << "an inverted range is empty, not a failure";

  uint16_t quiet = 0;
  int64_t latest = -1;
  EXPECT_EQ(CreateEventSource(file, 2, 1, HostBytes("quiet").String(), &quiet), 0);
  EXPECT_EQ(GetMaxEventSrcTime(file, quiet, &latest), 0);
  EXPECT_EQ(latest, 0) << "no events";
  KrdU16ArrayHandle sources = nullptr;
  EXPECT_EQ(EventSrcInPhysicalChList(file, 9, &sources), 0) << "an unknown physical channel";
  EXPECT_TRUE(TakeIds(sources).empty());

  EXPECT_EQ(DeleteEventSource(file, 1), 0);
  EXPECT_EQ(GetEventTime(file, 2, &latest), 25) << "its events went with it";
  EXPECT_EQ(EventSourceList(file, &sources), 0);
  EXPECT_EQ(TakeIds(sources), (std::vector<uint16_t>{quiet}));
}

// What the index keeps that no function shows: a group's row has no
// offset, a channel starts enabled, and deletes touch only their own rows.
TEST_F(StructureRulesTest, IndexRowsOfGroupsAndChannels) {
  ASSERT_EQ(Close(OpenStandard(kRecord)), 0);
  ASSERT_TRUE(ExecuteSql(Krq(),
                         "insert into post_process (channel_id, post_process_index) values (1, 0);"
                         "insert into post_process (channel_id, post_process_index) values (2, 0);"
                         "insert into data values (2, 0, 0, 0);"));
  const KrdFileHandle file = OpenOrFail("s", kEdit);
  uint16_t id = 0;
  EXPECT_EQ(CreateChannelGroup(file, 1, 1, 1, &id), 0);
  EXPECT_EQ(CreateChannel(file, id, 1, 0, HostBytes("edited in").String(), &id), 0);
  EXPECT_EQ(DeleteChannel(file, 1), 0);
  EXPECT_EQ(DeleteChannelGroup(file, 2), 0);
  EXPECT_EQ(Close(file), 0);

  EXPECT_EQ(QueryColumn(Krq(), "select offset from channel_group"), "-1,-1");
  EXPECT_EQ(QueryColumn(Krq(), "select disabled from channel"), "0,0");
  EXPECT_EQ(QueryColumn(Krq(), "select channel_id from post_process"), "2");
  EXPECT_EQ(QueryColumn(Krq(), "select channel_group_id from data"), "2");
}

// A group of no channels takes no channel: its limit is -1.
TEST_F(StructureRulesTest, AGroupOfNoChannelsTakesNone) {
  const KrdFileHandle file = OpenStandard(kRecord);
  uint16_t group = 0;
  ASSERT_EQ(CreateChannelGroup(file, 1, 0, 3, &group), 0);
  uint16_t channel = 0;
  EXPECT_EQ(CreateChannel(file, group, 1, 0, HostBytes("x").String(), &channel), 43);
  EXPECT_EQ(LastMessage(file), "For channel group 3 the interleave index may not exceed -1");
}

// A device row that carries the ID of an unrecorded device (an index
// edited or damaged outside the library) can be read but not changed.
TEST_F(StructureRulesTest, ADeviceRowWithTheUnrecordedIdIsRefusedForChanges) {
  ASSERT_EQ(Close(OpenStandard(kRecord)), 0);
  ASSERT_TRUE(ExecuteSql(Krq(), "insert into device values (65534, 0, 'ghost', 0)"));
  const KrdFileHandle file = OpenOrFail("s", kEdit);
  const std::string not_recorded = "The device packet is not recorded in the KRQ file.";
  KrdU16ArrayHandle ids = nullptr;
  KrdU16Array2DHandle attributes = nullptr;
  EXPECT_EQ(DeleteDevice(file, 65534), 42);
  EXPECT_EQ(LastMessage(file), not_recorded);
  EXPECT_EQ(SetDeviceLabel(file, 65534, HostBytes("x").String()), 42);
  EXPECT_EQ(LastMessage(file), not_recorded);
  EXPECT_EQ(PhysicalChannelList(file, 65534, &ids), 42);
  EXPECT_EQ(LastMessage(file), not_recorded);
  EXPECT_TRUE(TakeIds(ids).empty());
  EXPECT_EQ(DeviceAttributeList(file, 65534, &attributes), 42);
  EXPECT_EQ(LastMessage(file), not_recorded);
  EXPECT_TRUE(TakeAttributeIds(attributes).empty());
  KrdStringHandle label = nullptr;
  EXPECT_EQ(GetDeviceLabel(file, 65534, &label), 0);
  EXPECT_EQ(TakeBytes(label), "ghost");
}

TEST_F(StructureRulesTest, AnAttributeListOnAnUnknownHandleIsANewEmptyTwoColumnArray) {
  KrdU16Array2DHandle attributes = nullptr;
  EXPECT_EQ(DeviceAttributeList(1000, 0, &attributes), 7);
  EXPECT_EQ(RunTimeSize(attributes), 8) << "two dimensions, no elements";
  EXPECT_EQ((*attributes)->dimSizes[0], 0);
  EXPECT_TRUE(TakeAttributeIds(attributes).empty());
}

}  // namespace
}  // namespace Varnholt::Testing
