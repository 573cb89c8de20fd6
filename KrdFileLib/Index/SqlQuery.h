#pragma once

#include <cstdint>
#include <string>

#include "CommonLib/NonCopyableClassBase.h"
#include "KrdFileLib/Index/SqlCommand.h"
#include "KrdFileLib/Index/StatementCache.h"

namespace Varnholt::KrdFiles::Index {

// The cursor over the rows of one prepared statement. It keeps its own copy
// of the command, so the text and blob values bound without copy stay valid
// for as long as the cursor can be stepped, and its statement keeps the
// database handle alive. Held by shared pointer; with the last one its
// statement goes back to the connection's cache (or is finalised when the
// connection has been closed meanwhile).
class SqlQuery : public CommonLib::NonCopyableClassBase {
 public:
  SqlQuery(SqlCommand command, CachedStatement statement);

  // Binds the parameters and takes the first step. Fails with the prepare
  // error if the statement could not be prepared, and when called twice.
  void Execute();
  // Steps to the next row; a finished cursor stays finished.
  bool NextRow();
  bool HasRow() const { return last_result_ == SQLITE_ROW; }

  // Columns of the current row, 0-based; the cursor must have been executed.
  int32_t GetInt(int column) const;
  int64_t GetInt64(int column) const;
  Bytes GetBlob(int column) const;
  std::string GetText(int column) const;  // NULL reads as ""

  // SQLite's text for a failed prepare; empty otherwise.
  std::string GetErrorMessage() const { return statement_->PrepareError(); }
  bool IsExecuted() const { return executed_; }

 private:
  void RequireExecuted() const;

  SqlCommand command_;  // declared first: outlives the statement that binds it
  CachedStatement statement_;
  int last_result_ = SQLITE_OK;
  bool executed_ = false;
};

}  // namespace Varnholt::KrdFiles::Index
