// The library functions of the C interface: the host run-time, Initialize
// and Terminate, opening, closing and reindexing files, and the error texts.
// Each catches everything; what a failure becomes is said at each function.

#include <optional>
#include <string>

#include "KrdFileLib/Errors.h"
#include "KrdFileLibApi.h"
#include "KrdFileLibApi/CreateIndexOperation.h"
#include "KrdFileLibApi/Export.h"
#include "KrdFileLibApi/FileOperation.h"
#include "KrdFileLibApi/HostAllocator.h"
#include "KrdFileLibApi/HostSettings.h"
#include "KrdFileLibApi/HostValues.h"
#include "KrdFileLibApi/LibraryInstance.h"
#include "KrdFileLibApi/OpenOperation.h"

namespace {

using Varnholt::KrdFiles::CloseOperation;
using Varnholt::KrdFiles::CodeOfCurrentException;
using Varnholt::KrdFiles::CopyFromHost;
using Varnholt::KrdFiles::CreateIndexOperation;
using Varnholt::KrdFiles::HostAllocator;
using Varnholt::KrdFiles::LibraryInstance;
using Varnholt::KrdFiles::OpenOperation;
using Varnholt::KrdFiles::ReadHostSettings;
using Varnholt::KrdFiles::StoreToHost;
using Varnholt::KrdFiles::Errors::kUnexpectedCode;

// Runs a function body that returns a code; a failure it lets escape
// becomes that failure's code (36 for bad host input or anything foreign).
template <typename Body>
int32_t Guarded(Body body) noexcept {
  try {
    return body();
  } catch (...) {
    return CodeOfCurrentException();
  }
}

// Open and DebugOpen. The handle variable is 0 after any failure, including
// unreadable paths (36, before the guarded open, so no error text).
int32_t RunOpen(KrdStringHandle krd_path, KrdStringHandle krq_path, uint8_t mode,
                KrdFileHandle* file, std::string& error_text) noexcept {
  if (file != nullptr) *file = 0;
  return Guarded([&] {
    LibraryInstance& library = LibraryInstance::Process();
    OpenOperation open(library.Files(), library.Clock(), CopyFromHost<std::string>(krd_path),
                       CopyFromHost<std::string>(krq_path), mode, file);
    const int32_t code = open.Execute();
    error_text = open.ErrorText();
    return code;
  });
}

}  // namespace

extern "C" {

KRD_EXPORT int32_t SetLVRTModule(void* module) {
  HostAllocator::Process().SetRunTimeModule(module);
  return 0;
}

// Always 0 but for a failure to allocate; a null settings address changes
// nothing.
KRD_EXPORT int32_t Initialize(const KrdLibrarySettings* settings) {
  if (settings == nullptr) return 0;
  return Guarded([&] {
    LibraryInstance::Process().Initialize(ReadHostSettings(*settings));
    return 0;
  });
}

KRD_EXPORT int32_t Terminate(void) {
  return Guarded([] {
    LibraryInstance::Process().Terminate();
    return 0;
  });
}

KRD_EXPORT int32_t Open(KrdStringHandle krdPath, KrdStringHandle krqPath, uint8_t mode,
                        KrdFileHandle* file) {
  std::string ignored;
  return RunOpen(krdPath, krqPath, mode, file, ignored);
}

// A null errorText address is refused (36) before anything is opened. When
// the text cannot be stored, the code is still that of the open: a file it
// opened is open and its handle is in the handle variable.
KRD_EXPORT int32_t DebugOpen(KrdStringHandle krdPath, KrdStringHandle krqPath, uint8_t mode,
                             KrdFileHandle* file, KrdStringHandle* errorText) {
  if (errorText == nullptr) {
    if (file != nullptr) *file = 0;
    return kUnexpectedCode;
  }
  std::string error_text;
  const int32_t code = RunOpen(krdPath, krqPath, mode, file, error_text);
  StoreToHost(errorText, error_text);
  return code;
}

KRD_EXPORT int32_t Close(KrdFileHandle file) {
  return Guarded(
      [&] { return CloseOperation(LibraryInstance::Process().Files(), file).Execute(); });
}

KRD_EXPORT int32_t CreateIndex(KrdStringHandle krdPath, KrdStringHandle krqPath) {
  return Guarded([&] {
    LibraryInstance& library = LibraryInstance::Process();
    return CreateIndexOperation(library.Settings(), library.Clock(),
                                CopyFromHost<std::string>(krdPath),
                                CopyFromHost<std::string>(krqPath))
        .Execute();
  });
}

// 0, or 7 with an empty text for handle 0 or a handle never issued; 36 for
// a null message address or when the text cannot be handed over.
KRD_EXPORT int32_t GetMostRecentErrorMessage(KrdFileHandle file, KrdStringHandle* message) {
  if (message == nullptr) return kUnexpectedCode;
  std::optional<std::string> text;
  const int32_t code = Guarded([&] {
    text = LibraryInstance::Process().Files().MostRecentMessage(file);
    return text ? 0 : 7;
  });
  if (!StoreToHost(message, text.value_or(std::string())) && code == 0) {
    return kUnexpectedCode;
  }
  return code;
}

KRD_EXPORT void DisposeHostHandle(void* handle) { HostAllocator::Process().Dispose(handle); }

}  // extern "C"
