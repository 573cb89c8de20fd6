#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <unordered_map>

#include "CommonLib/NonCopyableClassBase.h"
#include "KrdFileLib/Exceptions.h"
#include "KrdFileLib/Packets/PacketBase.h"
#include "KrdFileLib/Walk/KnownGroup.h"
#include "KrdFileLib/Walk/WalkRules.h"

namespace Varnholt::KrdFiles::Packets {
class ChannelGroupPacket;
}

namespace Varnholt::KrdFiles::Walk {

class ChunkedReader;

// One packet as the walk read it.
struct CheckedPacket {
  Packets::PacketFrame frame;
  // Why the packet's type rejects its body, with the library's code and
  // words; nothing when the packet reads back.
  std::optional<ApiException> rejection;
  // The group ID a channel group packet gives, or a data block names.
  uint16_t group_id = 0;
  // A data block's start time.
  int64_t start_time = 0;
  // The packet as read, for any kind but a data block: a block is indexed
  // from its fixed fields, and never built.
  std::shared_ptr<Packets::PacketBase> packet;
};

// Reads each packet of a data file as its type's reading constructor
// would, in bounded memory and without an index. Packets other than data
// blocks are parsed from their bodies (which are small). A data block is
// read as far as its fixed fields and checked against the group it names,
// taken from the channel group packets seen earlier in the walk (a lagging
// index may not know it yet; a new one knows the same): the block must name
// such a group and hold whole frames of it, at least one. Its samples are
// never read. Under the recovery rules a header anywhere but at the start
// is rejected too, as a file has one.
//
// A block of a group whose data type is not registered cannot be checked;
// that is the process's state rather than the file's, so it is thrown
// (code 36) instead of being a rejection.
class PacketCheck : public CommonLib::NonCopyableClassBase {
 public:
  explicit PacketCheck(WalkRules rules);
  ~PacketCheck();

  const WalkRules& Rules() const { return rules_; }
  // How many bytes of the packet's body the file must hold for the packet
  // to be read: all of them, or under the reindexing rules a data block's
  // fixed fields (or what it declares, if less).
  uint64_t BodyBytesNeeded(const Packets::PacketFrame& frame) const;
  // Checks the packet framed at frame, whose needed body the file holds,
  // reading it through reader.
  CheckedPacket Check(const Packets::PacketFrame& frame, ChunkedReader& reader);
  // The last channel group packet checked with this ID, if any.
  const Packets::ChannelGroupPacket* LastGroup(uint16_t group_id) const;

 private:
  void CheckDataBlock(ChunkedReader& reader, CheckedPacket& checked);

  WalkRules rules_;
  // The latest group packet of each ID (an ID freed by a deletion can be
  // given again).
  std::unordered_map<uint16_t, KnownGroup> groups_;
};

}  // namespace Varnholt::KrdFiles::Walk
