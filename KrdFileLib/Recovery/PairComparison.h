#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "CommonLib/NonCopyableClassBase.h"
#include "CommonLib/Uuid.h"
#include "KrdFileLib/Recovery/IndexSnapshot.h"
#include "KrdFileLib/Recovery/RecoveryWalk.h"
#include "KrdFileLib/Walk/PacketCheck.h"
#include "KrdFileLib/Recovery/PairRecovery.h"

namespace Varnholt::KrdFiles::Recovery {

// Reads the header at the start of the data file and returns its GUID;
// code 3 unless it is a whole header with this library's file type.
CommonLib::Uuid ReadOwnHeader(KrdInstance& file);

// Compares a data file with its index in one walk through the file. The
// index's rows are read in offset order alongside, so each row is checked
// against the packet it names (or found to name none) without keeping
// either side in memory.
//
// A packet counts as unindexed only past the greatest offset that any row
// names, since the index can lag behind its data file only at its end:
// packets before that point without a row are those of deleted entities,
// whose packets stay in the file. Past that point a channel group packet
// is unindexed when no row has its group's ID (a file object records its
// groups' rows without their offset), and a start or annotation packet
// when file_information holds no start or annotation. The header is
// unindexed when there is no file_information row at all.
class PairComparison : public CommonLib::NonCopyableClassBase {
 public:
  using Unindexed = std::function<void(const Walk::CheckedPacket&)>;

  // header_guid is the GUID of the data file's header, already read.
  PairComparison(KrdInstance& file, const std::string& krq_path, CommonLib::Uuid header_guid);

  // Walks the data file once and reports what it found. unindexed, if set,
  // is called for each unindexed packet as the walk reaches it, and what it
  // throws ends the walk and is thrown on. An index that fails to be read
  // part-way through is reported unusable, and the data file is then walked
  // again on its own.
  VerifyReport Run(const Progress& progress, const Unindexed& unindexed = {});

 private:
  VerifyReport Compare(IndexSnapshot& index, const Progress& progress, const Unindexed& unindexed);
  VerifyReport WalkAlone(const Progress& progress);

  // The rows up to the packet: those before it name no packet start, those
  // at it must be of its kind.
  void MatchRows(IndexSnapshot::Rows& rows, const Walk::CheckedPacket& packet);
  // The rows past the last whole packet, once the walk has ended.
  void MatchRemainingRows(IndexSnapshot::Rows& rows, const WalkEnd& end);
  void MatchGroupRows(IndexSnapshot& index, const Walk::PacketCheck& check, const WalkEnd& end);
  bool IsUnindexed(IndexSnapshot& index, const Walk::CheckedPacket& packet) const;

  void AddBadRow(const OffsetTable& table, int64_t offset, std::string problem);
  void AddUnindexed(uint64_t offset);
  // "points inside the device packet at 120" for a row at offset.
  std::string InsideLastPacket(int64_t offset) const;
  static void TakeWalkEnd(const WalkEnd& end, VerifyReport& report);

  KrdInstance& file_;
  std::string krq_path_;
  CommonLib::Uuid header_guid_;

  VerifyReport report_;
  std::optional<IndexSnapshot::HeaderRow> header_row_;
  int64_t greatest_offset_ = -1;
  // The last whole packet the walk has handed on.
  std::optional<Packets::PacketFrame> last_packet_;
};

}  // namespace Varnholt::KrdFiles::Recovery
