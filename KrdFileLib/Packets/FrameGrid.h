#pragma once

#include <cstdint>

namespace Varnholt::KrdFiles::Packets {

// An inclusive range of time offsets, [first, last].
struct TimeWindow {
  int64_t first = 0;
  int64_t last = 0;

  // The window that a read of length ticks from start covers: forward
  // [start, start + length - 1] for a positive length, backward
  // [start + length + 1, start] for a negative one. An end carried past the
  // 64-bit limits wraps around, so that window comes out inverted (first
  // after last) and the range query refuses it. The length must not be 0.
  static TimeWindow ForInterval(int64_t start, int64_t length);
};

// The times of a data block's frames: frame k lies at start + k * divisor,
// for k below the frame count. Answers which frames fall at or around a
// time by arithmetic alone, in unsigned 64-bit steps that cannot overflow,
// so arbitrary times and divisors (0 included: then every frame lies at
// start) are safe.
class FrameGrid {
 public:
  FrameGrid(int64_t start_time, uint32_t divisor, uint64_t frame_count)
      : start_time_(start_time), divisor_(divisor), frame_count_(frame_count) {}

  uint64_t FrameCount() const { return frame_count_; }
  // The time of frame k (wrapping like the file's unsigned time fields).
  int64_t FrameTime(uint64_t frame) const;
  int64_t LastFrameTime() const { return FrameTime(frame_count_ - 1); }
  // False when the last frame's time would pass the largest time offset,
  // so that LastFrameTime wraps around.
  bool EndsWithinTimeRange() const;

  // The first frame at or after time; FrameCount() when there is none.
  uint64_t FirstFrameAtOrAfter(int64_t time) const;
  // How many frames lie at or before time: one past the last such frame.
  uint64_t FramesAtOrBefore(int64_t time) const;

 private:
  int64_t start_time_;
  uint32_t divisor_;
  uint64_t frame_count_;
};

}  // namespace Varnholt::KrdFiles::Packets
