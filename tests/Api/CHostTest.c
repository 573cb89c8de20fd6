/* A host written in C: proves that the public header compiles as C and that
 * a program links the library's symbols as a host does. Like a host's
 * run-time, this program exports its own handle allocator, which the
 * library finds among the process's global symbols. */

#define _POSIX_C_SOURCE 200809L

#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "KrdFileLibApi.h"

static int handles_made = 0;
static int handles_disposed = 0;
static int failures = 0;

__attribute__((visibility("default"))) void** AZNewHandle(size_t bytes) {
  void** handle = malloc(sizeof *handle);
  if (handle == NULL) return NULL;
  *handle = malloc(bytes);
  ++handles_made;
  return handle;
}

__attribute__((visibility("default"))) int32_t AZDisposeHandle(void** handle) {
  free(*handle);
  free(handle);
  ++handles_disposed;
  return 0;
}

#define CHECK(condition)                                              \
  do {                                                                \
    if (!(condition)) {                                               \
      fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #condition); \
      ++failures;                                                     \
    }                                                                 \
  } while (0)

/* The block of a host string: the count and the bytes. The handle to pass
 * is the address of a variable pointing to it. */
static KrdString* NewString(const char* text) {
  size_t length = strlen(text);
  KrdString* block = malloc(sizeof(KrdString) + length);
  block->cnt = (int32_t)length;
  memcpy(block->str, text, length);
  return block;
}

static int Equals(KrdStringHandle handle, const char* text) {
  return handle != NULL && (size_t)(*handle)->cnt == strlen(text) &&
         memcmp((*handle)->str, text, strlen(text)) == 0;
}

int main(void) {
  char folder[] = "/tmp/krd-c-host-XXXXXX";
  if (mkdtemp(folder) == NULL) return 2;
  char krd[64];
  char krq[64];
  snprintf(krd, sizeof krd, "%s/c.krd", folder);
  snprintf(krq, sizeof krq, "%s/c.krq", folder);
  KrdString* krd_path = NewString(krd);
  KrdString* krq_path = NewString(krq);
  KrdString* label = NewString("From C");

  CHECK(SetLVRTModule(NULL) == 0);
  KrdLibrarySettings settings = {4096, NULL, 100, 1000};
  CHECK(Initialize(&settings) == 0);

  KrdFileHandle file = 0;
  KrdStringHandle text = NULL;
  CHECK(DebugOpen(&krd_path, &krq_path, 1, &file, &text) == 0);
  CHECK(file != 0 && Equals(text, ""));
  DisposeHostHandle(text);
  CHECK(CreateHeader(file, 100, 2, &label) == 0);
  CHECK(GetFileLabel(file, &text) == 0 && Equals(text, "From C"));
  DisposeHostHandle(text);
  CHECK(Terminate() == 0);
  CHECK(GetFileLabel(file, &text) == 0 && Equals(text, "From C")); /* still works */
  DisposeHostHandle(text);
  CHECK(Close(file) == 0);
  CHECK(GetMostRecentErrorMessage(file, &text) == 0 && Equals(text, ""));
  DisposeHostHandle(text);
  CHECK(handles_made == 4 && handles_disposed == 4);

  free(krd_path);
  free(krq_path);
  free(label);
  unlink(krd);
  unlink(krq);
  rmdir(folder);
  if (failures == 0) printf("C host: all checks passed\n");
  return failures == 0 ? 0 : 1;
}
