/* Loading and unloading KrdFileLibApi.dll as a host may: the maintenance
 * thread starts with the first call, not while the DLL is loaded; a DLL
 * unloaded without Terminate stays in place while its thread runs; after
 * Terminate it unloads; a process that ends without Terminate or Close
 * ends at once.
 *
 *   DllUnloadTest          load, unload, Terminate, unload
 *   DllUnloadTest exit     record and end the process with the file open */

#include <windows.h>
#undef CreateEvent /* <windows.h> names its own CreateEventA so */

#include <stdint.h>
#include <stdio.h>
#include <string.h>

#include "KrdFileLibApi.h"

static const char* const kDll = "KrdFileLibApi.dll";

static FARPROC Function(HMODULE dll, const char* name) {
  FARPROC function = GetProcAddress(dll, name);
  if (function == NULL) {
    fprintf(stderr, "%s is not exported\n", name);
    ExitProcess(3);
  }
  return function;
}

/* Opens a new recording through the DLL, so that its instance and
 * maintenance thread exist; the file is left open. */
static int StartRecording(HMODULE dll, const char* krd, const char* krq) {
  typedef int32_t (*OpenFunction)(KrdStringHandle, KrdStringHandle, uint8_t, KrdFileHandle*);
  OpenFunction open = (OpenFunction)(void*)Function(dll, "Open");
  struct {
    int32_t cnt;
    char str[MAX_PATH];
  } krd_block, krq_block;
  krd_block.cnt = (int32_t)strlen(krd);
  memcpy(krd_block.str, krd, strlen(krd));
  krq_block.cnt = (int32_t)strlen(krq);
  memcpy(krq_block.str, krq, strlen(krq));
  void* krd_handle = &krd_block;
  void* krq_handle = &krq_block;
  KrdFileHandle file = 0;
  return open((KrdStringHandle)&krd_handle, (KrdStringHandle)&krq_handle, 1, &file) == KRD_OK &&
         file != 0;
}

int main(int argc, char** argv) {
  char base[MAX_PATH];
  char krd[MAX_PATH];
  char krq[MAX_PATH];
  GetTempPathA(sizeof base, base);
  snprintf(krd, sizeof krd, "%skrd-unload-%lu.krd", base, (unsigned long)GetCurrentProcessId());
  snprintf(krq, sizeof krq, "%skrd-unload-%lu.krq", base, (unsigned long)GetCurrentProcessId());

  DeleteFileA(krd); /* left by an earlier run that ended with them open */
  DeleteFileA(krq);
  HMODULE dll = LoadLibraryA(kDll);
  if (dll == NULL) return 2;
  if (!StartRecording(dll, krd, krq)) return 4;
  if (argc > 1 && strcmp(argv[1], "exit") == 0) {
    printf("ending the process with a recording open and the thread running\n");
    return 0;
  }

  int failures = 0;
  FreeLibrary(dll);
  if (GetModuleHandleA(kDll) == NULL) {
    fprintf(stderr, "unloaded while its maintenance thread ran\n");
    ++failures;
  }
  Sleep(200); /* the thread goes on in code that is still loaded */

  dll = LoadLibraryA(kDll);
  typedef int32_t (*TerminateFunction)(void);
  typedef int32_t (*CloseFunction)(KrdFileHandle);
  ((CloseFunction)(void*)Function(dll, "Close"))(1);
  ((TerminateFunction)(void*)Function(dll, "Terminate"))();
  FreeLibrary(dll);
  if (GetModuleHandleA(kDll) != NULL) {
    fprintf(stderr, "still loaded after Terminate and FreeLibrary\n");
    ++failures;
  }
  DeleteFileA(krd);
  DeleteFileA(krq);
  if (failures == 0) printf("DLL loading and unloading: all checks passed\n");
  return failures == 0 ? 0 : 1;
}
