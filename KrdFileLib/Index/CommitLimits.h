#pragma once

#include <cstdint>

namespace Varnholt::KrdFiles::Index {

// The two process-wide limits that decide when an index connection commits
// its open transaction: after a number of counted statements, or once an
// interval has passed since the first of them. The library's Initialize
// writes them; every counted statement of every connection reads them, from
// any thread and without a lock.

inline constexpr int32_t kDefaultStatementsPerCommit = 100;
inline constexpr int32_t kDefaultCommitIntervalMs = 10000;

int32_t StatementsPerCommit();
int32_t CommitIntervalMs();
void SetCommitLimits(int32_t statements_per_commit, int32_t commit_interval_ms);

}  // namespace Varnholt::KrdFiles::Index
