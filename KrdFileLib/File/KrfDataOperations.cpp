// Channel-group data: blocks of interleaved frames recorded per group, and
// one channel's samples read back by time. The recording path is the
// library's hot path: a block is checked, indexed and appended, nothing
// more.

#include "KrdFileLib/Index/DataTable.h"
#include "KrdFileLib/File/KrfFileBase.h"
#include "KrdFileLib/Packets/ChannelGroupPacket.h"
#include "KrdFileLib/Packets/ChannelPacket.h"
#include "KrdFileLib/Packets/DataPacket.h"
#include "KrdFileLib/Reading/ChannelRead.h"

namespace Varnholt::KrdFiles {

using Packets::ChannelGroupPacket;
using Packets::ChannelPacket;

void KrfFileBase::RecordChannelGroupData(uint16_t group_id, int64_t start_time_offset,
                                         const Bytes& samples) {
  auto lock = LockFile();
  CheckRecordAllowed();
  const auto group = ChannelGroupPacket::Find(index_, group_id);
  Packets::DataPacket block(*group, start_time_offset, samples);
  AddPacket(block);
}

void KrfFileBase::GetChannelData(uint16_t channel_id, int64_t start_time, int64_t length,
                                 int64_t& continuation_time, Reading::SampleBuffer& samples) {
  auto lock = LockFile();
  const auto channel = ChannelPacket::Find(index_, channel_id);
  const uint64_t chunk_size =
      settings_ ? settings_->ReadChunkSize() : FileLibrarySettings::kDefaultReadChunkSize;
  Reading::ChannelRead read(index_, data_file_, *channel, start_time, length, chunk_size);
  continuation_time = read.Into(samples);
}

int64_t KrfFileBase::GetMaxChGroupTime(uint16_t group_id) {
  auto lock = LockFile();
  ChannelGroupPacket::Find(index_, group_id);
  return Index::DataTable::GetLastDataEndTime(index_, group_id);
}

}  // namespace Varnholt::KrdFiles
