// Verify and Repair with arbitrary bytes as the data file of a valid index:
// the index of the recording in seeds-VerifyFuzzer/recording.krd, so that
// inputs grown from that recording meet an index that matches them up to
// where they differ. Whatever the bytes, Verify either refuses the data file
// with one of the library's errors or reports, and then
//   - Verify has changed neither file;
//   - Repair succeeds and leaves the data file's whole packets as they were;
//   - a second Verify finds nothing but the damage the first one found;
//   - a second Repair does nothing.
// Anything else, and any crash, leak or hang, is a finding.
//
// The indexes live in memory (MemoryVfs.h) behind empty placeholders in the
// fuzz folder, which Repair renames and removes as it would the files
// themselves; the data file and the side files lie in the fuzz folder.

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "KrdFileLib/DataTypeRegistry.h"
#include "KrdFileLib/Exceptions.h"
#include "KrdFileLib/FileLibrarySettings.h"
#include "KrdFileLib/File/KrfModes.h"
#include "KrdFileLib/Recovery/PairRecovery.h"
#include "fuzz/FuzzFolder.h"
#include "fuzz/MemoryVfs.h"

namespace {

using namespace Varnholt::KrdFiles;
using Bytes = std::vector<uint8_t>;
using Varnholt::Fuzzing::MemoryFileStore;

struct Workspace {
  std::filesystem::path folder = Varnholt::Fuzzing::FreshFuzzFolder("krd-verify");
  std::filesystem::path pair = folder / "pair";
  std::string krd = (pair / "input.krd").string();
  std::string krq = (pair / "input.krq").string();
  Bytes index;  // the index of the paired recording, as a file

  Workspace() {
    DataTypeRegistry::Process().Replace({{1, 2}, {2, 4}});
    Varnholt::Fuzzing::InstallMemoryVfs(Varnholt::Fuzzing::MemoryNaming::kPlaceholderOnDisk);
    const std::string data = (folder / "paired.krd").string();
    const std::string paired = (folder / "paired.krq").string();
    std::filesystem::copy_file(KRD_FUZZ_PAIRED_DATA_FILE, data);
    KrfReindexer reindexer(data, paired, std::make_shared<FileLibrarySettings>(), nullptr);
    reindexer.Open();
    reindexer.Reindex();
    reindexer.Close();
    index = MemoryFileStore::Process().Read(paired);
  }

  // The input as data file beside a fresh copy of the index, in an empty
  // folder (side files of the last input gone).
  void Lay(const uint8_t* data, size_t size) const {
    std::filesystem::remove_all(pair);
    std::filesystem::create_directories(pair);
    MemoryFileStore::Process().Clear();
    Varnholt::Fuzzing::WriteBytes(krd, data, size);
    MemoryFileStore::Process().Put(krq, index.data(), index.size());
  }
};

Workspace& TheWorkspace() {
  static Workspace workspace;
  return workspace;
}

void Require(bool holds) {
  if (!holds) __builtin_trap();
}

// Repair on a data file Verify accepted must not fail.
Recovery::RepairReport RepairOrTrap(const Workspace& workspace) {
  try {
    return Recovery::Repair(workspace.krd, workspace.krq);
  } catch (const ApiException& failure) {
    std::fprintf(stderr, "Repair failed with code %d: %s\n", failure.Code(), failure.what());
    __builtin_trap();
  }
}

bool SameDamage(const Recovery::VerifyReport& first, const Recovery::VerifyReport& second) {
  if (first.damage.has_value() != second.damage.has_value()) return false;
  return !first.damage || first.damage->offset == second.damage->offset;
}

void CheckVerifyAndRepair(const Workspace& workspace, const Bytes& input) {
  Recovery::VerifyReport found;
  try {
    found = Recovery::Verify(workspace.krd, workspace.krq);
  } catch (const ApiException&) {
    return;  // not a data file of this library
  }
  Require(Varnholt::Fuzzing::ReadBytes(workspace.krd) == input);
  Require(MemoryFileStore::Process().Read(workspace.krq) == workspace.index);

  Require(RepairOrTrap(workspace).found.IsClean() == found.IsClean());
  const Bytes repaired = Varnholt::Fuzzing::ReadBytes(workspace.krd);
  const size_t kept = found.torn_tail ? found.torn_tail->offset : input.size();
  Require(repaired == Bytes(input.begin(), input.begin() + static_cast<std::ptrdiff_t>(kept)));

  const Recovery::VerifyReport again = Recovery::Verify(workspace.krd, workspace.krq);
  Require(!again.torn_tail && again.unindexed_count == 0 && again.bad_row_count == 0 &&
          !again.guid_mismatch && !again.index_unusable && SameDamage(found, again));
  Require(RepairOrTrap(workspace).actions.empty());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const Workspace& workspace = TheWorkspace();
  workspace.Lay(data, size);
  CheckVerifyAndRepair(workspace, Bytes(data, data + size));
  // What an input made goes with it, so that libFuzzer sees no growth.
  MemoryFileStore::Process().Clear();
  return 0;
}
