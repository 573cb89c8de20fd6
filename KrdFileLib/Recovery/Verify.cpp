// Verify: the read-only check of a recording's pair, and how its findings
// read.

#include "KrdFileLib/Errors.h"
#include "KrdFileLib/DataFile/KrdInstance.h"
#include "KrdFileLib/DataFile/PairPaths.h"
#include "KrdFileLib/Recovery/PairComparison.h"
#include "KrdFileLib/Recovery/PairRecovery.h"

namespace Varnholt::KrdFiles::Recovery {

using Errors::Decimal;

VerifyReport Verify(const std::string& krd_path, const std::string& krq_path,
                    const Progress& progress) {
  CheckPairPaths(krd_path, krq_path);
  KrdInstance file(krd_path);
  file.OpenForReading();
  PairComparison comparison(file, krq_path, ReadOwnHeader(file));
  return comparison.Run(progress);
}

bool VerifyReport::IsClean() const {
  return !torn_tail && !damage && unindexed_count == 0 && bad_row_count == 0 && !guid_mismatch &&
         !index_unusable;
}

namespace {

// "... and 12 more unindexed packets" when not all were listed.
void AddUnlisted(std::string& text, uint64_t count, std::size_t listed, const char* what) {
  if (count > listed) text += "... and " + Decimal(count - listed) + " more " + what + "\n";
}

}  // namespace

std::string VerifyReport::Describe() const {
  if (IsClean()) {
    return "clean: " + Decimal(whole_packets) + " whole packets in " + Decimal(file_size) +
           " bytes, and the index agrees with them\n";
  }
  std::string text;
  if (torn_tail) {
    text += "torn tail at " + Decimal(torn_tail->offset) + " to " +
            Decimal(torn_tail->offset + torn_tail->bytes) + ": " + torn_tail->reason + "\n";
  }
  if (damage) text += "damage at " + Decimal(damage->offset) + ": " + damage->reason + "\n";
  if (index_unusable) text += "index unusable: " + *index_unusable + "\n";
  if (guid_mismatch) text += "GUID mismatch: the index belongs to another recording\n";
  for (const uint64_t offset : unindexed_packets) {
    text += "unindexed packet at " + Decimal(offset) + "\n";
  }
  AddUnlisted(text, unindexed_count, unindexed_packets.size(), "unindexed packets");
  for (const BadRow& row : bad_rows) {
    text +=
        "bad row in " + row.table + " at " + std::to_string(row.offset) + ": " + row.problem + "\n";
  }
  AddUnlisted(text, bad_row_count, bad_rows.size(), "bad rows");
  return text;
}

}  // namespace Varnholt::KrdFiles::Recovery
