#pragma once

// The one code path of every exported file function. A row of the table in
// KrdFileLibApi.h gives an exported name and its host parameters;
// FileFunction<&KrfFileBase::Name, decltype(Name)>::Call adapts the host
// arguments to the member operation of the same name (HostArgument.h), runs
// it as a generic file operation on the handle's file (recording the
// outcome against the handle), and hands the outputs back. Mismatches
// between a row and its member operation are compile-time errors.

#include <cstddef>
#include <cstdint>
#include <tuple>
#include <type_traits>
#include <utility>

#include "KrdFileLib/Errors.h"
#include "KrdFileLib/File/KrfFileBase.h"
#include "KrdFileLibApi.h"
#include "KrdFileLibApi/FileOperation.h"
#include "KrdFileLibApi/HostArgument.h"
#include "KrdFileLibApi/LibraryInstance.h"

namespace Varnholt::KrdFiles {

template <typename MemberPointer>
struct MemberOperation;
template <typename R, typename... Params>
struct MemberOperation<R (KrfFileBase::*)(Params...)> {
  using Result = R;
  using Parameters = std::tuple<Params...>;
};
template <typename R, typename... Params>
struct MemberOperation<R (KrfFileBase::*)(Params...) const>
    : MemberOperation<R (KrfFileBase::*)(Params...)> {};

// Where a member's result goes: nowhere, or to the host's last argument.
template <std::size_t kIndex, typename HostArgs, typename Result>
class HostResult : public HostOutput<std::tuple_element_t<kIndex, HostArgs>, Result> {
 public:
  explicit HostResult(const HostArgs& host)
      : HostOutput<std::tuple_element_t<kIndex, HostArgs>, Result>(std::get<kIndex>(host)) {}
  template <typename Call>
  void Run(Call call) {
    this->Local() = call();
  }
};
struct NoHostResult {
  template <typename HostArgs>
  explicit NoHostResult(const HostArgs& /*host*/) {}
  void Prepare() const {}
  template <typename Call>
  void Run(Call call) {
    call();
  }
  bool Finish(bool /*succeeded*/) noexcept { return true; }
};

template <bool kHasResult, std::size_t kIndex, typename HostArgs, typename Result>
struct ResultSlotOf {
  using Type = NoHostResult;
};
template <std::size_t kIndex, typename HostArgs, typename Result>
struct ResultSlotOf<true, kIndex, HostArgs, Result> {
  using Type = HostResult<kIndex, HostArgs, Result>;
};

// Runs work on the file of handle in the process's file table.
template <typename Work>
int32_t RunOnLibraryFile(uint32_t handle, Work work) noexcept {
  try {
    return RunFileOperation(LibraryInstance::Process().Files(), handle, std::move(work));
  } catch (...) {
    return CodeOfCurrentException();  // the library instance could not be created
  }
}

template <auto Member, typename HostSignature>
class FileFunction;

template <auto Member, typename... HostArgs>
class FileFunction<Member, int32_t(KrdFileHandle, HostArgs...)> {
  using Operation = MemberOperation<decltype(Member)>;
  using Result = typename Operation::Result;
  using Parameters = typename Operation::Parameters;
  static constexpr std::size_t kParameters = std::tuple_size_v<Parameters>;
  static constexpr bool kHasResult = !std::is_void_v<Result>;
  static_assert(sizeof...(HostArgs) == kParameters + (kHasResult ? 1 : 0),
                "the exported function's arguments do not match the member operation");

  using HostArgTypes = std::tuple<HostArgs...>;
  template <std::size_t I>
  using Argument =
      HostArgument<std::tuple_element_t<I, HostArgTypes>, std::tuple_element_t<I, Parameters>>;
  using ResultSlot = typename ResultSlotOf<kHasResult, kParameters, HostArgTypes, Result>::Type;

 public:
  static int32_t Call(KrdFileHandle handle, HostArgs... host) noexcept {
    return CallWith(handle, std::make_index_sequence<kParameters>(),
                    std::tuple<HostArgs...>(host...));
  }

 private:
  template <std::size_t... I>
  static int32_t CallWith(KrdFileHandle handle, std::index_sequence<I...>,
                          std::tuple<HostArgs...> host) noexcept {
    std::tuple<Argument<I>...> arguments(std::get<I>(host)...);
    ResultSlot result(host);
    const int32_t code = RunOnLibraryFile(handle, [&](KrfFileBase& file) {
      (std::get<I>(arguments).Prepare(), ...);
      result.Prepare();
      result.Run(
          [&]() -> decltype(auto) { return (file.*Member)(std::get<I>(arguments).Get()...); });
    });
    // Every output is written, even when an earlier one could not be.
    const bool succeeded = code == 0;
    bool stored = result.Finish(succeeded);
    ((stored = std::get<I>(arguments).Finish(succeeded) && stored), ...);
    return succeeded && !stored ? Errors::kUnexpectedCode : code;
  }
};

}  // namespace Varnholt::KrdFiles
