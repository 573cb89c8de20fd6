#include "KrdFileLib/File/KrfFileBase.h"

#include <exception>

#include "KrdFileLib/Errors.h"
#include "KrdFileLib/Index/FileInformationTable.h"
#include "KrdFileLib/Packets/HeaderPacket.h"

namespace Varnholt::KrdFiles {

KrfFileBase::KrfFileBase(std::string krd_path, std::string krq_path,
                         std::shared_ptr<FileLibrarySettings> settings,
                         std::shared_ptr<const CommonLib::IClock> clock)
    : data_file_(std::move(krd_path)),
      index_(std::move(krq_path), std::move(clock)),
      settings_(std::move(settings)) {}

void KrfFileBase::Close() {
  auto lock = LockFile();
  // The data file is closed even when the index's last commit fails.
  struct CloseDataFile {
    KrdInstance& file;
    ~CloseDataFile() { file.Close(); }
  } close_data_file{data_file_};
  index_.Close();
}

KrfFileBase::OperationScope::OperationScope(KrfFileBase& file)
    : file_(file),
      lock_(file.mutex_),
      exceptions_at_start_(std::uncaught_exceptions()),
      outermost_(file.index_.BeginOperation()) {
  if (outermost_) file_.entity_ids_at_operation_start_ = file_.entity_ids_.Save();
}

KrfFileBase::OperationScope::~OperationScope() {
  const bool succeeded = std::uncaught_exceptions() == exceptions_at_start_;
  if (outermost_) file_.EndOperation(succeeded);
  file_.index_.EndOperation(succeeded);
}

void KrfFileBase::EndOperation(bool succeeded) noexcept {
  if (!succeeded) entity_ids_.Restore(entity_ids_at_operation_start_);
}

void KrfFileBase::Reindex() { throw Errors::OnlyAllowedInReindexMode(); }

void KrfFileBase::MaintainIndex() {
  auto lock = LockFile();
  index_.CommitIfDue();
  index_.ReleaseReadSnapshot();
}

void KrfFileBase::AddPacket(Packets::PacketBase& packet) {
  data_file_.AssignEndOffset(packet);
  packet.AddToIndex(index_);
  CommitPacket(packet);
}

void KrfFileBase::CheckHeader() { Packets::HeaderPacket::ReadFromFile(data_file_, index_); }

void KrfFileBase::CheckGuid() {
  const auto header = Packets::HeaderPacket::ReadFromFile(data_file_, index_);
  Index::FileInformationTable row;
  row.RequireHeader(index_);
  if (!(row.uuid.Value() == header->Guid())) throw Errors::GuidMismatch();
}

}  // namespace Varnholt::KrdFiles
