#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "KrdFileLib/Packets/PacketFormat.h"

namespace Varnholt::KrdFiles::Recovery {

// Which index table records each kind of packet, and what findings call a
// packet kind. Recovery compares rows with packets through this one list,
// so that a table cannot be left out of the comparison or named twice.

// An index table whose rows each name the offset of one packet of a kind.
struct OffsetTable {
  // The values that mean "no packet": none, or the unset offset -1, or (for
  // columns no file object writes yet) also their default 0.
  enum class Unset { kNone, kMinusOne, kZeroOrMinusOne };

  const char* table;
  const char* column;
  Packets::PacketTypeId kind;
  Unset unset;
};

// Every table and column that holds packet offsets: the entity tables'
// offset columns (channel_group's too, which holds -1 for groups recorded
// by a file object and a real offset for restored ones), and the start and
// annotation offsets of file_information, which hold 0 or -1 while unset.
// The header's row has no offset column: it is at offset 0.
std::span<const OffsetTable> OffsetTables();

// "device attribute", "data block"... for messages.
std::string KindName(Packets::PacketTypeId kind);
// "a device packet", "an event packet".
std::string APacketOfKind(Packets::PacketTypeId kind);

}  // namespace Varnholt::KrdFiles::Recovery
