#pragma once

#include <cstdint>

#include "KrdFileLib/Index/IndexConnection.h"
#include "KrdFileLib/Index/IndexTable.h"
#include "KrdFileLib/Packets/PacketBase.h"

namespace Varnholt::KrdFiles::Packets {

// The id that a 16-bit entity id field holds while its packet is not
// recorded in the index: neither inserted nor found there.
inline constexpr uint16_t kUnrecordedId = 65534;

// A packet with a table of its own in the index. It owns one row of that
// table whose offset column points at the packet's file offset; the packet
// type points the other columns at its fields, so that inserting, finding,
// updating or deleting the entity moves values straight between the packet
// and the index. Table is one of the index's table classes.
template <typename Table>
class IndexedPacket : public PacketBase {
 public:
  // Inserts the row of a new entity under the id given by AssignId, or
  // else the id the index assigns (if the table has a row id), which is
  // copied into the packet before it is written.
  void AddToIndex(Index::IndexConnection& connection) override {
    InsertRow(connection, !id_assigned_);
  }
  // Gives a new entity the id the file object hands out (EntityIds), for
  // AddToIndex to insert its row under.
  void AssignId(uint16_t id) {
    row_.SetRowId(id);
    id_assigned_ = true;
  }
  // Inserts the row of a packet read back from the file with the ids the
  // packet carries, so that a rebuilt index keeps them.
  void RestoreInIndex(Index::IndexConnection& connection, KrdInstance& /*file*/) override {
    InsertRow(connection, false);
  }

  // Writes the packet's fields over its row (found by its key).
  void UpdateInIndex(Index::IndexConnection& connection) const { row_.Update(connection); }
  // Deletes the packet's row (found by its key); the packet stays in the file.
  void RemoveFromIndex(Index::IndexConnection& connection) const {
    row_.Delete(connection, row_.KeyColumns());
  }
  // Whether a row with the packet's key is in the index.
  bool IsInIndex(Index::IndexConnection& connection) const {
    return row_.Exists(connection, row_.KeyColumns());
  }

 protected:
  explicit IndexedPacket(PacketTypeId type_id) : PacketBase(type_id) { BindOffset(); }
  explicit IndexedPacket(const PacketFrame& frame) : PacketBase(frame) { BindOffset(); }

  // The lookups' common path: fills the packet from the row whose key the
  // packet's key fields already hold; false, packet untouched, when there
  // is none.
  bool LoadByKey(Index::IndexConnection& connection) {
    return row_.SelectOne(connection, row_.KeyColumns());
  }
  // Inserts the row. With let_index_assign_id the row id column is left out
  // and the id the index assigns lands in the packet's field.
  void InsertRow(Index::IndexConnection& connection, bool let_index_assign_id) {
    row_.Insert(connection, let_index_assign_id);
  }

  Table row_;

 private:
  void BindOffset() { row_.offset.PointAt(&file_offset_); }

  bool id_assigned_ = false;
};

}  // namespace Varnholt::KrdFiles::Packets
