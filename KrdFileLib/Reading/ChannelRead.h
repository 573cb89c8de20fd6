#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "KrdFileLib/Index/DataTable.h"
#include "KrdFileLib/Packets/FrameGrid.h"
#include "KrdFileLib/Reading/ChannelSampleReader.h"
#include "KrdFileLib/Reading/ContinuationTime.h"
#include "KrdFileLib/Reading/SampleBuffer.h"
#include "KrdFileLib/Reading/SampleSink.h"

namespace Varnholt::KrdFiles {
class KrdInstance;
}

namespace Varnholt::KrdFiles::Packets {
class ChannelGroupPacket;
class ChannelPacket;
}  // namespace Varnholt::KrdFiles::Packets

namespace Varnholt::KrdFiles::Reading {

// One read of a channel's samples by time, the one read path of the
// library: the exported GetChannelData and RecordingReader both run it.
// The index's data rows name the group's blocks that overlap the window;
// each block's head is read at its row's offset and the channel's samples
// cut out of its frames (ChannelSampleReader); the continuation time says
// where the group's data goes on past the window, in the direction read.
class ChannelRead {
 public:
  // Reads channel over length ticks from start_time: forward for a positive
  // length, backward (ending at start_time) for a negative one (code 42 for
  // 0), chunk_size bytes of the data file at a time. Finds the channel's
  // group (code 19) and checks the channel's place in its frames (code 43)
  // and the group's data type (code 36).
  ChannelRead(Index::IndexConnection& index, KrdInstance& file,
              const Packets::ChannelPacket& channel, int64_t start_time, int64_t length,
              uint64_t chunk_size);
  ~ChannelRead();
  ChannelRead(const ChannelRead&) = delete;
  ChannelRead& operator=(const ChannelRead&) = delete;

  uint32_t SampleSize() const { return reader_.SampleSize(); }

  // Puts the whole result into samples, which is reserved once from the
  // index rows before the data file is read (code 36 when that is more
  // than it holds). Returns the continuation time (kNoMoreData when
  // nothing follows).
  int64_t Into(SampleBuffer& samples);
  // Hands the samples to sink block by block as the index rows come, so
  // that the read needs no memory beyond one chunk however many blocks the
  // window spans. Returns the continuation time.
  int64_t Stream(SampleSink& sink);

 private:
  void ReadBlock(const Index::DataRecordRef& record, SampleSink& sink);
  int64_t Continuation() const;

  Index::IndexConnection& index_;
  KrdInstance& file_;
  std::shared_ptr<Packets::ChannelGroupPacket> group_;
  bool forward_;
  Packets::TimeWindow window_;
  ChannelSampleReader reader_;
  // The frames of the first and the last block read.
  std::optional<Packets::FrameGrid> first_block_;
  std::optional<Packets::FrameGrid> last_block_;
};

}  // namespace Varnholt::KrdFiles::Reading
