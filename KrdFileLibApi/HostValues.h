#pragma once

// Strings and arrays as the host passes them: a handle to a block that holds
// a signed 32-bit count followed by the elements. Inputs are copied out of
// the host's blocks into owned values; outputs are copied into new handles
// from the HostAllocator.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "KrdFileLib/AttributeId.h"
#include "KrdFileLibApi.h"
#include "KrdFileLibApi/HostAllocator.h"

namespace Varnholt::KrdFiles {

// Host input the library cannot read, such as a negative count. It is not
// one of the library's own failures, so a call that meets it returns 36 with
// the unexpected-error text.
class BadHostInput : public std::invalid_argument {
 public:
  using std::invalid_argument::invalid_argument;
};

// The host block of each value type the library exchanges with the host:
// its handle type, its element type and where the elements start.
template <typename Value>
struct HostBlock;

template <>
struct HostBlock<std::string> {
  using Handle = KrdStringHandle;
  using Element = char;
  static constexpr std::size_t kDataOffset = offsetof(KrdString, str);
};
template <>
struct HostBlock<std::vector<uint8_t>> {
  using Handle = KrdU8ArrayHandle;
  using Element = uint8_t;
  static constexpr std::size_t kDataOffset = offsetof(KrdU8Array, elt);
};
template <>
struct HostBlock<std::vector<uint16_t>> {
  using Handle = KrdU16ArrayHandle;
  using Element = uint16_t;
  static constexpr std::size_t kDataOffset = offsetof(KrdU16Array, elt);
};
template <>
struct HostBlock<std::vector<uint32_t>> {
  using Handle = KrdU32ArrayHandle;
  using Element = uint32_t;
  static constexpr std::size_t kDataOffset = offsetof(KrdU32Array, elt);
};

// An attribute list goes out as a two-dimensional u16 array, one row of
// (key, index) per attribute; its block holds both dimensions.
template <>
struct HostBlock<std::vector<AttributeId>> {
  using Handle = KrdU16Array2DHandle;
  using Element = AttributeId;
  static constexpr std::size_t kDataOffset = offsetof(KrdU16Array2D, elt);
  static constexpr int32_t kColumns = 2;
};
static_assert(sizeof(AttributeId) == 2 * sizeof(uint16_t), "an AttributeId is one row of two u16");

// Blocks with a second dimension, whose elements are whole rows.
template <typename Block>
concept TwoDimensionalBlock = requires { Block::kColumns; };

template <typename Value>
concept HostBlockValue = requires {
  typename HostBlock<Value>::Handle;
};

// The value held by a host handle. A null handle or a null block is empty
// input (hosts pass empty strings and arrays that way); a negative count is
// BadHostInput.
template <HostBlockValue Value>
Value CopyFromHost(typename HostBlock<Value>::Handle handle) {
  using Block = HostBlock<Value>;
  static_assert(!TwoDimensionalBlock<Block>, "two-dimensional blocks are only handed out");
  if (handle == nullptr || *handle == nullptr) return {};
  const auto* block = reinterpret_cast<const std::byte*>(*handle);
  int32_t count = 0;
  std::memcpy(&count, block, sizeof count);
  if (count < 0) throw BadHostInput("negative count in a host handle");
  Value value(static_cast<std::size_t>(count), typename Block::Element{});
  const std::size_t element_bytes = value.size() * sizeof(typename Block::Element);
  if (element_bytes != 0) std::memcpy(value.data(), block + Block::kDataOffset, element_bytes);
  return value;
}

// Stores a new handle holding value into *destination. False when no handle
// could be made (out of memory, or more elements than a count can hold);
// *destination is then null.
template <HostBlockValue Value>
bool StoreToHost(typename HostBlock<Value>::Handle* destination, const Value& value) noexcept {
  using Block = HostBlock<Value>;
  *destination = nullptr;
  if (value.size() > static_cast<std::size_t>(std::numeric_limits<int32_t>::max())) return false;
  const std::size_t element_bytes = value.size() * sizeof(typename Block::Element);
  void** handle = HostAllocator::Process().NewHandle(Block::kDataOffset + element_bytes);
  if (handle == nullptr) return false;
  auto* block = static_cast<std::byte*>(*handle);
  const auto count = static_cast<int32_t>(value.size());
  std::memcpy(block, &count, sizeof count);
  if constexpr (TwoDimensionalBlock<Block>) {
    std::memcpy(block + sizeof count, &Block::kColumns, sizeof Block::kColumns);
  }
  if (element_bytes != 0) std::memcpy(block + Block::kDataOffset, value.data(), element_bytes);
  *destination = reinterpret_cast<typename Block::Handle>(handle);
  return true;
}

}  // namespace Varnholt::KrdFiles
