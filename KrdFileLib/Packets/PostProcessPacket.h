#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "KrdFileLib/Index/PostProcessTable.h"
#include "KrdFileLib/Packets/IndexedPacket.h"

namespace Varnholt::KrdFiles::Packets {

// One step of the post-processing chain of a channel: its place in the
// chain, its type, flags, the unit it changes to and its parameters, all
// opaque to the library. The step's id exists only in the index, which
// assigns it on every insert. Its place can later change in the index
// alone; the packet keeps the place it was recorded at.
//
// Body: u16 channel id, u8 post-process index, u16 type, bool8 is default,
// bool8 is disabled, bool8 is unit change, unit (u8 length and bytes),
// string8 label, then the data as rest-of-body bytes.
class PostProcessPacket final : public IndexedPacket<Index::PostProcessTable> {
 public:
  struct Step {
    uint16_t channel_id = 0;
    uint8_t post_process_index = 0;
    uint16_t post_process_type = 0;
    bool is_default = false;
    bool is_disabled = false;
    bool is_unit_change = false;
    Bytes unit;
    std::string label;
    Bytes data;
  };

  explicit PostProcessPacket(Step step);
  PostProcessPacket(const PacketFrame& frame, Bytes body);

  // The step from the index (code 27 when there is none).
  static std::shared_ptr<PostProcessPacket> Find(Index::IndexConnection& connection,
                                                 uint32_t post_process_id);

  uint32_t PostProcessId() const { return post_process_id_; }
  const Step& Fields() const { return step_; }
  // For the setters: change the fields, then UpdateInIndex.
  Step& MutableFields() { return step_; }

  // Before it is placed without shifting the chain: finds the channel
  // (code 21), then code 48 when the channel has a step at this index.
  void CheckIndexIsFree(Index::IndexConnection& connection) const;
  // Before it is changed or deleted: code 42 unless it is in the index.
  void RequireRecorded(Index::IndexConnection& connection) const;
  // Makes room at the step's index: the channel's steps from there on move
  // up by one.
  void ShiftChainFromIndex(Index::IndexConnection& connection) const;

  void AppendBody(Bytes& body) const override;
  // Shifts the chain, then inserts the step at the freed index.
  void AddToIndex(Index::IndexConnection& connection) override;
  // Inserts the step where the file recorded it, with a new id and without
  // shifting: the chain is being rebuilt in file order.
  void RestoreInIndex(Index::IndexConnection& connection, KrdInstance& file) override;

 private:
  void BindRow();

  uint32_t post_process_id_ = 0;
  Step step_;
};

}  // namespace Varnholt::KrdFiles::Packets
