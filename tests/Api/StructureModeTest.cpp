// Every function that changes the device tree, the physical channels, the
// groups, the channels, the events or the post-process chains, in each mode
// a host opens a file in:
// refused in read mode, index only in edit mode, and only a create in
// record mode appends a packet.

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>
#include <tuple>

#include "KrdFileLibApi.h"
#include "tests/Api/HostFixture.h"
#include "tests/Api/RecordingStructure.h"
#include "tests/Api/TestHost.h"

namespace Varnholt::Testing {
namespace {

struct Modification {
  const char* name;
  std::function<int32_t(KrdFileHandle)> call;
  bool appends;  // in record mode
};
void PrintTo(const Modification& row, std::ostream* out) { *out << row.name; }

uint16_t new_id = 0;

// Adds a step to channel 2 at index through CreatePostProcess or
// InsertPostProcess.
template <typename Add>
int32_t AddStep(KrdFileHandle file, Add add, uint8_t index) {
  uint32_t step = 0;
  return add(file, 2, index, 1, 0, 0, HostBytes("").Array(), HostBytes("offset").String(), 0,
             HostBytes("").String(), &step);
}

const Modification kModifications[] = {
    {"CreateDevice", [](auto f) { return CreateDevice(f, 1, HostBytes("dmm").String(), &new_id); },
     true},
    {"DeleteDevice", [](auto f) { return DeleteDevice(f, 1); }, false},
    {"SetDeviceLabel", [](auto f) { return SetDeviceLabel(f, 1, HostBytes("DAQ").String()); },
     false},
    {"CreateDeviceAttribute",
     [](auto f) { return CreateDeviceAttribute(f, 1, 1, 0, HostBytes("x").Array()); }, true},
    {"SetDeviceAttribute",
     [](auto f) { return SetDeviceAttribute(f, 0, 1, 0, HostBytes("serial-18").Array()); }, false},
    {"DeleteDeviceAttribute", [](auto f) { return DeleteDeviceAttribute(f, 0, 1, 0); }, false},
    {"CreatePhysicalChannel",
     [](auto f) { return CreatePhysicalChannel(f, 1, 2, HostBytes("ai2").String(), &new_id); },
     true},
    {"DeletePhysicalChannel", [](auto f) { return DeletePhysicalChannel(f, 2); }, false},
    {"SetPhysicalChannelLabel",
     [](auto f) { return SetPhysicalChannelLabel(f, 2, HostBytes("AI1").String()); }, false},
    {"CreatePhysicalChannelAttribute",
     [](auto f) { return CreatePhysicalChannelAttribute(f, 2, 2, 0, HostBytes("A").Array()); },
     true},
    {"SetPhysicalChannelAttribute",
     [](auto f) { return SetPhysicalChannelAttribute(f, 1, 2, 0, HostBytes("mV").Array()); },
     false},
    {"DeletePhysicalChannelAttribute",
     [](auto f) { return DeletePhysicalChannelAttribute(f, 1, 2, 0); }, false},
    {"CreateChannelGroup", [](auto f) { return CreateChannelGroup(f, 5, 4, 2, &new_id); }, true},
    {"DeleteChannelGroup", [](auto f) { return DeleteChannelGroup(f, 2); }, false},
    {"SetChGroupTimeBaseDivisor", [](auto f) { return SetChGroupTimeBaseDivisor(f, 1, 20); },
     false},
    {"CreateChannel",
     [](auto f) { return CreateChannel(f, 2, 1, 0, HostBytes("flow").String(), &new_id); }, true},
    {"DeleteChannel", [](auto f) { return DeleteChannel(f, 2); }, false},
    {"SetChLabel", [](auto f) { return SetChLabel(f, 1, HostBytes("p").String()); }, false},
    {"CreateEventSource",
     [](auto f) { return CreateEventSource(f, 2, 7, HostBytes("flow").String(), &new_id); }, true},
    {"DeleteEventSource", [](auto f) { return DeleteEventSource(f, 1); }, false},
    {"SetEventSrcLabel", [](auto f) { return SetEventSrcLabel(f, 1, HostBytes("L").String()); },
     false},
    {"CreateEvent",
     [](auto f) {
       uint32_t event = 0;
       return CreateEvent(f, 1, 30, HostBytes("mid").Array(), &event);
     },
     true},
    {"DeleteEvent", [](auto f) { return DeleteEvent(f, 2); }, false},
    {"SetEventTime", [](auto f) { return SetEventTime(f, 1, 60); }, false},
    {"SetEventData", [](auto f) { return SetEventData(f, 1, HostBytes("HI").Array()); }, false},
    {"CreatePostProcess", [](auto f) { return AddStep(f, CreatePostProcess, 1); }, true},
    {"InsertPostProcess", [](auto f) { return AddStep(f, InsertPostProcess, 0); }, true},
    {"DeletePostProcess", [](auto f) { return DeletePostProcess(f, 1); }, false},
    {"SetPostProcessIndex", [](auto f) { return SetPostProcessIndex(f, 1, 4); }, false},
    {"SetPostProcess", [](auto f) { return SetPostProcess(f, 1, 8, HostBytes("x3").Array()); },
     false},
    {"SetPostProcessDisable", [](auto f) { return SetPostProcessDisable(f, 1, 1); }, false},
    {"SetPostProcessUnit",
     [](auto f) { return SetPostProcessUnit(f, 1, 0, HostBytes("").Array()); }, false},
    {"SetPostProcessLabel",
     [](auto f) { return SetPostProcessLabel(f, 1, HostBytes("gain").String()); }, false},
};

std::string ModeName(uint8_t mode) {
  switch (mode) {
    case HostFixture::kRead: return "Read";
    case HostFixture::kRecord: return "Record";
    default: return "Edit";
  }
}

class StructureModeTest
    : public StructureFixture,
      public ::testing::WithParamInterface<std::tuple<Modification, uint8_t>> {};

TEST_P(StructureModeTest, ChangesWhatTheModeAllows) {
  const auto& [modification, mode] = GetParam();
  const KrdFileHandle file = OpenStandard(mode);
  const std::string before = StructureOf(file);
  const uint64_t size = KrdSize();
  if (mode == kRead) {
    EXPECT_EQ(modification.call(file), 29);
    EXPECT_EQ(LastMessage(file), "This operation is not allowed in read mode.");
    EXPECT_EQ(StructureOf(file), before);
  } else {
    EXPECT_EQ(modification.call(file), 0) << LastMessage(file);
    EXPECT_NE(StructureOf(file), before) << "the change is visible at once";
  }
  const bool appends = mode == kRecord && modification.appends;
  EXPECT_EQ(KrdSize() > size, appends);
  EXPECT_GE(KrdSize(), size);

  const std::string after = StructureOf(file);
  EXPECT_EQ(Close(file), 0);
  EXPECT_EQ(StructureOf(OpenOrFail("s", kRead)), after) << "what the index keeps";
}

INSTANTIATE_TEST_SUITE_P(Structure, StructureModeTest,
                         ::testing::Combine(::testing::ValuesIn(kModifications),
                                            ::testing::Values(HostFixture::kRecord,
                                                              HostFixture::kRead,
                                                              HostFixture::kEdit)),
                         [](const auto& info) {
                           return std::string(std::get<0>(info.param).name) + "In" +
                                  ModeName(std::get<1>(info.param));
                         });

}  // namespace
}  // namespace Varnholt::Testing
