#include "KrdFileLib/Recovery/IndexRestore.h"

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
#include "KrdFileLib/Packets/IndexedPacket.h"
#include "KrdFileLib/Packets/ParsePacket.h"

namespace Varnholt::KrdFiles::Recovery {

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
// fresh IDs from the index and cannot collide).
bool RemoveRowWithKeyOf(PacketBase& packet, Index::IndexConnection& index) {
  return RemoveRowOf<Index::DeviceTable>(packet, index) ||
         RemoveRowOf<Index::DeviceAttributesTable>(packet, index) ||
         RemoveRowOf<Index::PhysicalChannelTable>(packet, index) ||
         RemoveRowOf<Index::PhysicalChannelAttrTable>(packet, index) ||
         RemoveRowOf<Index::ChannelGroupTable>(packet, index) ||
         RemoveRowOf<Index::ChannelTable>(packet, index) ||
         RemoveRowOf<Index::EventSourceTable>(packet, index) ||
         RemoveRowOf<Index::DataTable>(packet, index);
}

}  // namespace

IndexRestore::IndexRestore(KrdInstance& file, Index::IndexConnection& index)
    : file_(file), index_(index) {}

void IndexRestore::Restore(const CheckedPacket& checked) {
  const Packets::PacketFrame& frame = checked.frame;
  const auto packet =
      checked.packet ? checked.packet : Packets::ParsePacket(file_, index_, frame.offset);
  switch (frame.type) {
    case PacketTypeId::kHeader:
      packet->AddToIndex(index_);
      break;
    case PacketTypeId::kStart:
    case PacketTypeId::kAnnotation:
      packet->RestoreInIndex(index_, file_);
      RecordOffset(*packet);
      break;
    default:
      RestoreReplacing(*packet);
  }
  ++restored_;
}

void IndexRestore::RestoreReplacing(PacketBase& packet) {
  try {
    packet.RestoreInIndex(index_, file_);
    return;
  } catch (const Errors::E41&) {
    // Most likely the key is taken; anything else fails again below.
    if (!RemoveRowWithKeyOf(packet, index_)) throw;
  }
  packet.RestoreInIndex(index_, file_);
  ++replaced_;
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

}  // namespace Varnholt::KrdFiles::Recovery
