#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "KrdFileLib/Index/DataTable.h"
#include "KrdFileLib/Packets/FrameGrid.h"
#include "KrdFileLib/Reading/SampleBuffer.h"
#include "KrdFileLib/Reading/SampleSink.h"

namespace Varnholt::KrdFiles {
class KrdInstance;
}

namespace Varnholt::KrdFiles::Packets {
class ChannelGroupPacket;
class DataPacket;
}  // namespace Varnholt::KrdFiles::Packets

namespace Varnholt::KrdFiles::Reading {

// Cuts one channel's samples out of its group's data blocks in the KRD
// file. A block is never loaded whole: only the frames whose times fall in
// the window are read, a chunk at a time, and the frames before the window
// are skipped without being read. The chunk size is rounded down to whole
// frames, but is at least one frame, and one chunk buffer serves every
// read, so a read needs no memory beyond that chunk and where its samples
// go (a SampleSink).
class ChannelSampleReader {
 public:
  // Reads the channel at interleave_index of group's frames; code 43 when
  // the group's frames have no such place, code 36 when its data type is
  // not registered.
  ChannelSampleReader(KrdInstance& file, const Packets::ChannelGroupPacket& group,
                      uint8_t interleave_index, uint64_t chunk_size);

  uint32_t SampleSize() const { return sample_size_; }

  // Makes room in samples for what AppendSamples will add for blocks over
  // window, as far as their index rows tell, so that the result grows once;
  // code 36 when that is more than samples can hold. Never reserves more
  // than the file could hold.
  void Reserve(std::span<const Index::DataRecordRef> blocks, const Packets::TimeWindow& window,
               SampleBuffer& samples) const;
  // Hands samples the channel's samples of block whose times lie in
  // window, in time order. Fails with "KRD file ended unexpectedly." when
  // the block's frames are not all in the file, before samples is handed
  // any.
  void AppendSamples(const Packets::DataPacket& block, const Packets::TimeWindow& window,
                     SampleSink& samples);

 private:
  // Hands samples the channel's sample of each of frame_count frames from
  // offset.
  void AppendFrames(uint64_t offset, uint64_t frame_count, SampleSink& samples);

  KrdInstance& file_;
  uint64_t frame_size_;
  uint32_t sample_size_;
  uint64_t sample_offset_;  // of the channel's sample within a frame
  uint64_t frames_per_read_;
  uint32_t divisor_;
  // The one read buffer, at most one chunk; its bytes are left uninitialised.
  std::unique_ptr<uint8_t[]> chunk_;
  uint64_t chunk_bytes_ = 0;
};

// Copies the sample at first_sample and at every frame_size bytes after it,
// frame_count samples of sample_size bytes, to out, back to back. Sizes of
// 1, 2, 4 and 8 bytes take loops made for them; others a general one.
void CopyChannelSamples(const uint8_t* first_sample, uint64_t frame_count, uint64_t frame_size,
                        uint32_t sample_size, uint8_t* out);

}  // namespace Varnholt::KrdFiles::Reading
