#include "KrdFileLib/Index/SqliteDatabase.h"

#include <utility>

#include "KrdFileLib/Errors.h"
#include "KrdFileLib/DataFile/PlatformFile.h"

namespace Varnholt::KrdFiles::Index {

namespace {

// The most bytes one value of an index holds: an event's payload, an
// attribute's value or a step's data. Labels and units are far shorter.
constexpr int kMostValueBytes = 256 << 20;

// An index travels between engineers, so every connection treats its file
// as SQLite advises for files of unknown origin: no SQL may corrupt it, no
// trigger or view it brings runs, no function with side effects runs from
// its schema, pages are checked as they are read, and statements and values
// stay within what the library's own statements and values need.
void GuardAgainstHostileContent(sqlite3* handle) {
  for (const int option : {SQLITE_DBCONFIG_DEFENSIVE}) {
    sqlite3_db_config(handle, option, 1, nullptr);
  }
  for (const int option : {SQLITE_DBCONFIG_TRUSTED_SCHEMA, SQLITE_DBCONFIG_ENABLE_TRIGGER,
                           SQLITE_DBCONFIG_ENABLE_VIEW}) {
    sqlite3_db_config(handle, option, 0, nullptr);
  }
  sqlite3_exec(handle, "PRAGMA cell_size_check=ON", nullptr, nullptr, nullptr);
  constexpr std::pair<int, int> kLimits[] = {
      {SQLITE_LIMIT_LENGTH, kMostValueBytes},
      {SQLITE_LIMIT_SQL_LENGTH, 1 << 16},
      {SQLITE_LIMIT_COLUMN, 64},
      {SQLITE_LIMIT_EXPR_DEPTH, 64},
      {SQLITE_LIMIT_COMPOUND_SELECT, 16},
      {SQLITE_LIMIT_VDBE_OP, 25000},
      {SQLITE_LIMIT_FUNCTION_ARG, 8},
      {SQLITE_LIMIT_ATTACHED, 0},
      {SQLITE_LIMIT_LIKE_PATTERN_LENGTH, 64},
      {SQLITE_LIMIT_VARIABLE_NUMBER, 64},
      {SQLITE_LIMIT_TRIGGER_DEPTH, 1},
  };
  for (const auto& [limit, value] : kLimits) sqlite3_limit(handle, limit, value);
}

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
  GuardAgainstHostileContent(handle);
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
