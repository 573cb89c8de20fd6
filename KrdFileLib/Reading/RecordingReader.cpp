#include "KrdFileLib/Reading/RecordingReader.h"

#include <algorithm>

#include "KrdFileLib/File/KrfModes.h"
#include "KrdFileLib/FileLibrarySettings.h"
#include "KrdFileLib/Index/DataTable.h"
#include "KrdFileLib/Index/DeviceTable.h"
#include "KrdFileLib/Index/EventTable.h"
#include "KrdFileLib/Index/FileInformationTable.h"
#include "KrdFileLib/Index/PhysicalChannelTable.h"
#include "KrdFileLib/Packets/ChannelGroupPacket.h"
#include "KrdFileLib/Packets/ChannelPacket.h"
#include "KrdFileLib/Packets/DataPacket.h"
#include "KrdFileLib/Packets/DeviceAttributePacket.h"
#include "KrdFileLib/Packets/DevicePacket.h"
#include "KrdFileLib/Packets/EventSourcePacket.h"
#include "KrdFileLib/Packets/PhysicalChannelAttributePacket.h"
#include "KrdFileLib/Packets/PhysicalChannelPacket.h"
#include "KrdFileLib/Packets/PostProcessPacket.h"
#include "KrdFileLib/Reading/ChannelRead.h"
#include "KrdFileLib/Reading/SampleChunks.h"

