#include "KrdFileLib/Recovery/PacketCheck.h"

#include <array>

#include "KrdFileLib/DataTypeRegistry.h"
#include "KrdFileLib/Errors.h"
#include "KrdFileLib/DataFile/KrdInstance.h"
#include "KrdFileLib/Packets/ChannelGroupPacket.h"
#include "KrdFileLib/Packets/DataPacket.h"
#include "KrdFileLib/Packets/ParsePacket.h"

namespace Varnholt::KrdFiles::Recovery {

using Packets::ChannelGroupPacket;
using Packets::DataPacket;
using Packets::PacketFrame;
using Packets::PacketTypeId;

namespace {

// Where a data block's group ID lies: after the frame and the start time.
constexpr uint64_t kGroupIdPlace = Packets::kFrameSize + 8;

}  // namespace

PacketCheck::PacketCheck(KrdInstance& file) : file_(file), no_index_("", nullptr) {}

PacketCheck::~PacketCheck() = default;

CheckedPacket PacketCheck::Check(const PacketFrame& frame) {
  CheckedPacket checked{frame, std::nullopt, 0, nullptr};
  if (frame.type == PacketTypeId::kData) {
    checked.rejection = CheckDataBlock(frame);
    return checked;
  }
  if (frame.type == PacketTypeId::kHeader && frame.offset != 0) {
    checked.rejection = "A header packet only ever begins a data file.";
    return checked;
  }
  try {
    checked.packet = Packets::ParsePacket(file_, no_index_, frame.offset);
  } catch (const Errors::E3& rejected) {
    checked.rejection = rejected.Message();
    return checked;
  }
  if (auto group = std::dynamic_pointer_cast<ChannelGroupPacket>(checked.packet)) {
    checked.group_id = group->GroupId();
    groups_[group->GroupId()] = std::move(group);
  }
  return checked;
}

const ChannelGroupPacket* PacketCheck::LastGroup(uint16_t group_id) const {
  const auto group = groups_.find(group_id);
  return group == groups_.end() ? nullptr : group->second.get();
}

std::optional<std::string> PacketCheck::CheckDataBlock(const PacketFrame& frame) {
  if (frame.body_length < DataPacket::kFixedBodySize) return Errors::PacketTooSmall().Message();
  std::array<uint8_t, 2> id_bytes{};
  file_.ReadInto(frame.offset + kGroupIdPlace, id_bytes);
  const auto group_id = static_cast<uint16_t>(id_bytes[0] << 8 | id_bytes[1]);
  const auto group = groups_.find(group_id);
  if (group == groups_.end()) return Errors::ChannelGroupNotFound(group_id).Message();
  const uint16_t data_type = group->second->DataType();
  if (!DataTypeRegistry::Process().IsRegistered(data_type)) {
    throw Errors::DataTypeNotRegistered(data_type);
  }
  try {
    DataPacket::ReadOfGroup(file_, no_index_, *group->second, frame.offset);
  } catch (const Errors::E3& rejected) {
    return rejected.Message();
  } catch (const Errors::E47& rejected) {
    return rejected.Message();
  }
  return std::nullopt;
}

}  // namespace Varnholt::KrdFiles::Recovery
