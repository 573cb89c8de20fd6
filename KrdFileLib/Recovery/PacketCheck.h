#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>

#include "CommonLib/NonCopyableClassBase.h"
#include "KrdFileLib/Index/IndexConnection.h"
#include "KrdFileLib/Packets/PacketBase.h"

namespace Varnholt::KrdFiles {
class KrdInstance;
namespace Packets {
class ChannelGroupPacket;
}
}  // namespace Varnholt::KrdFiles

namespace Varnholt::KrdFiles::Recovery {

// One whole packet as the walk checked it.
struct CheckedPacket {
  Packets::PacketFrame frame;
  // Why the packet's type rejects its body, in the library's own words;
  // nothing when the packet reads back.
  std::optional<std::string> rejection;
  // The ID a channel group packet gives its group.
  uint16_t group_id = 0;
  // The packet as read, for any kind but a data block (which is read
  // against the index it goes into when it is restored).
  std::shared_ptr<Packets::PacketBase> packet;
};

// Reads each packet of a data file as reindexing would, without an index
// and in bounded memory. Packets other than data blocks are parsed by their
// own reading constructors (their bodies are small). A data block is read
// as far as its fixed fields and checked against the group it names, taken
// from the channel group packets seen earlier in the file, since a lagging
// index may not know the group yet: the block must name such a group and
// hold whole frames of it, at least one. Its samples are never read. A
// header anywhere but at the start is rejected too: a file has one header.
//
// A block of a group whose data type is not registered cannot be checked;
// that is the process's state rather than the file's, so it is thrown
// (code 36) instead of being reported as a rejection.
class PacketCheck : public CommonLib::NonCopyableClassBase {
 public:
  explicit PacketCheck(KrdInstance& file);
  ~PacketCheck();

  // Checks the packet framed at frame, whose body lies within the file.
  CheckedPacket Check(const Packets::PacketFrame& frame);
  // The last channel group packet checked with this ID, if any.
  const Packets::ChannelGroupPacket* LastGroup(uint16_t group_id) const;

 private:
  std::optional<std::string> CheckDataBlock(const Packets::PacketFrame& frame);

  KrdInstance& file_;
  // ParsePacket and the data block reader take an index for their group
  // lookups; the check never lets them reach it, so it is never opened.
  Index::IndexConnection no_index_;
  // The latest group packet of each ID (an ID freed by a deletion can be
  // given again).
  std::unordered_map<uint16_t, std::shared_ptr<Packets::ChannelGroupPacket>> groups_;
};

}  // namespace Varnholt::KrdFiles::Recovery
