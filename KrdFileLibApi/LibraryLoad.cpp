// What happens when the shared library is loaded and unloaded.
//
// Linux: the library's process-wide state is created as soon as the library
// is loaded, so that the maintenance thread runs before the host's first
// call; it is torn down by the destructors of its statics on unload.
//
// Windows: nothing may start or wait for a thread while the loader lock is
// held, so the state is created by the host's first call instead. When the
// process ends, the state is abandoned rather than torn down (the system
// has already ended the other threads); when the host unloads the DLL, the
// statics' destructors tear it down as on Linux. A DLL whose maintenance
// thread still runs stays loaded (ModuleReference) until Terminate.

#include "KrdFileLibApi/HostAllocator.h"
#include "KrdFileLibApi/LibraryInstance.h"

#if defined(_WIN32)
#include <windows.h>

extern "C" BOOL WINAPI DllMain(HINSTANCE /*module*/, DWORD reason, LPVOID reserved) {
  // A non-null reserved pointer on detach means the process is ending.
  if (reason == DLL_PROCESS_DETACH && reserved != nullptr) {
    Varnholt::KrdFiles::LibraryInstance::AbandonAtProcessExit();
  }
  return TRUE;
}

#else

namespace {

__attribute__((constructor)) void CreateLibraryInstanceOnLoad() {
  try {
    Varnholt::KrdFiles::HostAllocator::Process();
    Varnholt::KrdFiles::LibraryInstance::Process();
  } catch (...) {
    // Then the first call that needs the instance creates it.
  }
}

}  // namespace

#endif
