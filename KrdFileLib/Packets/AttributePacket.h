#pragma once

#include <cstdint>
#include <vector>

#include "KrdFileLib/AttributeId.h"
#include "KrdFileLib/Index/TableColumn.h"
#include "KrdFileLib/Packets/IndexedPacket.h"

namespace Varnholt::KrdFiles::Packets {

// What device attributes and physical-channel attributes share: a value of
// any length, including none, addressed by its owner's id, a key and an
// index; the triple is the row's key. Table is the attribute table, Owner
// its column of the owner's id.
//
// Body: u16 owner id, u16 key, u16 index, then the value as rest-of-body
// bytes.
template <typename Table, PacketTypeId kTypeId, Index::UInt16Column Table::*Owner>
class AttributePacket : public IndexedPacket<Table> {
 public:
  uint16_t AttributeKey() const { return key_; }
  uint16_t AttributeIndex() const { return index_; }
  const Bytes& Value() const { return value_; }
  void SetValue(Bytes value) { value_ = std::move(value); }

  // The key and index of every attribute of owner_id, in index order.
  static std::vector<AttributeId> ListOf(Index::IndexConnection& connection, uint16_t owner_id) {
    Table rows;
    (rows.*Owner).Set(owner_id);
    std::vector<AttributeId> ids;
    for (bool found = rows.SelectFirst(connection, {&(rows.*Owner)}); found; found = rows.NextRow()) {
      ids.push_back({rows.attribute_key.Value(), rows.attribute_index.Value()});
    }
    return ids;
  }
  // Deletes the rows of every attribute of owner_id; the packets stay in
  // the file.
  static void RemoveAllOf(Index::IndexConnection& connection, uint16_t owner_id) {
    Table rows;
    (rows.*Owner).Set(owner_id);
    rows.Delete(connection, {&(rows.*Owner)});
  }

  void AppendBody(Bytes& body) const override {
    PutUInt16(body, owner_id_);
    PutUInt16(body, key_);
    PutUInt16(body, index_);
    PutBytes(body, value_);
  }

 protected:
  AttributePacket(uint16_t owner_id, uint16_t key, uint16_t index, Bytes value)
      : IndexedPacket<Table>(kTypeId),
        owner_id_(owner_id),
        key_(key),
        index_(index),
        value_(std::move(value)) {
    BindRow();
  }
  AttributePacket(const PacketFrame& frame, Bytes body) : IndexedPacket<Table>(frame) {
    BindRow();
    this->DecodeBody(std::move(body), [this](PacketReader& fields) {
      owner_id_ = fields.ReadUInt16();
      key_ = fields.ReadUInt16();
      index_ = fields.ReadUInt16();
      value_ = fields.ReadRestAsBytes();
    });
  }

  uint16_t OwnerId() const { return owner_id_; }

 private:
  void BindRow() {
    (this->row_.*Owner).PointAt(&owner_id_);
    this->row_.attribute_key.PointAt(&key_);
    this->row_.attribute_index.PointAt(&index_);
    this->row_.attribute_value.PointAt(&value_);
  }

  uint16_t owner_id_ = 0;
  uint16_t key_ = 0;
  uint16_t index_ = 0;
  Bytes value_;
};

}  // namespace Varnholt::KrdFiles::Packets
