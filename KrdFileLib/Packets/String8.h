#pragma once

// The limit of a string8 field (a one-byte length, then the bytes): labels
// and units. A longer text cannot be framed: its length byte would announce
// fewer bytes than follow, so the packet would not read back and every
// packet after it would be misread. Every operation that takes such a text
// refuses it here, before anything is written.

#include <cstddef>
#include <string>
#include <string_view>

#include "KrdFileLib/Errors.h"

namespace Varnholt::KrdFiles::Packets {

inline constexpr std::size_t kMaxString8Length = 255;

// Code 36, naming the field, when a text of length bytes does not fit.
inline void RequireString8Fits(std::string_view field, std::size_t length) {
  if (length > kMaxString8Length) throw Errors::TextTooLong(field, length, kMaxString8Length);
}

// The label itself, once it is known to fit (code 36 otherwise): what
// packets store and what their SetLabel takes.
inline std::string CheckedLabel(std::string label) {
  RequireString8Fits("label", label.size());
  return label;
}

}  // namespace Varnholt::KrdFiles::Packets
