#pragma once

// Raw SQL on a KRQ file from outside the library, for tests that inspect
// what an index holds or put into it what no operation would.

#include <sqlite3.h>

#include <string>

namespace Varnholt::Testing {

// Column 0 of every row the query returns, as text, joined by ","; what a
// separate connection sees, so only what has been committed.
// "<unreadable>" when the file or the query cannot be read.
inline std::string QueryColumn(const std::string& krq, const std::string& sql) {
  sqlite3* db = nullptr;
  sqlite3_stmt* statement = nullptr;
  std::string text = "<unreadable>";
  if (sqlite3_open_v2(krq.c_str(), &db, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK &&
      sqlite3_prepare_v2(db, sql.c_str(), -1, &statement, nullptr) == SQLITE_OK) {
    text.clear();
    for (int row = 0; sqlite3_step(statement) == SQLITE_ROW; ++row) {
      const auto* bytes = static_cast<const char*>(sqlite3_column_blob(statement, 0));
      text += (row == 0 ? "" : ",") +
              (bytes == nullptr ? std::string() : std::string(bytes, sqlite3_column_bytes(statement, 0)));
    }
  }
  sqlite3_finalize(statement);
  sqlite3_close(db);
  return text;
}

// Runs statements on a closed KRQ file; false when they fail.
inline bool ExecuteSql(const std::string& krq, const std::string& sql) {
  sqlite3* db = nullptr;
  const bool done = sqlite3_open_v2(krq.c_str(), &db, SQLITE_OPEN_READWRITE, nullptr) == SQLITE_OK &&
                    sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK;
  sqlite3_close(db);
  return done;
}

}  // namespace Varnholt::Testing
