#pragma once

#include <cstdint>
#include <string>

#include "CommonLib/NonCopyableClassBase.h"

namespace Varnholt::KrdFiles::Index {

class IndexTable;
class SqlCommand;
class SqlQuery;

// One column of an index table: its SQL name and type, its place in the
// table, and whether it belongs to the key. Its value travels into
// statements as a parameter named after the column and comes back from
// "select *" rows at the column's position. Tables own their columns by
// concrete type, so the destructor is not virtual.
class TableColumnBase : public CommonLib::NonCopyableClassBase {
 public:
  const std::string& Name() const { return name_; }
  const std::string& TypeName() const { return type_name_; }
  const IndexTable* Table() const { return table_; }
  int32_t Position() const { return position_; }
  bool IsKey() const { return is_key_; }
  bool IsRowId() const { return is_row_id_; }

  // Appends the current value to the command as one parameter.
  virtual void AddAsParameter(SqlCommand& command) const = 0;
  // Reads result column Position() of the query's current row.
  virtual void ReadFromQuery(const SqlQuery& query);
  // Takes a row id the database assigned on insert.
  virtual void SetFromRowId(uint32_t row_id);

 protected:
  TableColumnBase(std::string name, std::string type_name);
  ~TableColumnBase() = default;

 private:
  friend class IndexTable;  // registers the column and marks the key

  std::string name_;
  std::string type_name_;
  const IndexTable* table_ = nullptr;
  int32_t position_ = 0;
  bool is_key_ = false;
  bool is_row_id_ = false;
};

}  // namespace Varnholt::KrdFiles::Index
