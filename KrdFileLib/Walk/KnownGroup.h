#pragma once

#include <cstdint>
#include <memory>
#include <optional>

namespace Varnholt::KrdFiles::Packets {
class ChannelGroupPacket;
}

namespace Varnholt::KrdFiles::Walk {

// A channel group as a walk knows it, from its packet or its index row,
// with the size of its frames worked out at its first data block and kept,
// so that the blocks that follow by the million do not each ask the
// data-type registry.
class KnownGroup {
 public:
  explicit KnownGroup(std::shared_ptr<const Packets::ChannelGroupPacket> group);

  const Packets::ChannelGroupPacket& Group() const { return *group_; }
  // Bytes of one frame; code 36 while the group's data type is not
  // registered, which is asked again at the next block.
  uint64_t FrameSize();

 private:
  std::shared_ptr<const Packets::ChannelGroupPacket> group_;
  std::optional<uint64_t> frame_size_;
};

}  // namespace Varnholt::KrdFiles::Walk
