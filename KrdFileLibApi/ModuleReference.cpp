#include "KrdFileLibApi/ModuleReference.h"

#if defined(_WIN32)
#include <windows.h>
#endif

namespace Varnholt::KrdFiles {

#if defined(_WIN32)

bool ModuleReference::Acquire() noexcept {
  if (module_ != nullptr) return true;
  HMODULE module = nullptr;
  // Any address inside this module names it; the flag without
  // UNCHANGED_REFCOUNT raises the module's count.
  static const char kAnchor = 0;
  if (!GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, &kAnchor, &module)) return false;
  module_ = module;
  return true;
}

void ModuleReference::Release() noexcept {
  if (module_ == nullptr) return;
  FreeLibrary(static_cast<HMODULE>(module_));
  module_ = nullptr;
}

#else

bool ModuleReference::Acquire() noexcept { return true; }
void ModuleReference::Release() noexcept {}

#endif

}  // namespace Varnholt::KrdFiles
