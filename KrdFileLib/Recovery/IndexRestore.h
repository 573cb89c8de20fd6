#pragma once

#include <cstdint>

#include "CommonLib/NonCopyableClassBase.h"
#include "KrdFileLib/Packets/PacketBase.h"
#include "KrdFileLib/Recovery/PacketCheck.h"

namespace Varnholt::KrdFiles {
class KrdInstance;
namespace Index {
class IndexConnection;
}
}  // namespace Varnholt::KrdFiles

namespace Varnholt::KrdFiles::Recovery {

// Gives packets read back from a data file their rows in an index, as
// reindexing does (each packet's RestoreInIndex), with three differences
// that keep repair from changing the data file and let a second repair
// find nothing to do:
//   - the header's row is inserted as the header stands: a header without
//     a GUID keeps it, where reindexing would write a fresh one into it;
//   - a packet whose key already has a row replaces that row: an ID freed
//     by a deletion and given again leaves two packets with one key in the
//     file, and the later one is the entity the recording ended with;
//   - a start or annotation packet also records its offset in
//     file_information, so the index shows that the packet is applied.
class IndexRestore : public CommonLib::NonCopyableClassBase {
 public:
  IndexRestore(KrdInstance& file, Index::IndexConnection& index);

  // Restores a packet the walk has checked.
  void Restore(const CheckedPacket& checked);

  uint64_t Restored() const { return restored_; }
  // How many of them replaced a row with their key.
  uint64_t Replaced() const { return replaced_; }

 private:
  void RestoreReplacing(Packets::PacketBase& packet);
  void RecordOffset(const Packets::PacketBase& packet);

  KrdInstance& file_;
  Index::IndexConnection& index_;
  uint64_t restored_ = 0;
  uint64_t replaced_ = 0;
};

}  // namespace Varnholt::KrdFiles::Recovery
