#include "KrdFileLib/KrfFileBase.h"

#include "KrdFileLib/Errors.h"
#include "KrdFileLib/Index/FileInformationTable.h"
#include "KrdFileLib/Packets/AnnotationPacket.h"
#include "KrdFileLib/Packets/HeaderPacket.h"
#include "KrdFileLib/Packets/StartPacket.h"

namespace Varnholt::KrdFiles {

using Index::FileInformationTable;
using Lock = std::lock_guard<std::recursive_mutex>;

KrfFileBase::KrfFileBase(std::string krd_path, std::string krq_path,
                         std::shared_ptr<FileLibrarySettings> settings,
                         std::shared_ptr<const CommonLib::IClock> clock)
    : data_file_(std::move(krd_path)),
      index_(std::move(krq_path), std::move(clock)),
      settings_(std::move(settings)) {}

void KrfFileBase::Close() {
  Lock lock(mutex_);
  // The data file is closed even when the index's last commit fails.
  struct CloseDataFile {
    KrdInstance& file;
    ~CloseDataFile() { file.Close(); }
  } close_data_file{data_file_};
  index_.Close();
}

void KrfFileBase::Reindex() { throw Errors::OnlyAllowedInReindexMode(); }

void KrfFileBase::MaintainIndex() {
  Lock lock(mutex_);
  index_.CommitIfDue();
  index_.ReleaseReadSnapshot();
}

void KrfFileBase::CheckHeader() { Packets::HeaderPacket::ReadFromFile(data_file_, index_); }

void KrfFileBase::CheckGuid() {
  const auto header = Packets::HeaderPacket::ReadFromFile(data_file_, index_);
  FileInformationTable row;
  row.RequireHeader(index_);
  if (!(row.uuid.Value() == header->Guid())) throw Errors::GuidMismatch();
}

// Header ------------------------------------------------------------------

void KrfFileBase::CreateHeader(uint32_t time_base, uint16_t device_id, const std::string& label) {
  Lock lock(mutex_);
  CheckRecordAllowed();
  Packets::HeaderPacket packet(device_id, label, time_base);
  if (!FileInformationTable().IsEmpty(index_)) throw Errors::HeaderAlreadyCreated();
  data_file_.AssignEndOffset(packet);
  packet.AddToIndex(index_);
  CommitPacket(packet);
}

void KrfFileBase::SetTimeBase(uint32_t time_base) {
  Lock lock(mutex_);
  CheckModifyAllowed();
  FileInformationTable row;
  row.ReadOrInsertRow(index_);
  row.time_base.Set(time_base);
  row.Update(index_);
}

uint32_t KrfFileBase::GetTimeBase() {
  Lock lock(mutex_);
  FileInformationTable row;
  row.RequireHeader(index_);
  return row.time_base.Value();
}

void KrfFileBase::SetFileLabel(const std::string& label) {
  Lock lock(mutex_);
  CheckModifyAllowed();
  FileInformationTable row;
  row.ReadOrInsertRow(index_);
  row.label.Set(label);
  row.Update(index_);
}

std::string KrfFileBase::GetFileLabel() {
  Lock lock(mutex_);
  FileInformationTable row;
  row.RequireHeader(index_);
  return row.label.Value();
}

// Start -------------------------------------------------------------------

void KrfFileBase::CreateStart(uint16_t data_type, const Bytes& value) {
  Lock lock(mutex_);
  CheckRecordAllowed();
  Packets::StartPacket packet(data_type, value);
  FileInformationTable row;
  row.RequireHeader(index_);
  if (!row.real_time_start.Value().empty()) throw Errors::StartAlreadyCreated();
  data_file_.AssignEndOffset(packet);
  packet.AddToIndex(index_);
  CommitPacket(packet);
}

void KrfFileBase::SetStart(uint16_t data_type, const Bytes& value) {
  Lock lock(mutex_);
  CheckModifyAllowed();
  FileInformationTable().SetStart(index_, data_type, value);
}

uint16_t KrfFileBase::GetStartDataType() {
  Lock lock(mutex_);
  return FileInformationTable().GetStartType(index_);
}

KrfFileBase::Bytes KrfFileBase::GetRTStart() {
  Lock lock(mutex_);
  return FileInformationTable().GetStart(index_);
}

// Annotation --------------------------------------------------------------

void KrfFileBase::CreateAnnotation(const std::string& text) {
  Lock lock(mutex_);
  CheckRecordAllowed();
  Packets::AnnotationPacket packet(text);
  FileInformationTable row;
  row.RequireHeader(index_);
  if (!row.annotation.Value().empty()) throw Errors::AnnotationAlreadyCreated();
  data_file_.AssignEndOffset(packet);
  packet.AddToIndex(index_);
  CommitPacket(packet);
}

void KrfFileBase::SetAnnotation(const std::string& text) {
  Lock lock(mutex_);
  CheckModifyAllowed();
  FileInformationTable().SetAnnotation(index_, text);
}

std::string KrfFileBase::GetAnnotation() {
  Lock lock(mutex_);
  FileInformationTable row;
  row.RequireHeader(index_);
  return row.annotation.Value();
}

}  // namespace Varnholt::KrdFiles
