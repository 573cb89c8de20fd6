#include "KrdFileLib/Walk/PacketCheck.h"

#include <algorithm>

#include "KrdFileLib/Errors.h"
#include "KrdFileLib/Packets/ChannelGroupPacket.h"
#include "KrdFileLib/Packets/DataPacket.h"
#include "KrdFileLib/Packets/ParsePacket.h"
#include "KrdFileLib/Walk/ChunkedReader.h"

namespace Varnholt::KrdFiles::Walk {

using Packets::ChannelGroupPacket;
using Packets::DataPacket;
using Packets::kFrameSize;
using Packets::PacketFrame;
using Packets::PacketTypeId;

PacketCheck::PacketCheck(WalkRules rules) : rules_(rules) {}

PacketCheck::~PacketCheck() = default;

uint64_t PacketCheck::BodyBytesNeeded(const PacketFrame& frame) const {
  if (rules_.whole_packets || frame.type != PacketTypeId::kData) return frame.body_length;
  return std::min<uint64_t>(frame.body_length, DataPacket::kFixedBodySize);
}

CheckedPacket PacketCheck::Check(const PacketFrame& frame, ChunkedReader& reader) {
  CheckedPacket checked{frame, std::nullopt, 0, 0, nullptr};
  if (frame.type == PacketTypeId::kData) {
    CheckDataBlock(reader, checked);
    return checked;
  }
  if (rules_.one_header && frame.type == PacketTypeId::kHeader && frame.offset != 0) {
    checked.rejection = Errors::E3("A header packet only ever begins a data file.");
    return checked;
  }
  try {
    checked.packet =
        Packets::ParsePacketBody(frame, reader.Copy(frame.offset + kFrameSize, frame.body_length));
  } catch (const Errors::E3& rejected) {
    checked.rejection = rejected;
    return checked;
  }
  if (frame.type == PacketTypeId::kChannelGroup) {
    auto group = std::static_pointer_cast<const ChannelGroupPacket>(checked.packet);
    checked.group_id = group->GroupId();
    groups_.insert_or_assign(checked.group_id, KnownGroup(std::move(group)));
  }
  return checked;
}

const ChannelGroupPacket* PacketCheck::LastGroup(uint16_t group_id) const {
  const auto group = groups_.find(group_id);
  return group == groups_.end() ? nullptr : &group->second.Group();
}

void PacketCheck::CheckDataBlock(ChunkedReader& reader, CheckedPacket& checked) {
  const PacketFrame& frame = checked.frame;
  if (frame.body_length < DataPacket::kFixedBodySize) {
    checked.rejection = Errors::PacketTooSmall();
    return;
  }
  const auto read = reader.Bytes(frame.offset + kFrameSize, DataPacket::kFixedBodySize);
  if (read.size() < DataPacket::kFixedBodySize) {  // the file has shrunk meanwhile
    checked.rejection = Errors::KrdFileEndedUnexpectedly();
    return;
  }
  const auto fixed = read.first<DataPacket::kFixedBodySize>();
  checked.start_time = static_cast<int64_t>(Packets::GetBigEndian<uint64_t>(fixed.first<8>()));
  checked.group_id = Packets::GetBigEndian<uint16_t>(fixed.last<2>());
  const auto group = groups_.find(checked.group_id);
  if (group == groups_.end()) {
    checked.rejection = Errors::ChannelGroupNotFound(checked.group_id);
    return;
  }
  try {
    DataPacket::EndTimeOf(group->second.FrameSize(), group->second.Group().TimeBaseDivisor(),
                          checked.start_time, frame.body_length - DataPacket::kFixedBodySize);
  } catch (const Errors::E47& rejected) {
    checked.rejection = rejected;
  }
}

}  // namespace Varnholt::KrdFiles::Walk
