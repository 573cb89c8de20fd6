#include "KrdFileLib/Packets/FrameGrid.h"

#include <algorithm>
#include <limits>

namespace Varnholt::KrdFiles::Packets {

namespace {

// to - from for from <= to, exact over the whole signed range.
uint64_t Distance(int64_t from, int64_t to) {
  return static_cast<uint64_t>(to) - static_cast<uint64_t>(from);
}

// start + delta in two's complement, without the undefined behaviour of a
// signed overflow: a sum past a 64-bit limit wraps around.
int64_t WrappingAdd(int64_t start, int64_t delta) {
  return static_cast<int64_t>(static_cast<uint64_t>(start) + static_cast<uint64_t>(delta));
}

}  // namespace

TimeWindow TimeWindow::ForInterval(int64_t start, int64_t length) {
  // length - 1 and length + 1 cannot overflow: a positive length is at
  // least 1, a negative one at most -1.
  if (length > 0) return {start, WrappingAdd(start, length - 1)};
  return {WrappingAdd(start, length + 1), start};
}

int64_t FrameGrid::FrameTime(uint64_t frame) const {
  return static_cast<int64_t>(static_cast<uint64_t>(start_time_) + frame * divisor_);
}

bool FrameGrid::EndsWithinTimeRange() const {
  if (frame_count_ == 0) return true;
  const uint64_t room = Distance(start_time_, std::numeric_limits<int64_t>::max());
  return divisor_ == 0 || (frame_count_ - 1) <= room / divisor_;
}

uint64_t FrameGrid::FirstFrameAtOrAfter(int64_t time) const {
  if (time <= start_time_) return 0;
  if (divisor_ == 0) return frame_count_;
  const uint64_t distance = Distance(start_time_, time);
  const uint64_t frame = distance / divisor_ + (distance % divisor_ != 0 ? 1 : 0);
  return std::min(frame, frame_count_);
}

uint64_t FrameGrid::FramesAtOrBefore(int64_t time) const {
  if (time < start_time_) return 0;
  if (divisor_ == 0) return frame_count_;
  const uint64_t last_frame = Distance(start_time_, time) / divisor_;
  return last_frame < frame_count_ ? last_frame + 1 : frame_count_;
}

}  // namespace Varnholt::KrdFiles::Packets
