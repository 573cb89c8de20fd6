#include "KrdFileLib/Index/IndexTable.h"

#include <utility>

#include "KrdFileLib/Errors.h"

namespace Varnholt::KrdFiles::Index {

namespace {

// The columns' entries, each formatted, joined by the separator.
template <typename Columns, typename Format>
std::string Join(const Columns& columns, const char* separator, Format format) {
  std::string text;
  bool first = true;
  for (const TableColumnBase* column : columns) {
    if (!first) text += separator;
    text += format(*column);
    first = false;
  }
  return text;
}

std::string NameOf(const TableColumnBase& column) { return column.Name(); }

std::string Assignment(const TableColumnBase& column) { return column.Name() + " = ?"; }

std::string Mark(const TableColumnBase&) { return "?"; }

std::string Definition(const TableColumnBase& column) {
  return column.Name() + " " + column.TypeName() + (column.IsRowId() ? " PRIMARY KEY" : "");
}

}  // namespace

IndexTable::IndexTable(std::string table_name) : table_name_(std::move(table_name)) {}

void IndexTable::RegisterColumns(std::initializer_list<TableColumnBase*> columns) {
  for (TableColumnBase* column : columns) {
    column->table_ = this;
    column->position_ = static_cast<int32_t>(columns_.size());
    columns_.push_back(column);
  }
}

void IndexTable::RegisterRowId(TableColumnBase& column) {
  RegisterKey({&column});
  column.is_row_id_ = true;
}

void IndexTable::RegisterKey(std::initializer_list<TableColumnBase*> columns) {
  for (TableColumnBase* column : columns) {
    column->is_key_ = true;
    key_columns_.push_back(column);
  }
}

TableColumnBase* IndexTable::RowIdColumn() const {
  for (TableColumnBase* column : columns_) {
    if (column->IsRowId()) return column;
  }
  return nullptr;
}

ColumnFilter IndexTable::InsertedColumns(bool skip_row_id) const {
  ColumnFilter inserted;
  for (const TableColumnBase* column : columns_) {
    if (!(skip_row_id && column->IsRowId())) inserted.push_back(column);
  }
  return inserted;
}

ColumnFilter IndexTable::NonKeyColumns() const {
  ColumnFilter non_key;
  for (const TableColumnBase* column : columns_) {
    if (!column->IsKey()) non_key.push_back(column);
  }
  return non_key;
}

std::string IndexTable::CreateTableText() const {
  const std::string key_list = PrimaryKeyList();
  return "CREATE TABLE " + table_name_ + " (" + Join(columns_, ", ", Definition) +
         (key_list.empty() ? ")" : ", PRIMARY KEY (" + key_list + "))");
}

std::string IndexTable::PrimaryKeyList() const {
  if (key_columns_.size() == 1 && key_columns_.front()->IsRowId()) return {};
  return Join(key_columns_, ", ", NameOf);
}

std::string IndexTable::InsertText(bool skip_row_id) const {
  const ColumnFilter inserted = InsertedColumns(skip_row_id);
  return "insert into " + table_name_ + "(" + Join(inserted, ", ", NameOf) + ") values (" +
         Join(inserted, ", ", Mark) + ")";
}

std::string IndexTable::WhereText(const ColumnFilter& filter) {
  if (filter.empty()) return {};
  return " where " + Join(filter, " and ", Assignment);
}

std::string IndexTable::SelectText(const ColumnFilter& filter) const {
  return "select * from " + table_name_ + WhereText(filter);
}

std::string IndexTable::DeleteText(const ColumnFilter& filter) const {
  return "delete from " + table_name_ + WhereText(filter);
}

std::string IndexTable::UpdateText() const {
  return "update " + table_name_ + " set " + Join(NonKeyColumns(), ", ", Assignment) +
         WhereText(key_columns_);
}

std::string IndexTable::CountText() const { return "SELECT COUNT(1) FROM " + table_name_; }

std::string IndexTable::ColumnSelectText(const std::string& expression) const {
  return "select " + expression + " from " + table_name_;
}

std::string IndexTable::IdSelectText(const std::string& select_column_name,
                                     const std::string& filter_column_name) const {
  return "select " + select_column_name + " from " + table_name_ + " where " + filter_column_name +
         " = ?";
}

void IndexTable::AddParameters(SqlCommand& command, const ColumnFilter& columns) {
  for (const TableColumnBase* column : columns) column->AddAsParameter(command);
}

void IndexTable::SetRowId(uint32_t row_id) {
  if (TableColumnBase* column = RowIdColumn()) column->SetFromRowId(row_id);
}

void IndexTable::Insert(IndexConnection& connection, bool skip_row_id) {
  SqlCommand command(InsertText(skip_row_id));
  AddParameters(command, InsertedColumns(skip_row_id));
  const bool done = connection.ExecuteCounted(command);
  TableColumnBase* row_id = skip_row_id ? RowIdColumn() : nullptr;
  if (row_id == nullptr) return;
  if (!done) throw Errors::NoAutoIncrementId();
  // Row ids of the index are 32-bit identifiers; the low half is the id.
  row_id->SetFromRowId(static_cast<uint32_t>(connection.LastInsertRowId()));
}

std::shared_ptr<SqlQuery> IndexTable::Select(IndexConnection& connection,
                                             const ColumnFilter& filter) const {
  SqlCommand command(SelectText(filter));
  AddParameters(command, filter);
  return connection.ExecuteQuery(command);
}

bool IndexTable::ReadRow(const SqlQuery& query) {
  if (!query.HasRow()) return false;
  for (TableColumnBase* column : columns_) column->ReadFromQuery(query);
  return true;
}

bool IndexTable::SelectFirst(IndexConnection& connection, const ColumnFilter& filter) {
  current_query_.reset();  // a failed select leaves no stale cursor behind
  current_query_ = Select(connection, filter);
  return ReadRow(*current_query_);
}

bool IndexTable::SelectFirst(IndexConnection& connection, const SqlCommand& command) {
  current_query_.reset();
  current_query_ = connection.ExecuteQuery(command);
  return ReadRow(*current_query_);
}

bool IndexTable::SelectOne(IndexConnection& connection, const ColumnFilter& filter) {
  current_query_.reset();
  return ReadRow(*Select(connection, filter));
}

bool IndexTable::NextRow() {
  if (current_query_ == nullptr) throw Errors::QueryNotExecuted();
  current_query_->NextRow();
  return ReadRow(*current_query_);
}

bool IndexTable::Exists(IndexConnection& connection, const ColumnFilter& filter) const {
  return Select(connection, filter)->HasRow();
}

void IndexTable::Update(IndexConnection& connection) const {
  SqlCommand command(UpdateText());
  AddParameters(command, NonKeyColumns());
  AddParameters(command, key_columns_);
  connection.ExecuteCounted(command);
}

void IndexTable::Delete(IndexConnection& connection, const ColumnFilter& filter) const {
  SqlCommand command(DeleteText(filter));
  AddParameters(command, filter);
  connection.ExecuteCounted(command);
}

int64_t IndexTable::QueryScalar(IndexConnection& connection, const SqlCommand& command) {
  const auto query = connection.ExecuteQuery(command);
  if (!query->HasRow()) throw Errors::QueryReturnedNoResults();
  return query->GetInt64(0);
}

bool IndexTable::IsEmpty(IndexConnection& connection) const {
  return QueryScalar(connection, SqlCommand(CountText())) == 0;
}

std::shared_ptr<SqlQuery> IndexTable::SelectColumn(IndexConnection& connection,
                                                   const std::string& expression) const {
  return connection.ExecuteQuery(SqlCommand(ColumnSelectText(expression)));
}

std::vector<uint16_t> IndexTable::SelectAllIds(IndexConnection& connection,
                                               const TableColumnBase& column) const {
  return ReadIds<uint16_t>(*SelectColumn(connection, column.Name()));
}

}  // namespace Varnholt::KrdFiles::Index
