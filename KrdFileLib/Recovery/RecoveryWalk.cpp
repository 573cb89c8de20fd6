#include "KrdFileLib/Recovery/RecoveryWalk.h"

#include "KrdFileLib/Errors.h"
#include "KrdFileLib/Recovery/PacketKinds.h"

namespace Varnholt::KrdFiles::Recovery {

using Errors::Decimal;
using Packets::kFrameSize;
using Walk::WalkStop;

RecoveryWalk::RecoveryWalk(KrdInstance& file, Walk::PacketCheck& check, const Progress& progress)
    : walk_(file, check, progress), progress_(progress) {}

WalkEnd RecoveryWalk::Run(const Walk::PacketWalk::Visit& visit) {
  const Walk::WalkResult walked = walk_.Run(visit);
  end_ = WalkEnd{};
  end_.file_size = walked.file_size;
  end_.whole_packets_end = walked.whole_packets_end;
  end_.whole_packets = walked.whole_packets;
  end_.last_whole_packet = walked.last_whole_packet;
  if (walked.stop) ReadStop(*walked.stop);
  if (progress_) progress_(end_.file_size, end_.file_size);
  return end_;
}

void RecoveryWalk::ReadStop(const WalkStop& stop) {
  const uint64_t size = end_.file_size;
  const std::string& why = stop.failure.Message();
  switch (stop.cause) {
    case WalkStop::Cause::kFrameCut:
      return Torn("the last packet's frame is cut off after " + Decimal(size - stop.offset) +
                  " of " + Decimal(kFrameSize) + " bytes");
    case WalkStop::Cause::kUnknownType:
      if (walk_.ZerosFrom(stop.offset)) {
        return Torn("the file ends in " + Decimal(size - stop.offset) + " zero bytes");
      }
      return Damaged(why);
    case WalkStop::Cause::kBodyCut:
      return Torn(APacketOfKind(stop.frame->type) + " of " +
                  Decimal(kFrameSize + stop.frame->body_length) + " bytes is cut off after " +
                  Decimal(size - stop.offset));
    case WalkStop::Cause::kRejected: {
      const uint64_t next = stop.offset + kFrameSize + stop.frame->body_length;
      if (next == size) return Torn("the last packet cannot be read: " + why);
      if (walk_.ZerosFrom(next)) {
        return Torn("the last packet cannot be read (" + why + ") and only zeros follow it");
      }
      return Damaged(why);
    }
  }
}

void RecoveryWalk::Torn(std::string reason) {
  end_.kind = WalkEnd::Kind::kTornTail;
  end_.reason = std::move(reason);
}

void RecoveryWalk::Damaged(std::string reason) {
  end_.kind = WalkEnd::Kind::kDamage;
  end_.reason = std::move(reason);
}

}  // namespace Varnholt::KrdFiles::Recovery
