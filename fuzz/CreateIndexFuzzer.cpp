// Rebuilds an index from arbitrary bytes taken as a data file, as the
// exported CreateIndex does: a reindexing file object is opened on the
// data file with a new index, walks it, and is closed. Whatever the bytes,
// this may only end in one of the library's own errors: never a crash, a
// hang, a leak or a read out of bounds. The index is built in memory
// (MemoryVfs.h); the data file lies in the fuzz folder.

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

#include "KrdFileLib/DataTypeRegistry.h"
#include "KrdFileLib/Exceptions.h"
#include "KrdFileLib/FileLibrarySettings.h"
#include "KrdFileLib/File/KrfModes.h"
#include "KrdFileLibApi/CloseOnFailure.h"
#include "fuzz/FuzzFolder.h"
#include "fuzz/MemoryVfs.h"

namespace {

using namespace Varnholt::KrdFiles;

struct Workspace {
  std::filesystem::path folder = Varnholt::Fuzzing::FreshFuzzFolder("krd-create-index");
  std::string krd = (folder / "input.krd").string();
  std::string krq = (folder / "input.krq").string();
  std::shared_ptr<FileLibrarySettings> settings = std::make_shared<FileLibrarySettings>();

  Workspace() {
    DataTypeRegistry::Process().Replace({{1, 2}, {2, 4}});
    Varnholt::Fuzzing::InstallMemoryVfs(Varnholt::Fuzzing::MemoryNaming::kInMemory);
  }
};

Workspace& TheWorkspace() {
  static Workspace workspace;
  return workspace;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Workspace& workspace = TheWorkspace();
  Varnholt::Fuzzing::WriteBytes(workspace.krd, data, size);
  // A new index each time: reindexing refuses one that exists.
  Varnholt::Fuzzing::MemoryFileStore::Process().Clear();
  try {
    KrfReindexer reindexer(workspace.krd, workspace.krq, workspace.settings, nullptr);
    CloseOnFailure close_on_failure(reindexer);
    reindexer.Open();
    reindexer.Reindex();
    close_on_failure.Release();
    reindexer.Close();
  } catch (const ApiException&) {
    // The expected way for malformed input to end.
  }
  // What an input made goes with it, so that libFuzzer sees no growth.
  Varnholt::Fuzzing::MemoryFileStore::Process().Clear();
  return 0;
}
