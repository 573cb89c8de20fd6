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
  const uint8_t type_id = bytes[0];
  const auto body_length = GetBigEndian<uint32_t>(bytes.subspan<1, 4>());
  if (type_id < kFirstPacketTypeId || type_id > kLastPacketTypeId) {
    throw Errors::UnknownPacketType(type_id);
  }
  return PacketFrame{static_cast<PacketTypeId>(type_id), offset, body_length};
}

std::shared_ptr<PacketBase> ParsePacket(KrdInstance& file, Index::IndexConnection& connection,
                                        uint64_t offset) {
  const PacketFrame frame = ReadPacketFrame(file, offset);
  if (frame.type == PacketTypeId::kData) {
    return std::make_shared<DataPacket>(file, connection, frame);
  }
  Bytes body;
  file.ReadBytes(frame.offset + kFrameSize, frame.body_length, body);
  return ParsePacketBody(frame, std::move(body));
}

std::shared_ptr<PacketBase> ParsePacketBody(const PacketFrame& frame, Bytes body) {
  switch (frame.type) {
    case PacketTypeId::kHeader:
      return std::make_shared<HeaderPacket>(frame, std::move(body));
    case PacketTypeId::kDevice:
      return std::make_shared<DevicePacket>(frame, std::move(body));
    case PacketTypeId::kDeviceAttribute:
      return std::make_shared<DeviceAttributePacket>(frame, std::move(body));
    case PacketTypeId::kPhysicalChannel:
      return std::make_shared<PhysicalChannelPacket>(frame, std::move(body));
    case PacketTypeId::kPhysicalChannelAttribute:
      return std::make_shared<PhysicalChannelAttributePacket>(frame, std::move(body));
    case PacketTypeId::kChannelGroup:
      return std::make_shared<ChannelGroupPacket>(frame, std::move(body));
    case PacketTypeId::kChannel:
      return std::make_shared<ChannelPacket>(frame, std::move(body));
    case PacketTypeId::kEventSource:
      return std::make_shared<EventSourcePacket>(frame, std::move(body));
    case PacketTypeId::kEvent:
      return std::make_shared<EventPacket>(frame, std::move(body));
    case PacketTypeId::kStart:
      return std::make_shared<StartPacket>(frame, std::move(body));
    case PacketTypeId::kAnnotation:
      return std::make_shared<AnnotationPacket>(frame, std::move(body));
    case PacketTypeId::kPostProcess:
      return std::make_shared<PostProcessPacket>(frame, std::move(body));
    case PacketTypeId::kData:
      break;  // its fixed fields are read on their own (DataPacket)
  }
  throw Errors::UnknownPacketType(static_cast<uint8_t>(frame.type));
}

}  // namespace Varnholt::KrdFiles::Packets
