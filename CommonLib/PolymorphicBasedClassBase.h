#pragma once

namespace Varnholt::CommonLib {

// Base for classes that are used through a reference or pointer to a base:
// it gives them a virtual destructor so that deleting through the base is safe.
class PolymorphicBasedClassBase {
 public:
  virtual ~PolymorphicBasedClassBase() = default;

 protected:
  PolymorphicBasedClassBase() = default;
  PolymorphicBasedClassBase(const PolymorphicBasedClassBase&) = default;
  PolymorphicBasedClassBase& operator=(const PolymorphicBasedClassBase&) = default;
};

}  // namespace Varnholt::CommonLib
