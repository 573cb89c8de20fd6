#pragma once

#include "fuzz/MemoryFiles.h"

namespace Varnholt::Fuzzing {

// Makes an SQLite VFS that keeps every file in MemoryFileStore::Process()
// the default one, so that every index the library opens (it names no VFS)
// lives in memory: a fuzz input costs no file system work for its index.
// It does what the library needs of a file system: write-ahead logging
// (shared memory and its locks in memory), the rollback journal, database
// locks between connections of the process, deletion, existence tests and
// truncation; syncs do nothing. Randomness, time and sleeping are the
// system VFS's. Installing again only changes the naming, and forgets
// every file.
void InstallMemoryVfs(MemoryNaming naming);

}  // namespace Varnholt::Fuzzing
