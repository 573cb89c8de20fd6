#include "KrdFileLib/Packets/ChannelSampleReader.h"

#include <algorithm>

#include "KrdFileLib/KrdInstance.h"
#include "KrdFileLib/Packets/ChannelGroupPacket.h"
#include "KrdFileLib/Packets/ChannelPacket.h"
#include "KrdFileLib/Packets/DataPacket.h"

namespace Varnholt::KrdFiles::Packets {

ChannelSampleReader::ChannelSampleReader(KrdInstance& file, const ChannelGroupPacket& group,
                                         uint8_t interleave_index, uint64_t chunk_size)
    : file_(file),
      frame_size_(group.FrameSize()),
      sample_size_(group.SampleSize()),
      sample_offset_(uint64_t{interleave_index} * sample_size_),
      frames_per_read_(frame_size_ == 0 ? 1 : std::max<uint64_t>(1, chunk_size / frame_size_)) {
  // Keeps every sample inside its frame, whatever the index holds.
  ChannelPacket::CheckInterleaveIndex(group, interleave_index);
}

void ChannelSampleReader::AppendSamples(const DataPacket& block, const TimeWindow& window,
                                        Bytes& samples) const {
  const FrameGrid frames = block.Frames();
  const uint64_t first = frames.FirstFrameAtOrAfter(window.first);
  const uint64_t end = frames.FramesAtOrBefore(window.last);
  if (first >= end || sample_size_ == 0) return;
  AppendFrames(block.FirstFrameOffset() + first * frame_size_, end - first, samples);
}

void ChannelSampleReader::AppendFrames(uint64_t offset, uint64_t frame_count,
                                       Bytes& samples) const {
  Bytes chunk;
  while (frame_count > 0) {
    const uint64_t frames_in_chunk = std::min(frame_count, frames_per_read_);
    file_.ReadBytes(offset, frames_in_chunk * frame_size_, chunk);
    for (uint64_t frame = 0; frame < frames_in_chunk; ++frame) {
      const auto sample =
          chunk.begin() + static_cast<std::ptrdiff_t>(frame * frame_size_ + sample_offset_);
      samples.insert(samples.end(), sample, sample + sample_size_);
    }
    offset += frames_in_chunk * frame_size_;
    frame_count -= frames_in_chunk;
  }
}

}  // namespace Varnholt::KrdFiles::Packets
