#include "KrdFileLib/Packets/PostProcessPacket.h"

#include "KrdFileLib/Errors.h"
#include "KrdFileLib/Packets/ChannelPacket.h"
#include "KrdFileLib/Packets/String8.h"

namespace Varnholt::KrdFiles::Packets {

PostProcessPacket::PostProcessPacket(Step step)
    : IndexedPacket(PacketTypeId::kPostProcess), step_(std::move(step)) {
  RequireString8Fits("unit", step_.unit.size());
  RequireString8Fits("label", step_.label.size());
  BindRow();
}

PostProcessPacket::PostProcessPacket(const PacketFrame& frame, Bytes body)
    : IndexedPacket(frame) {
  BindRow();
  DecodeBody(std::move(body), [this](PacketReader& fields) {
    step_.channel_id = fields.ReadUInt16();
    step_.post_process_index = fields.ReadUInt8();
    step_.post_process_type = fields.ReadUInt16();
    step_.is_default = fields.ReadBool8();
    step_.is_disabled = fields.ReadBool8();
    step_.is_unit_change = fields.ReadBool8();
    step_.unit = fields.ReadBytes8();
    step_.label = fields.ReadString8();
    step_.data = fields.ReadRestAsBytes();
  });
}

void PostProcessPacket::BindRow() {
  row_.post_process_id.PointAt(&post_process_id_);
  row_.channel_id.PointAt(&step_.channel_id);
  row_.post_process_index.PointAt(&step_.post_process_index);
  row_.post_process_type.PointAt(&step_.post_process_type);
  row_.is_default.PointAt(&step_.is_default);
  row_.is_disabled.PointAt(&step_.is_disabled);
  row_.data.PointAt(&step_.data);
  row_.label.PointAt(&step_.label);
  row_.is_unit_change.PointAt(&step_.is_unit_change);
  row_.unit.PointAt(&step_.unit);
}

std::shared_ptr<PostProcessPacket> PostProcessPacket::Find(Index::IndexConnection& connection,
                                                           uint32_t post_process_id) {
  auto step = std::make_shared<PostProcessPacket>(Step{});
  step->post_process_id_ = post_process_id;
  if (!step->LoadByKey(connection)) {
    throw Errors::PostProcessNotFound(post_process_id);
  }
  return step;
}

void PostProcessPacket::CheckIndexIsFree(Index::IndexConnection& connection) const {
  ChannelPacket::Find(connection, step_.channel_id);
  if (row_.Exists(connection, {&row_.channel_id, &row_.post_process_index})) {
    throw Errors::PostProcessIndexTaken(step_.channel_id, step_.post_process_index);
  }
}

void PostProcessPacket::RequireRecorded(Index::IndexConnection& connection) const {
  if (!IsInIndex(connection)) throw Errors::PostProcessPacketNotRecorded();
}

void PostProcessPacket::ShiftChainFromIndex(Index::IndexConnection& connection) const {
  row_.ShiftIndexesFrom(connection);
}

void PostProcessPacket::AppendBody(Bytes& body) const {
  PutUInt16(body, step_.channel_id);
  PutUInt8(body, step_.post_process_index);
  PutUInt16(body, step_.post_process_type);
  PutBool8(body, step_.is_default);
  PutBool8(body, step_.is_disabled);
  PutBool8(body, step_.is_unit_change);
  PutString8(body, step_.unit);
  PutString8(body, step_.label);
  PutBytes(body, step_.data);
}

void PostProcessPacket::AddToIndex(Index::IndexConnection& connection) {
  ShiftChainFromIndex(connection);
  InsertRow(connection, true);
}

void PostProcessPacket::RestoreInIndex(Index::IndexConnection& connection, KrdInstance& /*file*/) {
  InsertRow(connection, true);
}

}  // namespace Varnholt::KrdFiles::Packets
