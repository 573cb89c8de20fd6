#pragma once

#include <cstdint>
#include <string>

#include "KrdFileLib/Index/IndexConnection.h"
#include "KrdFileLib/Index/IndexTable.h"
#include "KrdFileLib/Index/TableColumn.h"

namespace Varnholt::KrdFiles::Index {

// The recording's own row: its GUID, the header's fields, the start time
// and the annotation. The file has at most one such row.
class FileInformationTable final : public IndexTable {
 public:
  static constexpr char kTableName[] = "file_information";

  FileInformationTable();

  // Reads the row into the buffer, inserting an empty row (with a
  // database-assigned id) when there is none yet.
  void ReadOrInsertRow(IndexConnection& connection);
  // Reads the row into the buffer; code 40 when the header was never written.
  void RequireHeader(IndexConnection& connection);
  // Code 45 unless the buffer holds a start time.
  void RequireStart() const;
  // Store the start time or the annotation in the row, creating the row
  // (with a database-assigned id) if there is none yet.
  void SetStart(IndexConnection& connection, uint16_t type, const Bytes& start);
  void SetAnnotation(IndexConnection& connection, const std::string& text);
  // The stored start time and its kind; the header and the start must exist.
  uint16_t GetStartType(IndexConnection& connection);
  Bytes GetStart(IndexConnection& connection);

  UInt16Column device_id{"device_id"};
  UuidColumn uuid{"uuid"};
  UInt16Column file_version{"file_version"};
  TextColumn label{"label"};
  UInt32Column time_base{"time_base"};
  BlobColumn real_time_start{"real_time_start"};
  UInt16Column real_time_start_type{"real_time_start_type"};
  Int64Column start_packet_offset{"start_packet_offset"};
  TextColumn annotation{"annotation"};
  Int64Column annotation_offset{"annotation_offset"};
  Int64Column file_duration{"file_duration"};

 private:
  void RequireHeaderAndStart(IndexConnection& connection);
};

}  // namespace Varnholt::KrdFiles::Index
