#pragma once

#include <atomic>
#include <cstdint>

#include "CommonLib/IClock.h"

namespace Varnholt::Testing {

// A clock that stands still until a test advances it, so that deadlines can
// be tested without sleeping. Sleep advances the time instead of waiting.
class FakeClock final : public CommonLib::IClock {
 public:
  explicit FakeClock(int64_t start_ms = 1'000'000) : now_ms_(start_ms) {}

  void Advance(int64_t interval_ms) { now_ms_ += interval_ms; }

  int64_t Now() const override { return now_ms_; }
  int64_t DeadlineAfter(int64_t interval_ms) const override { return now_ms_ + interval_ms; }
  bool HasElapsed(int64_t deadline_ms) const override { return now_ms_ > deadline_ms; }
  int64_t Remaining(int64_t deadline_ms) const override {
    return deadline_ms > now_ms_ ? deadline_ms - now_ms_ : 0;
  }
  void Sleep(int64_t interval_ms) const override { now_ms_ += interval_ms; }
  int64_t TicksPerSecond() const override { return 1000; }

 private:
  mutable std::atomic<int64_t> now_ms_;
};

}  // namespace Varnholt::Testing
