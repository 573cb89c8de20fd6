#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <unordered_map>

#include "CommonLib/NonCopyableClassBase.h"

namespace Varnholt::KrdFiles {

// The allocator behind every string and array handle the library returns.
// A host's run-time expects handles it can manage itself, so when the
// run-time exports "AZNewHandle" (looked up in the module named by
// SetRunTimeModule, or when none was named among the process's global
// symbols on Linux and in its main program on Windows) the handles come
// from it. A host without such a run-time, a C
// program or a test, gets handles from the library's own allocator instead.
//
// Dispose frees a handle with the allocator that made it: the library
// remembers the handles it made itself, and hands every other handle to the
// run-time's "AZDisposeHandle". Handles of the library's own that the host
// never disposes are freed when the library is unloaded.
class HostAllocator : public CommonLib::NonCopyableClassBase {
 public:
  // The allocator of this process.
  static HostAllocator& Process();

  // Names the run-time module (a dlopen handle on Linux, an HMODULE on
  // Windows, or null for the default places); the run-time is looked up
  // again on the next allocation.
  void SetRunTimeModule(void* module) noexcept;
  // A new handle to a block of the given size, or null when out of memory.
  void** NewHandle(std::size_t bytes) noexcept;
  // Frees a handle made by NewHandle; null is ignored.
  void Dispose(void* handle) noexcept;

 private:
  using NewHandleFunction = void** (*)(std::size_t);
  using DisposeHandleFunction = int32_t (*)(void**);
  struct RunTime {
    NewHandleFunction new_handle = nullptr;
    DisposeHandleFunction dispose_handle = nullptr;
  };
  struct FreeBlock {
    void operator()(void* block) const { std::free(block); }
  };

  // The run-time's functions, looked up on first use after SetRunTimeModule.
  RunTime ResolvedRunTime();
  void** NewOwnHandle(std::size_t bytes);

  std::mutex mutex_;
  void* module_ = nullptr;
  bool resolved_ = false;
  RunTime run_time_;
  // The library's own handles, by handle; each block holds the handle's
  // pointer followed by the data it points to.
  std::unordered_map<void*, std::unique_ptr<void, FreeBlock>> own_handles_;
};

}  // namespace Varnholt::KrdFiles
