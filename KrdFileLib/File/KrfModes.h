#pragma once

#include "KrdFileLib/File/KrfFileBase.h"

namespace Varnholt::KrdFiles {

// The modes that change a recording (record, edit, reindex) hold its data
// file's writer lock while open, so that a second writer on the pair, in
// this process or another, is refused at its open (code 36) rather than
// left failing on the index's locks; readers take no lock. Every mode's
// open first checks the pair's paths (PairPaths.h).

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
