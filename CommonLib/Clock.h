#pragma once

#include "CommonLib/IClock.h"

namespace Varnholt::CommonLib {

// The process's clock: local wall-clock time in milliseconds since
// 1970-01-01 00:00 local time. It is used only for short deadlines inside the
// process, so a jump at a daylight-saving change merely makes one commit come
// early or late.
class Clock final : public IClock {
 public:
  int64_t Now() const override;
  int64_t DeadlineAfter(int64_t interval_ms) const override;
  bool HasElapsed(int64_t deadline_ms) const override;
  int64_t Remaining(int64_t deadline_ms) const override;
  void Sleep(int64_t interval_ms) const override;
  int64_t TicksPerSecond() const override;
};

}  // namespace Varnholt::CommonLib
