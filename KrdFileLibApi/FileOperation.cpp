#include "KrdFileLibApi/FileOperation.h"

#include "KrdFileLib/Errors.h"

namespace Varnholt::KrdFiles {

void FileOperationBase::Perform() {
  try {
    PerformOnFile();
  } catch (const ApiException& e) {
    table_.RecordMessage(handle_, e.what());
    throw;
  } catch (...) {
    table_.RecordMessage(handle_, Errors::kUnexpectedError);
    throw;
  }
  table_.RecordMessage(handle_, "");
}

}  // namespace Varnholt::KrdFiles
