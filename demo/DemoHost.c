/* What every part of the demo uses to talk to the library as a host does:
 * host strings and byte arrays, checked calls and opening a pair. */

#define _POSIX_C_SOURCE 200809L

#include "DemoHost.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#if defined(_WIN32)
#include <direct.h>
#include <windows.h>
#else
#include <sys/stat.h>
#endif

#include "KrdFileLibApi.h"

/* A host string or array is a block with a count and the elements; the
 * handle to pass is the address of a variable that points to the block. */
KrdString* NewText(const char* text) {
  const size_t length = strlen(text);
  KrdString* block = malloc(sizeof(KrdString) + length);
  if (block == NULL) exit(1);
  block->cnt = (int32_t)length;
  memcpy(block->str, text, length);
  return block;
}

KrdU8Array* NewBytes(const uint8_t* bytes, size_t count) {
  KrdU8Array* block = malloc(sizeof(KrdU8Array) + count);
  if (block == NULL) exit(1);
  block->dimSize = (int32_t)count;
  memcpy(block->elt, bytes, count);
  return block;
}

/* Prints a returned string (not zero-terminated) and hands it back. */
void PrintAndDispose(const char* name, KrdStringHandle text) {
  printf("  %-12s %.*s\n", name, (int)(*text)->cnt, (const char*)(*text)->str);
  DisposeHostHandle(text);
}

/* Ends the demo when a call failed, with the library's text for it. */
void Check(int32_t code, KrdFileHandle file, const char* call) {
  if (code == KRD_OK) return;
  KrdStringHandle message = NULL;
  GetMostRecentErrorMessage(file, &message);
  fprintf(stderr, "%s failed with code %d: %.*s\n", call, code, (int)(*message)->cnt,
          (const char*)(*message)->str);
  DisposeHostHandle(message);
  exit(1);
}

KrdFileHandle OpenPair(const char* krd, const char* krq, uint8_t mode) {
  KrdString* krd_path = NewText(krd);
  KrdString* krq_path = NewText(krq);
  KrdFileHandle file = 0;
  KrdStringHandle why = NULL;
  const int32_t code = DebugOpen(&krd_path, &krq_path, mode, &file, &why);
  if (code != KRD_OK) {
    fprintf(stderr, "Opening %s failed with code %d: %.*s\n", krd, code, (int)(*why)->cnt,
            (const char*)(*why)->str);
    exit(1);
  }
  DisposeHostHandle(why);
  free(krd_path);
  free(krq_path);
  return file;
}

int MakeDemoFolder(char* folder, size_t size, const char* requested) {
#if defined(_WIN32)
  if (requested != NULL) {
    snprintf(folder, size, "%s", requested);
    _mkdir(folder);
    return 0;
  }
  char base[MAX_PATH];
  if (GetTempPathA(sizeof base, base) == 0) return -1;
  /* Process ids come back, so the first name that is still free. */
  for (unsigned attempt = 0; attempt < 1000; ++attempt) {
    snprintf(folder, size, "%skrd-demo-%lu-%u", base, (unsigned long)GetCurrentProcessId(),
             attempt);
    if (_mkdir(folder) == 0) return 0;
  }
  return -1;
#else
  if (requested != NULL) {
    snprintf(folder, size, "%s", requested);
    mkdir(folder, 0777);
    return 0;
  }
  snprintf(folder, size, "/tmp/krd-demo-XXXXXX");
  return mkdtemp(folder) == NULL ? -1 : 0;
#endif
}
