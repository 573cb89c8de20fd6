#include "KrdFileLib/Reading/ChannelSampleReader.h"

#include <algorithm>
#include <cstring>

#include "KrdFileLib/DataFile/KrdInstance.h"
#include "KrdFileLib/Packets/ChannelGroupPacket.h"
#include "KrdFileLib/Packets/ChannelPacket.h"
#include "KrdFileLib/Packets/DataPacket.h"

namespace Varnholt::KrdFiles::Reading {

using Packets::ChannelGroupPacket;
using Packets::DataPacket;
using Packets::FrameGrid;
using Packets::TimeWindow;

namespace {

// Copies one sample of kSampleSize bytes per frame: a fixed size lets the
// compiler turn each copy into one load and one store.
template <std::size_t kSampleSize>
void CopyFixedSizeSamples(const uint8_t* sample, uint64_t frame_count, uint64_t frame_size,
                          uint8_t* out) {
  for (uint64_t frame = 0; frame < frame_count; ++frame) {
    std::memcpy(out, sample, kSampleSize);
    sample += frame_size;
    out += kSampleSize;
  }
}

void CopyAnySizeSamples(const uint8_t* sample, uint64_t frame_count, uint64_t frame_size,
                        uint32_t sample_size, uint8_t* out) {
  for (uint64_t frame = 0; frame < frame_count; ++frame) {
    std::memcpy(out, sample, sample_size);
    sample += frame_size;
    out += sample_size;
  }
}

}  // namespace

void CopyChannelSamples(const uint8_t* first_sample, uint64_t frame_count, uint64_t frame_size,
                        uint32_t sample_size, uint8_t* out) {
  switch (sample_size) {
    case 1: return CopyFixedSizeSamples<1>(first_sample, frame_count, frame_size, out);
    case 2: return CopyFixedSizeSamples<2>(first_sample, frame_count, frame_size, out);
    case 4: return CopyFixedSizeSamples<4>(first_sample, frame_count, frame_size, out);
    case 8: return CopyFixedSizeSamples<8>(first_sample, frame_count, frame_size, out);
    default: return CopyAnySizeSamples(first_sample, frame_count, frame_size, sample_size, out);
  }
}

ChannelSampleReader::ChannelSampleReader(KrdInstance& file, const ChannelGroupPacket& group,
                                         uint8_t interleave_index, uint64_t chunk_size)
    : file_(file),
      frame_size_(group.FrameSize()),
      sample_size_(group.SampleSize()),
      sample_offset_(uint64_t{interleave_index} * sample_size_),
      frames_per_read_(frame_size_ == 0 ? 1 : std::max<uint64_t>(1, chunk_size / frame_size_)),
      divisor_(group.TimeBaseDivisor()) {
  // Keeps every sample inside its frame, whatever the index holds.
  Packets::ChannelPacket::CheckInterleaveIndex(group, interleave_index);
}

void ChannelSampleReader::Reserve(std::span<const Index::DataRecordRef> blocks,
                                  const TimeWindow& window, SampleBuffer& samples) const {
  if (frame_size_ == 0) return;
  const uint64_t most_frames = file_.GetEndOffset() / frame_size_;
  uint64_t frames = 0;
  for (const Index::DataRecordRef& block : blocks) {
    const uint64_t span = static_cast<uint64_t>(block.end_time_offset) -
                          static_cast<uint64_t>(block.start_time_offset);
    const uint64_t block_frames = divisor_ == 0 ? 1 : span / divisor_ + 1;
    const FrameGrid grid(block.start_time_offset, divisor_, std::min(block_frames, most_frames));
    const uint64_t first = grid.FirstFrameAtOrAfter(window.first);
    const uint64_t end = grid.FramesAtOrBefore(window.last);
    if (end > first) frames = std::min(most_frames, frames + (end - first));
  }
  samples.Reserve(samples.Size() + frames * sample_size_);
}

void ChannelSampleReader::AppendSamples(const DataPacket& block, const TimeWindow& window,
                                        SampleSink& samples) {
  const FrameGrid frames = block.Frames();
  const uint64_t first = frames.FirstFrameAtOrAfter(window.first);
  const uint64_t end = frames.FramesAtOrBefore(window.last);
  if (first >= end || sample_size_ == 0) return;
  AppendFrames(block.FirstFrameOffset() + first * frame_size_, end - first, samples);
}

void ChannelSampleReader::AppendFrames(uint64_t offset, uint64_t frame_count, SampleSink& samples) {
  // The frame count comes from the file: the frames must be there before
  // samples are handed on for them.
  file_.RequireRange(offset, frame_count * frame_size_);
  // The scratch chunk only grows: a reader keeps the largest it has needed.
  const uint64_t chunk_bytes =
      std::max(chunk_bytes_, std::min(frame_count, frames_per_read_) * frame_size_);
  if (chunk_bytes != chunk_bytes_) {
    chunk_ = std::make_unique_for_overwrite<uint8_t[]>(chunk_bytes);
    chunk_bytes_ = chunk_bytes;
  }
  while (frame_count > 0) {
    const uint64_t frames_in_chunk = std::min(frame_count, frames_per_read_);
    const std::span<uint8_t> chunk(chunk_.get(), frames_in_chunk * frame_size_);
    file_.ReadInto(offset, chunk);
    const uint8_t* sample = chunk.data() + sample_offset_;
    for (uint64_t frames_left = frames_in_chunk; frames_left > 0;) {
      const std::span<uint8_t> room = samples.Room(frames_left * sample_size_);
      const uint64_t frames = room.size() / sample_size_;
      CopyChannelSamples(sample, frames, frame_size_, sample_size_, room.data());
      sample += frames * frame_size_;
      frames_left -= frames;
    }
    offset += chunk.size();
    frame_count -= frames_in_chunk;
  }
}

}  // namespace Varnholt::KrdFiles::Reading
