#pragma once

#include <cstdint>

namespace Varnholt::KrdFiles {

// Names one attribute of a device or physical channel among the others of
// the same owner: a key and an index. Attribute lists hand these out in this
// layout (key first), which is also the layout of one row of the host's
// attribute-list array.
struct AttributeId {
  uint16_t key = 0;
  uint16_t index = 0;
  bool operator==(const AttributeId&) const = default;
};

}  // namespace Varnholt::KrdFiles
