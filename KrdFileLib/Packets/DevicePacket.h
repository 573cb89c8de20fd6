#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "KrdFileLib/Index/DeviceTable.h"
#include "KrdFileLib/Packets/IndexedPacket.h"
#include "KrdFileLib/Packets/String8.h"

namespace Varnholt::KrdFiles::Packets {

inline constexpr uint16_t kRootDeviceId = 0;
// The parent id of the root device, which has no parent.
inline constexpr uint16_t kNoParentDeviceId = 65535;

// One node of the recording's device tree: a device, its parent and its
// label. The root device always has id 0 and no parent; every other
// device's id is handed out by the file object. Whether a device is the root is not
// stored but follows from its id.
//
// Body: u16 device id, u16 parent id, string8 label.
class DevicePacket final : public IndexedPacket<Index::DeviceTable> {
 public:
  // Empty, not recorded: for a lookup to fill.
  DevicePacket();
  // A new device below parent_id; kNoParentDeviceId makes the root.
  DevicePacket(uint16_t parent_id, std::string label);
  DevicePacket(const PacketFrame& frame, Bytes body);

  // The device with that id, from the index (code 8 when there is none).
  static std::shared_ptr<DevicePacket> Find(Index::IndexConnection& connection, uint16_t device_id);

  uint16_t DeviceId() const { return device_id_; }
  uint16_t ParentId() const { return parent_id_; }
  bool IsRoot() const { return is_root_; }
  const std::string& Label() const { return label_; }
  // Code 36 for a label longer than a packet can hold.
  void SetLabel(std::string label) { label_ = CheckedLabel(std::move(label)); }

  // Before a new device is added: a root needs the root's place to be free
  // (code 34), any other device an existing parent (code 9).
  void CheckCanBeAdded(Index::IndexConnection& connection) const;
  // Before a device is deleted: no device may name it as parent (code 31).
  void CheckHasNoChildren(Index::IndexConnection& connection) const;
  // Before a device is changed or deleted: code 42 unless it is in the index.
  void RequireRecorded(Index::IndexConnection& connection) const;

  void AppendBody(Bytes& body) const override;
  // A root device is inserted with id 0; any other with the id assigned.
  void AddToIndex(Index::IndexConnection& connection) override;

 private:
  void BindRow();
  // The root has id 0 and, whatever a file says, no parent.
  void DeriveRootFromId();

  uint16_t device_id_ = kUnrecordedId;
  uint16_t parent_id_ = 0;
  bool is_root_ = false;
  std::string label_;
};

}  // namespace Varnholt::KrdFiles::Packets
