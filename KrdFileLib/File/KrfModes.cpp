#include "KrdFileLib/File/KrfModes.h"

#include <functional>

#include "KrdFileLib/Errors.h"
#include "KrdFileLib/DataFile/PairPaths.h"
#include "KrdFileLib/DataFile/PlatformFile.h"
#include "KrdFileLib/Walk/IndexRestore.h"
#include "KrdFileLib/Walk/PacketCheck.h"
#include "KrdFileLib/Walk/PacketWalk.h"

namespace Varnholt::KrdFiles {

namespace {

// Removes a file this open created, with SQLite's companion files, so that a
// failed open leaves nothing behind that would block the next attempt.
void RemoveCreatedFile(const std::string& path) {
  for (const char* suffix : {"", "-wal", "-shm", "-journal"}) {
    PlatformFile::Remove(path + suffix);
  }
}

// Runs the steps that follow the creation of a new file; if one fails, the
// new file is closed and removed before the failure goes on.
template <typename Steps>
void UndoCreationOnFailure(const std::string& created_path, const std::function<void()>& close,
                           Steps steps) {
  try {
    steps();
  } catch (...) {
    close();
    RemoveCreatedFile(created_path);
    throw;
  }
}

}  // namespace

// Record ------------------------------------------------------------------

void KrfRecorder::Open() {
  std::lock_guard lock(Mutex());
  CheckPairPaths(data_file_.Path(), index_.Path());
  // An index that is already there is refused, and never removed; one this
  // open starts and cannot finish (a full disk) goes, so that the open can
  // be tried again.
  const bool index_existed = PlatformFile::Exists(index_.Path());
  data_file_.Create();
  UndoCreationOnFailure(data_file_.Path(), [this] { data_file_.Close(); }, [&] {
    data_file_.LockAsWriter();
    try {
      index_.Create();
    } catch (...) {
      index_.Abandon();
      if (!index_existed) RemoveCreatedFile(index_.Path());
      throw;
    }
  });
  // Rows committed to the index only ever point at packets on the disk.
  index_.SetBeforeCommit([this] { data_file_.Sync(); });
  entity_ids_.StartNewRecording();
}

void KrfRecorder::CommitPacket(Packets::PacketBase& packet) {
  data_file_.WritePacket(packet);
}

// Read and edit -----------------------------------------------------------

void KrfReader::Open() {
  std::lock_guard lock(Mutex());
  CheckPairPaths(data_file_.Path(), index_.Path());
  data_file_.OpenForReading();
  index_.OpenForReading();
  CheckHeader();
  CheckGuid();
}

void KrfReader::CheckRecordAllowed() const { throw Errors::NotAllowedInReadMode(); }
void KrfReader::CheckModifyAllowed() const { throw Errors::NotAllowedInReadMode(); }

void KrfEditor::Open() {
  std::lock_guard lock(Mutex());
  CheckPairPaths(data_file_.Path(), index_.Path());
  data_file_.Open();
  data_file_.LockAsWriter();
  index_.Open();
  CheckHeader();
  CheckGuid();
}

void KrfEditor::CheckRecordAllowed() const { throw Errors::NotAllowedInEditMode(); }

// Reindex -----------------------------------------------------------------

void KrfReindexer::Open() {
  std::lock_guard lock(Mutex());
  CheckPairPaths(data_file_.Path(), index_.Path());
  data_file_.Open();
  // A header without a GUID gets one written into the data file.
  data_file_.LockAsWriter();
  index_.Create();
  UndoCreationOnFailure(index_.Path(), [this] { index_.Close(); }, [this] { CheckHeader(); });
}

void KrfReindexer::CheckRecordAllowed() const { throw Errors::NotAllowedInReindexMode(); }

void KrfReindexer::Reindex() {
  std::lock_guard lock(Mutex());
  constexpr Walk::WalkRules kRules = Walk::WalkRules::Reindexing();
  Walk::PacketCheck check(kRules);
  Walk::PacketWalk walk(data_file_, check);  // as far as the file's end now
  index_.DisableSynchronousWrites();
  Walk::IndexRestore restore(data_file_, index_, kRules);
  try {
    const Walk::WalkResult walked =
        walk.Run([&](const Walk::CheckedPacket& packet) { restore.Restore(packet); });
    if (walked.stop) throw walked.stop->failure;
  } catch (const ApiException& e) {
    // The failure of the packet the walk is at, whether reading or
    // restoring it failed; the rows restored before it stay.
    throw ApiException(e.Code(), std::string(e.what()) + "\r\nFailed to read packet at " +
                                     Errors::Decimal(walk.Position()));
  }
}

}  // namespace Varnholt::KrdFiles
