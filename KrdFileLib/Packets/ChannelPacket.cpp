#include "KrdFileLib/Packets/ChannelPacket.h"

#include <optional>

#include "KrdFileLib/Errors.h"
#include "KrdFileLib/Packets/ChannelGroupPacket.h"
#include "KrdFileLib/Packets/ChannelSampleReader.h"
#include "KrdFileLib/Packets/DataPacket.h"
#include "KrdFileLib/Packets/SampleBuffer.h"

namespace Varnholt::KrdFiles::Packets {

namespace {

// Where the data goes on past the window within the block read last
// (forward) or first (backward): the frame right after or right before
// the window, if that block has one.
int64_t TimeBeyondWindow(const std::optional<FrameGrid>& block, const TimeWindow& window,
                         bool forward) {
  if (!block) return kNoMoreData;
  if (forward) {
    const uint64_t after = block->FramesAtOrBefore(window.last);
    return after < block->FrameCount() ? block->FrameTime(after) : kNoMoreData;
  }
  const uint64_t first_inside = block->FirstFrameAtOrAfter(window.first);
  return first_inside > 0 ? block->FrameTime(first_inside - 1) : kNoMoreData;
}

// Where the group's data continues past the window, in a block of its own.
int64_t TimeInNeighbourBlock(Index::IndexConnection& connection, uint16_t group_id,
                             const TimeWindow& window, bool forward) {
  if (forward) {
    const auto next = DataPacket::FindNextBlock(connection, group_id, window.last);
    return next ? next->start_time_offset : kNoMoreData;
  }
  const auto previous = DataPacket::FindPreviousBlock(connection, group_id, window.first);
  return previous ? previous->end_time_offset : kNoMoreData;
}

}  // namespace

ChannelPacket::ChannelPacket(uint16_t channel_group_id, uint16_t physical_channel_id,
                             uint8_t interleave_index, std::string label)
    : IndexedPacket(PacketTypeId::kChannel),
      channel_group_id_(channel_group_id),
      physical_channel_id_(physical_channel_id),
      interleave_index_(interleave_index),
      label_(CheckedLabel(std::move(label))) {
  BindRow();
}

ChannelPacket::ChannelPacket(const PacketFrame& frame, Bytes body) : IndexedPacket(frame) {
  BindRow();
  DecodeBody(std::move(body), [this](PacketReader& fields) {
    channel_id_ = fields.ReadUInt16();
    channel_group_id_ = fields.ReadUInt16();
    physical_channel_id_ = fields.ReadUInt16();
    interleave_index_ = fields.ReadUInt8();
    label_ = fields.ReadString8();
  });
}

void ChannelPacket::BindRow() {
  row_.channel_id.PointAt(&channel_id_);
  row_.channel_group_id.PointAt(&channel_group_id_);
  row_.physical_channel_id.PointAt(&physical_channel_id_);
  row_.interleav_index.PointAt(&interleave_index_);
  row_.disabled.PointAt(&disabled_);
  row_.label.PointAt(&label_);
}

std::shared_ptr<ChannelPacket> ChannelPacket::Find(Index::IndexConnection& connection,
                                                   uint16_t channel_id) {
  auto channel = std::make_shared<ChannelPacket>(0, 0, 0, std::string());
  channel->channel_id_ = channel_id;
  if (!channel->LoadByKey(connection)) {
    throw Errors::ChannelNotFound(channel_id);
  }
  return channel;
}

void ChannelPacket::CheckInterleaveIndex(const ChannelGroupPacket& group,
                                         uint8_t interleave_index) {
  if (interleave_index >= group.ChannelCount()) {
    throw Errors::InterleaveIndexTooLarge(group.GroupId(), int64_t{group.ChannelCount()} - 1);
  }
}

void ChannelPacket::CheckInterleaveIndex(Index::IndexConnection& connection) const {
  CheckInterleaveIndex(*ChannelGroupPacket::Find(connection, channel_group_id_), interleave_index_);
}

int64_t ChannelPacket::GetChannelData(Index::IndexConnection& connection, KrdInstance& file,
                                      int64_t start_time, int64_t length, uint64_t chunk_size,
                                      SampleBuffer& samples) const {
  if (length == 0) throw Errors::ZeroLengthInterval();
  const auto group = ChannelGroupPacket::Find(connection, channel_group_id_);
  const TimeWindow window = TimeWindow::ForInterval(start_time, length);
  ChannelSampleReader reader(file, *group, interleave_index_, chunk_size);

  std::optional<FrameGrid> first_block;
  std::optional<FrameGrid> last_block;
  const std::vector<Index::DataRecordRef> records =
      Index::DataTable::SelectDataInRange(connection, channel_group_id_, window.first, window.last);
  reader.Reserve(records, window, samples);
  for (const Index::DataRecordRef& record : records) {
    const DataPacket block =
        DataPacket::ReadOfGroup(file, connection, *group, static_cast<uint64_t>(record.offset));
    reader.AppendSamples(block, window, samples);
    if (!first_block) first_block = block.Frames();
    last_block = block.Frames();
  }
  const bool forward = length > 0;
  const int64_t continuation =
      TimeBeyondWindow(forward ? last_block : first_block, window, forward);
  if (continuation != kNoMoreData) return continuation;
  return TimeInNeighbourBlock(connection, channel_group_id_, window, forward);
}

void ChannelPacket::AppendBody(Bytes& body) const {
  PutUInt16(body, channel_id_);
  PutUInt16(body, channel_group_id_);
  PutUInt16(body, physical_channel_id_);
  PutUInt8(body, interleave_index_);
  PutString8(body, label_);
}

}  // namespace Varnholt::KrdFiles::Packets
