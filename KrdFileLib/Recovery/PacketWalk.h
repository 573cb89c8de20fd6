#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "CommonLib/NonCopyableClassBase.h"
#include "KrdFileLib/Recovery/PacketCheck.h"
#include "KrdFileLib/Recovery/PairRecovery.h"

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

// Walks a data file from offset 0, packet by packet, the way a log reader
// walks a log: it hands on each whole packet in order and tells exactly
// where the file stops being a sequence of whole packets and why. Frames
// are read from a buffer filled a chunk at a time; bodies are checked by
// PacketCheck; nothing larger than a chunk or a small body is held.
//
// The end of the walk is told apart as a crash leaves a file and as damage
// does. A torn tail is what an interrupted append leaves: fewer bytes than
// a frame, a body that runs past the end of the file, zeros to the end of
// the file (a file system's zero-filled tail after a power loss), or a last
// packet that cannot be read with only zeros after it. Anything else that
// cannot be read, with other bytes after it, is damage.
class PacketWalk : public CommonLib::NonCopyableClassBase {
 public:
  using Visit = std::function<void(const CheckedPacket&)>;

  // The walk reads file through check's eyes; progress, if set, is told
  // at least every kProgressStep bytes and once at the end.
  PacketWalk(KrdInstance& file, PacketCheck& check, const Progress& progress);

  // Walks the whole file once, visiting each whole packet.
  WalkEnd Run(const Visit& visit);

  static constexpr uint64_t kChunkSize = 64 * 1024;
  static constexpr uint64_t kProgressStep = 4 * 1024 * 1024;

 private:
  // The frame's five bytes at offset, from the buffer; false when fewer
  // than five are left in the file.
  bool FrameBytesAt(uint64_t offset, std::array<uint8_t, Packets::kFrameSize>& bytes);
  // True when every byte from offset to the end of the file is zero.
  bool ZerosFrom(uint64_t offset);
  void Fill(uint64_t offset);
  void Report(uint64_t offset);

  WalkEnd Torn(uint64_t offset, std::string reason);
  WalkEnd Damaged(uint64_t offset, std::string reason);
  // Ends the walk with its kind, where the whole packets end, and why.
  WalkEnd Stop(WalkEnd::Kind kind, uint64_t offset, std::string reason);

  KrdInstance& file_;
  PacketCheck& check_;
  const Progress& progress_;
  WalkEnd end_;
  std::vector<uint8_t> buffer_;
  uint64_t buffer_offset_ = 0;
  uint64_t next_report_ = 0;
};

}  // namespace Varnholt::KrdFiles::Recovery
