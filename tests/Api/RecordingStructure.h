#pragma once

// A recording's set-up as tests of the C interface build and read it: one
// standard device tree with physical channels, groups and channels, and a
// text rendering of everything a host can list and get about it, so that a
// test compares what the host sees before and after a call in one line.

#include <gtest/gtest.h>

#include <cstdint>
#include <deque>
#include <filesystem>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "KrdFileLibApi.h"
#include "tests/Api/HostFixture.h"
#include "tests/Api/TestHost.h"

namespace Varnholt::Testing {

// The IDs of a returned u16 or u32 array; the handle is disposed of.
template <typename Block>
auto TakeIds(Block** handle) {
  std::vector<std::remove_cvref_t<decltype((*handle)->elt[0])>> ids(
      (*handle)->elt, (*handle)->elt + (*handle)->dimSize);
  DisposeHostHandle(handle);
  return ids;
}

// The (key, index) rows of a returned attribute list, with its shape
// checked; the handle is disposed of.
using AttributeRows = std::vector<std::pair<uint16_t, uint16_t>>;
inline AttributeRows TakeAttributeIds(KrdU16Array2DHandle handle) {
  EXPECT_EQ((*handle)->dimSizes[1], 2) << "two columns: key and index";
  AttributeRows rows;
  for (int32_t row = 0; row < (*handle)->dimSizes[0]; ++row) {
    rows.emplace_back((*handle)->elt[2 * row], (*handle)->elt[2 * row + 1]);
  }
  DisposeHostHandle(handle);
  return rows;
}

// The standard set-up, recorded after a header; every call must succeed:
//   device 0 "rig" (root), attribute 1/0 = "serial-17"
//     device 1 "daq"
//       physical channel 1, number 0, "ai0", attribute 2/0 = "V"
//       physical channel 2, number 1, "ai1"
//   group 1: divisor 10, 2 channels of data type 3
//     channel 1 "pressure" at 0 on physical channel 1
//     channel 2 "temperature" at 1 on physical channel 2
//   group 2: divisor 1, 1 channel of data type 3, no channels
//   event source 1 "limit" on physical channel 1, data type 5: event 1 at
//   50 = "hi", event 2 at 20 = "lo"
//   post-process step 1 of channel 1 at index 0: type 7, default, enabled,
//   data "x2", label "scale", changes the unit to "bar"
inline void DescribeStandardSetUp(KrdFileHandle file) {
  uint16_t id = 0;
  ASSERT_EQ(CreateHeader(file, 1000, 0, HostBytes("bench").String()), 0);
  ASSERT_EQ(CreateDevice(file, 65535, HostBytes("rig").String(), &id), 0);
  ASSERT_EQ(id, 0);
  ASSERT_EQ(CreateDeviceAttribute(file, 0, 1, 0, HostBytes("serial-17").Array()), 0);
  ASSERT_EQ(CreateDevice(file, 0, HostBytes("daq").String(), &id), 0);
  ASSERT_EQ(id, 1);
  ASSERT_EQ(CreatePhysicalChannel(file, 1, 0, HostBytes("ai0").String(), &id), 0);
  ASSERT_EQ(id, 1);
  ASSERT_EQ(CreatePhysicalChannelAttribute(file, 1, 2, 0, HostBytes("V").Array()), 0);
  ASSERT_EQ(CreatePhysicalChannel(file, 1, 1, HostBytes("ai1").String(), &id), 0);
  ASSERT_EQ(id, 2);
  ASSERT_EQ(CreateChannelGroup(file, 10, 2, 3, &id), 0);
  ASSERT_EQ(id, 1);
  ASSERT_EQ(CreateChannelGroup(file, 1, 1, 3, &id), 0);
  ASSERT_EQ(id, 2);
  ASSERT_EQ(CreateChannel(file, 1, 1, 0, HostBytes("pressure").String(), &id), 0);
  ASSERT_EQ(id, 1);
  ASSERT_EQ(CreateChannel(file, 1, 2, 1, HostBytes("temperature").String(), &id), 0);
  ASSERT_EQ(id, 2);
  ASSERT_EQ(CreateEventSource(file, 1, 5, HostBytes("limit").String(), &id), 0);
  ASSERT_EQ(id, 1);
  uint32_t event = 0;
  ASSERT_EQ(CreateEvent(file, 1, 50, HostBytes("hi").Array(), &event), 0);
  ASSERT_EQ(event, 1u);
  ASSERT_EQ(CreateEvent(file, 1, 20, HostBytes("lo").Array(), &event), 0);
  ASSERT_EQ(event, 2u);
  uint32_t step = 0;
  ASSERT_EQ(CreatePostProcess(file, 1, 0, 7, 1, 0, HostBytes("x2").Array(),
                              HostBytes("scale").String(), 1, HostBytes("bar").String(), &step),
            0);
  ASSERT_EQ(step, 1u);
}

namespace detail {

template <typename Id>
std::string Join(const std::vector<Id>& ids) {
  std::string text;
  for (uint16_t id : ids) text += (text.empty() ? "" : " ") + std::to_string(id);
  return "[" + text + "]";
}

// Calls get(out) for a string or byte array; its text, or "<code>" on failure.
template <typename Handle, typename Get>
std::string Text(Get get) {
  Handle out = nullptr;
  const int32_t code = get(&out);
  const std::string bytes = TakeBytes(out);
  return code == 0 ? "'" + bytes + "'" : "<" + std::to_string(code) + ">";
}

// "{ key/index='value' ... }" of an owner's attributes, or "<code>".
template <typename ListAttributes, typename GetValue>
std::string Attributes(ListAttributes list, GetValue get) {
  KrdU16Array2DHandle handle = nullptr;
  const int32_t code = list(&handle);
  const AttributeRows rows = TakeAttributeIds(handle);
  if (code != 0) return "<" + std::to_string(code) + ">";
  std::string text;
  for (const auto& row : rows) {
    const uint16_t key = row.first;
    const uint16_t index = row.second;
    text += " " + std::to_string(key) + "/" + std::to_string(index) + "=" +
            Text<KrdU8ArrayHandle>([&](KrdU8ArrayHandle* out) { return get(key, index, out); });
  }
  return "{" + text + " }";
}

// The IDs of a returned list and how they print: "[1 2]", or "<code>" when
// the call failed (then without IDs).
struct IdList {
  std::vector<uint16_t> ids;
  std::string text;
};
template <typename List>
IdList Ids(List list_call) {
  KrdU16ArrayHandle handle = nullptr;
  const int32_t code = list_call(&handle);
  IdList list{TakeIds(handle), ""};
  if (code != 0) list.ids.clear();
  list.text = code == 0 ? Join(list.ids) : "<" + std::to_string(code) + ">";
  return list;
}

// A channel's post-process steps as "id@index type T flags D/E/U unit
// 'u' label 'l' data 'd'", D default, E disabled, U unit change.
inline std::string PostProcessChainOf(KrdFileHandle file, uint16_t channel) {
  KrdU32ArrayHandle list = nullptr;
  if (PostProcessList(file, channel, &list) != 0) return (TakeIds(list), "<failed>");
  std::string chain;
  for (uint32_t step : TakeIds(list)) {
    uint8_t index = 0;
    uint16_t type = 0;
    KrdBool is_default = 9, is_disabled = 9, is_unit_change = 9;
    EXPECT_EQ(GetPostProcessIndex(file, step, &index), 0);
    EXPECT_EQ(GetPostProcessDefault(file, step, &is_default), 0);
    EXPECT_EQ(GetPostProcessDisable(file, step, &is_disabled), 0);
    chain += " " + std::to_string(step) + "@" + std::to_string(index);
    const std::string data =
        Text<KrdU8ArrayHandle>([&](auto* o) { return GetPostProcess(file, step, &type, o); });
    const std::string unit = Text<KrdU8ArrayHandle>(
        [&](auto* o) { return GetPostProcessUnit(file, step, &is_unit_change, o); });
    chain += " type " + std::to_string(type) + " flags " + std::to_string(is_default) + "/" +
             std::to_string(is_disabled) + "/" + std::to_string(is_unit_change) + " unit " + unit +
             " label " +
             Text<KrdStringHandle>([&](auto* o) { return GetPostProcessLabel(file, step, o); }) +
             " data " + data;
  }
  return "[" + chain + " ]";
}

// An event source's label, data type and latest time, and its events as
// "id@time='data'" in time order.
inline std::string EventSourceOf(KrdFileHandle file, uint16_t source) {
  uint16_t type = 0;
  int64_t latest = 0;
  EXPECT_EQ(GetEventSrcDataType(file, source, &type), 0);
  EXPECT_EQ(GetMaxEventSrcTime(file, source, &latest), 0);
  KrdU32ArrayHandle list = nullptr;
  EXPECT_EQ(EventList(file, source, INT64_MIN, INT64_MAX, &list), 0);
  std::string events;
  for (uint32_t event : TakeIds(list)) {
    int64_t time = 0;
    EXPECT_EQ(GetEventTime(file, event, &time), 0);
    events += " " + std::to_string(event) + "@" + std::to_string(time) + "=" +
              Text<KrdU8ArrayHandle>([&](auto* o) { return GetEventData(file, event, o); });
  }
  return Text<KrdStringHandle>([&](auto* o) { return GetEventSrcLabel(file, source, o); }) +
         " type " + std::to_string(type) + " latest " + std::to_string(latest) + " events [" +
         events + " ]";
}

}  // namespace detail

// Everything the host can list and get about the set-up, one line per
// entity: the device tree from the root, the physical channels of its
// devices, every group, every channel with its post-process chain, and
// every event source with its events.
inline std::string StructureOf(KrdFileHandle file) {
  using detail::Ids;
  using detail::Text;
  std::string out;
  std::vector<uint16_t> physical_channels;
  std::deque<uint16_t> devices{0};
  while (!devices.empty()) {
    const uint16_t device = devices.front();
    devices.pop_front();
    const auto children = Ids([&](auto* o) { return DeviceChildrenList(file, device, o); });
    const auto channels = Ids([&](auto* o) { return PhysicalChannelList(file, device, o); });
    out += "device " + std::to_string(device) + " " +
           Text<KrdStringHandle>([&](auto* o) { return GetDeviceLabel(file, device, o); }) +
           " children " + children.text + " physical " + channels.text + " attributes " +
           detail::Attributes([&](auto* o) { return DeviceAttributeList(file, device, o); },
                              [&](uint16_t k, uint16_t i, auto* o) {
                                return GetDeviceAttribute(file, device, k, i, o);
                              }) +
           "\n";
    devices.insert(devices.end(), children.ids.begin(), children.ids.end());
    physical_channels.insert(physical_channels.end(), channels.ids.begin(), channels.ids.end());
  }
  for (uint16_t channel : physical_channels) {
    uint16_t number = 0;
    EXPECT_EQ(GetPhysicalChannelNbr(file, channel, &number), 0);
    out += "physical " + std::to_string(channel) + " #" + std::to_string(number) + " " +
           Text<KrdStringHandle>([&](auto* o) { return GetPhysicalChannelLabel(file, channel, o); }) +
           " channels " + Ids([&](auto* o) { return ChInPhysicalChannelList(file, channel, o); }).text +
           " sources " + Ids([&](auto* o) { return EventSrcInPhysicalChList(file, channel, o); }).text +
           " attributes " +
           detail::Attributes(
               [&](auto* o) { return PhysicalChannelAttributeList(file, channel, o); },
               [&](uint16_t k, uint16_t i, auto* o) {
                 return GetPhysicalChannelAttribute(file, channel, k, i, o);
               }) +
           "\n";
  }
  for (uint16_t group : Ids([&](auto* o) { return ChannelGroupList(file, o); }).ids) {
    uint32_t divisor = 0;
    uint8_t count = 0;
    uint16_t type = 0;
    EXPECT_EQ(GetChGroupTimeBaseDivisor(file, group, &divisor), 0);
    EXPECT_EQ(GetChGroupChCount(file, group, &count), 0);
    EXPECT_EQ(GetChGroupDataType(file, group, &type), 0);
    out += "group " + std::to_string(group) + " divisor " + std::to_string(divisor) + " count " +
           std::to_string(count) + " type " + std::to_string(type) + " channels " +
           Ids([&](auto* o) { return ChInGroupList(file, group, o); }).text + "\n";
  }
  for (uint16_t channel : Ids([&](auto* o) { return ChannelList(file, o); }).ids) {
    uint8_t interleave_index = 0;
    EXPECT_EQ(GetChInterleaveIndex(file, channel, &interleave_index), 0);
    out += "channel " + std::to_string(channel) + " " +
           Text<KrdStringHandle>([&](auto* o) { return GetChLabel(file, channel, o); }) + " at " +
           std::to_string(interleave_index) + " steps " +
           detail::PostProcessChainOf(file, channel) + "\n";
  }
  for (uint16_t source : Ids([&](auto* o) { return EventSourceList(file, o); }).ids) {
    out += "source " + std::to_string(source) + " " + detail::EventSourceOf(file, source) + "\n";
  }
  return out;
}

// Tests on the standard set-up of a recording named "s".
class StructureFixture : public HostFixture {
 protected:
  // "s" open in mode: in record mode the set-up is recorded on the returned
  // handle; otherwise it was recorded and closed before.
  KrdFileHandle OpenStandard(uint8_t mode) {
    if (mode != kRecord) {
      const KrdFileHandle recorder = OpenOrFail("s", kRecord);
      DescribeStandardSetUp(recorder);
      EXPECT_EQ(Close(recorder), 0);
      return OpenOrFail("s", mode);
    }
    const KrdFileHandle file = OpenOrFail("s", kRecord);
    DescribeStandardSetUp(file);
    return file;
  }
  uint64_t KrdSize() const { return std::filesystem::file_size(dir_.File("s.krd")); }
  std::string Krq() const { return dir_.File("s.krq"); }
};

}  // namespace Varnholt::Testing
