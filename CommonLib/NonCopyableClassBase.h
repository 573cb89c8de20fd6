#pragma once

namespace Varnholt::CommonLib {

// Base for classes whose objects own a resource or an identity (a file, a
// connection, a lock) and therefore must never be copied by accident.
class NonCopyableClassBase {
 public:
  NonCopyableClassBase(const NonCopyableClassBase&) = delete;
  NonCopyableClassBase& operator=(const NonCopyableClassBase&) = delete;

 protected:
  NonCopyableClassBase() = default;
  ~NonCopyableClassBase() = default;
};

}  // namespace Varnholt::CommonLib