namespace Varnholt::KrdFiles::Reading {

namespace {

using Index::IndexConnection;

// The attributes of one owner, as its attribute list and lookups find them.
template <typename AttributePacket>
std::vector<Attribute> AttributesOf(IndexConnection& index, uint16_t owner_id) {
  std::vector<Attribute> attributes;
  for (const AttributeId& id : AttributePacket::ListOf(index, owner_id)) {
    attributes.push_back(
        {id.key, id.index, AttributePacket::Find(index, owner_id, id.key, id.index)->Value()});
  }
  return attributes;
}

PostProcessStep StepOf(const Packets::PostProcessPacket& packet) {
  const Packets::PostProcessPacket::Step& step = packet.Fields();
  return {.id = packet.PostProcessId(),
          .index = step.post_process_index,
          .type = step.post_process_type,
          .is_default = step.is_default,
          .is_disabled = step.is_disabled,
          .is_unit_change = step.is_unit_change,
          .unit = step.unit,
          .label = step.label,
          .data = step.data};
}

// The channel's post-process chain, in chain order.
std::vector<PostProcessStep> ChainOf(KrfFileBase& file, IndexConnection& index,
                                     uint16_t channel_id) {
  std::vector<PostProcessStep> chain;
  for (const uint32_t step_id : file.PostProcessList(channel_id)) {
    chain.push_back(StepOf(*Packets::PostProcessPacket::Find(index, step_id)));
  }
  std::stable_sort(
      chain.begin(), chain.end(),
      [](const PostProcessStep& a, const PostProcessStep& b) { return a.index < b.index; });
  return chain;
}

// The bytes of the data file one read takes at a time: the library's
// default, and never more than the caller's buffer.
uint64_t ReadChunkSize(std::span<uint8_t> buffer) {
  return std::min<uint64_t>(buffer.size(), FileLibrarySettings::kDefaultReadChunkSize);
}

}  // namespace

RecordingReader::RecordingReader(const std::string& krd_path, const std::string& krq_path)
    : file_(std::make_unique<KrfReader>(krd_path, krq_path, nullptr, nullptr)) {
  // When the open fails, the file object goes with this half-built reader
  // and closes whatever it had opened.
  file_->Open();
}

RecordingReader::~RecordingReader() = default;
RecordingReader::RecordingReader(RecordingReader&&) noexcept = default;
RecordingReader& RecordingReader::operator=(RecordingReader&&) noexcept = default;

// Entities ------------------------------------------------------------------

FileInformation RecordingReader::Information() {
  return file_->ReadPair([](IndexConnection& index, KrdInstance&) {
    Index::FileInformationTable row;
    row.RequireHeader(index);
    return FileInformation{.guid = row.uuid.Value().bytes,
                           .file_version = row.file_version.Value(),
                           .device_id = row.device_id.Value(),
                           .label = row.label.Value(),
                           .time_base = row.time_base.Value(),
                           .start_data_type = row.real_time_start_type.Value(),
                           .start = row.real_time_start.Value(),
                           .annotation = row.annotation.Value()};
  });
}

std::vector<Device> RecordingReader::Devices() {
  return file_->ReadPair([](IndexConnection& index, KrdInstance&) {
    std::vector<Device> devices;
    const Index::DeviceTable table;
    for (const uint16_t id : table.SelectAllIds(index, table.device_id)) {
      const auto device = Packets::DevicePacket::Find(index, id);
      devices.push_back({id, device->ParentId(), device->Label(),
                         AttributesOf<Packets::DeviceAttributePacket>(index, id)});
    }
    return devices;
  });
}

std::vector<PhysicalChannel> RecordingReader::PhysicalChannels() {
  return file_->ReadPair([](IndexConnection& index, KrdInstance&) {
    std::vector<PhysicalChannel> channels;
    const Index::PhysicalChannelTable table;
    for (const uint16_t id : table.SelectAllIds(index, table.channel_id)) {
      const auto channel = Packets::PhysicalChannelPacket::Find(index, id);
      channels.push_back({id, channel->DeviceId(), channel->ChannelNumber(), channel->Label(),
                          AttributesOf<Packets::PhysicalChannelAttributePacket>(index, id)});
    }
    return channels;
  });
}

std::vector<ChannelGroup> RecordingReader::ChannelGroups() {
  return file_->ReadPair([this](IndexConnection& index, KrdInstance&) {
    std::vector<ChannelGroup> groups;
    for (const uint16_t id : file_->ChannelGroupList()) {
      const auto group = Packets::ChannelGroupPacket::Find(index, id);
      groups.push_back({id, group->TimeBaseDivisor(), group->ChannelCount(), group->DataType()});
    }
    return groups;
  });
}

std::vector<Channel> RecordingReader::Channels() {
  return file_->ReadPair([this](IndexConnection& index, KrdInstance&) {
    std::vector<Channel> channels;
    for (const uint16_t id : file_->ChannelList()) {
      const auto channel = Packets::ChannelPacket::Find(index, id);
      channels.push_back({id, channel->ChannelGroupId(), channel->PhysicalChannelId(),
                          channel->InterleaveIndex(), channel->IsDisabled(), channel->Label(),
                          ChainOf(*file_, index, id)});
    }
    return channels;
  });
}

std::vector<EventSource> RecordingReader::EventSources() {
  return file_->ReadPair([this](IndexConnection& index, KrdInstance&) {
    std::vector<EventSource> sources;
    for (const uint16_t id : file_->EventSourceList()) {
      const auto source = Packets::EventSourcePacket::Find(index, id);
      sources.push_back({id, source->PhysicalChannelId(), source->DataType(), source->Label()});
    }
    return sources;
  });
}

// Data ------------------------------------------------------------------------

void RecordingReader::ForEachBlock(uint16_t group_id, int64_t first_time, int64_t last_time,
                                   const BlockHandler& take) {
  file_->ReadPair([&](IndexConnection& index, KrdInstance& data_file) {
    const auto group = Packets::ChannelGroupPacket::Find(index, group_id);
    Index::DataTable::ForEachDataInRange(
        index, group_id, first_time, last_time, [&](const Index::DataRecordRef& record) {
          const auto offset = static_cast<uint64_t>(record.offset);
          const auto block = Packets::DataPacket::ReadOfGroup(data_file, index, *group, offset);
          take({block.StartTimeOffset(), block.EndTimeOffset(), block.Frames().FrameCount(),
                offset});
        });
  });
}

int64_t RecordingReader::ReadChannel(uint16_t channel_id, int64_t start_time, int64_t length,
                                     std::span<uint8_t> buffer, const SampleHandler& take) {
  return file_->ReadPair([&](IndexConnection& index, KrdInstance& data_file) {
    const auto channel = Packets::ChannelPacket::Find(index, channel_id);
    ChannelRead read(index, data_file, *channel, start_time, length, ReadChunkSize(buffer));
    SampleChunks chunks(buffer, read.SampleSize(), take);
    const int64_t continuation = read.Stream(chunks);
    chunks.Flush();
    return continuation;
  });
}

void RecordingReader::ForEachEvent(std::optional<uint16_t> source_id, int64_t first_time,
                                   int64_t last_time, const EventHandler& take) {
  file_->ReadPair([&](IndexConnection& index, KrdInstance&) {
    if (source_id) Packets::EventSourcePacket::Find(index, *source_id);
    Index::EventTable::ForEachEventInRange(
        index, source_id, first_time, last_time, [&](const Index::EventTable& row) {
          take({row.event_id.Value(), row.event_source_id.Value(), row.event_time.Value(),
                row.data.Value()});
        });
  });
}

}  // namespace Varnholt::KrdFiles::Reading
