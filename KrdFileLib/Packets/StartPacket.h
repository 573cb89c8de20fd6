#pragma once

#include <cstdint>

#include "KrdFileLib/Packets/PacketBase.h"

namespace Varnholt::KrdFiles::Packets {

// When the recording began in real time: an opaque value whose form the
// type names (a data-type id of the host's). Recorded once; the index keeps
// it in the file_information row.
//
// Body: u16 type, then the value as rest-of-body bytes.
class StartPacket final : public PacketBase {
 public:
  StartPacket(uint16_t start_type, Bytes start);
  StartPacket(const PacketFrame& frame, Bytes body);

  uint16_t StartType() const { return start_type_; }
  const Bytes& Start() const { return start_; }

  void AppendBody(Bytes& body) const override;
  // Stores the start in the file_information row, creating the row if the
  // index has none yet. Restoring does the same.
  void AddToIndex(Index::IndexConnection& connection) override;

 private:
  uint16_t start_type_ = 0;
  Bytes start_;
};

}  // namespace Varnholt::KrdFiles::Packets
