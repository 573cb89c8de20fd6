#include "KrdFileLib/Index/FileInformationTable.h"

#include "KrdFileLib/Errors.h"

namespace Varnholt::KrdFiles::Index {

FileInformationTable::FileInformationTable() : IndexTable(kTableName) {
  RegisterColumns({&device_id, &uuid, &file_version, &label, &time_base, &real_time_start,
                   &real_time_start_type, &start_packet_offset, &annotation, &annotation_offset,
                   &file_duration});
  RegisterRowId(device_id);
}

void FileInformationTable::RequireHeader(IndexConnection& connection) {
  if (!SelectFirst(connection, ColumnFilter{})) throw Errors::HeaderNotCreated();
}

void FileInformationTable::RequireStart() const {
  if (real_time_start.Value().empty()) throw Errors::StartNotSet();
}

void FileInformationTable::RequireHeaderAndStart(IndexConnection& connection) {
  RequireHeader(connection);
  RequireStart();
}

void FileInformationTable::ReadOrInsertRow(IndexConnection& connection) {
  if (!SelectFirst(connection, ColumnFilter{})) Insert(connection, true);
}

void FileInformationTable::SetStart(IndexConnection& connection, uint16_t type,
                                    const Bytes& start) {
  ReadOrInsertRow(connection);
  real_time_start.Set(start);
  real_time_start_type.Set(type);
  Update(connection);
}

void FileInformationTable::SetAnnotation(IndexConnection& connection, const std::string& text) {
  ReadOrInsertRow(connection);
  annotation.Set(text);
  Update(connection);
}

uint16_t FileInformationTable::GetStartType(IndexConnection& connection) {
  RequireHeaderAndStart(connection);
  return real_time_start_type.Value();
}

Bytes FileInformationTable::GetStart(IndexConnection& connection) {
  RequireHeaderAndStart(connection);
  return real_time_start.Value();
}

}  // namespace Varnholt::KrdFiles::Index
