#include "KrdFileLib/Index/CommitLimits.h"

#include <atomic>

namespace Varnholt::KrdFiles::Index {

namespace {

std::atomic<int32_t> statements_per_commit{kDefaultStatementsPerCommit};
std::atomic<int32_t> commit_interval_ms{kDefaultCommitIntervalMs};
std::atomic<bool> maintenance_passes_run{false};

}  // namespace

int32_t StatementsPerCommit() { return statements_per_commit.load(std::memory_order_relaxed); }

int32_t CommitIntervalMs() { return commit_interval_ms.load(std::memory_order_relaxed); }

void SetCommitLimits(int32_t statements, int32_t interval_ms) {
  statements_per_commit.store(statements, std::memory_order_relaxed);
  commit_interval_ms.store(interval_ms, std::memory_order_relaxed);
}

bool MaintenancePassesRun() { return maintenance_passes_run.load(std::memory_order_relaxed); }

void SetMaintenancePassesRun(bool running) {
  maintenance_passes_run.store(running, std::memory_order_relaxed);
}

}  // namespace Varnholt::KrdFiles::Index
