#pragma once

#include <cstdint>

#include "CommonLib/NonCopyableClassBase.h"
#include "CommonLib/PolymorphicBasedClassBase.h"

namespace Varnholt::KrdFiles {

// One exported call packed into an object on the caller's stack. Execute
// runs the work and turns its outcome into the integer code the host sees:
// 0 on success, the code of a library failure, 36 for anything else. No
// exception ever leaves Execute.
class OperationBase : public CommonLib::PolymorphicBasedClassBase,
                      public CommonLib::NonCopyableClassBase {
 public:
  int32_t Execute() noexcept;

 protected:
  virtual void Perform() = 0;
};

// The code of the exception being handled: its own for a library failure,
// 36 for anything else. Call only inside a catch block.
int32_t CodeOfCurrentException() noexcept;

}  // namespace Varnholt::KrdFiles
