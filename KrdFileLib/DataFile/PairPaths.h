#pragma once

#include <string>

namespace Varnholt::KrdFiles {

// The checks a recording's two paths pass before either file is opened or
// created, in every mode and in Verify and Repair. A host's string carries
// a count, so a path can hold a NUL byte, which the system's calls would
// cut it at; SQLite takes an empty name, ":memory:" and "file:" URIs as
// names of its own rather than as files; and two paths that name one file
// (by the file's identity, not by spelling), or a data file that is one of
// the files SQLite keeps beside the index, would have both halves of the
// recording written into one file. Each of these fails with code 36 and a
// message that names the path, as does an index path that names something
// other than a regular file (a folder, a pipe, a device), before SQLite
// opens it. A missing index is left to the open, as is what the data
// file's path names.
void CheckPairPaths(const std::string& krd_path, const std::string& krq_path);

}  // namespace Varnholt::KrdFiles
