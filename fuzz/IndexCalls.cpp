#include "fuzz/IndexCalls.h"

#include <limits>
#include <optional>
#include <set>
#include <type_traits>

#include "KrdFileLib/Exceptions.h"
#include "KrdFileLib/Reading/SampleBuffer.h"

namespace Varnholt::Fuzzing {

namespace {

using namespace Varnholt::KrdFiles;
using Bytes = KrfFileBase::Bytes;

// How many of a listing's IDs the getters are called on; an index can
// list thousands.
constexpr std::size_t kIdsCalled = 8;
// How many devices the walk down the device tree visits.
constexpr std::size_t kDevicesVisited = 16;
constexpr int64_t kMin = std::numeric_limits<int64_t>::min();
constexpr int64_t kMax = std::numeric_limits<int64_t>::max();

// The call's result, or nothing when it failed with one of the library's
// errors.
template <typename Call>
auto Try(Call call) {
  using Result = decltype(call());
  if constexpr (std::is_void_v<Result>) {
    try {
      call();
    } catch (const ApiException&) {
    }
  } else {
    try {
      return std::optional<Result>(call());
    } catch (const ApiException&) {
      return std::optional<Result>();
    }
  }
}

// The first IDs of a listing, or none when it failed.
template <typename Id, typename Call>
std::vector<Id> First(Call list) {
  std::vector<Id> ids = Try(list).value_or(std::vector<Id>());
  if (ids.size() > kIdsCalled) ids.resize(kIdsCalled);
  return ids;
}

// The IDs given and a few that a listing does not return, at least not in
// the recording the seeds come from.
template <typename Id>
std::vector<Id> WithUnlisted(std::vector<Id> ids) {
  for (const Id unlisted : {Id{0}, Id{999}, std::numeric_limits<Id>::max()}) {
    ids.push_back(unlisted);
  }
  return ids;
}

template <typename Id>
Id FirstOr(const std::vector<Id>& ids, Id fallback) {
  return ids.empty() ? fallback : ids.front();
}

template <typename Id>
Id LastOr(const std::vector<Id>& ids, Id fallback) {
  return ids.empty() ? fallback : ids.back();
}

void ReadHeader(KrfFileBase& file) {
  Try([&] { return file.GetTimeBase(); });
  Try([&] { return file.GetFileLabel(); });
  Try([&] { return file.GetStartDataType(); });
  Try([&] { return file.GetRTStart(); });
  Try([&] { return file.GetAnnotation(); });
}

// The device tree from the root down, each device once (an index can make
// a device its own ancestor), with the attributes of each.
void ReadDevices(KrfFileBase& file, ListedIds& ids) {
  std::vector<uint16_t>& devices = ids.devices;
  devices = {0};
  std::set<uint16_t> seen = {0};
  for (std::size_t next = 0; next < devices.size() && next < kDevicesVisited; ++next) {
    const uint16_t device = devices[next];
    Try([&] { return file.GetDeviceLabel(device); });
    for (const AttributeId attribute :
         First<AttributeId>([&] { return file.DeviceAttributeList(device); })) {
      Try([&] { return file.GetDeviceAttribute(device, attribute.key, attribute.index); });
      if (ids.device_attributes.empty()) ids.device_attributes.push_back(attribute);
    }
    for (const uint16_t child : First<uint16_t>([&] { return file.DeviceChildrenList(device); })) {
      if (seen.insert(child).second) devices.push_back(child);
    }
    for (const uint16_t physical :
         First<uint16_t>([&] { return file.PhysicalChannelList(device); })) {
      if (ids.physical_channels.size() < kIdsCalled) ids.physical_channels.push_back(physical);
    }
  }
  for (const uint16_t unlisted : {uint16_t{999}, uint16_t{65535}}) {
    Try([&] { return file.GetDeviceLabel(unlisted); });
    Try([&] { return file.DeviceChildrenList(unlisted); });
    Try([&] { return file.DeviceAttributeList(unlisted); });
    Try([&] { return file.PhysicalChannelList(unlisted); });
    Try([&] { return file.GetDeviceAttribute(unlisted, 1, 0); });
  }
}

void ReadPhysicalChannels(KrfFileBase& file, ListedIds& ids) {
  for (const uint16_t physical : WithUnlisted(ids.physical_channels)) {
    Try([&] { return file.GetPhysicalChannelLabel(physical); });
    Try([&] { return file.GetPhysicalChannelNbr(physical); });
    const auto attributes =
        First<AttributeId>([&] { return file.PhysicalChannelAttributeList(physical); });
    for (const AttributeId attribute : attributes) {
      Try([&] {
        return file.GetPhysicalChannelAttribute(physical, attribute.key, attribute.index);
      });
    }
    if (ids.physical_channel_attributes.empty()) ids.physical_channel_attributes = attributes;
    Try([&] { return file.ChInPhysicalChannelList(physical); });
    Try([&] { return file.EventSrcInPhysicalChList(physical); });
  }
}

void ReadGroups(KrfFileBase& file, ListedIds& ids) {
  ids.groups = First<uint16_t>([&] { return file.ChannelGroupList(); });
  for (const uint16_t group : WithUnlisted(ids.groups)) {
    Try([&] { return file.GetChGroupTimeBaseDivisor(group); });
    Try([&] { return file.GetChGroupChCount(group); });
    Try([&] { return file.GetChGroupDataType(group); });
    Try([&] { return file.GetMaxChGroupTime(group); });
    Try([&] { return file.ChInGroupList(group); });
  }
}

// Forward and backward, over the recording and past both its ends, and
// on from where each read says the next one starts.
void ReadChannelData(KrfFileBase& file, uint16_t channel) {
  struct Read {
    int64_t start;
    int64_t length;
  };
  static constexpr Read kReads[] = {{0, 100}, {85, -60}, {kMin, kMax}, {kMax, -kMax}};
  for (const Read read : kReads) {
    int64_t next = -1;
    Reading::ByteVectorSampleBuffer samples;
    Try([&] { file.GetChannelData(channel, read.start, read.length, next, samples); });
    if (next >= 0) {
      Reading::ByteVectorSampleBuffer more;
      Try([&] { file.GetChannelData(channel, next, read.length, next, more); });
    }
  }
}

void ReadPostProcesses(KrfFileBase& file, uint16_t channel, ListedIds& ids) {
  for (const uint32_t step : First<uint32_t>([&] { return file.PostProcessList(channel); })) {
    if (ids.post_processes.size() < kIdsCalled) ids.post_processes.push_back(step);
  }
}

void ReadPostProcessSteps(KrfFileBase& file, const ListedIds& ids) {
  for (const uint32_t step : WithUnlisted(ids.post_processes)) {
    uint16_t type = 0;
    bool is_unit_change = false;
    Try([&] { return file.GetPostProcessIndex(step); });
    Try([&] { return file.GetPostProcess(step, type); });
    Try([&] { return file.GetPostProcessDisable(step); });
    Try([&] { return file.GetPostProcessDefault(step); });
    Try([&] { return file.GetPostProcessUnit(step, is_unit_change); });
    Try([&] { return file.GetPostProcessLabel(step); });
  }
}

void ReadChannels(KrfFileBase& file, ListedIds& ids) {
  ids.channels = First<uint16_t>([&] { return file.ChannelList(); });
  for (const uint16_t channel : ids.channels) ReadChannelData(file, channel);
  for (const uint16_t channel : WithUnlisted(ids.channels)) {
    Try([&] { return file.GetChInterleaveIndex(channel); });
    Try([&] { return file.GetChLabel(channel); });
    ReadPostProcesses(file, channel, ids);
  }
  int64_t next = -1;
  Reading::ByteVectorSampleBuffer samples;
  Try([&] { file.GetChannelData(999, 0, 10, next, samples); });
  ReadPostProcessSteps(file, ids);
}

void ReadEvents(KrfFileBase& file, ListedIds& ids) {
  struct Range {
    int64_t start;
    int64_t end;
  };
  static constexpr Range kRanges[] = {{kMin, kMax}, {0, 20}, {50, 0}};
  ids.event_sources = First<uint16_t>([&] { return file.EventSourceList(); });
  for (const uint16_t source : WithUnlisted(ids.event_sources)) {
    Try([&] { return file.GetEventSrcDataType(source); });
    Try([&] { return file.GetEventSrcLabel(source); });
    Try([&] { return file.GetMaxEventSrcTime(source); });
    for (const Range range : kRanges) {
      const auto events =
          First<uint32_t>([&] { return file.EventList(source, range.start, range.end); });
      if (ids.events.size() < kIdsCalled) {
        ids.events.insert(ids.events.end(), events.begin(), events.end());
      }
    }
  }
  for (const uint32_t event : WithUnlisted(ids.events)) {
    Try([&] { return file.GetEventTime(event); });
    Try([&] { return file.GetEventData(event); });
  }
}

}  // namespace

ListedIds CallEveryReader(KrfFileBase& file) {
  ListedIds ids;
  ReadHeader(file);
  ReadDevices(file, ids);
  ReadPhysicalChannels(file, ids);
  ReadGroups(file, ids);
  ReadChannels(file, ids);
  ReadEvents(file, ids);
  return ids;
}

namespace {

void ModifyHeader(KrfFileBase& file) {
  Try([&] { file.SetTimeBase(500); });
  Try([&] { file.SetFileLabel("edited"); });
  Try([&] { file.SetStart(9, {1, 2, 3}); });
  Try([&] { file.SetAnnotation("noted"); });
}

void ModifyDevices(KrfFileBase& file, const ListedIds& ids) {
  const uint16_t device = FirstOr<uint16_t>(ids.devices, 0);
  Try([&] { return file.CreateDevice(device, "added"); });
  Try([&] { file.SetDeviceLabel(device, "relabelled"); });
  Try([&] { file.CreateDeviceAttribute(device, 7, 0, {1}); });
  const AttributeId attribute = FirstOr(ids.device_attributes, AttributeId{1, 0});
  Try([&] { file.SetDeviceAttribute(device, attribute.key, attribute.index, {2, 3}); });
  Try([&] { file.DeleteDeviceAttribute(device, attribute.key, attribute.index); });

  const uint16_t physical = FirstOr<uint16_t>(ids.physical_channels, 1);
  Try([&] { return file.CreatePhysicalChannel(device, 5, "added"); });
  Try([&] { file.SetPhysicalChannelLabel(physical, "relabelled"); });
  Try([&] { file.CreatePhysicalChannelAttribute(physical, 9, 0, {4}); });
  const AttributeId physical_attribute =
      FirstOr(ids.physical_channel_attributes, AttributeId{2, 0});
  Try([&] {
    file.SetPhysicalChannelAttribute(physical, physical_attribute.key, physical_attribute.index,
                                     {5});
  });
  Try([&] {
    file.DeletePhysicalChannelAttribute(physical, physical_attribute.key, physical_attribute.index);
  });
}

void ModifyChannels(KrfFileBase& file, const ListedIds& ids) {
  const uint16_t group = FirstOr<uint16_t>(ids.groups, 1);
  const uint16_t physical = FirstOr<uint16_t>(ids.physical_channels, 1);
  const uint16_t channel = FirstOr<uint16_t>(ids.channels, 1);
  Try([&] { return file.CreateChannelGroup(3, 2, 1); });
  Try([&] { file.SetChGroupTimeBaseDivisor(group, 4); });
  Try([&] { return file.CreateChannel(group, physical, 1, "added"); });
  Try([&] { file.SetChLabel(channel, "relabelled"); });

  const uint32_t step = FirstOr<uint32_t>(ids.post_processes, 1);
  Try([&] { return file.CreatePostProcess(channel, 2, 1, false, false, {1}, "a", true, "V"); });
  Try([&] { return file.InsertPostProcess(channel, 0, 3, false, true, {}, "b", false, ""); });
  Try([&] { file.SetPostProcessIndex(step, 4); });
  Try([&] { file.SetPostProcess(step, 5, {6, 7}); });
  Try([&] { file.SetPostProcessDisable(step, true); });
  Try([&] { file.SetPostProcessUnit(step, true, {'m', 'V'}); });
  Try([&] { file.SetPostProcessLabel(step, "relabelled"); });
  Try([&] { file.DeletePostProcess(LastOr<uint32_t>(ids.post_processes, 2)); });
}

void ModifyEvents(KrfFileBase& file, const ListedIds& ids) {
  const uint16_t source = FirstOr<uint16_t>(ids.event_sources, 1);
  const uint32_t event = FirstOr<uint32_t>(ids.events, 1);
  Try([&] { return file.CreateEventSource(FirstOr<uint16_t>(ids.physical_channels, 1), 5, "s"); });
  Try([&] { file.SetEventSrcLabel(source, "relabelled"); });
  Try([&] { return file.CreateEvent(source, 42, {1, 2}); });
  Try([&] { file.SetEventTime(event, -7); });
  Try([&] { file.SetEventData(event, {3}); });
  Try([&] { file.DeleteEvent(LastOr<uint32_t>(ids.events, 2)); });
}

// Deletes the last listed entity of each kind, after everything else.
void DeleteSome(KrfFileBase& file, const ListedIds& ids) {
  Try([&] { file.DeleteChannel(LastOr<uint16_t>(ids.channels, 2)); });
  Try([&] { file.DeleteChannelGroup(LastOr<uint16_t>(ids.groups, 3)); });
  Try([&] { file.DeleteEventSource(LastOr<uint16_t>(ids.event_sources, 3)); });
  Try([&] { file.DeletePhysicalChannel(LastOr<uint16_t>(ids.physical_channels, 3)); });
  Try([&] { file.DeleteDevice(LastOr<uint16_t>(ids.devices, 2)); });
}

}  // namespace

void CallSomeModifiers(KrfFileBase& file, const ListedIds& ids) {
  ModifyHeader(file);
  ModifyDevices(file, ids);
  ModifyChannels(file, ids);
  ModifyEvents(file, ids);
  DeleteSome(file, ids);
}

}  // namespace Varnholt::Fuzzing
