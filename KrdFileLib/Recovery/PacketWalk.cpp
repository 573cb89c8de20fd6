#include "KrdFileLib/Recovery/PacketWalk.h"

#include <algorithm>
#include <array>

#include "KrdFileLib/Errors.h"
#include "KrdFileLib/DataFile/KrdInstance.h"
#include "KrdFileLib/Packets/ParsePacket.h"
#include "KrdFileLib/Recovery/PacketKinds.h"

namespace Varnholt::KrdFiles::Recovery {

using Errors::Decimal;
using Packets::kFrameSize;

namespace {

bool IsPacketTypeId(uint8_t id) {
  return id >= Packets::kFirstPacketTypeId && id <= Packets::kLastPacketTypeId;
}

}  // namespace

PacketWalk::PacketWalk(KrdInstance& file, PacketCheck& check, const Progress& progress)
    : file_(file), check_(check), progress_(progress) {}

WalkEnd PacketWalk::Run(const Visit& visit) {
  end_ = WalkEnd{};
  end_.file_size = file_.GetEndOffset();
  buffer_.clear();
  next_report_ = kProgressStep;
  const uint64_t size = end_.file_size;
  uint64_t position = 0;
  while (position < size) {
    Report(position);
    std::array<uint8_t, kFrameSize> bytes{};
    if (!FrameBytesAt(position, bytes)) {
      return Torn(position, "the last packet's frame is cut off after " + Decimal(size - position) +
                                " of " + Decimal(kFrameSize) + " bytes");
    }
    if (!IsPacketTypeId(bytes[0])) {
      if (ZerosFrom(position)) {
        return Torn(position, "the file ends in " + Decimal(size - position) + " zero bytes");
      }
      return Damaged(position, Errors::UnknownPacketType(bytes[0]).Message());
    }
    const Packets::PacketFrame frame = Packets::DecodePacketFrame(bytes, position);
    const uint64_t body_present = size - position - kFrameSize;
    if (frame.body_length > body_present) {
      return Torn(position, APacketOfKind(frame.type) + " of " +
                                Decimal(kFrameSize + frame.body_length) +
                                " bytes is cut off after " + Decimal(kFrameSize + body_present));
    }
    const CheckedPacket checked = check_.Check(frame);
    const uint64_t next = position + kFrameSize + frame.body_length;
    if (checked.rejection) {
      if (next == size) {
        return Torn(position, "the last packet cannot be read: " + *checked.rejection);
      }
      if (ZerosFrom(next)) {
        return Torn(position, "the last packet cannot be read (" + *checked.rejection +
                                  ") and only zeros follow it");
      }
      return Damaged(position, *checked.rejection);
    }
    visit(checked);
    ++end_.whole_packets;
    end_.last_whole_packet = position;
    end_.whole_packets_end = next;
    position = next;
  }
  end_.kind = WalkEnd::Kind::kEnd;
  end_.whole_packets_end = size;
  if (progress_) progress_(size, size);
  return end_;
}

WalkEnd PacketWalk::Torn(uint64_t offset, std::string reason) {
  return Stop(WalkEnd::Kind::kTornTail, offset, std::move(reason));
}

WalkEnd PacketWalk::Damaged(uint64_t offset, std::string reason) {
  return Stop(WalkEnd::Kind::kDamage, offset, std::move(reason));
}

WalkEnd PacketWalk::Stop(WalkEnd::Kind kind, uint64_t offset, std::string reason) {
  end_.kind = kind;
  end_.whole_packets_end = offset;
  end_.reason = std::move(reason);
  if (progress_) progress_(end_.file_size, end_.file_size);
  return end_;
}

bool PacketWalk::FrameBytesAt(uint64_t offset, std::array<uint8_t, kFrameSize>& bytes) {
  if (offset < buffer_offset_ || offset + kFrameSize > buffer_offset_ + buffer_.size()) {
    Fill(offset);
  }
  if (buffer_.size() < kFrameSize) return false;
  std::copy_n(buffer_.begin() + static_cast<std::ptrdiff_t>(offset - buffer_offset_), kFrameSize,
              bytes.begin());
  return true;
}

bool PacketWalk::ZerosFrom(uint64_t offset) {
  for (uint64_t position = offset; position < end_.file_size; position += buffer_.size()) {
    Report(position);
    Fill(position);
    if (buffer_.empty()) return true;  // the file shrank meanwhile
    if (std::any_of(buffer_.begin(), buffer_.end(), [](uint8_t byte) { return byte != 0; })) {
      return false;
    }
  }
  return true;
}

void PacketWalk::Fill(uint64_t offset) {
  buffer_.resize(std::min(kChunkSize, end_.file_size - std::min(offset, end_.file_size)));
  buffer_.resize(file_.ReadAvailable(offset, buffer_));
  buffer_offset_ = offset;
}

void PacketWalk::Report(uint64_t offset) {
  if (!progress_ || offset < next_report_) return;
  progress_(offset, end_.file_size);
  next_report_ = offset - offset % kProgressStep + kProgressStep;
}

}  // namespace Varnholt::KrdFiles::Recovery
