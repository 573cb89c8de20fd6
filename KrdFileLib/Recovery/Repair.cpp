// Repair: acts on what Verify finds, moving bytes and files aside rather
// than discarding them, and never changing a byte of a whole packet.

#include <string>

#include "KrdFileLib/Errors.h"
#include "KrdFileLib/Index/IndexConnection.h"
#include "KrdFileLib/DataFile/KrdInstance.h"
#include "KrdFileLib/DataFile/PairPaths.h"
#include "KrdFileLib/DataFile/PlatformFile.h"
#include "KrdFileLib/Recovery/PairComparison.h"
#include "KrdFileLib/Recovery/PairRecovery.h"
#include "KrdFileLib/Recovery/RecoveryWalk.h"
#include "KrdFileLib/Recovery/SideFiles.h"
#include "KrdFileLib/Walk/IndexRestore.h"
#include "KrdFileLib/Walk/PacketCheck.h"

namespace Varnholt::KrdFiles::Recovery {

using Errors::Decimal;

namespace {

// " (2 of them replaced a row with their key)", when any did.
std::string Replacements(uint64_t replaced) {
  if (replaced == 0) return {};
  return " (" + Decimal(replaced) + " of them replaced a row with their key)";
}

// The index rows themselves are wrong or unreadable: only a new index
// built from the data file can be trusted.
bool NeedsNewIndex(const VerifyReport& found) {
  return found.index_unusable || found.guid_mismatch || found.bad_row_count > 0;
}

// Copies the torn tail into a side file, then cuts the data file back to
// its last whole packet.
void MoveTornTail(const std::string& krd_path, const VerifyReport& found, RepairReport& done) {
  const VerifyReport::TornTail& tail = *found.torn_tail;
  KrdInstance file(krd_path);
  file.Open();
  if (file.GetEndOffset() != found.file_size) throw Errors::RecordingChangedDuringRepair();
  const std::string side =
      CopyAside(file, tail.offset, tail.bytes, krd_path + ".torn-" + Decimal(tail.offset));
  file.TruncateTo(tail.offset);
  file.Sync();
  done.side_files.push_back(side);
  done.actions.push_back("moved the torn tail at " + Decimal(tail.offset) + " to " +
                         Decimal(tail.offset + tail.bytes) + " into " + side +
                         " and cut the data file back to " + Decimal(tail.offset) + " bytes");
}

// Gives the packets the index lags behind on their rows, in file order.
void CatchUpIndex(const std::string& krd_path, const std::string& krq_path,
                  const Progress& progress, RepairReport& done) {
  KrdInstance file(krd_path);
  file.OpenForReading();
  Index::IndexConnection index(krq_path, nullptr);
  index.Open();
  Walk::IndexRestore restore(file, index, Walk::WalkRules::Recovery());
  PairComparison comparison(file, krq_path, ReadOwnHeader(file));
  const VerifyReport walked =
      comparison.Run(progress, [&](const Walk::CheckedPacket& packet) { restore.Restore(packet); });
  index.Close();
  if (walked.index_unusable) throw Errors::SqliteError(*walked.index_unusable);
  done.actions.push_back("restored the index rows of " + Decimal(restore.Restored()) +
                         " packets the index lagged behind on, from offset " +
                         Decimal(done.found.unindexed_packets.front()) +
                         Replacements(restore.Replaced()));
}

// How many packets a new index was built from, and how many of them
// replaced a row with their key.
struct BuiltIndex {
  uint64_t restored = 0;
  uint64_t replaced = 0;
};

// Restores every whole packet of the data file into a new index at path.
BuiltIndex BuildIndex(const std::string& krd_path, const std::string& path,
                      const Progress& progress) {
  KrdInstance file(krd_path);
  file.OpenForReading();
  Index::IndexConnection index(path, nullptr);
  index.Create();
  index.DisableSynchronousWrites();
  Walk::IndexRestore restore(file, index, Walk::WalkRules::Recovery());
  Walk::PacketCheck check(Walk::WalkRules::Recovery());
  RecoveryWalk walk(file, check, progress);
  walk.Run([&](const Walk::CheckedPacket& packet) { restore.Restore(packet); });
  index.Close();
  return BuiltIndex{restore.Restored(), restore.Replaced()};
}

// The rebuilt index was written without syncs; it goes to the storage
// device before it takes the old one's place.
void SyncIndexFiles(const std::string& path) {
  for (const char* suffix : {"", "-wal"}) {
    PlatformFile file;
    if (file.OpenExisting(path + suffix) != PlatformFile::OpenResult::kOpened) continue;
    if (!file.Sync()) throw Errors::IndexNotReplaced(path);
  }
}

// Builds a new index beside the old one and, once it is complete, moves
// the old one aside and the new one into its place.
void RebuildIndex(const std::string& krd_path, const std::string& krq_path,
                  const Progress& progress, RepairReport& done) {
  const std::string rebuilt = krq_path + ".rebuild";
  RemoveIndex(rebuilt);  // what an interrupted repair left
  BuiltIndex built;
  try {
    built = BuildIndex(krd_path, rebuilt, progress);
    SyncIndexFiles(rebuilt);
  } catch (...) {
    RemoveIndex(rebuilt);
    throw;
  }
  const std::optional<std::string> old = MoveIndexAside(krq_path, krq_path + ".replaced");
  MoveIndex(rebuilt, krq_path);
  std::string action = "rebuilt the index from the " + Decimal(built.restored) +
                       " whole packets before offset " + Decimal(done.found.whole_packets_end) +
                       Replacements(built.replaced);
  if (old) {
    done.side_files.push_back(*old);
    action += "; the old index is now " + *old;
  }
  done.actions.push_back(action);
}

}  // namespace

RepairReport Repair(const std::string& krd_path, const std::string& krq_path,
                    const Progress& progress) {
  CheckPairPaths(krd_path, krq_path);
  // The recording's one writer until the repair is done: a recorder or an
  // editor still at work on it refuses the repair, and none can start.
  KrdInstance writer(krd_path);
  writer.OpenForReading();
  writer.LockAsWriter();
  RepairReport done;
  done.found = Verify(krd_path, krq_path, progress);
  const VerifyReport& found = done.found;
  if (found.torn_tail) MoveTornTail(krd_path, found, done);
  if (NeedsNewIndex(found)) {
    RebuildIndex(krd_path, krq_path, progress, done);
  } else if (found.unindexed_count > 0) {
    try {
      CatchUpIndex(krd_path, krq_path, progress, done);
    } catch (const ApiException& failure) {
      // The rows the index holds do not fit the packets after all (a group
      // row of another group with the same ID): a new index is built.
      done.actions.push_back("could not restore the rows the index lagged behind on (" +
                             failure.Message() + ")");
      RebuildIndex(krd_path, krq_path, progress, done);
    }
  }
  return done;
}

}  // namespace Varnholt::KrdFiles::Recovery
