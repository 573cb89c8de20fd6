#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "CommonLib/NonCopyableClassBase.h"
#include "KrdFileLib/Recovery/PairRecovery.h"
#include "KrdFileLib/Walk/PacketCheck.h"
#include "KrdFileLib/Walk/PacketWalk.h"

namespace Varnholt::KrdFiles::Recovery {

// Where and how a walk through the data file ended.
struct WalkEnd {
  enum class Kind {
    kEnd,       // the file ends right after its last whole packet
    kTornTail,  // the file ends in a cut packet or in zeros
    kDamage,    // a packet cannot be read although more bytes follow it
  };
  Kind kind = Kind::kEnd;
  uint64_t file_size = 0;
  // The end of the last whole packet: where the torn tail or the damaged
  // packet starts, or the file's size.
  uint64_t whole_packets_end = 0;
  uint64_t whole_packets = 0;
  std::optional<uint64_t> last_whole_packet;
  // How the tail was cut, or why the damaged packet was rejected.
  std::string reason;
};

// The data file's walk (Walk/PacketWalk.h) under the recovery rules, read
// the way a log reader reads a log: it hands on each whole packet in order
// and tells exactly where the file stops being a sequence of whole packets
// and why.
//
// The end of the walk is told apart as a crash leaves a file and as damage
// does. A torn tail is what an interrupted append leaves: fewer bytes than
// a frame, a body that runs past the end of the file, zeros to the end of
// the file (a file system's zero-filled tail after a power loss), or a last
// packet that cannot be read with only zeros after it. Anything else that
// cannot be read, with other bytes after it, is damage.
class RecoveryWalk : public CommonLib::NonCopyableClassBase {
 public:
  // The walk reads file through check's eyes, whose rules are recovery's;
  // progress, if set, is told at least every few megabytes and once at the
  // end.
  RecoveryWalk(KrdInstance& file, Walk::PacketCheck& check, const Progress& progress);

  // Walks the whole file once, visiting each whole packet.
  WalkEnd Run(const Walk::PacketWalk::Visit& visit);

 private:
  // Where the walk stopped, as a torn tail or as damage.
  void ReadStop(const Walk::WalkStop& stop);
  void Torn(std::string reason);
  void Damaged(std::string reason);

  Walk::PacketWalk walk_;
  const Progress& progress_;
  WalkEnd end_;
};

}  // namespace Varnholt::KrdFiles::Recovery
