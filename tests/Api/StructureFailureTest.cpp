// The failures of the device, physical channel, group, channel and event
// functions as a host meets them: each code with its exact text, the data file and
// everything the host can list left as they were, every output handle new
// and empty, and the handle still usable.

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>

#include "KrdFileLibApi.h"
#include "tests/Api/HostFixture.h"
#include "tests/Api/RecordingStructure.h"
#include "tests/Api/TestHost.h"
#include "tests/TestSupport/IndexSql.h"

namespace Varnholt::Testing {
namespace {

using FileCall = std::function<int32_t(KrdFileHandle)>;

// A call whose output must come back as a new, empty handle: its code, or
// -1 when the handle is missing or not empty.
template <typename Handle>
FileCall EmptyOutput(std::function<int32_t(KrdFileHandle, Handle*)> call) {
  return [call](KrdFileHandle file) {
    Handle out = nullptr;
    const int32_t code = call(file, &out);
    return out != nullptr && TakeBytes(out).empty() ? code : -1;
  };
}
using StringOut = KrdStringHandle;
using BytesOut = KrdU8ArrayHandle;
using IdsOut = KrdU16ArrayHandle;
using AttributesOut = KrdU16Array2DHandle;

struct StructureFailure {
  const char* name;
  uint8_t mode;
  FileCall call;
  int32_t code;
  std::string message;
};
void PrintTo(const StructureFailure& row, std::ostream* out) { *out << row.name; }

class StructureFailureTest : public StructureFixture,
                             public ::testing::WithParamInterface<StructureFailure> {};

TEST_P(StructureFailureTest, ReturnsItsCodeAndTextAndChangesNothing) {
  const StructureFailure& row = GetParam();
  const KrdFileHandle file = OpenStandard(row.mode);
  const std::string structure = StructureOf(file);
  const uint64_t size = KrdSize();
  EXPECT_EQ(row.call(file), row.code);
  EXPECT_EQ(LastMessage(file), row.message);
  EXPECT_EQ(KrdSize(), size);
  EXPECT_EQ(StructureOf(file), structure);
  EXPECT_EQ(LastMessage(file), "") << "the handle still works";
}

int32_t CreateChannelCall(KrdFileHandle file, uint16_t group, uint16_t physical, uint8_t index) {
  uint16_t id = 0;
  return CreateChannel(file, group, physical, index, HostBytes("x").String(), &id);
}

// Adds a step through CreatePostProcess or InsertPostProcess.
template <typename Add>
int32_t AddStepCall(KrdFileHandle file, Add add, uint16_t channel, uint8_t index) {
  uint32_t step = 0;
  return add(file, channel, index, 1, 0, 0, HostBytes("").Array(), HostBytes("x").String(), 0,
             HostBytes("").String(), &step);
}

const uint8_t kRecord = HostFixture::kRecord;
const uint8_t kRead = HostFixture::kRead;
const uint8_t kEdit = HostFixture::kEdit;

INSTANTIATE_TEST_SUITE_P(
    Structure, StructureFailureTest,
    ::testing::Values(
        // 8: devices, whatever the ID, in every family that names one.
        StructureFailure{"UnknownDevice", kRecord, EmptyOutput<StringOut>([](auto file, auto out) {
                           return GetDeviceLabel(file, 9, out);
                         }),
                         8, "Could not find an device with the ID 9"},
        StructureFailure{"ChildrenOfTheUnrecordedId", kEdit,
                         EmptyOutput<IdsOut>([](auto file, auto out) {
                           return DeviceChildrenList(file, 65534, out);
                         }),
                         8, "Could not find an device with the ID 65534"},
        StructureFailure{"DeleteTheNoParentId", kEdit,
                         [](auto file) { return DeleteDevice(file, 65535); }, 8,
                         "Could not find an device with the ID 65535"},
        StructureFailure{"AttributeOfUnknownDevice", kRecord,
                         [](auto file) {
                           return CreateDeviceAttribute(file, 9, 1, 0, HostBytes("x").Array());
                         },
                         8, "Could not find an device with the ID 9"},
        StructureFailure{"AttributesOfUnknownDevice", kRead,
                         EmptyOutput<AttributesOut>([](auto file, auto out) {
                           return DeviceAttributeList(file, 9, out);
                         }),
                         8, "Could not find an device with the ID 9"},
        StructureFailure{"PhysicalChannelOfUnknownDevice", kRecord,
                         [](auto file) {
                           uint16_t id = 0;
                           return CreatePhysicalChannel(file, 9, 0, HostBytes("x").String(), &id);
                         },
                         8, "Could not find an device with the ID 9"},
        StructureFailure{"PhysicalChannelsOfUnknownDevice", kRead,
                         EmptyOutput<IdsOut>([](auto file, auto out) {
                           return PhysicalChannelList(file, 9, out);
                         }),
                         8, "Could not find an device with the ID 9"},
        // The device tree.
        StructureFailure{"ParentMissing", kRecord,
                         [](auto file) {
                           uint16_t id = 0;
                           return CreateDevice(file, 7, HostBytes("x").String(), &id);
                         },
                         9, "Device cannot be created; its parent device does not exist."},
        StructureFailure{"SecondRoot", kRecord,
                         [](auto file) {
                           uint16_t id = 0;
                           return CreateDevice(file, 65535, HostBytes("x").String(), &id);
                         },
                         34, "Root device cannot be created, a root device already exists."},
        StructureFailure{"DeviceWithChildren", kEdit,
                         [](auto file) { return DeleteDevice(file, 0); }, 31,
                         "Could not delete device with the ID 0 because it had children."},
        // Device attributes.
        StructureFailure{"UnknownDeviceAttribute", kRead,
                         EmptyOutput<BytesOut>([](auto file, auto out) {
                           return GetDeviceAttribute(file, 0, 1, 5, out);
                         }),
                         11, "Could not find the device attibute with the device ID: 0 Key: 1 Index: 5"},
        StructureFailure{"SetUnknownDeviceAttribute", kEdit,
                         [](auto file) {
                           return SetDeviceAttribute(file, 1, 1, 0, HostBytes("x").Array());
                         },
                         11, "Could not find the device attibute with the device ID: 1 Key: 1 Index: 0"},
        StructureFailure{"DeleteUnknownDeviceAttribute", kRecord,
                         [](auto file) { return DeleteDeviceAttribute(file, 0, 2, 0); }, 11,
                         "Could not find the device attibute with the device ID: 0 Key: 2 Index: 0"},
        StructureFailure{"DuplicateDeviceAttribute", kRecord,
                         [](auto file) {
                           return CreateDeviceAttribute(file, 0, 1, 0, HostBytes("x").Array());
                         },
                         12,
                         "Device attribute cannot be added because it already exists.  Device ID: 0 "
                         "Key: 1 Index: 0"},
        // Physical channels and their attributes.
        StructureFailure{"UnknownPhysicalChannel", kRead,
                         [](auto file) {
                           uint16_t number = 0;
                           return GetPhysicalChannelNbr(file, 9, &number);
                         },
                         14, "Could not find a physical channel with the ID 9"},
        StructureFailure{"AttributesOfUnknownPhysicalChannel", kRead,
                         EmptyOutput<AttributesOut>([](auto file, auto out) {
                           return PhysicalChannelAttributeList(file, 9, out);
                         }),
                         14, "Could not find a physical channel with the ID 9"},
        StructureFailure{"AttributeOfUnknownPhysicalChannel", kRecord,
                         [](auto file) {
                           return CreatePhysicalChannelAttribute(file, 9, 1, 0,
                                                                 HostBytes("x").Array());
                         },
                         14, "Could not find a physical channel with the ID 9"},
        StructureFailure{"DuplicatePhysicalChannel", kRecord,
                         [](auto file) {
                           uint16_t id = 0;
                           return CreatePhysicalChannel(file, 1, 0, HostBytes("x").String(), &id);
                         },
                         32,
                         "Physical channel cannot be added because it already exists.  Device ID: 1 "
                         "Channel Number: 0"},
        StructureFailure{"UnknownPhysicalChannelAttribute", kEdit,
                         EmptyOutput<BytesOut>([](auto file, auto out) {
                           return GetPhysicalChannelAttribute(file, 1, 2, 7, out);
                         }),
                         16,
                         "Could not find the physical channel attibute with the channel ID: 1 Key: "
                         "2 Index: 7"},
        StructureFailure{"SetUnknownPhysicalChannelAttribute", kEdit,
                         [](auto file) {
                           return SetPhysicalChannelAttribute(file, 2, 2, 0, HostBytes("x").Array());
                         },
                         16,
                         "Could not find the physical channel attibute with the channel ID: 2 Key: "
                         "2 Index: 0"},
        StructureFailure{"DeleteUnknownPhysicalChannelAttribute", kRecord,
                         [](auto file) { return DeletePhysicalChannelAttribute(file, 1, 3, 0); }, 16,
                         "Could not find the physical channel attibute with the channel ID: 1 Key: "
                         "3 Index: 0"},
        StructureFailure{"DuplicatePhysicalChannelAttribute", kRecord,
                         [](auto file) {
                           return CreatePhysicalChannelAttribute(file, 1, 2, 0,
                                                                 HostBytes("x").Array());
                         },
                         17,
                         "Physical channel attribute cannot be added because it already exists.  "
                         "Channel ID: 1 Key: 2 Index: 0"},
        // Groups and channels: a new channel's group, then its place, then
        // its physical channel.
        StructureFailure{"UnknownGroup", kRead,
                         [](auto file) {
                           uint8_t count = 0;
                           return GetChGroupChCount(file, 9, &count);
                         },
                         19, "Could not find an channel group with the ID 9"},
        StructureFailure{"ChannelsOfUnknownGroup", kRead,
                         EmptyOutput<IdsOut>([](auto file, auto out) {
                           return ChInGroupList(file, 9, out);
                         }),
                         19, "Could not find an channel group with the ID 9"},
        StructureFailure{"ChannelInUnknownGroup", kRecord,
                         [](auto file) { return CreateChannelCall(file, 9, 9, 5); }, 19,
                         "Could not find an channel group with the ID 9"},
        StructureFailure{"InterleaveIndexPastTheGroup", kRecord,
                         [](auto file) { return CreateChannelCall(file, 1, 9, 2); }, 43,
                         "For channel group 1 the interleave index may not exceed 1"},
        StructureFailure{"ChannelOnUnknownPhysicalChannel", kRecord,
                         [](auto file) { return CreateChannelCall(file, 1, 9, 1); }, 14,
                         "Could not find a physical channel with the ID 9"},
        StructureFailure{"GroupWithChannels", kEdit,
                         [](auto file) { return DeleteChannelGroup(file, 1); }, 33,
                         "Could not delete channel group with the ID 1 because it has channels."},
        StructureFailure{"UnknownChannel", kRead, EmptyOutput<StringOut>([](auto file, auto out) {
                           return GetChLabel(file, 9, out);
                         }),
                         21, "Could not find an channel with the ID 9"},
        StructureFailure{"DeleteUnknownChannel", kEdit,
                         [](auto file) { return DeleteChannel(file, 9); }, 21,
                         "Could not find an channel with the ID 9"},
        // Event sources and events.
        StructureFailure{"EventSourceOnUnknownPhysicalChannel", kRecord,
                         [](auto file) {
                           uint16_t id = 0;
                           return CreateEventSource(file, 9, 1, HostBytes("x").String(), &id);
                         },
                         14, "Could not find a physical channel with the ID 9"},
        StructureFailure{"UnknownEventSource", kRead,
                         EmptyOutput<StringOut>([](auto file, auto out) {
                           return GetEventSrcLabel(file, 9, out);
                         }),
                         23, "Could not find an event source with the ID 9"},
        StructureFailure{"EventsOfUnknownSource", kRead,
                         EmptyOutput<KrdU32ArrayHandle>([](auto file, auto out) {
                           return EventList(file, 9, 0, 100, out);
                         }),
                         23, "Could not find an event source with the ID 9"},
        StructureFailure{"EventOfUnknownSource", kRecord,
                         [](auto file) {
                           uint32_t id = 0;
                           return CreateEvent(file, 9, 0, HostBytes("x").Array(), &id);
                         },
                         23, "Could not find an event source with the ID 9"},
        StructureFailure{"UnknownEvent", kRead, EmptyOutput<BytesOut>([](auto file, auto out) {
                           return GetEventData(file, 9, out);
                         }),
                         25, "Could not find an event with the ID 9"},
        StructureFailure{"SetTimeOfUnknownEvent", kEdit,
                         [](auto file) { return SetEventTime(file, 9, 5); }, 25,
                         "Could not find an event with the ID 9"},
        StructureFailure{"DeleteUnknownEvent", kRecord,
                         [](auto file) { return DeleteEvent(file, 9); }, 25,
                         "Could not find an event with the ID 9"},
        // Post-process chains.
        StructureFailure{"StepOnUnknownChannel", kRecord,
                         [](auto file) { return AddStepCall(file, CreatePostProcess, 9, 0); }, 21,
                         "Could not find an channel with the ID 9"},
        StructureFailure{"StepInsertedOnUnknownChannel", kEdit,
                         [](auto file) { return AddStepCall(file, InsertPostProcess, 9, 0); }, 21,
                         "Could not find an channel with the ID 9"},
        StructureFailure{"StepsOfUnknownChannel", kRead,
                         EmptyOutput<KrdU32ArrayHandle>([](auto file, auto out) {
                           return PostProcessList(file, 9, out);
                         }),
                         21, "Could not find an channel with the ID 9"},
        StructureFailure{"StepIndexTaken", kRecord,
                         [](auto file) { return AddStepCall(file, CreatePostProcess, 1, 0); }, 48,
                         "Channel 1 already has a post-process defined for index 0"},
        StructureFailure{"UnknownStep", kRead, EmptyOutput<StringOut>([](auto file, auto out) {
                           return GetPostProcessLabel(file, 9, out);
                         }),
                         27, "Could not find an post-process with the ID 9"},
        StructureFailure{"UnitOfUnknownStep", kRead,
                         EmptyOutput<BytesOut>([](auto file, auto out) {
                           KrdBool is_unit_change = 0;
                           return GetPostProcessUnit(file, 9, &is_unit_change, out);
                         }),
                         27, "Could not find an post-process with the ID 9"},
        StructureFailure{"MoveUnknownStep", kEdit,
                         [](auto file) { return SetPostProcessIndex(file, 9, 1); }, 27,
                         "Could not find an post-process with the ID 9"},
        StructureFailure{"DeleteUnknownStep", kRecord,
                         [](auto file) { return DeletePostProcess(file, 9); }, 27,
                         "Could not find an post-process with the ID 9"},
        // The mode is checked before anything else.
        StructureFailure{"ReadModeBeforeExistence", kRead,
                         [](auto file) { return DeleteDevice(file, 9); }, 29,
                         "This operation is not allowed in read mode."},
        StructureFailure{"ReadModeBeforeTheLabel", kRead,
                         [](auto file) {
                           return SetChLabel(file, 1, HostBytes(std::string(300, 'x')).String());
                         },
                         29, "This operation is not allowed in read mode."}),
    [](const auto& info) { return std::string(info.param.name); });

// A text of more than 255 bytes cannot be framed by its one-byte length;
// every function that takes a label refuses it before writing anything,
// while 255 bytes go in and come back whole.
TEST_F(StructureFixture, LabelsLongerThanAPacketHoldsAreRefused) {
  const KrdFileHandle file = OpenStandard(kRecord);
  const std::vector<std::function<int32_t(KrdStringHandle)>> label_calls = {
      [&](auto label) { return CreateHeader(file, 1, 0, label); },
      [&](auto label) { return SetFileLabel(file, label); },
      [&](auto label) {
        uint16_t id = 0;
        return CreateDevice(file, 0, label, &id);
      },
      [&](auto label) { return SetDeviceLabel(file, 1, label); },
      [&](auto label) {
        uint16_t id = 0;
        return CreatePhysicalChannel(file, 1, 7, label, &id);
      },
      [&](auto label) { return SetPhysicalChannelLabel(file, 1, label); },
      [&](auto label) {
        uint16_t id = 0;
        return CreateChannel(file, 2, 1, 0, label, &id);
      },
      [&](auto label) { return SetChLabel(file, 1, label); },
      [&](auto label) {
        uint32_t id = 0;
        return CreatePostProcess(file, 2, 0, 1, 0, 0, nullptr, label, 0, nullptr, &id);
      },
      [&](auto label) { return SetPostProcessLabel(file, 1, label); },
  };
  const std::string structure = StructureOf(file);
  for (std::size_t call = 0; call < label_calls.size(); ++call) {
    const uint64_t size = KrdSize();
    EXPECT_EQ(label_calls[call](HostBytes(std::string(256, 'L')).String()), 36) << call;
    EXPECT_EQ(LastMessage(file), "The label is 256 bytes long; a packet holds at most 255 bytes.");
    EXPECT_EQ(KrdSize(), size) << call;
  }
  EXPECT_EQ(StructureOf(file), structure);

  const std::string longest(255, 'L');
  for (std::size_t call = 1; call < label_calls.size(); ++call) {
    EXPECT_EQ(label_calls[call](HostBytes(longest).String()), 0) << call;
  }
  const std::string long_unit(256, 'u');
  uint32_t id = 0;
  EXPECT_EQ(InsertPostProcess(file, 2, 0, 1, 0, 0, nullptr, nullptr, 1,
                              HostBytes(long_unit).String(), &id),
            36);
  EXPECT_EQ(LastMessage(file), "The unit is 256 bytes long; a packet holds at most 255 bytes.");
  EXPECT_EQ(SetPostProcessUnit(file, 1, 1, HostBytes(long_unit).Array()), 36);
  EXPECT_EQ(LastMessage(file), "The unit is 256 bytes long; a packet holds at most 255 bytes.");

  KrdStringHandle label = nullptr;
  EXPECT_EQ(GetChLabel(file, 3, &label), 0);
  EXPECT_EQ(TakeBytes(label), longest);
  EXPECT_EQ(Close(file), 0);
  const KrdFileHandle reader = OpenOrFail("s", kRead);
  EXPECT_EQ(GetChLabel(reader, 3, &label), 0) << "the packets after a long label read back";
  EXPECT_EQ(TakeBytes(label), longest);
}

}  // namespace
}  // namespace Varnholt::Testing
