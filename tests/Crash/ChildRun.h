#pragma once

// Running the crash test's child program: fork and exec with a pipe for its
// reports, an optional kill after a delay, and everything it reported
// before it ended.

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tests/Crash/CrashReport.h"

namespace Varnholt::Testing {

struct ChildRun {
  std::vector<CrashReport> reports;
  // How the child ended: killed by SIGKILL (by itself or by the parent), or
  // the exit status it returned; and how long it ran.
  bool killed = false;
  int exit_status = -1;
  std::chrono::milliseconds duration{0};
  // Why the child could not be started or watched; empty when it could.
  std::string error;
};

struct ChildOrders {
  std::string krd;
  std::string krq;
  uint64_t crash_at_write = 0;  // 0: run to the end
  uint32_t seed = 1;
  int blocks = 0;
  // Killed by the parent this long after the start, when set.
  std::optional<std::chrono::microseconds> kill_after;
};

ChildRun RunChild(const std::string& program, const ChildOrders& orders);

}  // namespace Varnholt::Testing
