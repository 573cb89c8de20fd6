// The recording's header, time base, start and annotation: facts recorded
// once (a second create is refused) and kept in the single file_information
// row of the index.

#include "KrdFileLib/Errors.h"
#include "KrdFileLib/Index/FileInformationTable.h"
#include "KrdFileLib/File/KrfFileBase.h"
#include "KrdFileLib/Packets/AnnotationPacket.h"
#include "KrdFileLib/Packets/HeaderPacket.h"
#include "KrdFileLib/Packets/StartPacket.h"
#include "KrdFileLib/Packets/String8.h"

namespace Varnholt::KrdFiles {

using Index::FileInformationTable;

// Header ------------------------------------------------------------------

void KrfFileBase::CreateHeader(uint32_t time_base, uint16_t device_id, const std::string& label) {
  auto lock = LockFile();
  CheckRecordAllowed();
  Packets::HeaderPacket packet(device_id, label, time_base);
  if (!FileInformationTable().IsEmpty(index_)) throw Errors::HeaderAlreadyCreated();
  AddPacket(packet);
  // Committed at once: from here on the pair opens, whenever the recorder
  // stops.
  index_.RequestCommit();
}

void KrfFileBase::SetTimeBase(uint32_t time_base) {
  auto lock = LockFile();
  CheckModifyAllowed();
  FileInformationTable row;
  row.ReadOrInsertRow(index_);
  row.time_base.Set(time_base);
  row.Update(index_);
}

uint32_t KrfFileBase::GetTimeBase() {
  auto lock = LockFile();
  FileInformationTable row;
  row.RequireHeader(index_);
  return row.time_base.Value();
}

void KrfFileBase::SetFileLabel(const std::string& label) {
  auto lock = LockFile();
  CheckModifyAllowed();
  Packets::RequireString8Fits("label", label.size());
  FileInformationTable row;
  row.ReadOrInsertRow(index_);
  row.label.Set(label);
  row.Update(index_);
}

std::string KrfFileBase::GetFileLabel() {
  auto lock = LockFile();
  FileInformationTable row;
  row.RequireHeader(index_);
  return row.label.Value();
}

// Start -------------------------------------------------------------------

void KrfFileBase::CreateStart(uint16_t data_type, const Bytes& value) {
  auto lock = LockFile();
  CheckRecordAllowed();
  Packets::StartPacket packet(data_type, value);
  FileInformationTable row;
  row.RequireHeader(index_);
  if (!row.real_time_start.Value().empty()) throw Errors::StartAlreadyCreated();
  AddPacket(packet);
}

void KrfFileBase::SetStart(uint16_t data_type, const Bytes& value) {
  auto lock = LockFile();
  CheckModifyAllowed();
  FileInformationTable().SetStart(index_, data_type, value);
}

uint16_t KrfFileBase::GetStartDataType() {
  auto lock = LockFile();
  return FileInformationTable().GetStartType(index_);
}

KrfFileBase::Bytes KrfFileBase::GetRTStart() {
  auto lock = LockFile();
  return FileInformationTable().GetStart(index_);
}

// Annotation --------------------------------------------------------------

void KrfFileBase::CreateAnnotation(const std::string& text) {
  auto lock = LockFile();
  CheckRecordAllowed();
  Packets::AnnotationPacket packet(text);
  FileInformationTable row;
  row.RequireHeader(index_);
  if (!row.annotation.Value().empty()) throw Errors::AnnotationAlreadyCreated();
  AddPacket(packet);
}

void KrfFileBase::SetAnnotation(const std::string& text) {
  auto lock = LockFile();
  CheckModifyAllowed();
  FileInformationTable().SetAnnotation(index_, text);
}

std::string KrfFileBase::GetAnnotation() {
  auto lock = LockFile();
  FileInformationTable row;
  row.RequireHeader(index_);
  return row.annotation.Value();
}

}  // namespace Varnholt::KrdFiles
