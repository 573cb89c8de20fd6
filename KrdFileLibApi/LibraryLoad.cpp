// Creates the library's process-wide state as soon as the shared library is
// loaded, so that the maintenance thread runs before the host's first call.
// The state is torn down by the destructors of its statics on unload.

#include "KrdFileLibApi/HostAllocator.h"
#include "KrdFileLibApi/LibraryInstance.h"

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
