#include "KrdFileLib/Packets/StartPacket.h"

#include "KrdFileLib/Index/FileInformationTable.h"

namespace Varnholt::KrdFiles::Packets {

StartPacket::StartPacket(uint16_t start_type, Bytes start)
    : PacketBase(PacketTypeId::kStart), start_type_(start_type), start_(std::move(start)) {}

StartPacket::StartPacket(const PacketFrame& frame, Bytes body) : PacketBase(frame) {
  DecodeBody(std::move(body), [this](PacketReader& fields) {
    start_type_ = fields.ReadUInt16();
    start_ = fields.ReadRestAsBytes();
  });
}

void StartPacket::AppendBody(Bytes& body) const {
  PutUInt16(body, start_type_);
  PutBytes(body, start_);
}

void StartPacket::AddToIndex(Index::IndexConnection& connection) {
  // The row holds more than the start, so it is loaded and updated rather
  // than bound to this packet's fields.
  Index::FileInformationTable row;
  row.SetStart(connection, start_type_, start_);
}

}  // namespace Varnholt::KrdFiles::Packets
