#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace Varnholt::KrdFiles::Packets {

// Decodes the fields of one packet body held in memory, front to back.
// Every read checks the bytes that remain first and fails with "Packet
// parsing failed because the packet is too small." when a field or a
// declared length runs past the end of the body, so arbitrary bytes can be
// decoded without ever reading out of bounds.
class PacketReader {
 public:
  explicit PacketReader(std::vector<uint8_t> body) : buffer_(std::move(body)) {}

  uint8_t ReadUInt8();
  uint16_t ReadUInt16();
  uint32_t ReadUInt32();
  uint64_t ReadUInt64();
  // A byte; any non-zero value is true.
  bool ReadBool8();

  // Fails unless count more bytes remain; consumes nothing.
  void RequireBytes(std::size_t count) const;
  // count raw bytes as text or as bytes.
  std::string ReadString(std::size_t count);
  std::vector<uint8_t> ReadBytes(std::size_t count);
  // A one-byte length followed by that many bytes.
  std::string ReadString8();
  std::vector<uint8_t> ReadBytes8();
  // Everything from the current position to the end of the body.
  std::string ReadRestAsString();
  std::vector<uint8_t> ReadRestAsBytes();

  bool IsFullyConsumed() const { return position_ >= buffer_.size(); }
  std::size_t Position() const { return position_; }
  std::size_t Remaining() const { return buffer_.size() - position_; }

 private:
  template <typename UInt>
  UInt ReadBigEndian();

  std::vector<uint8_t> buffer_;
  std::size_t position_ = 0;
};

}  // namespace Varnholt::KrdFiles::Packets
