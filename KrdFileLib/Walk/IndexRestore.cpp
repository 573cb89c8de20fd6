#include "KrdFileLib/Walk/IndexRestore.h"

#include "KrdFileLib/Errors.h"
#include "KrdFileLib/Index/ChannelGroupTable.h"
#include "KrdFileLib/Index/ChannelTable.h"
#include "KrdFileLib/Index/DataTable.h"
#include "KrdFileLib/Index/DeviceAttributesTable.h"
#include "KrdFileLib/Index/DeviceTable.h"
#include "KrdFileLib/Index/EventSourceTable.h"
#include "KrdFileLib/Index/FileInformationTable.h"
#include "KrdFileLib/Index/IndexConnection.h"
#include "KrdFileLib/Index/PhysicalChannelAttrTable.h"
#include "KrdFileLib/Index/PhysicalChannelTable.h"
#include "KrdFileLib/Packets/ChannelGroupPacket.h"
#include "KrdFileLib/Packets/DataPacket.h"
#include "KrdFileLib/Packets/IndexedPacket.h"

namespace Varnholt::KrdFiles::Walk {

using Packets::DataPacket;
using Packets::PacketBase;
using Packets::PacketTypeId;

namespace {

// Deletes the row that has the packet's key, when the packet is kept in
// Table; false when it is not.
template <typename Table>
bool RemoveRowOf(PacketBase& packet, Index::IndexConnection& index) {
  auto* indexed = dynamic_cast<Packets::IndexedPacket<Table>*>(&packet);
  if (indexed == nullptr) return false;
  indexed->RemoveFromIndex(index);
  return true;
}

// The tables whose keys packets carry (events and post-process steps get
// fresh IDs from the index and cannot collide; data blocks are restored
// without a packet).
bool RemoveRowWithKeyOf(PacketBase& packet, Index::IndexConnection& index) {
  return RemoveRowOf<Index::DeviceTable>(packet, index) ||
         RemoveRowOf<Index::DeviceAttributesTable>(packet, index) ||
         RemoveRowOf<Index::PhysicalChannelTable>(packet, index) ||
         RemoveRowOf<Index::PhysicalChannelAttrTable>(packet, index) ||
         RemoveRowOf<Index::ChannelGroupTable>(packet, index) ||
         RemoveRowOf<Index::ChannelTable>(packet, index) ||
         RemoveRowOf<Index::EventSourceTable>(packet, index);
}

// Deletes the data row with a block's key.
void RemoveBlockRow(Index::IndexConnection& index, uint16_t group_id, int64_t start_time,
                    int64_t end_time) {
  Index::DataTable row;
  row.channel_group_id.Set(group_id);
  row.start_time_offset.Set(start_time);
  row.end_time_offset.Set(end_time);
  row.Delete(index, row.KeyColumns());
}

}  // namespace

IndexRestore::IndexRestore(KrdInstance& file, Index::IndexConnection& index, WalkRules rules)
    : file_(file),
      index_(index),
      rules_(rules),
      insert_block_(std::make_shared<const std::string>(Index::DataTable().InsertText(false))) {}

void IndexRestore::Restore(const CheckedPacket& checked) {
  PacketBase* packet = checked.packet.get();
  switch (checked.frame.type) {
    case PacketTypeId::kData:
      RestoreBlock(checked);
      break;
    case PacketTypeId::kHeader:
      if (rules_.fresh_guid_for_nil) {
        packet->RestoreInIndex(index_, file_);
      } else {
        packet->AddToIndex(index_);
      }
      break;
    case PacketTypeId::kStart:
    case PacketTypeId::kAnnotation:
      packet->RestoreInIndex(index_, file_);
      if (rules_.record_applied_offsets) RecordOffset(*packet);
      break;
    case PacketTypeId::kChannelGroup:
      RestoreKeyed(*packet);
      groups_.insert_or_assign(
          checked.group_id,
          KnownGroup(std::static_pointer_cast<const Packets::ChannelGroupPacket>(checked.packet)));
      break;
    default:
      RestoreKeyed(*packet);
  }
  ++restored_;
}

template <typename Insert, typename RemoveTaken>
void IndexRestore::InsertReplacing(Insert insert, RemoveTaken remove_taken) {
  if (!rules_.replace_taken_keys) {
    insert();
    return;
  }
  try {
    insert();
    return;
  } catch (const Errors::E41&) {
    // Most likely the key is taken; anything else fails again below.
    if (!remove_taken()) throw;
  }
  insert();
  ++replaced_;
}

void IndexRestore::RestoreKeyed(PacketBase& packet) {
  InsertReplacing([&] { packet.RestoreInIndex(index_, file_); },
                  [&] { return RemoveRowWithKeyOf(packet, index_); });
}

void IndexRestore::RestoreBlock(const CheckedPacket& checked) {
  KnownGroup& group = GroupInIndex(checked.group_id);
  const int64_t end_time =
      DataPacket::EndTimeOf(group.FrameSize(), group.Group().TimeBaseDivisor(), checked.start_time,
                            checked.frame.body_length - DataPacket::kFixedBodySize);
  const Index::IntegerCommand insert(insert_block_, {checked.group_id, checked.start_time, end_time,
                                                     static_cast<int64_t>(checked.frame.offset)});
  InsertReplacing([&] { index_.ExecuteCounted(insert); },
                  [&] {
                    RemoveBlockRow(index_, checked.group_id, checked.start_time, end_time);
                    return true;
                  });
}

KnownGroup& IndexRestore::GroupInIndex(uint16_t group_id) {
  auto known = groups_.find(group_id);
  if (known == groups_.end()) {
    known =
        groups_.emplace(group_id, KnownGroup(Packets::ChannelGroupPacket::Find(index_, group_id)))
            .first;
  }
  return known->second;
}

void IndexRestore::RecordOffset(const PacketBase& packet) {
  Index::FileInformationTable row;
  row.ReadOrInsertRow(index_);
  const auto offset = static_cast<int64_t>(packet.FileOffset());
  if (packet.TypeId() == PacketTypeId::kStart) {
    row.start_packet_offset.Set(offset);
  } else {
    row.annotation_offset.Set(offset);
  }
  row.Update(index_);
}

}  // namespace Varnholt::KrdFiles::Walk
