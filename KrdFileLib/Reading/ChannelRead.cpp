#include "KrdFileLib/Reading/ChannelRead.h"

#include <vector>

#include "KrdFileLib/Errors.h"
#include "KrdFileLib/Packets/ChannelGroupPacket.h"
#include "KrdFileLib/Packets/ChannelPacket.h"
#include "KrdFileLib/Packets/DataPacket.h"

namespace Varnholt::KrdFiles::Reading {

using Packets::ChannelGroupPacket;
using Packets::FrameGrid;
using Packets::TimeWindow;

namespace {

// The channel's group, once the length is known to name an interval.
std::shared_ptr<ChannelGroupPacket> GroupToRead(Index::IndexConnection& index,
                                                const Packets::ChannelPacket& channel,
                                                int64_t length) {
  if (length == 0) throw Errors::ZeroLengthInterval();
  return ChannelGroupPacket::Find(index, channel.ChannelGroupId());
}

// Where the data goes on past the window within the block read last
// (forward) or first (backward): the frame right after or right before
// the window, if that block has one.
int64_t TimeBeyondWindow(const std::optional<FrameGrid>& block, const TimeWindow& window,
                         bool forward) {
  if (!block) return kNoMoreData;
  if (forward) {
    const uint64_t after = block->FramesAtOrBefore(window.last);
    return after < block->FrameCount() ? block->FrameTime(after) : kNoMoreData;
  }
  const uint64_t first_inside = block->FirstFrameAtOrAfter(window.first);
  return first_inside > 0 ? block->FrameTime(first_inside - 1) : kNoMoreData;
}

// Where the group's data continues past the window, in a block of its own.
int64_t TimeInNeighbourBlock(Index::IndexConnection& index, uint16_t group_id,
                             const TimeWindow& window, bool forward) {
  if (forward) {
    const auto next = Index::DataTable::FindNextBlock(index, group_id, window.last);
    return next ? next->start_time_offset : kNoMoreData;
  }
  const auto previous = Index::DataTable::FindPreviousBlock(index, group_id, window.first);
  return previous ? previous->end_time_offset : kNoMoreData;
}

}  // namespace

ChannelRead::ChannelRead(Index::IndexConnection& index, KrdInstance& file,
                         const Packets::ChannelPacket& channel, int64_t start_time, int64_t length,
                         uint64_t chunk_size)
    : index_(index),
      file_(file),
      group_(GroupToRead(index, channel, length)),
      forward_(length > 0),
      window_(TimeWindow::ForInterval(start_time, length)),
      reader_(file, *group_, channel.InterleaveIndex(), chunk_size) {}

ChannelRead::~ChannelRead() = default;

int64_t ChannelRead::Into(SampleBuffer& samples) {
  const std::vector<Index::DataRecordRef> records =
      Index::DataTable::SelectDataInRange(index_, group_->GroupId(), window_.first, window_.last);
  reader_.Reserve(records, window_, samples);
  for (const Index::DataRecordRef& record : records) ReadBlock(record, samples);
  return Continuation();
}

int64_t ChannelRead::Stream(SampleSink& sink) {
  Index::DataTable::ForEachDataInRange(
      index_, group_->GroupId(), window_.first, window_.last,
      [&](const Index::DataRecordRef& record) { ReadBlock(record, sink); });
  return Continuation();
}

void ChannelRead::ReadBlock(const Index::DataRecordRef& record, SampleSink& sink) {
  const Packets::DataPacket block = Packets::DataPacket::ReadOfGroup(
      file_, index_, *group_, static_cast<uint64_t>(record.offset));
  reader_.AppendSamples(block, window_, sink);
  if (!first_block_) first_block_ = block.Frames();
  last_block_ = block.Frames();
}

int64_t ChannelRead::Continuation() const {
  const int64_t continuation =
      TimeBeyondWindow(forward_ ? last_block_ : first_block_, window_, forward_);
  if (continuation != kNoMoreData) return continuation;
  return TimeInNeighbourBlock(index_, group_->GroupId(), window_, forward_);
}

}  // namespace Varnholt::KrdFiles::Reading
