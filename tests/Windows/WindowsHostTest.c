/* What a Windows host meets that a Linux one does not: file names in the
 * system's ANSI code page, a recording read by a second process while it
 * is being recorded, one file spelled in the ways Windows allows, and a
 * second writer in another process.
 *
 *   WindowsHostTest              runs the tests
 *   WindowsHostTest read K Q L   the second process: opens K and Q for
 *                                reading and expects the label L
 *   WindowsHostTest open K Q M   the second process: exits with the code of
 *                                opening K and Q in mode M */

#include <windows.h>
#undef CreateEvent /* <windows.h> names its own CreateEventA so */

#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "KrdFileLibApi.h"
#include "../TestSupport/CCheck.h"

static int failures = 0;

static KrdString* NewString(const char* bytes) {
  const size_t length = strlen(bytes);
  KrdString* block = malloc(sizeof(KrdString) + length);
  block->cnt = (int32_t)length;
  memcpy(block->str, bytes, length);
  return block;
}

static KrdFileHandle OpenPair(const char* krd, const char* krq, uint8_t mode) {
  KrdString* krd_path = NewString(krd);
  KrdString* krq_path = NewString(krq);
  KrdFileHandle file = 0;
  const int32_t code = Open(&krd_path, &krq_path, mode, &file);
  if (code != KRD_OK) fprintf(stderr, "Open %s in mode %u: %d\n", krd, (unsigned)mode, code);
  free(krd_path);
  free(krq_path);
  return file;
}

/* The code of opening the pair; a file it opens is closed again. */
static int32_t OpenCode(const char* krd, const char* krq, uint8_t mode) {
  KrdString* krd_path = NewString(krd);
  KrdString* krq_path = NewString(krq);
  KrdFileHandle file = 0;
  const int32_t code = Open(&krd_path, &krq_path, mode, &file);
  if (code == KRD_OK) Close(file);
  free(krd_path);
  free(krq_path);
  return code;
}

static int LabelIs(KrdFileHandle file, const char* expected) {
  KrdStringHandle label = NULL;
  const int equal = GetFileLabel(file, &label) == KRD_OK &&
                    (size_t)(*label)->cnt == strlen(expected) &&
                    memcmp((*label)->str, expected, strlen(expected)) == 0;
  DisposeHostHandle(label);
  return equal;
}

/* Whether a file has the name the system's code page gives path's bytes. */
static int ExistsAsNamed(const char* path) {
  wchar_t wide[MAX_PATH];
  if (MultiByteToWideChar(CP_ACP, 0, path, -1, wide, MAX_PATH) == 0) return 0;
  return GetFileAttributesW(wide) != INVALID_FILE_ATTRIBUTES;
}

/* Both files of a recording whose names hold a byte above 127 (an accented
 * letter in the Western code pages) carry the names the code page gives. */
static void RecordsUnderANonAsciiName(const char* folder) {
  char krd[MAX_PATH];
  char krq[MAX_PATH];
  snprintf(krd, sizeof krd, "%s\\Messung \xE9t\xE9.krd", folder);
  snprintf(krq, sizeof krq, "%s\\Messung \xE9t\xE9.krq", folder);
  KrdString* label = NewString("summer");
  const KrdFileHandle recorder = OpenPair(krd, krq, 1);
  CHECK(recorder != 0 && CreateHeader(recorder, 1000, 0, &label) == KRD_OK);
  CHECK(Close(recorder) == KRD_OK);
  CHECK(ExistsAsNamed(krd));
  CHECK(ExistsAsNamed(krq));
  const KrdFileHandle reader = OpenPair(krd, krq, 0);
  CHECK(reader != 0 && LabelIs(reader, "summer"));
  CHECK(Close(reader) == KRD_OK);
  free(label);
}

/* Runs this program as the second process with the command (read or
 * open), the pair and the last argument; its exit code. */
static DWORD RunSecond(const char* what, const char* krd, const char* krq, const char* last) {
  char program[MAX_PATH];
  char command[3 * MAX_PATH + 64];
  GetModuleFileNameA(NULL, program, sizeof program);
  snprintf(command, sizeof command, "\"%s\" %s \"%s\" \"%s\" %s", program, what, krd, krq,
           last);
  STARTUPINFOA startup;
  ZeroMemory(&startup, sizeof startup);
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process;
  if (!CreateProcessA(NULL, command, NULL, NULL, FALSE, 0, NULL, NULL, &startup, &process)) {
    return 99;
  }
  WaitForSingleObject(process.hProcess, 60000);
  DWORD code = 98;
  GetExitCodeProcess(process.hProcess, &code);
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
  return code;
}

/* A second process reads the recording while this one records it, and
 * again after it changed. Every statement commits at once (batch size 1),
 * so the reader sees what was recorded. */
