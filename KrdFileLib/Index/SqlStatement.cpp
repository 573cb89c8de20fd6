#include "KrdFileLib/Index/SqlStatement.h"

#include <algorithm>
#include <utility>

#include "KrdFileLib/Errors.h"

namespace Varnholt::KrdFiles::Index {

namespace {

// Stands in for the data of an empty blob: SQLite binds NULL for a null
// pointer, and an empty blob is not NULL.
constexpr uint8_t kNoBytes = 0;

}  // namespace

SqlStatement::SqlStatement(SqliteDatabase database, const std::string& text)
    : database_(std::move(database)) {
  sqlite3_stmt* statement = nullptr;
  const char* tail = nullptr;
  prepare_result_ = sqlite3_prepare_v2(database_.Handle(), text.c_str(), -1, &statement, &tail);
  statement_.reset(statement);
  if (prepare_result_ != SQLITE_OK) prepare_error_ = database_.ErrorMessage();
}

void SqlStatement::CheckPrepared() const {
  if (!IsPrepared()) throw Errors::SqliteError(prepare_error_);
}

void SqlStatement::Bind(int index, int32_t value) {
  if (IsEmpty()) return;
  database_.Check(sqlite3_bind_int(statement_.get(), index, value));
}

void SqlStatement::Bind(int index, int64_t value) {
  if (IsEmpty()) return;
  database_.Check(sqlite3_bind_int64(statement_.get(), index, value));
}

void SqlStatement::Bind(int index, const std::string& text) {
  if (IsEmpty()) return;
  const auto length = std::min(text.find('\0'), text.size());
  database_.Check(sqlite3_bind_text64(statement_.get(), index, text.c_str(), length, SQLITE_STATIC,
                                      SQLITE_UTF8));
}

void SqlStatement::Bind(int index, const Bytes& blob) {
  if (IsEmpty()) return;
  const void* data = blob.empty() ? &kNoBytes : blob.data();
  database_.Check(sqlite3_bind_blob64(statement_.get(), index, data, blob.size(), SQLITE_STATIC));
}

int SqlStatement::Step() {
  if (IsEmpty()) return SQLITE_DONE;
  const int result = sqlite3_step(statement_.get());
  database_.Check(result);
  return result;
}

void SqlStatement::Reset() noexcept {
  if (IsEmpty()) return;
  sqlite3_reset(statement_.get());
  sqlite3_clear_bindings(statement_.get());
}

bool SqlStatement::HasColumn(int column) const {
  return column >= 0 && column < sqlite3_data_count(statement_.get());
}

int32_t SqlStatement::ColumnInt(int column) const {
  return HasColumn(column) ? sqlite3_column_int(statement_.get(), column) : 0;
}

int64_t SqlStatement::ColumnInt64(int column) const {
  return HasColumn(column) ? sqlite3_column_int64(statement_.get(), column) : 0;
}

std::string SqlStatement::ColumnText(int column) const {
  if (!HasColumn(column)) return {};
  const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement_.get(), column));
  if (text == nullptr) return {};
  return std::string(text, static_cast<size_t>(sqlite3_column_bytes(statement_.get(), column)));
}

Bytes SqlStatement::ColumnBlob(int column) const {
  if (!HasColumn(column)) return {};
  const auto* blob = static_cast<const uint8_t*>(sqlite3_column_blob(statement_.get(), column));
  const int size = sqlite3_column_bytes(statement_.get(), column);
  if (blob == nullptr || size <= 0) return {};
  return Bytes(blob, blob + size);
}

}  // namespace Varnholt::KrdFiles::Index
