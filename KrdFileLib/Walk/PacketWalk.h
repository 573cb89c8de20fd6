#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "CommonLib/NonCopyableClassBase.h"
#include "KrdFileLib/Exceptions.h"
#include "KrdFileLib/Packets/PacketBase.h"
#include "KrdFileLib/Walk/ChunkedReader.h"
#include "KrdFileLib/Walk/PacketCheck.h"

namespace Varnholt::KrdFiles::Walk {

// Called as the walk moves through the data file.
using Progress = std::function<void(uint64_t bytes_walked, uint64_t bytes_total)>;

// The first packet a walk could not read, which ends it short of the end of
// the file.
struct WalkStop {
  enum class Cause {
    kFrameCut,     // fewer bytes than a frame's are left
    kUnknownType,  // the frame's type id names no packet type
    kBodyCut,      // the file ends within what the packet needs of its body
    kRejected,     // the packet's type rejects its body
  };
  Cause cause;
  uint64_t offset;
  // The packet's frame, for a cut body or a rejected packet.
  std::optional<Packets::PacketFrame> frame;
  // The failure as reindexing reports it: "KRD file ended unexpectedly.",
  // the unknown type id, or the rejection, with its code.
  ApiException failure;
};

// How far a walk got.
struct WalkResult {
  uint64_t file_size = 0;
  // Where the last packet handed on ends, and how many there were.
  uint64_t whole_packets_end = 0;
  uint64_t whole_packets = 0;
  std::optional<uint64_t> last_whole_packet;
  // Why the walk stopped, when that was before the end of the file.
  std::optional<WalkStop> stop;
};

// The one walk through a data file, from offset 0 packet by packet, that
// reindexing (KrfReindexer), Verify and Repair all take: it hands on each
// packet in file order, checked by PacketCheck under the rules of the one
// taking it, and stops at the first it cannot read. Frames and fixed fields
// come out of a ChunkedReader: one read per chunk of small packets, one
// page per large data block, whose samples are passed over unread.
class PacketWalk : public CommonLib::NonCopyableClassBase {
 public:
  using Visit = std::function<void(const CheckedPacket&)>;

  // Takes the size of file once: the walk goes that far. progress, if
  // set, is told at least every kProgressStep bytes.
  PacketWalk(KrdInstance& file, PacketCheck& check, Progress progress = {});

  // Walks the file once, visiting each packet; what visit throws ends the
  // walk and is thrown on.
  WalkResult Run(const Visit& visit);
  // Where the packet the walk is at begins: the one being read or visited,
  // or the one it stopped at.
  uint64_t Position() const { return position_; }
  // True when every byte from offset to the end of the file is zero.
  bool ZerosFrom(uint64_t offset);

  // A data block larger than this, or a run of them, makes the walk read
  // sparsely (ChunkedReader).
  static constexpr uint64_t kSparsePacketBytes = 16 * 1024;
  static constexpr uint64_t kProgressStep = 4 * 1024 * 1024;

 private:
  WalkResult Stop(WalkStop::Cause cause, std::optional<Packets::PacketFrame> frame,
                  ApiException failure);
  // Reads sparsely while the packets walked lately are large.
  void Pace(uint64_t packet_size);
  void Report(uint64_t offset);

  PacketCheck& check_;
  Progress progress_;
  ChunkedReader reader_;
  WalkResult result_;
  uint64_t position_ = 0;
  uint64_t recent_packet_bytes_ = 0;
  uint64_t next_report_ = 0;
};

}  // namespace Varnholt::KrdFiles::Walk