static void IsReadByAnotherProcessWhileRecorded(const char* folder) {
  char krd[MAX_PATH];
  char krq[MAX_PATH];
  snprintf(krd, sizeof krd, "%s\\shared.krd", folder);
  snprintf(krq, sizeof krq, "%s\\shared.krq", folder);
  const KrdLibrarySettings settings = {4096, NULL, 1, 1000};
  CHECK(Initialize(&settings) == KRD_OK);
  KrdString* label = NewString("live");
  KrdString* relabel = NewString("later");
  const KrdFileHandle recorder = OpenPair(krd, krq, 1);
  CHECK(recorder != 0 && CreateHeader(recorder, 1000, 0, &label) == KRD_OK);
  CHECK(RunSecond("read", krd, krq, "live") == 0);
  CHECK(SetFileLabel(recorder, &relabel) == KRD_OK);
  CHECK(RunSecond("read", krd, krq, "later") == 0);
  CHECK(Close(recorder) == KRD_OK);
  free(label);
  free(relabel);
}

/* Two paths of one file however Windows spells it, names that are no
 * file, and a folder for either file are refused (36) before anything is
 * created; while a recorder has the pair, an editor in this process or
 * another is refused (36), and once it has closed, the editor opens it. */
static void RefusesOneFileTwiceAndASecondWriter(const char* folder) {
  char krd[MAX_PATH];
  char krq[MAX_PATH];
  char same[MAX_PATH];
  snprintf(krd, sizeof krd, "%s\\one.krd", folder);
  snprintf(krq, sizeof krq, "%s\\one.krq", folder);
  const char* const spellings[] = {"%s\\ONE.KRD", "%s\\.\\one.krd", "%s/one.krd",
                                   "%s\\..\\%s\\one.krd"};
  const char* const name = strrchr(folder, '\\') + 1;
  for (size_t i = 0; i < sizeof spellings / sizeof spellings[0]; ++i) {
    snprintf(same, sizeof same, spellings[i], folder, name);
    CHECK(OpenCode(krd, same, 1) == KRD_UNCLASSIFIED_ERROR);
  }
  CHECK(OpenCode(krd, ":memory:", 1) == KRD_UNCLASSIFIED_ERROR);
  CHECK(OpenCode(krd, "", 1) == KRD_UNCLASSIFIED_ERROR);
  CHECK(OpenCode(krd, folder, 1) == KRD_UNCLASSIFIED_ERROR);
  CHECK(GetFileAttributesA(krd) == INVALID_FILE_ATTRIBUTES);
  CHECK(OpenCode(folder, krq, 0) == KRD_UNCLASSIFIED_ERROR);

  KrdString* label = NewString("first");
  const KrdFileHandle recorder = OpenPair(krd, krq, 1);
  CHECK(recorder != 0 && CreateHeader(recorder, 1000, 0, &label) == KRD_OK);
  snprintf(same, sizeof same, "%s\\One.Krd", folder);
  CHECK(OpenCode(krd, same, 0) == KRD_UNCLASSIFIED_ERROR);
  CHECK(OpenCode(krd, krq, 2) == KRD_UNCLASSIFIED_ERROR);
  CHECK(RunSecond("open", krd, krq, "2") == KRD_UNCLASSIFIED_ERROR);
  CHECK(RunSecond("read", krd, krq, "first") == 0);
  CHECK(Close(recorder) == KRD_OK);
  CHECK(OpenCode(krd, krq, 2) == KRD_OK);
  free(label);
}

int main(int argc, char** argv) {
  if (argc == 5 && strcmp(argv[1], "read") == 0) {
    const KrdFileHandle reader = OpenPair(argv[2], argv[3], 0);
    const int ok = reader != 0 && LabelIs(reader, argv[4]) && Close(reader) == KRD_OK;
    return ok ? 0 : 1;
  }
  if (argc == 5 && strcmp(argv[1], "open") == 0) {
    return (int)OpenCode(argv[2], argv[3], (uint8_t)atoi(argv[4]));
  }
  char base[MAX_PATH];
  char folder[MAX_PATH];
  GetTempPathA(sizeof base, base);
  /* Process ids come back, so the first name that is still free. */
  unsigned attempt = 0;
  do {
    snprintf(folder, sizeof folder, "%skrd-windows-host-%lu-%u", base,
             (unsigned long)GetCurrentProcessId(), attempt);
  } while (!CreateDirectoryA(folder, NULL) && ++attempt < 1000);
  if (attempt == 1000) return 2;
  RecordsUnderANonAsciiName(folder);
  IsReadByAnotherProcessWhileRecorded(folder);
  RefusesOneFileTwiceAndASecondWriter(folder);
  CHECK(Terminate() == KRD_OK);
  if (failures == 0) printf("Windows host: all checks passed\n");
  return failures == 0 ? 0 : 1;
}
