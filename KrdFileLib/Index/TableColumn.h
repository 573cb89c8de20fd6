#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "CommonLib/Uuid.h"
#include "KrdFileLib/Index/ColumnValues.h"
#include "KrdFileLib/Index/SqlStatement.h"
#include "KrdFileLib/Index/TableColumnBase.h"

namespace Varnholt::KrdFiles::Index {

// A column holding a value of type T. The value is read and written through
// a target, which is the column's own value until the owner points it at a
// field of another object (a packet, a result record), so that a statement
// reads and fills that field directly. The field must outlive its use.
template <typename T>
class TableColumn : public TableColumnBase {
 public:
  const T& Value() const { return *target_; }
  void Set(T value) { *target_ = std::move(value); }
  // Re-points the column at an outside field; null points it back at its own value.
  void PointAt(T* target) { target_ = target != nullptr ? target : &value_; }

 protected:
  TableColumn(std::string name, std::string type_name)
      : TableColumnBase(std::move(name), std::move(type_name)) {}
  ~TableColumn() = default;

 private:
  T value_{};
  T* target_ = &value_;
};

// The SQL type names a column can declare.
inline constexpr char IntegerColumnDataTypeName[] = "INTEGER";
inline constexpr char TextColumnDataTypeName[] = "TEXT";
inline constexpr char BlobColumnDataTypeName[] = "BLOB";

// A column of value type T declared with the SQL type TypeName; it moves its
// value into statements and out of rows as ColumnValues.h describes.
template <typename T, const char* TypeName>
class TableColumnTemplate : public TableColumn<T> {
 public:
  explicit TableColumnTemplate(std::string name) : TableColumn<T>(std::move(name), TypeName) {}

  void AddAsParameter(SqlCommand& command) const override {
    AddColumnParameter(command, this->Name(), this->Value());
  }
  void ReadFromQuery(const SqlQuery& query) override {
    T value{};
    ReadColumnValue(query, this->Position(), value);
    this->Set(std::move(value));
  }
};

// An integer column, which can also take a row id assigned by the database:
// the 32-bit row id is cut to T's low bits, or zero-extended into an int64.
template <typename T, const char* TypeName>
class NumericTableColumn : public TableColumnTemplate<T, TypeName> {
 public:
  using TableColumnTemplate<T, TypeName>::TableColumnTemplate;

  void SetFromRowId(uint32_t row_id) override { this->Set(static_cast<T>(row_id)); }
};

using UInt8Column = NumericTableColumn<uint8_t, IntegerColumnDataTypeName>;
using UInt16Column = NumericTableColumn<uint16_t, IntegerColumnDataTypeName>;
using UInt32Column = NumericTableColumn<uint32_t, IntegerColumnDataTypeName>;
using Int64Column = NumericTableColumn<int64_t, IntegerColumnDataTypeName>;
using BoolColumn = TableColumnTemplate<bool, IntegerColumnDataTypeName>;
using TextColumn = TableColumnTemplate<std::string, TextColumnDataTypeName>;
using BlobColumn = TableColumnTemplate<Bytes, BlobColumnDataTypeName>;
using UuidColumn = TableColumnTemplate<CommonLib::Uuid, BlobColumnDataTypeName>;

}  // namespace Varnholt::KrdFiles::Index
