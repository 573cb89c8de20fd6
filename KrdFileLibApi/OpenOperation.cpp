#include "KrdFileLibApi/OpenOperation.h"

#include "KrdFileLib/Errors.h"
#include "KrdFileLib/File/KrfModes.h"
#include "KrdFileLibApi/CloseOnFailure.h"
#include "KrdFileLibApi/HostValues.h"

namespace Varnholt::KrdFiles {

OpenOperation::OpenOperation(KrfFileTable& table, std::shared_ptr<const CommonLib::IClock> clock,
                             std::string krd_path, std::string krq_path, uint32_t mode,
                             uint32_t* handle)
    : table_(table),
      clock_(std::move(clock)),
      krd_path_(std::move(krd_path)),
      krq_path_(std::move(krq_path)),
      mode_(mode),
      handle_(handle) {}

std::shared_ptr<KrfFileBase> OpenOperation::NewFileObject() const {
  const std::shared_ptr<FileLibrarySettings>& settings = table_.Settings();
  switch (mode_) {
    case 0:
      return std::make_shared<KrfReader>(krd_path_, krq_path_, settings, clock_);
    case 1:
      return std::make_shared<KrfRecorder>(krd_path_, krq_path_, settings, clock_);
    case 2:
      return std::make_shared<KrfEditor>(krd_path_, krq_path_, settings, clock_);
    default:
      throw Errors::OpenModeNotRecognized();
  }
}

void OpenOperation::OpenGuarded(KrfFileBase& file) {
  try {
    file.Open();
  } catch (const ApiException& e) {
    error_text_ = e.what();
    throw;
  } catch (...) {
    error_text_ = Errors::kUnexpectedOpenError;
    throw;
  }
}

void OpenOperation::Perform() {
  if (handle_ == nullptr) throw BadHostInput("null output address");
  *handle_ = 0;
  std::shared_ptr<KrfFileBase> file = NewFileObject();
  CloseOnFailure close_on_failure(*file);
  OpenGuarded(*file);
  *handle_ = table_.Issue(file);
  close_on_failure.Release();
}

}  // namespace Varnholt::KrdFiles
