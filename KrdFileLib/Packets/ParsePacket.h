#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "KrdFileLib/Packets/PacketBase.h"

namespace Varnholt::KrdFiles::Packets {

// Reads the five-byte frame at offset: the packet's type and body length.
// Fails with "KRD file ended unexpectedly." when the file ends within it,
// and with code 3 for a type id that names no packet type.
PacketFrame ReadPacketFrame(KrdInstance& file, uint64_t offset);
// The same for a frame already read: the five bytes found at offset.
PacketFrame DecodePacketFrame(std::span<const uint8_t, kFrameSize> bytes, uint64_t offset);

// The packet that starts at offset, read through its type's reading
// constructor. Any bytes whatever can be handed to it: a damaged or
// truncated packet fails with one of the library's parsing errors (code 3)
// and never reads beyond the file or allocates more than the file holds.
// The index connection serves data blocks, which check their group.
std::shared_ptr<PacketBase> ParsePacket(KrdInstance& file, Index::IndexConnection& connection,
                                        uint64_t offset);
// The packet of any type but a data block that frame frames, from the
// whole body read after it, through its type's reading constructor (code 3
// when the body does not hold the type's fields exactly).
std::shared_ptr<PacketBase> ParsePacketBody(const PacketFrame& frame, Bytes body);

}  // namespace Varnholt::KrdFiles::Packets
