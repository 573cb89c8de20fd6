#pragma once

// Tiny big-endian encode and decode helpers for packet bodies. Every integer
// field of a packet goes through these; packet code never shifts bytes by
// hand. Bodies are decoded by the PacketReader, which also checks bounds;
// GetBigEndian decodes a field of a fixed place that the caller has already
// checked is there (a frame, a data block's fixed fields).

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace Varnholt::KrdFiles::Packets {

using Bytes = std::vector<uint8_t>;

template <typename UInt>
inline void PutBigEndian(Bytes& out, UInt value) {
  for (int shift = static_cast<int>(sizeof(UInt) * 8) - 8; shift >= 0; shift -= 8) {
    out.push_back(static_cast<uint8_t>(value >> shift));
  }
}

// The UInt whose big-endian bytes are the first sizeof(UInt) of bytes.
template <typename UInt>
inline UInt GetBigEndian(std::span<const uint8_t, sizeof(UInt)> bytes) {
  UInt value = 0;
  for (const uint8_t byte : bytes) value = static_cast<UInt>((value << 8) | byte);
  return value;
}

inline void PutUInt8(Bytes& out, uint8_t value) { out.push_back(value); }
inline void PutUInt16(Bytes& out, uint16_t value) { PutBigEndian(out, value); }
inline void PutUInt32(Bytes& out, uint32_t value) { PutBigEndian(out, value); }
inline void PutUInt64(Bytes& out, uint64_t value) { PutBigEndian(out, value); }
inline void PutBool8(Bytes& out, bool value) { out.push_back(value ? 1 : 0); }

// Raw bytes as they are: fixed-size fields and rest-of-body fields.
inline void PutBytes(Bytes& out, std::span<const uint8_t> bytes) {
  out.insert(out.end(), bytes.begin(), bytes.end());
}
inline void PutText(Bytes& out, const std::string& text) {
  out.insert(out.end(), text.begin(), text.end());
}

// A one-byte length and the bytes. The length byte holds the length modulo
// 256 while all bytes are copied, so a text of 256 bytes or more would not
// read back: packets refuse such texts when they are built (String8.h).
inline void PutString8(Bytes& out, std::span<const uint8_t> bytes) {
  out.push_back(static_cast<uint8_t>(bytes.size()));
  PutBytes(out, bytes);
}
inline void PutString8(Bytes& out, const std::string& text) {
  out.push_back(static_cast<uint8_t>(text.size()));
  PutText(out, text);
}

}  // namespace Varnholt::KrdFiles::Packets
