#pragma once

#include <cstdint>

namespace Varnholt::KrdFiles::Reading {

// The continuation time of a channel read when its group has no more data
// in the direction read: all bits set. Any other continuation time is where
// the next read in that direction starts, the time of the group's next
// frame that way.
inline constexpr int64_t kNoMoreData = -1;

}  // namespace Varnholt::KrdFiles::Reading
