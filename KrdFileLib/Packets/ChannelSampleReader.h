#pragma once

#include <cstdint>

#include "KrdFileLib/Packets/Coding.h"
#include "KrdFileLib/Packets/FrameGrid.h"

namespace Varnholt::KrdFiles {
class KrdInstance;
}

namespace Varnholt::KrdFiles::Packets {

class ChannelGroupPacket;
class DataPacket;

// Cuts one channel's samples out of its group's data blocks in the KRD
// file. A block is never loaded whole: only the frames whose times fall in
// the window are read, a chunk at a time, and the frames before the window
// are skipped without being read. The chunk size is rounded down to whole
// frames, but is at least one frame.
class ChannelSampleReader {
 public:
  // Reads the channel at interleave_index of group's frames; code 43 when
  // the group's frames have no such place, code 36 when its data type is
  // not registered.
  ChannelSampleReader(KrdInstance& file, const ChannelGroupPacket& group, uint8_t interleave_index,
                      uint64_t chunk_size);

  // Appends to samples the channel's samples of block whose times lie in
  // window, in time order.
  void AppendSamples(const DataPacket& block, const TimeWindow& window, Bytes& samples) const;

 private:
  // Appends the channel's sample of each of frame_count frames from offset.
  void AppendFrames(uint64_t offset, uint64_t frame_count, Bytes& samples) const;

  KrdInstance& file_;
  uint64_t frame_size_;
  uint32_t sample_size_;
  uint64_t sample_offset_;  // of the channel's sample within a frame
  uint64_t frames_per_read_;
};

}  // namespace Varnholt::KrdFiles::Packets
