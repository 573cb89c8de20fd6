#include "KrdFileLib/Packets/ParsePacket.h"

#include <array>

#include "KrdFileLib/Errors.h"
#include "KrdFileLib/DataFile/KrdInstance.h"
#include "KrdFileLib/Packets/AnnotationPacket.h"
#include "KrdFileLib/Packets/ChannelGroupPacket.h"
#include "KrdFileLib/Packets/ChannelPacket.h"
#include "KrdFileLib/Packets/DataPacket.h"
#include "KrdFileLib/Packets/DeviceAttributePacket.h"
#include "KrdFileLib/Packets/DevicePacket.h"
#include "KrdFileLib/Packets/EventPacket.h"
#include "KrdFileLib/Packets/EventSourcePacket.h"
#include "KrdFileLib/Packets/HeaderPacket.h"
#include "KrdFileLib/Packets/PhysicalChannelAttributePacket.h"
#include "KrdFileLib/Packets/PhysicalChannelPacket.h"
#include "KrdFileLib/Packets/PostProcessPacket.h"
#include "KrdFileLib/Packets/StartPacket.h"

namespace Varnholt::KrdFiles::Packets {

PacketFrame ReadPacketFrame(KrdInstance& file, uint64_t offset) {
  std::array<uint8_t, kFrameSize> bytes{};
  file.ReadInto(offset, bytes);
  return DecodePacketFrame(bytes, offset);
}

PacketFrame DecodePacketFrame(std::span<const uint8_t, kFrameSize> bytes, uint64_t offset) {
  PacketReader reader(Bytes(bytes.begin(), bytes.end()));
  const uint8_t type_id = reader.ReadUInt8();
  const uint32_t body_length = reader.ReadUInt32();
  if (type_id < kFirstPacketTypeId || type_id > kLastPacketTypeId) {
    throw Errors::UnknownPacketType(type_id);
  }
  return PacketFrame{static_cast<PacketTypeId>(type_id), offset, body_length};
}

std::shared_ptr<PacketBase> ParsePacket(KrdInstance& file, Index::IndexConnection& connection,
                                        uint64_t offset) {
  const PacketFrame frame = ReadPacketFrame(file, offset);
  switch (frame.type) {
    case PacketTypeId::kHeader:
      return std::make_shared<HeaderPacket>(file, frame);
    case PacketTypeId::kDevice:
      return std::make_shared<DevicePacket>(file, frame);
    case PacketTypeId::kDeviceAttribute:
      return std::make_shared<DeviceAttributePacket>(file, frame);
    case PacketTypeId::kPhysicalChannel:
      return std::make_shared<PhysicalChannelPacket>(file, frame);
    case PacketTypeId::kPhysicalChannelAttribute:
      return std::make_shared<PhysicalChannelAttributePacket>(file, frame);
    case PacketTypeId::kChannelGroup:
      return std::make_shared<ChannelGroupPacket>(file, frame);
    case PacketTypeId::kChannel:
      return std::make_shared<ChannelPacket>(file, frame);
    case PacketTypeId::kEventSource:
      return std::make_shared<EventSourcePacket>(file, frame);
    case PacketTypeId::kEvent:
      return std::make_shared<EventPacket>(file, frame);
    case PacketTypeId::kStart:
      return std::make_shared<StartPacket>(file, frame);
    case PacketTypeId::kAnnotation:
      return std::make_shared<AnnotationPacket>(file, frame);
    case PacketTypeId::kData:
      return std::make_shared<DataPacket>(file, connection, frame);
    case PacketTypeId::kPostProcess:
      return std::make_shared<PostProcessPacket>(file, frame);
  }
  throw Errors::UnknownPacketType(static_cast<uint8_t>(frame.type));  // not reached
}

}  // namespace Varnholt::KrdFiles::Packets
