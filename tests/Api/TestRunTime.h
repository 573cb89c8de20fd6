#pragma once

// The test run-time (TestRunTime.c) as test programs reach it: the module
// they name with SetLVRTModule, and what it counts. Normally a module loaded
// from KRD_TEST_RUN_TIME; in a statically linked build, part of the program,
// where the library finds its allocator without the module's name.

#include <cstddef>
#include <cstdint>
#include <string>

#if defined(KRD_STATIC_PROGRAMS)
extern "C" std::size_t TestRunTimeLiveHandles(void);
extern "C" int64_t TestRunTimeHandleSize(void* handle);
#else
#include <dlfcn.h>
#endif

namespace Varnholt::Testing {

#if defined(KRD_STATIC_PROGRAMS)

// Any non-null value names the run-time linked in.
inline void* TestRunTimeModule() {
  static char linked_in;
  return &linked_in;
}
inline std::string TestRunTimeLoadError() { return {}; }
inline int64_t RunTimeHandleSize(void* handle) { return TestRunTimeHandleSize(handle); }
inline std::size_t RunTimeLiveHandles() { return TestRunTimeLiveHandles(); }

#else

// The loaded module, or null (TestRunTimeLoadError says why).
inline void* TestRunTimeModule() {
  static void* const module = dlopen(KRD_TEST_RUN_TIME, RTLD_NOW | RTLD_LOCAL);
  return module;
}
inline std::string TestRunTimeLoadError() {
  const char* error = dlerror();
  return error == nullptr ? std::string() : error;
}
template <typename Function>
Function RunTimeFunction(const char* name) {
  return reinterpret_cast<Function>(dlsym(TestRunTimeModule(), name));
}
inline int64_t RunTimeHandleSize(void* handle) {
  return RunTimeFunction<int64_t (*)(void*)>("TestRunTimeHandleSize")(handle);
}
inline std::size_t RunTimeLiveHandles() {
  return RunTimeFunction<std::size_t (*)()>("TestRunTimeLiveHandles")();
}

#endif

}  // namespace Varnholt::Testing
