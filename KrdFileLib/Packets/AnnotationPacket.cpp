#include "KrdFileLib/Packets/AnnotationPacket.h"

#include "KrdFileLib/Index/FileInformationTable.h"

namespace Varnholt::KrdFiles::Packets {

AnnotationPacket::AnnotationPacket(std::string text)
    : PacketBase(PacketTypeId::kAnnotation), text_(std::move(text)) {}

AnnotationPacket::AnnotationPacket(KrdInstance& file, const PacketFrame& frame)
    : PacketBase(frame) {
  DecodeBody(file, frame, [this](PacketReader& body) { text_ = body.ReadRestAsString(); });
}

void AnnotationPacket::AppendBody(Bytes& body) const {
  PutText(body, text_);
}

void AnnotationPacket::AddToIndex(Index::IndexConnection& connection) {
  Index::FileInformationTable row;
  row.SetAnnotation(connection, text_);
}

}  // namespace Varnholt::KrdFiles::Packets
