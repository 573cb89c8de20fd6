#pragma once

namespace Varnholt::Testing {

// Puts a VFS in front of SQLite's default one and makes it the new default,
// so that every index the library opens (it names no VFS) goes through it.
// Each write, sync and truncation of a database, its write-ahead log or its
// rollback journal first asks the process's FaultSchedule whether it goes
// through; everything else is passed on unchanged. Installing twice does
// nothing. FaultSchedule::Process() installs it.
void InstallFaultVfs();

}  // namespace Varnholt::Testing
