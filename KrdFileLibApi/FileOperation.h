#pragma once

#include <cstdint>
#include <memory>
#include <utility>

#include "KrdFileLib/File/KrfFileBase.h"
#include "KrdFileLibApi/KrfFileTable.h"
#include "KrdFileLibApi/OperationBase.h"

namespace Varnholt::KrdFiles {

// An operation on one open file, named by its handle. It records the
// outcome against the handle: a success clears the handle's last error
// text, a failure stores its message (or the unexpected-error text for a
// failure that is not the library's own). Recording into handle 0 or an
// unknown handle fails with code 7 itself, so such calls return 7.
class FileOperationBase : public OperationBase {
 public:
  FileOperationBase(KrfFileTable& table, uint32_t handle) : table_(table), handle_(handle) {}

 protected:
  void Perform() final;
  // The work on the file object.
  virtual void PerformOnFile() = 0;

  KrfFileTable& table_;
  const uint32_t handle_;
};

// The generic file operation: fetches the file by handle (code 7 for a bad
// handle) and runs a piece of work on it, without the table lock held. The
// work is a callable taking the file object; it binds the member operation,
// the copied arguments and, for a result, where to store it.
template <typename Work>
class GenericFileOperation final : public FileOperationBase {
 public:
  GenericFileOperation(KrfFileTable& table, uint32_t handle, Work work)
      : FileOperationBase(table, handle), work_(std::move(work)) {}

 protected:
  void PerformOnFile() override {
    std::shared_ptr<KrfFileBase> file = table_.Fetch(handle_);
    work_(*file);
  }

 private:
  Work work_;
};

// Runs work on the file of handle and returns the call's code.
template <typename Work>
int32_t RunFileOperation(KrfFileTable& table, uint32_t handle, Work work) {
  return GenericFileOperation<Work>(table, handle, std::move(work)).Execute();
}

// Closes a handle: frees its slot and clears its text, then closes the file.
class CloseOperation final : public FileOperationBase {
 public:
  using FileOperationBase::FileOperationBase;

 protected:
  void PerformOnFile() override { table_.Close(handle_); }
};

}  // namespace Varnholt::KrdFiles
