#include "KrdFileLib/Index/SqlQuery.h"

#include <utility>

#include "KrdFileLib/Errors.h"

namespace Varnholt::KrdFiles::Index {

SqlQuery::SqlQuery(SqlCommand command, CachedStatement statement)
    : command_(std::move(command)), statement_(std::move(statement)) {}

void SqlQuery::Execute() {
  statement_->CheckPrepared();
  if (executed_) throw Errors::QueryExecutedTwice();
  command_.BindTo(*statement_);
  executed_ = true;
  last_result_ = SQLITE_DONE;  // stays finished if the step fails
  last_result_ = statement_->Step();
}

bool SqlQuery::NextRow() {
  RequireExecuted();
  if (!HasRow()) return false;
  last_result_ = SQLITE_DONE;
  last_result_ = statement_->Step();
  return HasRow();
}

void SqlQuery::RequireExecuted() const {
  if (!executed_) throw Errors::QueryNotExecuted();
}

int32_t SqlQuery::GetInt(int column) const {
  RequireExecuted();
  return statement_->ColumnInt(column);
}

int64_t SqlQuery::GetInt64(int column) const {
  RequireExecuted();
  return statement_->ColumnInt64(column);
}

Bytes SqlQuery::GetBlob(int column) const {
  RequireExecuted();
  return statement_->ColumnBlob(column);
}

std::string SqlQuery::GetText(int column) const {
  RequireExecuted();
  return statement_->ColumnText(column);
}

}  // namespace Varnholt::KrdFiles::Index
