#pragma once

#include <cstdint>
#include <unordered_map>

#include "CommonLib/NonCopyableClassBase.h"
#include "KrdFileLib/Index/IntegerCommand.h"
#include "KrdFileLib/Packets/PacketBase.h"
#include "KrdFileLib/Walk/KnownGroup.h"
#include "KrdFileLib/Walk/PacketCheck.h"
#include "KrdFileLib/Walk/WalkRules.h"

namespace Varnholt::KrdFiles {
class KrdInstance;
namespace Index {
class IndexConnection;
}
}  // namespace Varnholt::KrdFiles

namespace Varnholt::KrdFiles::Walk {

// Gives the packets a walk hands on their rows in an index, each as its
// RestoreInIndex would, with the ids the packets carry, under the rules of
// reindexing or of repair (WalkRules.h says how the two differ). A data
// block's row is inserted straight from its fixed fields and its group, with
// one statement prepared once and run through the index's batches, as a
// rebuild inserts one for every block of the file.
//
// A block's end time is worked out from its group as the index has it: a
// group restored in this walk, or else its row, read once (an index that
// lags behind its data file may hold a group whose interval an edit
// changed, and its rows were written with that interval).
class IndexRestore : public CommonLib::NonCopyableClassBase {
 public:
  IndexRestore(KrdInstance& file, Index::IndexConnection& index, WalkRules rules);

  // Restores a packet the walk has checked.
  void Restore(const CheckedPacket& checked);

  uint64_t Restored() const { return restored_; }
  // How many of them replaced a row with their key.
  uint64_t Replaced() const { return replaced_; }

 private:
  void RestoreBlock(const CheckedPacket& checked);
  void RestoreKeyed(Packets::PacketBase& packet);
  // Runs insert; under the repair rules a taken key (code 41) has its row
  // removed by remove_taken, which says whether it could, and insert runs
  // again.
  template <typename Insert, typename RemoveTaken>
  void InsertReplacing(Insert insert, RemoveTaken remove_taken);
  void RecordOffset(const Packets::PacketBase& packet);
  KnownGroup& GroupInIndex(uint16_t group_id);

  KrdInstance& file_;
  Index::IndexConnection& index_;
  WalkRules rules_;
  Index::IntegerCommand::SharedText insert_block_;
  std::unordered_map<uint16_t, KnownGroup> groups_;
  uint64_t restored_ = 0;
  uint64_t replaced_ = 0;
};

}  // namespace Varnholt::KrdFiles::Walk
