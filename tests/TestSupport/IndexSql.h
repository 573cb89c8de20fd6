#pragma once

// Raw SQL on a KRQ file from outside the library, for tests that inspect
// what an index holds or put into it what no operation would.

#include <sqlite3.h>

#include <algorithm>
#include <cstdio>
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

// One value of the statement's current row as SQL writes it: NULL, a
// number, 'text' or x'blob'.
inline std::string QuotedValue(sqlite3_stmt* statement, int column) {
  const auto* bytes = static_cast<const unsigned char*>(sqlite3_column_blob(statement, column));
  const std::string raw(reinterpret_cast<const char*>(bytes),
                        bytes == nullptr ? 0 : sqlite3_column_bytes(statement, column));
  switch (sqlite3_column_type(statement, column)) {
    case SQLITE_NULL:
      return "NULL";
    case SQLITE_TEXT:
      return "'" + raw + "'";
    case SQLITE_BLOB: {
      std::string hex = "x'";
      for (const unsigned char byte : raw) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", byte);
        hex += digits;
      }
      return hex + "'";
    }
    default:
      return raw;
  }
}

// Every row of every table, a line per table that has rows ("data: (1 0 3
// 210) (1 40 43 236)"), tables by name and rows in rowid order; what a
// separate connection sees. "<no index>" when the file cannot be read.
inline std::string DumpIndex(const std::string& krq) {
  sqlite3* db = nullptr;
  if (sqlite3_open_v2(krq.c_str(), &db, SQLITE_OPEN_READONLY, nullptr) != SQLITE_OK) {
    sqlite3_close(db);
    return "<no index>\n";
  }
  std::string dump;
  const std::string tables =
      QueryColumn(krq, "SELECT name FROM sqlite_master WHERE type = 'table' ORDER BY name");
  for (std::size_t from = 0; from < tables.size();) {
    const std::size_t comma = std::min(tables.find(',', from), tables.size());
    const std::string table = tables.substr(from, comma - from);
    from = comma + 1;
    sqlite3_stmt* rows = nullptr;
    std::string line;
    const std::string select = "SELECT * FROM \"" + table + "\" ORDER BY rowid";
    if (sqlite3_prepare_v2(db, select.c_str(), -1, &rows, nullptr) == SQLITE_OK) {
      while (sqlite3_step(rows) == SQLITE_ROW) {
        line += " (";
        for (int column = 0; column < sqlite3_column_count(rows); ++column) {
          line += (column == 0 ? "" : " ") + QuotedValue(rows, column);
        }
        line += ")";
      }
    }
    sqlite3_finalize(rows);
    if (!line.empty()) dump += table + ":" + line + "\n";
  }
  sqlite3_close(db);
  return dump.empty() ? "<no rows>\n" : dump;
}

}  // namespace Varnholt::Testing
