#pragma once

#include <cstdint>
#include <span>

#include "CommonLib/NonCopyableClassBase.h"
#include "CommonLib/PolymorphicBasedClassBase.h"
#include "KrdFileLib/Packets/Coding.h"
#include "KrdFileLib/Packets/PacketFormat.h"
#include "KrdFileLib/Packets/PacketReader.h"

namespace Varnholt::KrdFiles {
class KrdInstance;
namespace Index {
class IndexConnection;
}
}  // namespace Varnholt::KrdFiles

namespace Varnholt::KrdFiles::Packets {

// Where a packet lies in the KRD file, as its five-byte frame tells.
struct PacketFrame {
  PacketTypeId type;
  uint64_t offset;        // of the type-id byte
  uint32_t body_length;   // bytes after the frame
};

// A packet of the KRD file: one entity of the recording (the header, a
// device, a data block...) as it is framed on disk and as it is recorded in
// the index. Each packet type holds its body fields and, where it has an
// index table, a row of that table whose columns point at those fields, so
// that indexing a packet copies nothing.
//
// A packet built in memory carries kUnwrittenOffset until the file object
// assigns it the file's end offset; a packet read from the file knows its
// offset and size from its frame.
class PacketBase : public CommonLib::PolymorphicBasedClassBase,
                   public CommonLib::NonCopyableClassBase {
 public:
  PacketTypeId TypeId() const { return type_id_; }
  uint64_t FileOffset() const { return static_cast<uint64_t>(file_offset_); }
  void SetFileOffset(uint64_t offset) { file_offset_ = static_cast<int64_t>(offset); }
  // Frame plus body; set from the frame when read, from the image when written.
  uint64_t PacketSize() const { return packet_size_; }
  void SetPacketSize(uint64_t size) { packet_size_ = size; }

  // The five-byte frame: type id and body length.
  Bytes GetHeaderBytes() const;
  // The body, encoded as the packet type prescribes.
  Bytes GetBodyBytes() const;
  // The frame followed by the body's encoded fields: everything of the
  // image that comes before Payload().
  Bytes GetHead() const;
  // The bytes that end the body and that the packet refers to rather than
  // encodes (a data block's samples); empty for most packet types. The file
  // writes them straight from where they lie, behind GetHead().
  virtual std::span<const uint8_t> Payload() const { return {}; }
  // The complete image written to the file: GetHead() followed by Payload().
  Bytes GetImage() const;

  // Records a new entity's packet in the index; the id it is inserted under
  // is in the packet before the packet is written.
  virtual void AddToIndex(Index::IndexConnection& connection) = 0;
  // Records a packet read back from the file, keeping the ids it carries.
  // Used when an index is rebuilt from its data file; file is that data file.
  virtual void RestoreInIndex(Index::IndexConnection& connection, KrdInstance& file);

 protected:
  // Appends the body's fields to out, in the order the packet type lays
  // them; the payload, if any, is not among them.
  virtual void AppendBody(Bytes& out) const = 0;

  // A new packet, not yet in the file.
  explicit PacketBase(PacketTypeId type_id);
  // A packet read from the file at the frame's place.
  explicit PacketBase(const PacketFrame& frame);

  // Reads body_length bytes after the frame, or only the first max_bytes of
  // them for packets that leave their payload in the file.
  static Bytes ReadBody(KrdInstance& file, const PacketFrame& frame,
                        uint64_t max_bytes = ~uint64_t{0});
  // Fails with "extra data" when bytes remain after the last field.
  static void RequireFullyConsumed(const PacketReader& reader);
  // The reading constructors' common path: lets decode take the fields of
  // the body read from the file in order, then requires that nothing is
  // left over.
  template <typename Decode>
  static void DecodeBody(Bytes body, Decode decode) {
    PacketReader reader(std::move(body));
    decode(reader);
    RequireFullyConsumed(reader);
  }

  // Signed so that the index's offset columns can point straight at it.
  int64_t file_offset_;

 private:
  PacketTypeId type_id_;
  uint64_t packet_size_;
};

}  // namespace Varnholt::KrdFiles::Packets
