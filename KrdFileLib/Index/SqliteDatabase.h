#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace Varnholt::KrdFiles::Index {

// Shared owner of one SQLite connection handle. The index connection holds
// one reference and every statement prepared on it holds another, so a
// cursor that outlives the connection's Close still has a valid handle; the
// handle is closed when the last of them lets go. This is also the one place
// that turns an SQLite result code into the library's index failure.
class SqliteDatabase {
 public:
  SqliteDatabase() = default;

  // Opens the file with the given sqlite3_open_v2 flags, guarded against
  // hostile content as a file of unknown origin. When SQLite refuses, the
  // handle it may still have returned is released and nothing is returned.
  static std::optional<SqliteDatabase> Open(const std::string& path, int flags);

  sqlite3* Handle() const { return handle_.get(); }
  // True while an explicit transaction is open on the connection.
  bool InTransaction() const;
  // True while a transaction has read but written nothing: it holds a read
  // snapshot of the database.
  bool HoldsReadSnapshot() const;
  int64_t LastInsertRowId() const;
  std::string ErrorMessage() const;

  // Throws the engine's current error text as code 41 unless the result is
  // SQLITE_OK, SQLITE_ROW or SQLITE_DONE.
  void Check(int result) const;

 private:
  explicit SqliteDatabase(sqlite3* handle);

  std::shared_ptr<sqlite3> handle_;
};

}  // namespace Varnholt::KrdFiles::Index
