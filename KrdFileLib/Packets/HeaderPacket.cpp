#include "KrdFileLib/Packets/HeaderPacket.h"

#include <algorithm>

#include "KrdFileLib/Errors.h"
#include "KrdFileLib/DataFile/KrdInstance.h"
#include "KrdFileLib/Packets/ParsePacket.h"
#include "KrdFileLib/Packets/String8.h"

namespace Varnholt::KrdFiles::Packets {

HeaderPacket::HeaderPacket(uint16_t device_id, std::string label, uint32_t time_base)
    : PacketBase(PacketTypeId::kHeader),
      file_type_(kFileTypeString.begin(), kFileTypeString.end()),
      file_version_(kFileVersion),
      uuid_(CommonLib::Uuid::Random()),
      device_id_(device_id),
      label_(CheckedLabel(std::move(label))),
      time_base_(time_base) {
  BindRow();
}

HeaderPacket::HeaderPacket(const PacketFrame& frame, Bytes body) : PacketBase(frame) {
  BindRow();
  DecodeBody(std::move(body), [this](PacketReader& fields) {
    file_type_ = fields.ReadString(kFileTypeString.size());
    file_version_ = fields.ReadUInt16();
    for (uint8_t& byte : uuid_.bytes) byte = fields.ReadUInt8();
    device_id_ = fields.ReadUInt16();
    label_ = fields.ReadString8();
    time_base_ = fields.ReadUInt32();
  });
}

void HeaderPacket::BindRow() {
  row_.device_id.PointAt(&device_id_);
  row_.uuid.PointAt(&uuid_);
  row_.file_version.PointAt(&file_version_);
  row_.label.PointAt(&label_);
  row_.time_base.PointAt(&time_base_);
}

std::shared_ptr<HeaderPacket> HeaderPacket::ReadFromFile(KrdInstance& file,
                                                         Index::IndexConnection& connection) {
  auto header = std::dynamic_pointer_cast<HeaderPacket>(ParsePacket(file, connection, 0));
  if (header == nullptr) throw Errors::NoHeaderPacket();
  if (!header->HasValidFileType()) throw Errors::InvalidFileType();
  return header;
}

bool HeaderPacket::HasValidFileType() const {
  return std::equal(file_type_.begin(), file_type_.end(), kFileTypeString.begin(),
                    kFileTypeString.end(),
                    [](char have, uint8_t want) { return static_cast<uint8_t>(have) == want; });
}

void HeaderPacket::AppendBody(Bytes& body) const {
  PutText(body, file_type_);
  PutUInt16(body, file_version_);
  PutBytes(body, uuid_.bytes);
  PutUInt16(body, device_id_);
  PutString8(body, label_);
  PutUInt32(body, time_base_);
}

void HeaderPacket::AddToIndex(Index::IndexConnection& connection) {
  // The row id column holds the header's device id as given, so it is
  // written rather than left to the index.
  row_.Insert(connection, false);
}

void HeaderPacket::RestoreInIndex(Index::IndexConnection& connection, KrdInstance& file) {
  if (uuid_.IsNil()) {
    uuid_ = CommonLib::Uuid::Random();
    file.RewriteInPlace(*this);
  }
  AddToIndex(connection);
}

}  // namespace Varnholt::KrdFiles::Packets
