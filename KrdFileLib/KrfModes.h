#pragma once

#include "KrdFileLib/KrfFileBase.h"

namespace Varnholt::KrdFiles {

// Record mode: creates a new pair and is the only mode that writes packets.
class KrfRecorder final : public KrfFileBase {
 public:
  using KrfFileBase::KrfFileBase;
  void Open() override;

 protected:
  void CommitPacket(Packets::PacketBase& packet) override;
};

// Read mode: opens an existing pair and refuses every change.
class KrfReader final : public KrfFileBase {
 public:
  using KrfFileBase::KrfFileBase;
  void Open() override;

 protected:
  void CheckRecordAllowed() const override;
  void CheckModifyAllowed() const override;
};

// Edit mode: opens an existing pair; changes reach the index only.
class KrfEditor final : public KrfFileBase {
 public:
  using KrfFileBase::KrfFileBase;
  void Open() override;

 protected:
  void CheckRecordAllowed() const override;
};

// Reindex mode: opens an existing data file and rebuilds a new index from it.
class KrfReindexer final : public KrfFileBase {
 public:
  using KrfFileBase::KrfFileBase;
  void Open() override;
  void Reindex() override;

 protected:
  void CheckRecordAllowed() const override;
};

}  // namespace Varnholt::KrdFiles
