#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "CommonLib/Uuid.h"
#include "KrdFileLib/Index/FileInformationTable.h"
#include "KrdFileLib/Packets/PacketBase.h"

namespace Varnholt::KrdFiles::Packets {

// The first packet of every KRD file: the file type string and format
// version that identify the file, the GUID that ties it to its KRQ file, and
// the recording's device id, label and time base. Its fields are mirrored in
// the single file_information row of the index.
//
// Body: file type (8 bytes), u16 version, uuid (16 bytes), u16 device id,
// string8 label, u32 time base; 33 bytes plus the label.
class HeaderPacket final : public PacketBase {
 public:
  // A header for a new file: the library's file type and version and a
  // fresh random GUID.
  HeaderPacket(uint16_t device_id, std::string label, uint32_t time_base);
  HeaderPacket(const PacketFrame& frame, Bytes body);

  // Parses the packet at offset 0 and checks that it is a header with the
  // library's file type string (code 3 otherwise).
  static std::shared_ptr<HeaderPacket> ReadFromFile(KrdInstance& file,
                                                    Index::IndexConnection& connection);

  const std::string& FileType() const { return file_type_; }
  bool HasValidFileType() const;
  uint16_t FileVersion() const { return file_version_; }
  const CommonLib::Uuid& Guid() const { return uuid_; }
  uint16_t DeviceId() const { return device_id_; }
  const std::string& Label() const { return label_; }
  uint32_t TimeBase() const { return time_base_; }

  void AppendBody(Bytes& body) const override;
  // Inserts the file_information row from the header's fields.
  void AddToIndex(Index::IndexConnection& connection) override;
  // As AddToIndex; a header without a GUID (all zero) first gets a fresh
  // one, written over the old bytes in place so that the KRD file and the
  // rebuilt index agree. Only the 16 GUID bytes of the file change.
  void RestoreInIndex(Index::IndexConnection& connection, KrdInstance& file) override;

 private:
  void BindRow();

  std::string file_type_;
  uint16_t file_version_ = 0;
  CommonLib::Uuid uuid_;
  uint16_t device_id_ = 0;
  std::string label_;
  uint32_t time_base_ = 0;
  Index::FileInformationTable row_;
};

}  // namespace Varnholt::KrdFiles::Packets
