// Arbitrary bytes as the index of a valid data file, as an index that
// travelled between engineers may arrive: garbage, the right tables with
// the wrong types, rows whose offsets, times or IDs point nowhere or
// overlap, triggers and views in the schema. The pair is opened in read
// mode and in edit mode (each on a fresh copy of the bytes, so inputs stay
// independent); every listing and getter is called (IndexCalls.h) in read
// mode, and in edit mode again after a few modifying calls. Whatever the bytes, every call
// may only end in one of the library's own errors: never a crash, a hang,
// a leak or an allocation larger than the files; read mode changes
// neither file, and edit mode leaves the data file as it was.
//
// The data file is recorded once at start (FuzzRecording.h) into the fuzz
// folder; the index lives in memory (MemoryVfs.h). With
// KRD_FUZZ_WRITE_INDEX set to a path, the recording's own index is written
// there at start, for fuzz/make_index_seeds.py to build the seeds from.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "KrdFileLib/DataTypeRegistry.h"
#include "KrdFileLib/Exceptions.h"
#include "KrdFileLib/FileLibrarySettings.h"
#include "KrdFileLib/File/KrfModes.h"
#include "KrdFileLibApi/CloseOnFailure.h"
#include "fuzz/FuzzFolder.h"
#include "fuzz/FuzzRecording.h"
#include "fuzz/IndexCalls.h"
#include "fuzz/MemoryVfs.h"

namespace {

using namespace Varnholt::KrdFiles;
using Bytes = std::vector<uint8_t>;
using Varnholt::Fuzzing::MemoryFileStore;

struct Workspace {
  std::filesystem::path folder = Varnholt::Fuzzing::FreshFuzzFolder("krd-index");
  std::string krd = (folder / "recording.krd").string();
  std::string krq = (folder / "recording.krq").string();
  std::shared_ptr<FileLibrarySettings> settings = std::make_shared<FileLibrarySettings>();
  Bytes data_file;

  Workspace() {
    DataTypeRegistry::Process().Replace(Varnholt::Fuzzing::FuzzRecordingDataTypes());
    Varnholt::Fuzzing::InstallMemoryVfs(Varnholt::Fuzzing::MemoryNaming::kInMemory);
    Varnholt::Fuzzing::RecordEveryPacketKind(krd, krq);
    data_file = Varnholt::Fuzzing::ReadBytes(krd);
    // Small reads, so that a block's samples take several chunks.
    settings->SetReadChunkSize(64);
    if (const char* out = std::getenv("KRD_FUZZ_WRITE_INDEX")) {
      const Bytes index = MemoryFileStore::Process().Read(krq);
      Varnholt::Fuzzing::WriteBytes(out, index.data(), index.size());
    }
  }

  // The input as the index, a fresh copy beside no other file.
  void LayIndex(const uint8_t* data, size_t size) const {
    MemoryFileStore::Process().Clear();
    MemoryFileStore::Process().Put(krq, data, size);
  }
};

Workspace& TheWorkspace() {
  static Workspace workspace;
  return workspace;
}

void Require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "Broken: %s\n", what);
  __builtin_trap();
}

// Opens the pair in the mode of File, makes the calls, and closes it.
template <typename File, typename Calls>
void WithOpenFile(const Workspace& workspace, Calls calls) {
  try {
    File file(workspace.krd, workspace.krq, workspace.settings, nullptr);
    CloseOnFailure close_on_failure(file);
    file.Open();
    calls(file);
    close_on_failure.Release();
    file.Close();
  } catch (const ApiException&) {
    // An index the library refuses to open, or to commit to on close.
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  TheWorkspace();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const Workspace& workspace = TheWorkspace();
  const Bytes input(data, data + size);

  workspace.LayIndex(data, size);
  Varnholt::Fuzzing::ListedIds ids;
  WithOpenFile<KrfReader>(
      workspace, [&](KrfFileBase& file) { ids = Varnholt::Fuzzing::CallEveryReader(file); });
  Require(MemoryFileStore::Process().Read(workspace.krq) == input, "read mode changed the index");

  // The same bytes list the same IDs in edit mode.
  workspace.LayIndex(data, size);
  WithOpenFile<KrfEditor>(workspace, [&](KrfFileBase& file) {
    Varnholt::Fuzzing::CallSomeModifiers(file, ids);
    Varnholt::Fuzzing::CallEveryReader(file);
  });
  Require(Varnholt::Fuzzing::ReadBytes(workspace.krd) == workspace.data_file,
          "edit mode changed the data file");
  // What an input made goes with it, so that libFuzzer sees no growth.
  MemoryFileStore::Process().Clear();
  return 0;
}
