#include "KrdFileLib/Packets/PacketReader.h"

#include "KrdFileLib/Errors.h"

namespace Varnholt::KrdFiles::Packets {

template <typename UInt>
UInt PacketReader::ReadBigEndian() {
  UInt value = 0;
  for (std::size_t i = 0; i < sizeof(UInt); ++i) {
    if (position_ >= buffer_.size()) throw Errors::PacketTooSmall();
    value = static_cast<UInt>((value << 8) | buffer_[position_++]);
  }
  return value;
}

uint8_t PacketReader::ReadUInt8() { return ReadBigEndian<uint8_t>(); }
uint16_t PacketReader::ReadUInt16() { return ReadBigEndian<uint16_t>(); }
uint32_t PacketReader::ReadUInt32() { return ReadBigEndian<uint32_t>(); }
uint64_t PacketReader::ReadUInt64() { return ReadBigEndian<uint64_t>(); }
bool PacketReader::ReadBool8() { return ReadUInt8() != 0; }

void PacketReader::RequireBytes(std::size_t count) const {
  if (count > Remaining()) throw Errors::PacketTooSmall();
}

std::vector<uint8_t> PacketReader::ReadBytes(std::size_t count) {
  RequireBytes(count);
  const auto first = buffer_.begin() + static_cast<std::ptrdiff_t>(position_);
  position_ += count;
  return std::vector<uint8_t>(first, first + static_cast<std::ptrdiff_t>(count));
}

std::string PacketReader::ReadString(std::size_t count) {
  RequireBytes(count);
  const auto first = buffer_.begin() + static_cast<std::ptrdiff_t>(position_);
  position_ += count;
  return std::string(first, first + static_cast<std::ptrdiff_t>(count));
}

std::string PacketReader::ReadString8() { return ReadString(ReadUInt8()); }
std::vector<uint8_t> PacketReader::ReadBytes8() { return ReadBytes(ReadUInt8()); }
std::string PacketReader::ReadRestAsString() { return ReadString(Remaining()); }
std::vector<uint8_t> PacketReader::ReadRestAsBytes() { return ReadBytes(Remaining()); }

}  // namespace Varnholt::KrdFiles::Packets
