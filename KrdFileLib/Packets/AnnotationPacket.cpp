#include "KrdFileLib/Packets/AnnotationPacket.h"

#include "KrdFileLib/Index/FileInformationTable.h"

namespace Varnholt::KrdFiles::Packets {

AnnotationPacket::AnnotationPacket(std::string text)
    : PacketBase(PacketTypeId::kAnnotation), text_(std::move(text)) {}

AnnotationPacket::AnnotationPacket(const PacketFrame& frame, Bytes body)
    : PacketBase(frame) {
  DecodeBody(std::move(body), [this](PacketReader& fields) { text_ = fields.ReadRestAsString(); });
}

void AnnotationPacket::AppendBody(Bytes& body) const {
  PutText(body, text_);
}

void AnnotationPacket::AddToIndex(Index::IndexConnection& connection) {
  Index::FileInformationTable row;
  row.SetAnnotation(connection, text_);
}

}  // namespace Varnholt::KrdFiles::Packets
