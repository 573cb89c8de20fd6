#include "KrdFileLib/Walk/KnownGroup.h"

#include "KrdFileLib/Packets/ChannelGroupPacket.h"

namespace Varnholt::KrdFiles::Walk {

KnownGroup::KnownGroup(std::shared_ptr<const Packets::ChannelGroupPacket> group)
    : group_(std::move(group)) {}

uint64_t KnownGroup::FrameSize() {
  if (!frame_size_) frame_size_ = group_->FrameSize();
  return *frame_size_;
}

}  // namespace Varnholt::KrdFiles::Walk
