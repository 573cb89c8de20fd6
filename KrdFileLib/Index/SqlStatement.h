#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "KrdFileLib/Index/SqliteDatabase.h"

namespace Varnholt::KrdFiles::Index {

using Bytes = std::vector<uint8_t>;

// Sole owner of one prepared SQLite statement: it is finalised when this
// object goes, on every path. Each sqlite3_bind_*, sqlite3_step and
// sqlite3_column_* call of the index layer is made here and nowhere else.
// A failed prepare is recorded rather than thrown, so that a cursor can
// report it when it is executed. Statements are prepared once per text and
// reused through the connection's StatementCache.
class SqlStatement {
 public:
  // Prepares the first statement of the text; the rest is ignored.
  SqlStatement(SqliteDatabase database, const std::string& text);

  bool IsPrepared() const { return prepare_result_ == SQLITE_OK; }
  const std::string& PrepareError() const { return prepare_error_; }
  // Throws the recorded prepare failure as code 41.
  void CheckPrepared() const;

  // Binding by 1-based position; a failure (no such position, value too
  // big) is thrown as code 41. Text and blobs are bound without copy: the
  // caller keeps them alive until the statement is gone.
  void Bind(int index, int32_t value);
  void Bind(int index, int64_t value);
  void Bind(int index, const std::string& text);  // up to the first NUL
  void Bind(int index, const Bytes& blob);        // all bytes, none allowed

  // One step; the result code is returned after failures have been thrown.
  int Step();
  // Back to before the first step, with every parameter unbound, ready for
  // another use. A failure of the last step is not reported again.
  void Reset() noexcept;

  // Result columns of the current row, 0-based. A column that is not there
  // (no current row, position out of range) reads like NULL.
  int32_t ColumnInt(int column) const;
  int64_t ColumnInt64(int column) const;
  std::string ColumnText(int column) const;
  Bytes ColumnBlob(int column) const;

 private:
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
  };

  bool HasColumn(int column) const;
  // An empty text prepares to no statement; it binds nothing and runs to an end.
  bool IsEmpty() const { return statement_ == nullptr; }

  SqliteDatabase database_;  // declared first: outlives the statement
  std::unique_ptr<sqlite3_stmt, Finalize> statement_;
  int prepare_result_ = SQLITE_OK;
  std::string prepare_error_;
};

}  // namespace Varnholt::KrdFiles::Index
