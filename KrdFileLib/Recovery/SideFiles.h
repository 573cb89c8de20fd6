#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace Varnholt::KrdFiles {
class KrdInstance;
}

namespace Varnholt::KrdFiles::Recovery {

// The files recovery puts beside a recording instead of discarding
// anything: the bytes of a torn tail, and an index that a rebuilt one
// replaced. Each takes the first free name of its kind ("rec.krd.torn-4096",
// then "rec.krd.torn-4096-1", ...), so an earlier side file is never
// overwritten, and is on the storage device, with its folder entry, before
// the call returns, so that the step that follows (cutting the data file,
// putting a new index in place) cannot outlive it in a power loss.
//
// An index moves with its SQLite companions (-wal, -shm, -journal), which
// hold committed changes not yet in the main file; the moved copy keeps
// them under its new name and opens as it was.

// Copies count bytes at offset of file into a new side file named after
// base; returns its path. A failed copy leaves no side file.
std::string CopyAside(KrdInstance& file, uint64_t offset, uint64_t count, const std::string& base);

// Moves the index at path with its companions to the first free name after
// base; returns where it went, or nothing when there was no index.
std::optional<std::string> MoveIndexAside(const std::string& path, const std::string& base);

// Moves the index at from with its companions to to, whose names are free.
void MoveIndex(const std::string& from, const std::string& to);

// Removes an index and its companions, where they exist.
void RemoveIndex(const std::string& path);

// Makes the folder entries of the folder that holds path durable (new and
// renamed files); nothing to do where the file system journals them itself.
void SyncFolderOf(const std::string& path);

}  // namespace Varnholt::KrdFiles::Recovery
