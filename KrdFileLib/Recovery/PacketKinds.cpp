#include "KrdFileLib/Recovery/PacketKinds.h"

#include <array>
#include <string_view>

#include "KrdFileLib/Index/ChannelGroupTable.h"
#include "KrdFileLib/Index/ChannelTable.h"
#include "KrdFileLib/Index/DataTable.h"
#include "KrdFileLib/Index/DeviceAttributesTable.h"
#include "KrdFileLib/Index/DeviceTable.h"
#include "KrdFileLib/Index/EventSourceTable.h"
#include "KrdFileLib/Index/EventTable.h"
#include "KrdFileLib/Index/FileInformationTable.h"
#include "KrdFileLib/Index/PhysicalChannelAttrTable.h"
#include "KrdFileLib/Index/PhysicalChannelTable.h"
#include "KrdFileLib/Index/PostProcessTable.h"

namespace Varnholt::KrdFiles::Recovery {

using Packets::PacketTypeId;
using Unset = OffsetTable::Unset;

std::span<const OffsetTable> OffsetTables() {
  using Kind = PacketTypeId;
  static constexpr std::array<OffsetTable, 12> kTables = {{
      {Index::DeviceTable::kTableName, "offset", Kind::kDevice, Unset::kNone},
      {Index::DeviceAttributesTable::kTableName, "offset", Kind::kDeviceAttribute, Unset::kNone},
      {Index::PhysicalChannelTable::kTableName, "offset", Kind::kPhysicalChannel, Unset::kNone},
      {Index::PhysicalChannelAttrTable::kTableName, "offset", Kind::kPhysicalChannelAttribute,
       Unset::kNone},
      {Index::ChannelGroupTable::kTableName, "offset", Kind::kChannelGroup, Unset::kMinusOne},
      {Index::ChannelTable::kTableName, "offset", Kind::kChannel, Unset::kNone},
      {Index::EventSourceTable::kTableName, "offset", Kind::kEventSource, Unset::kNone},
      {Index::EventTable::kTableName, "offset", Kind::kEvent, Unset::kNone},
      {Index::DataTable::kTableName, "offset", Kind::kData, Unset::kNone},
      {Index::PostProcessTable::kTableName, "offset", Kind::kPostProcess, Unset::kNone},
      {Index::FileInformationTable::kTableName, "start_packet_offset", Kind::kStart,
       Unset::kZeroOrMinusOne},
      {Index::FileInformationTable::kTableName, "annotation_offset", Kind::kAnnotation,
       Unset::kZeroOrMinusOne},
  }};
  return kTables;
}

std::string KindName(PacketTypeId kind) {
  switch (kind) {
    case PacketTypeId::kHeader:
      return "header";
    case PacketTypeId::kDevice:
      return "device";
    case PacketTypeId::kDeviceAttribute:
      return "device attribute";
    case PacketTypeId::kPhysicalChannel:
      return "physical channel";
    case PacketTypeId::kPhysicalChannelAttribute:
      return "physical channel attribute";
    case PacketTypeId::kChannelGroup:
      return "channel group";
    case PacketTypeId::kChannel:
      return "channel";
    case PacketTypeId::kEventSource:
      return "event source";
    case PacketTypeId::kEvent:
      return "event";
    case PacketTypeId::kStart:
      return "start";
    case PacketTypeId::kAnnotation:
      return "annotation";
    case PacketTypeId::kData:
      return "data block";
    case PacketTypeId::kPostProcess:
      return "post-process";
  }
  return "packet type " + std::to_string(static_cast<int>(kind));
}

std::string APacketOfKind(PacketTypeId kind) {
  const std::string name = KindName(kind);
  const bool vowel = std::string_view("aeiou").find(name.front()) != std::string_view::npos;
  return (vowel ? "an " : "a ") + name + " packet";
}

}  // namespace Varnholt::KrdFiles::Recovery
