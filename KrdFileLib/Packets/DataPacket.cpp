#include "KrdFileLib/Packets/DataPacket.h"

#include <algorithm>
#include <array>

#include "KrdFileLib/Errors.h"
#include "KrdFileLib/DataFile/KrdInstance.h"
#include "KrdFileLib/Packets/ChannelGroupPacket.h"
#include "KrdFileLib/Packets/ParsePacket.h"

namespace Varnholt::KrdFiles::Packets {

namespace {

// Frames in sample_bytes; code 47 unless they are whole frames, and at
// least one. A zero frame size holds no whole frame of any bytes.
uint64_t CountFrames(uint64_t frame_size, uint64_t sample_bytes) {
  const bool whole_frames = frame_size == 0 ? sample_bytes == 0 : sample_bytes % frame_size == 0;
  if (!whole_frames) throw Errors::DataNotFrameMultiple();
  if (sample_bytes == 0) throw Errors::DataEmpty();
  return sample_bytes / frame_size;
}

}  // namespace

DataPacket::DataPacket(const ChannelGroupPacket& group, int64_t start_time_offset,
                       std::span<const uint8_t> samples)
    : IndexedPacket(PacketTypeId::kData),
      start_time_offset_(start_time_offset),
      channel_group_id_(group.GroupId()),
      samples_(samples) {
  BindRow();
  TakeNewFrames(group);
}

DataPacket::DataPacket(const ChannelGroupPacket& group, int64_t start_time_offset, Bytes&& samples)
    : IndexedPacket(PacketTypeId::kData),
      start_time_offset_(start_time_offset),
      channel_group_id_(group.GroupId()),
      owned_samples_(std::move(samples)),
      samples_(owned_samples_) {
  BindRow();
  TakeNewFrames(group);
}

DataPacket::DataPacket(KrdInstance& file, Index::IndexConnection& connection,
                       const PacketFrame& frame)
    : DataPacket(connection, frame, ReadBody(file, frame, kFixedBodySize), nullptr) {}

DataPacket::DataPacket(Index::IndexConnection& connection, const PacketFrame& frame,
                       Bytes fixed_body, const ChannelGroupPacket* expected_group)
    : IndexedPacket(frame) {
  BindRow();
  PacketReader body(std::move(fixed_body));
  start_time_offset_ = static_cast<int64_t>(body.ReadUInt64());
  channel_group_id_ = body.ReadUInt16();
  RequireFullyConsumed(body);
  const uint64_t sample_bytes = frame.body_length - kFixedBodySize;
  if (expected_group != nullptr && expected_group->GroupId() == channel_group_id_) {
    TakeFrames(*expected_group, sample_bytes);
  } else {
    TakeFrames(*ChannelGroupPacket::Find(connection, channel_group_id_), sample_bytes);
  }
}

void DataPacket::BindRow() {
  row_.channel_group_id.PointAt(&channel_group_id_);
  row_.start_time_offset.PointAt(&start_time_offset_);
  row_.end_time_offset.PointAt(&end_time_offset_);
}

void DataPacket::TakeNewFrames(const ChannelGroupPacket& group) {
  TakeFrames(group, samples_.size());
  // Blocks already in a file keep the end time they wrap to; a new one
  // must not begin the wrap.
  if (!Frames().EndsWithinTimeRange()) {
    throw Errors::BlockEndsPastTimeLimit(start_time_offset_, frame_count_, divisor_);
  }
}

int64_t DataPacket::EndTimeOf(uint64_t frame_size, uint32_t divisor, int64_t start_time,
                              uint64_t sample_bytes) {
  return FrameGrid(start_time, divisor, CountFrames(frame_size, sample_bytes)).LastFrameTime();
}

void DataPacket::TakeFrames(const ChannelGroupPacket& group, uint64_t sample_bytes) {
  frame_count_ = CountFrames(group.FrameSize(), sample_bytes);
  divisor_ = group.TimeBaseDivisor();
  end_time_offset_ = Frames().LastFrameTime();
}

namespace {

// Code 3 unless frame is a data block's.
const PacketFrame& RequireDataFrame(const PacketFrame& frame) {
  if (frame.type != PacketTypeId::kData) {
    throw Errors::UnknownPacketType(static_cast<uint8_t>(frame.type));
  }
  return frame;
}

}  // namespace

std::shared_ptr<DataPacket> DataPacket::ReadAt(KrdInstance& file,
                                               Index::IndexConnection& connection,
                                               uint64_t offset) {
  return std::make_shared<DataPacket>(file, connection,
                                      RequireDataFrame(ReadPacketFrame(file, offset)));
}

DataPacket DataPacket::ReadOfGroup(KrdInstance& file, Index::IndexConnection& connection,
                                   const ChannelGroupPacket& group, uint64_t offset) {
  // The frame and the fixed fields with one read; the checks and their order
  // are those of ReadAt.
  std::array<uint8_t, kFrameSize + kFixedBodySize> head{};
  const std::size_t got = file.ReadAvailable(offset, head);
  if (got < kFrameSize) throw Errors::KrdFileEndedUnexpectedly();
  const PacketFrame frame =
      RequireDataFrame(DecodePacketFrame(std::span(head).first<kFrameSize>(), offset));
  const uint64_t fixed_bytes = std::min<uint64_t>(frame.body_length, kFixedBodySize);
  if (got < kFrameSize + fixed_bytes) throw Errors::KrdFileEndedUnexpectedly();
  const auto fixed_body = std::span(head).subspan(kFrameSize, fixed_bytes);
  return DataPacket(connection, frame, Bytes(fixed_body.begin(), fixed_body.end()), &group);
}

void DataPacket::AppendBody(Bytes& body) const {
  PutUInt64(body, static_cast<uint64_t>(start_time_offset_));
  PutUInt16(body, channel_group_id_);
}

}  // namespace Varnholt::KrdFiles::Packets
