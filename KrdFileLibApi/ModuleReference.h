#pragma once

#include "CommonLib/NonCopyableClassBase.h"

namespace Varnholt::KrdFiles {

// Keeps the library's own module loaded while a thread of the library runs
// in it. On Windows a host may unload the DLL without calling Terminate;
// the maintenance thread cannot be joined then (its exit would wait for the
// loader lock the unloading thread holds), and it must not go on running
// in unloaded code. While a reference is held the host's FreeLibrary only
// lowers the module's count, so the DLL stays until Release or the end of
// the process. Elsewhere shared objects are not unloaded under a running
// thread by the hosts the library serves, and this does nothing.
class ModuleReference : public CommonLib::NonCopyableClassBase {
 public:
  ModuleReference() = default;
  ~ModuleReference() { Forget(); }

  // Takes a reference on the module that holds this code; false when none
  // could be taken.
  bool Acquire() noexcept;
  // Gives the reference back. Not while the loader lock is held.
  void Release() noexcept;
  // Drops the reference without giving it back: at the end of the process,
  // when the module goes anyway.
  void Forget() noexcept { module_ = nullptr; }

 private:
  void* module_ = nullptr;
};

}  // namespace Varnholt::KrdFiles
