#include "KrdFileLib/Index/SqliteDatabase.h"

#include "KrdFileLib/Errors.h"
#include "KrdFileLib/PlatformFile.h"

namespace Varnholt::KrdFiles::Index {

namespace {

struct CloseDatabase {
  // sqlite3_close_v2 accepts a null handle and defers the close until any
  // statement that is still unfinalised goes, so it cannot fail here.
  void operator()(sqlite3* handle) const { sqlite3_close_v2(handle); }
};

}  // namespace

SqliteDatabase::SqliteDatabase(sqlite3* handle) : handle_(handle, CloseDatabase()) {}

std::optional<SqliteDatabase> SqliteDatabase::Open(const std::string& path, int flags) {
  sqlite3* handle = nullptr;
  // A connection is only ever used under its file object's lock, so SQLite's
  // own per-call locking would only cost time.
  // The host's path bytes are in the system's code page; SQLite takes UTF-8.
  const int result = sqlite3_open_v2(PlatformFile::ToUtf8(path).c_str(), &handle,
                                     flags | SQLITE_OPEN_NOMUTEX, nullptr);
  SqliteDatabase database(handle);  // owns the handle on every path
  if (result != SQLITE_OK) return std::nullopt;
  return database;
}

bool SqliteDatabase::HoldsReadSnapshot() const {
  return handle_ != nullptr && sqlite3_txn_state(handle_.get(), nullptr) == SQLITE_TXN_READ;
}

bool SqliteDatabase::InTransaction() const {
  return handle_ != nullptr && sqlite3_get_autocommit(handle_.get()) == 0;
}

int64_t SqliteDatabase::LastInsertRowId() const {
  return handle_ == nullptr ? 0 : sqlite3_last_insert_rowid(handle_.get());
}

std::string SqliteDatabase::ErrorMessage() const { return sqlite3_errmsg(handle_.get()); }

void SqliteDatabase::Check(int result) const {
  if (result != SQLITE_OK && result != SQLITE_ROW && result != SQLITE_DONE) {
    throw Errors::SqliteError(ErrorMessage());
  }
}

}  // namespace Varnholt::KrdFiles::Index
