#pragma once

#include <cstdint>

namespace Varnholt::KrdFiles::Index {

// The process-wide settings of index connections. Two limits decide when a
// connection commits its open transaction: after a number of counted
// statements, or once an interval has passed since the first of them. The
// library's Initialize writes them; every counted statement of every
// connection reads them, from any thread and without a lock.

inline constexpr int32_t kDefaultStatementsPerCommit = 100;
inline constexpr int32_t kDefaultCommitIntervalMs = 10000;

int32_t StatementsPerCommit();
int32_t CommitIntervalMs();
void SetCommitLimits(int32_t statements_per_commit, int32_t commit_interval_ms);

// Whether a maintenance pass walks the open files on a timer (the exported
// library's maintenance thread, while it runs). Then a connection that only
// reads keeps its snapshot from call to call, which spares each call the
// locks of a new read transaction, and the pass lets it go; without one,
// each call reads a snapshot of its own and holds none after it. Off until
// the thread starts, so C++ programs without it read fresh every call.
bool MaintenancePassesRun();
void SetMaintenancePassesRun(bool running);

}  // namespace Varnholt::KrdFiles::Index
