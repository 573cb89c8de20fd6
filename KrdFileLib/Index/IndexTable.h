#pragma once

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "CommonLib/NonCopyableClassBase.h"
#include "KrdFileLib/Index/IndexConnection.h"
#include "KrdFileLib/Index/SqlCommand.h"
#include "KrdFileLib/Index/SqlQuery.h"
#include "KrdFileLib/Index/TableColumnBase.h"

namespace Varnholt::KrdFiles::Index {

// A list of a table's columns whose current values select rows.
using ColumnFilter = std::vector<const TableColumnBase*>;

// One index table, described by its name, its columns in SQL order and its
// key, and doubling as a one-row buffer: the columns hold one row's values,
// which the table writes with the statements it generates and fills from
// the "select *" rows it reads. Each table of the schema is a subclass that
// owns its columns as public members named like the SQL columns. Columns
// point into the table, so tables are neither copied nor moved.
class IndexTable : public CommonLib::NonCopyableClassBase {
 public:
  const std::string& TableName() const { return table_name_; }
  const std::vector<TableColumnBase*>& Columns() const { return columns_; }
  const ColumnFilter& KeyColumns() const { return key_columns_; }

  // Statement texts, built from the table's definition only.
  std::string CreateTableText() const;
  std::string PrimaryKeyList() const;
  std::string InsertText(bool skip_row_id) const;
  static std::string WhereText(const ColumnFilter& filter);
  std::string SelectText(const ColumnFilter& filter) const;
  std::string DeleteText(const ColumnFilter& filter) const;
  std::string UpdateText() const;
  std::string CountText() const;
  std::string ColumnSelectText(const std::string& expression) const;
  std::string IdSelectText(const std::string& select_column_name,
                           const std::string& filter_column_name) const;

  // Sets the buffer's row id column, for a row inserted with its id.
  void SetRowId(uint32_t row_id);
  // Writes the buffer as a new row. With skip_row_id the database assigns
  // the row id, which is then read back into its column.
  void Insert(IndexConnection& connection, bool skip_row_id);
  // The rows whose filter columns equal their current values.
  std::shared_ptr<SqlQuery> Select(IndexConnection& connection, const ColumnFilter& filter) const;
  // Fills the buffer from the query's current row; false (buffer untouched)
  // when there is none.
  bool ReadRow(const SqlQuery& query);
  // Selects, keeps the cursor for NextRow and reads its first row.
  bool SelectFirst(IndexConnection& connection, const ColumnFilter& filter);
  bool SelectFirst(IndexConnection& connection, const SqlCommand& command);
  bool NextRow();
  // Reads the first row only and lets its cursor go at once, so that the
  // statement is free for the next lookup.
  bool SelectOne(IndexConnection& connection, const ColumnFilter& filter);
  bool Exists(IndexConnection& connection, const ColumnFilter& filter) const;
  // Writes the buffer over the row that has the buffer's key values.
  void Update(IndexConnection& connection) const;
  void Delete(IndexConnection& connection, const ColumnFilter& filter) const;
  bool IsEmpty(IndexConnection& connection) const;
  std::shared_ptr<SqlQuery> SelectColumn(IndexConnection& connection,
                                         const std::string& expression) const;
  // The identifiers in select_column of the rows whose filter_column holds
  // value, in the order SQLite returns them; 16-bit unless Id says otherwise.
  template <typename Id = uint16_t>
  std::vector<Id> SelectIds(IndexConnection& connection, const TableColumnBase& select_column,
                            const TableColumnBase& filter_column, int32_t value) const {
    SqlCommand command(IdSelectText(select_column.Name(), filter_column.Name()));
    command.AddIntParameter(filter_column.Name(), value);
    return ReadIds<Id>(*connection.ExecuteQuery(command));
  }
  // The 16-bit identifiers in column of every row, in the order SQLite
  // returns them.
  std::vector<uint16_t> SelectAllIds(IndexConnection& connection,
                                     const TableColumnBase& column) const;

 protected:
  explicit IndexTable(std::string table_name);
  ~IndexTable() = default;

  // Subclass constructors register their columns in SQL order, then the key:
  // either one row-id column or the members of a composite key in key order.
  void RegisterColumns(std::initializer_list<TableColumnBase*> columns);
  void RegisterRowId(TableColumnBase& column);
  void RegisterKey(std::initializer_list<TableColumnBase*> columns);

  // Column 0 of the command's single result row; code 41 when there is none.
  static int64_t QueryScalar(IndexConnection& connection, const SqlCommand& command);

 private:
  TableColumnBase* RowIdColumn() const;
  ColumnFilter InsertedColumns(bool skip_row_id) const;
  ColumnFilter NonKeyColumns() const;
  static void AddParameters(SqlCommand& command, const ColumnFilter& columns);
  // Column 0 of every row of the query, cut to the width of Id.
  template <typename Id>
  static std::vector<Id> ReadIds(SqlQuery& query) {
    std::vector<Id> ids;
    for (; query.HasRow(); query.NextRow()) ids.push_back(static_cast<Id>(query.GetInt(0)));
    return ids;
  }

  std::string table_name_;
  std::vector<TableColumnBase*> columns_;
  ColumnFilter key_columns_;
  std::shared_ptr<SqlQuery> current_query_;
};

}  // namespace Varnholt::KrdFiles::Index
