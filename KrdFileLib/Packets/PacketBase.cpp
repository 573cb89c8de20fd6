#include "KrdFileLib/Packets/PacketBase.h"

#include <algorithm>
#include <limits>

#include "KrdFileLib/Errors.h"
#include "KrdFileLib/DataFile/KrdInstance.h"

namespace Varnholt::KrdFiles::Packets {

namespace {

void PutFrame(Bytes& out, PacketTypeId type_id, std::size_t body_length) {
  // The frame's length field has 32 bits; a larger body cannot be framed.
  if (body_length > std::numeric_limits<uint32_t>::max()) throw Errors::KrdFileWriteFailed();
  PutUInt8(out, static_cast<uint8_t>(type_id));
  PutUInt32(out, static_cast<uint32_t>(body_length));
}

}  // namespace

PacketBase::PacketBase(PacketTypeId type_id)
    : file_offset_(static_cast<int64_t>(kUnwrittenOffset)), type_id_(type_id), packet_size_(0) {}

PacketBase::PacketBase(const PacketFrame& frame)
    : file_offset_(static_cast<int64_t>(frame.offset)),
      type_id_(frame.type),
      packet_size_(kFrameSize + frame.body_length) {}

Bytes PacketBase::GetHead() const {
  Bytes head(kFrameSize);  // the frame is filled in once the fields' length is known
  AppendBody(head);
  Bytes frame;
  PutFrame(frame, type_id_, head.size() - kFrameSize + Payload().size());
  std::copy(frame.begin(), frame.end(), head.begin());
  return head;
}

Bytes PacketBase::GetHeaderBytes() const {
  Bytes head = GetHead();
  head.resize(kFrameSize);
  return head;
}

Bytes PacketBase::GetBodyBytes() const {
  Bytes body;
  AppendBody(body);
  PutBytes(body, Payload());
  return body;
}

Bytes PacketBase::GetImage() const {
  Bytes image = GetHead();
  PutBytes(image, Payload());
  return image;
}

void PacketBase::RestoreInIndex(Index::IndexConnection& connection, KrdInstance& /*file*/) {
  AddToIndex(connection);
}

Bytes PacketBase::ReadBody(KrdInstance& file, const PacketFrame& frame, uint64_t max_bytes) {
  Bytes body;
  file.ReadBytes(frame.offset + kFrameSize, std::min<uint64_t>(frame.body_length, max_bytes), body);
  return body;
}

void PacketBase::RequireFullyConsumed(const PacketReader& reader) {
  if (!reader.IsFullyConsumed()) throw Errors::PacketHasExtraData();
}

}  // namespace Varnholt::KrdFiles::Packets
