#include "KrdFileLibApi/OperationBase.h"

#include <exception>

#include "KrdFileLib/Errors.h"

namespace Varnholt::KrdFiles {

int32_t CodeOfCurrentException() noexcept {
  try {
    throw;
  } catch (const ApiException& e) {
    return e.Code();
  } catch (...) {
    return Errors::kUnexpectedCode;
  }
}

int32_t OperationBase::Execute() noexcept {
  try {
    Perform();
    return 0;
  } catch (...) {
    return CodeOfCurrentException();
  }
}

}  // namespace Varnholt::KrdFiles
