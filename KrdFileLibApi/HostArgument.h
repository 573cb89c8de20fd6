#pragma once

// How one argument of an exported file function reaches the file object's
// member operation, and how results get back to the host. Each adapter is
// built from the raw host argument without any work that could fail; then
// Prepare (inside the guarded operation) reads the host's input, Get hands
// the member its argument, and Finish (after the operation, whatever its
// outcome) writes outputs back.
//
//   host argument           member parameter
//   scalar T                T (u8, u16, u32, i64)
//   KrdBool                 bool
//   KrdStringHandle         const std::string&
//   Krd*ArrayHandle         const std::vector<T>&
//   T*, KrdBool*            T&, bool&           (written on success)
//   handle*                 std::string&, std::vector<T>& (always written)
//   KrdU8ArrayHandle*       SampleBuffer&       (always written)
//
// A member's result travels like a reference parameter: the host passes
// the address of its variable last.

#include <stdexcept>
#include <type_traits>

#include "KrdFileLibApi.h"
#include "KrdFileLibApi/HostSampleBuffer.h"
#include "KrdFileLibApi/HostValues.h"

namespace Varnholt::KrdFiles {

// The host's form of a value given to or returned by a member operation.
template <typename Value>
struct HostForm {
  static_assert(std::is_arithmetic_v<Value>, "no host form for this member parameter type");
  using Type = Value;
  static Value ToMember(Type host) { return host; }
  static Type ToHost(Value value) { return value; }
};
template <>
struct HostForm<bool> {
  using Type = KrdBool;
  static bool ToMember(Type host) { return host != 0; }
  static Type ToHost(bool value) { return value ? 1 : 0; }
};

// An input passed by value.
template <typename Host, typename Param>
class HostArgument {
  using Form = HostForm<Param>;
  static_assert(std::is_same_v<Host, typename Form::Type>,
                "the exported function's argument does not match the member's parameter");

 public:
  explicit HostArgument(Host host) : host_(host) {}
  void Prepare() {}
  Param Get() const { return Form::ToMember(host_); }
  bool Finish(bool /*succeeded*/) noexcept { return true; }

 private:
  Host host_;
};

// A string or array input, copied out of the host's block before the
// member runs.
template <typename Host, HostBlockValue Value>
class HostArgument<Host, const Value&> {
  static_assert(std::is_same_v<Host, typename HostBlock<Value>::Handle>,
                "the exported function's argument does not match the member's parameter");

 public:
  explicit HostArgument(Host host) : host_(host) {}
  void Prepare() { value_ = CopyFromHost<Value>(host_); }
  const Value& Get() const { return value_; }
  bool Finish(bool /*succeeded*/) noexcept { return true; }

 private:
  Host host_;
  Value value_;
};

// An output: the member fills a local value, which goes to the caller's
// variable afterwards. A string or array output always receives a new
// handle, empty after a failure; a scalar output is written on success only.
// A null address is refused before the member runs, so that no work is done
// whose result could not be handed back.
template <typename Host, typename Value>
class HostOutput {
 public:
  explicit HostOutput(Host destination) : destination_(destination) {}
  void Prepare() const {
    if (destination_ == nullptr) throw BadHostInput("null output address");
  }
  Value& Local() { return value_; }
  // False when a handle could not be made for the output.
  bool Finish(bool succeeded) noexcept {
    if (destination_ == nullptr) return true;
    if constexpr (HostBlockValue<Value>) {
      if (!succeeded) value_ = Value();
      return StoreToHost(destination_, value_);
    } else {
      if (succeeded) *destination_ = HostForm<Value>::ToHost(value_);
      return true;
    }
  }

 private:
  static constexpr bool kMatches = [] {
    if constexpr (HostBlockValue<Value>) {
      return std::is_same_v<Host, typename HostBlock<Value>::Handle*>;
    } else {
      return std::is_same_v<Host, typename HostForm<Value>::Type*>;
    }
  }();
  static_assert(kMatches, "the exported function's output does not match the member's result");

  Host destination_;
  Value value_{};
};

// Samples read straight into the handle the host receives; like every
// array output it is always written, empty after a failure.
template <>
class HostArgument<KrdU8ArrayHandle*, Reading::SampleBuffer&> {
 public:
  explicit HostArgument(KrdU8ArrayHandle* destination) : destination_(destination) {}
  void Prepare() const {
    if (destination_ == nullptr) throw BadHostInput("null output address");
  }
  Reading::SampleBuffer& Get() { return samples_; }
  bool Finish(bool succeeded) noexcept {
    return destination_ == nullptr || samples_.HandTo(destination_, succeeded);
  }

 private:
  KrdU8ArrayHandle* destination_;
  HostSampleBuffer samples_;
};

// A reference parameter the member fills.
template <typename Host, typename Value>
class HostArgument<Host, Value&> : public HostOutput<Host, Value> {
 public:
  using HostOutput<Host, Value>::HostOutput;
  Value& Get() { return this->Local(); }
};

}  // namespace Varnholt::KrdFiles
