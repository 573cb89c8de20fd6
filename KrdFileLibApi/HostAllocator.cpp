#include "KrdFileLibApi/HostAllocator.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

#include <cstddef>
#include <cstdint>

#if defined(KRD_STATIC_PROGRAMS)
// A statically linked program has no symbols to look up while it runs: a
// run-time it holds is linked in, and found through weak references, which
// stay null without one. The module given is not asked.
extern "C" void** AZNewHandle(std::size_t bytes) __attribute__((weak));
extern "C" int32_t AZDisposeHandle(void** handle) __attribute__((weak));
#endif

namespace Varnholt::KrdFiles {

namespace {

// The data of one of the library's own handles starts this far into its
// block, after the pointer the handle points to, aligned for any element.
constexpr std::size_t kOwnDataOffset = alignof(std::max_align_t);

#if !defined(KRD_STATIC_PROGRAMS)
// The run-time's function name in module; without a module, in the
// process's global symbols (Linux) or its main program (Windows).
template <typename Function>
Function LookUp(void* module, const char* name) {
#if defined(_WIN32)
  HMODULE handle = module != nullptr ? static_cast<HMODULE>(module) : GetModuleHandleA(nullptr);
  return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(handle, name)));
#else
  return reinterpret_cast<Function>(dlsym(module != nullptr ? module : RTLD_DEFAULT, name));
#endif
}
#endif

}  // namespace

HostAllocator& HostAllocator::Process() {
  static HostAllocator allocator;
  return allocator;
}

void HostAllocator::SetRunTimeModule(void* module) noexcept {
  std::lock_guard lock(mutex_);
  module_ = module;
  resolved_ = false;
}

HostAllocator::RunTime HostAllocator::ResolvedRunTime() {
  std::lock_guard lock(mutex_);
  if (!resolved_) {
#if defined(KRD_STATIC_PROGRAMS)
    run_time_ = {&AZNewHandle, &AZDisposeHandle};
#else
    run_time_.new_handle = LookUp<NewHandleFunction>(module_, "AZNewHandle");
    run_time_.dispose_handle = LookUp<DisposeHandleFunction>(module_, "AZDisposeHandle");
#endif
    resolved_ = true;
  }
  return run_time_;
}

void** HostAllocator::NewHandle(std::size_t bytes) noexcept {
  try {
    const RunTime run_time = ResolvedRunTime();
    if (run_time.new_handle != nullptr) return run_time.new_handle(bytes);
    return NewOwnHandle(bytes);
  } catch (...) {
    return nullptr;
  }
}

void** HostAllocator::NewOwnHandle(std::size_t bytes) {
  std::unique_ptr<void, FreeBlock> block(std::malloc(kOwnDataOffset + bytes));
  if (!block) return nullptr;
  void** handle = static_cast<void**>(block.get());
  *handle = static_cast<std::byte*>(block.get()) + kOwnDataOffset;
  std::lock_guard lock(mutex_);
  own_handles_.emplace(handle, std::move(block));
  return handle;
}

void HostAllocator::Dispose(void* handle) noexcept {
  if (handle == nullptr) return;
  DisposeHandleFunction dispose_handle = nullptr;
  {
    std::lock_guard lock(mutex_);
    if (own_handles_.erase(handle) != 0) return;
    dispose_handle = run_time_.dispose_handle;
  }
  // Not one of ours, so the run-time made it. Without a run-time that can
  // free it, the handle is left to its owner.
  if (dispose_handle != nullptr) dispose_handle(static_cast<void**>(handle));
}

}  // namespace Varnholt::KrdFiles
