#include "KrdFileLib/Walk/PacketWalk.h"

#include <algorithm>

#include "KrdFileLib/DataFile/KrdInstance.h"
#include "KrdFileLib/Errors.h"
#include "KrdFileLib/Packets/ParsePacket.h"

namespace Varnholt::KrdFiles::Walk {

using Packets::kFrameSize;
using Packets::PacketFrame;

namespace {

bool IsPacketTypeId(uint8_t id) {
  return id >= Packets::kFirstPacketTypeId && id <= Packets::kLastPacketTypeId;
}

}  // namespace

PacketWalk::PacketWalk(KrdInstance& file, PacketCheck& check, Progress progress)
    : check_(check), progress_(std::move(progress)), reader_(file, file.GetEndOffset()) {}

WalkResult PacketWalk::Run(const Visit& visit) {
  const uint64_t size = reader_.Size();
  result_ = WalkResult{};
  result_.file_size = size;
  next_report_ = kProgressStep;
  for (position_ = 0; position_ < size;) {
    Report(position_);
    const std::span<const uint8_t> frame_bytes = reader_.Bytes(position_, kFrameSize);
    if (frame_bytes.size() < kFrameSize) {
      return Stop(WalkStop::Cause::kFrameCut, std::nullopt, Errors::KrdFileEndedUnexpectedly());
    }
    if (!IsPacketTypeId(frame_bytes[0])) {
      return Stop(WalkStop::Cause::kUnknownType, std::nullopt,
                  Errors::UnknownPacketType(frame_bytes[0]));
    }
    const PacketFrame frame =
        Packets::DecodePacketFrame(frame_bytes.first<kFrameSize>(), position_);
    if (check_.BodyBytesNeeded(frame) > size - position_ - kFrameSize) {
      return Stop(WalkStop::Cause::kBodyCut, frame, Errors::KrdFileEndedUnexpectedly());
    }
    CheckedPacket checked = check_.Check(frame, reader_);
    if (checked.rejection) {
      return Stop(WalkStop::Cause::kRejected, frame, std::move(*checked.rejection));
    }
    visit(checked);
    const uint64_t packet_size = kFrameSize + frame.body_length;
    ++result_.whole_packets;
    result_.last_whole_packet = position_;
    result_.whole_packets_end = position_ + packet_size;
    Pace(packet_size);
    position_ += packet_size;
  }
  result_.whole_packets_end = size;
  return result_;
}

WalkResult PacketWalk::Stop(WalkStop::Cause cause, std::optional<PacketFrame> frame,
                            ApiException failure) {
  result_.whole_packets_end = position_;
  result_.stop = WalkStop{cause, position_, frame, std::move(failure)};
  return result_;
}

void PacketWalk::Pace(uint64_t packet_size) {
  // A running mean that forgets slowly, so that a few small packets between
  // large blocks (an event, a block of a slower group) change nothing.
  recent_packet_bytes_ = recent_packet_bytes_ - recent_packet_bytes_ / 8 + packet_size / 8;
  reader_.ReadSparsely(recent_packet_bytes_ > kSparsePacketBytes);
}

bool PacketWalk::ZerosFrom(uint64_t offset) {
  reader_.ReadSparsely(false);
  for (uint64_t position = offset; position < reader_.Size();) {
    Report(position);
    const std::span<const uint8_t> bytes = reader_.Bytes(position, ChunkedReader::kChunkBytes);
    if (bytes.empty()) return true;  // the file shrank meanwhile
    if (std::any_of(bytes.begin(), bytes.end(), [](uint8_t byte) { return byte != 0; })) {
      return false;
    }
    position += bytes.size();
  }
  return true;
}

void PacketWalk::Report(uint64_t offset) {
  if (!progress_ || offset < next_report_) return;
  progress_(offset, reader_.Size());
  next_report_ = offset - offset % kProgressStep + kProgressStep;
}

}  // namespace Varnholt::KrdFiles::Walk
