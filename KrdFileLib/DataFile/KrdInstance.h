#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "CommonLib/NonCopyableClassBase.h"
#include "KrdFileLib/DataFile/PlatformFile.h"

namespace Varnholt::KrdFiles {

namespace Packets {
class PacketBase;
}

// The file object's handle on its KRD data file. The file only ever grows:
// packets are appended at the end and handed to the operating system before
// the call that wrote them returns. The one exception is the header at
// offset 0, which reindexing may write over with an image of the same length.
//
// Reads check their range against the file's real length before they
// allocate, so a length read from a damaged file never makes the library
// allocate more than the file holds. An append that fails part-way is cut
// back off, so the file stays a clean sequence of whole packets.
//
// A file this object created is appended to by this object alone (creation
// refuses an existing file), so its end is kept in memory instead of being
// asked of the file system on every append. A file opened otherwise may be
// growing under another writer, and its end is always asked for.
// Not safe for concurrent use: the owning file object serialises its calls.
class KrdInstance : public CommonLib::NonCopyableClassBase {
 public:
  explicit KrdInstance(std::string path);
  ~KrdInstance();

  const std::string& Path() const { return path_; }
  // True when something exists at the path (a directory counts).
  bool Exists() const;
  bool IsOpen() const { return file_.IsOpen(); }

  // Creates a new, empty file; never overwrites or truncates an existing one.
  void Create();
  // Opens an existing file for reading and appending.
  void Open();
  // Opens an existing file for reading only, so that a recording on
  // read-only media (a write-protected file, folder, share or archive
  // mount) can be read. Fails as Open does.
  void OpenForReading();
  // Makes this open the file's one writer until Close: fails with code 36
  // while another open of it, in this process or another, is its writer.
  // Readers take no such lock and are never refused.
  void LockAsWriter();
  void Close();

  // Reads count bytes at offset into buffer (resized to count). Fails with
  // "KRD file ended unexpectedly." when the range runs past the end, before
  // anything is allocated.
  void ReadBytes(uint64_t offset, uint64_t count, std::vector<uint8_t>& buffer);
  // Fills into with the bytes at offset; fails as ReadBytes when the file
  // ends first. The caller's buffer is reused: nothing is allocated.
  void ReadInto(uint64_t offset, std::span<uint8_t> into);
  // Reads what there is of into.size() bytes at offset; returns how many.
  std::size_t ReadAvailable(uint64_t offset, std::span<uint8_t> into);
  // Fails as ReadBytes unless count bytes at offset lie within the file.
  // Callers check a range read from the file before they allocate for it.
  void RequireRange(uint64_t offset, uint64_t count) const;
  // The file's length, which is also where the next packet will start.
  uint64_t GetEndOffset() const;
  // Appends bytes at the end of the file.
  void Append(std::span<const uint8_t> bytes);
  // Writes bytes over existing content at offset.
  void WriteAt(uint64_t offset, std::span<const uint8_t> bytes);

  // Gives a new packet the offset it will occupy once written, so that its
  // index row can carry that offset before the packet is appended.
  void AssignEndOffset(Packets::PacketBase& packet) const;
  // Appends the packet's image (its head and its payload, gathered into one
  // write) and sets its size; its offset is not changed.
  void WritePacket(Packets::PacketBase& packet);
  // Writes the packet's image over itself at its own offset (the header only).
  void RewriteInPlace(Packets::PacketBase& packet);

  // Puts everything written so far on the storage device, so that an index
  // committed afterwards never refers to bytes a power loss could take
  // back. Fails with code 36 as a write does.
  void Sync();
  // Cuts the file back to length bytes: a failed call's own packet, or a
  // torn tail that repair has first copied aside.
  void TruncateTo(uint64_t length);

 private:
  void RequireOpen() const;
  void OpenExisting(PlatformFile::Access access);
  // Appends the pieces back to back with one gathered write; a failed or
  // short write is cut back off.
  void AppendPieces(std::span<const std::span<const uint8_t>> pieces);

  std::string path_;
  PlatformFile file_;
  // The end of a file this object created and alone appends to.
  std::optional<uint64_t> own_end_;
};

}  // namespace Varnholt::KrdFiles
