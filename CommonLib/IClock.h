#pragma once

#include <cstdint>

#include "CommonLib/NonCopyableClassBase.h"
#include "CommonLib/PolymorphicBasedClassBase.h"

namespace Varnholt::CommonLib {

// The time source of the library's timed work: the index commit deadline and
// the maintenance thread's pause. Timed logic talks to this interface so that
// tests can drive it with a clock of their own instead of sleeping.
// All values are signed milliseconds.
class IClock : public PolymorphicBasedClassBase, public NonCopyableClassBase {
 public:
  virtual int64_t Now() const = 0;
  virtual int64_t DeadlineAfter(int64_t interval_ms) const = 0;
  // True when the current time is strictly later than the deadline.
  virtual bool HasElapsed(int64_t deadline_ms) const = 0;
  // Milliseconds until the deadline, 0 once it has passed.
  virtual int64_t Remaining(int64_t deadline_ms) const = 0;
  virtual void Sleep(int64_t interval_ms) const = 0;
  virtual int64_t TicksPerSecond() const = 0;
};

}  // namespace Varnholt::CommonLib
