#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "KrdFileLib/Index/DataTable.h"
#include "KrdFileLib/Packets/FrameGrid.h"
#include "KrdFileLib/Packets/IndexedPacket.h"

namespace Varnholt::KrdFiles::Packets {

class ChannelGroupPacket;

// One recorded block of a channel group: whole frames of interleaved
// samples, one sample of every channel per frame, stamped with the time of
// the first frame. The time of the last frame (the end time) is not stored
// in the file but computed from the group, and indexed with the start so
// that blocks are found by time.
//
// Body: u64 start time offset, u16 channel group id, then the frames as
// rest-of-body bytes. A block being written refers to its samples where the
// caller holds them (or owns them when handed a temporary) and never copies
// them: the file writes them straight behind the frame and fixed fields. A
// block read back holds only the two fixed fields and leaves its frames in
// the file, where ChannelSampleReader finds them.
class DataPacket final : public IndexedPacket<Index::DataTable> {
 public:
  // Bytes of the body before the first frame.
  static constexpr uint64_t kFixedBodySize = 10;

  // A new block of group. Checks that samples hold whole frames and at
  // least one (code 47; code 36 when the group's data type is unknown or
  // the last frame would lie past the largest time offset).
  // The packet refers to samples, which must outlive it.
  DataPacket(const ChannelGroupPacket& group, int64_t start_time_offset,
             std::span<const uint8_t> samples);
  // As above, for samples the packet takes over.
  DataPacket(const ChannelGroupPacket& group, int64_t start_time_offset, Bytes&& samples);
  // Reads only the fixed fields, then finds the group (code 19) and checks
  // the frames that the body length declares, as for a new block.
  DataPacket(KrdInstance& file, Index::IndexConnection& connection, const PacketFrame& frame);

  // The data block whose packet starts at offset (code 3 when another kind
  // of packet lies there).
  static std::shared_ptr<DataPacket> ReadAt(KrdInstance& file, Index::IndexConnection& connection,
                                            uint64_t offset);
  // As ReadAt, for a block expected to belong to group: the group is not
  // looked up again when the block names it.
  static DataPacket ReadOfGroup(KrdInstance& file, Index::IndexConnection& connection,
                                const ChannelGroupPacket& group, uint64_t offset);

  // The end time of a block read back, which indexing it takes without the
  // packet being built: sample_bytes of frames of frame_size bytes, divisor
  // ticks apart, from start_time (code 47 unless they are whole frames, and
  // at least one), as the reading constructor checks and computes it.
  static int64_t EndTimeOf(uint64_t frame_size, uint32_t divisor, int64_t start_time,
                           uint64_t sample_bytes);

  int64_t StartTimeOffset() const { return start_time_offset_; }
  int64_t EndTimeOffset() const { return end_time_offset_; }
  uint16_t ChannelGroupId() const { return channel_group_id_; }
  // The frames' times.
  FrameGrid Frames() const { return FrameGrid(start_time_offset_, divisor_, frame_count_); }
  // Where the first frame lies in the file.
  uint64_t FirstFrameOffset() const { return FileOffset() + kFrameSize + kFixedBodySize; }
  // The sample bytes of a block built for writing; empty for one read back.
  std::span<const uint8_t> Samples() const { return samples_; }
  std::span<const uint8_t> Payload() const override { return samples_; }

  // The fixed fields; the samples follow as the payload.
  void AppendBody(Bytes& body) const override;

 private:
  // Decodes the fixed fields read from the file; the group is looked up
  // unless the block names expected_group.
  DataPacket(Index::IndexConnection& connection, const PacketFrame& frame, Bytes fixed_body,
             const ChannelGroupPacket* expected_group);
  void BindRow();
  // The recording check: counts the frames in sample_bytes and computes the
  // end time from the group.
  void TakeFrames(const ChannelGroupPacket& group, uint64_t sample_bytes);
  // The recording check of a new block over its own samples, which also
  // refuses a block whose last frame would lie past the largest time
  // offset (code 36).
  void TakeNewFrames(const ChannelGroupPacket& group);

  int64_t start_time_offset_ = 0;
  uint16_t channel_group_id_ = 0;
  int64_t end_time_offset_ = 0;
  Bytes owned_samples_;  // only when the packet was handed them
  std::span<const uint8_t> samples_;
  uint32_t divisor_ = 0;
  uint64_t frame_count_ = 0;
};

}  // namespace Varnholt::KrdFiles::Packets
