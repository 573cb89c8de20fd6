#include "CommonLib/Clock.h"

#include <chrono>
#include <ctime>
#include <thread>

namespace Varnholt::CommonLib {

namespace {

// Offset of local time from UTC at the given moment, in seconds.
int64_t LocalOffsetSeconds(std::time_t utc_seconds) {
  std::tm local{};
#if defined(_WIN32)
  // Windows has no tm_gmtoff: the local broken-down time read back as if it
  // were UTC lies the offset away from the real UTC time.
  if (localtime_s(&local, &utc_seconds) != 0) return 0;
  return static_cast<int64_t>(_mkgmtime(&local)) - static_cast<int64_t>(utc_seconds);
#else
  if (localtime_r(&utc_seconds, &local) == nullptr) return 0;
  return local.tm_gmtoff;
#endif
}

}  // namespace

int64_t Clock::Now() const {
  using namespace std::chrono;
  const auto since_epoch = system_clock::now().time_since_epoch();
  const int64_t utc_micros = duration_cast<microseconds>(since_epoch).count();
  const int64_t utc_seconds = duration_cast<seconds>(since_epoch).count();
  const int64_t local_micros =
      utc_micros + LocalOffsetSeconds(static_cast<std::time_t>(utc_seconds)) * 1'000'000;
  return local_micros / 1000;
}

int64_t Clock::DeadlineAfter(int64_t interval_ms) const { return Now() + interval_ms; }

bool Clock::HasElapsed(int64_t deadline_ms) const { return Now() > deadline_ms; }

int64_t Clock::Remaining(int64_t deadline_ms) const {
  const int64_t left = deadline_ms - Now();
  return left > 0 ? left : 0;
}

void Clock::Sleep(int64_t interval_ms) const {
  if (interval_ms > 0) std::this_thread::sleep_for(std::chrono::milliseconds(interval_ms));
}

int64_t Clock::TicksPerSecond() const { return 1000; }

}  // namespace Varnholt::CommonLib
