#pragma once

// The constants of the KRD file format, in one place.
//
// A KRD file is a sequence of packets laid end to end with no file header,
// padding or trailer of its own. Every packet is framed the same way:
//
//   offset 0  u8   packet type id (PacketTypeId)
//   offset 1  u32  body length, big-endian; the frame itself is not counted
//   offset 5  body, laid out as the packet type prescribes
//
// so a packet occupies 5 + body length bytes and the next one starts right
// after it. All multi-byte integers in bodies are big-endian.

#include <array>
#include <cstdint>

namespace Varnholt::KrdFiles::Packets {

enum class PacketTypeId : uint8_t {
  kHeader = 1,
  kDevice = 2,
  kDeviceAttribute = 3,
  kPhysicalChannel = 4,
  kPhysicalChannelAttribute = 5,
  kChannelGroup = 6,
  kChannel = 7,
  kEventSource = 8,
  kEvent = 9,
  kStart = 10,
  kAnnotation = 11,
  kData = 12,
  kPostProcess = 13,
};

inline constexpr uint8_t kFirstPacketTypeId = 1;
inline constexpr uint8_t kLastPacketTypeId = 13;

inline constexpr uint64_t kFrameSize = 5;  // type id + body length

// Offset of a packet that has not been written to the file yet.
inline constexpr uint64_t kUnwrittenOffset = ~uint64_t{0};

// The header's file type string: "KRD" followed by five zero bytes.
inline constexpr std::array<uint8_t, 8> kFileTypeString = {'K', 'R', 'D', 0, 0, 0, 0, 0};
// The format version this library writes.
inline constexpr uint16_t kFileVersion = 1001;

}  // namespace Varnholt::KrdFiles::Packets
