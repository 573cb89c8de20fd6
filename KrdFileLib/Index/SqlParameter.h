#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "CommonLib/PolymorphicBasedClassBase.h"
#include "KrdFileLib/Index/SqlStatement.h"

namespace Varnholt::KrdFiles::Index {

// One value of a statement, bound at a fixed 1-based position. The name
// ("@channelId", or a column name for generated statements) is kept for
// reading only: SQLite numbers its parameters by first appearance, and the
// commands add them in that order, so binding by position is enough.
class SqlParameterBase : public CommonLib::PolymorphicBasedClassBase {
 public:
  virtual void Bind(SqlStatement& statement) const = 0;
  std::string GetName() const { return name_; }
  int32_t Index() const { return index_; }

 protected:
  SqlParameterBase(std::string name, int32_t index) : name_(std::move(name)), index_(index) {}

 private:
  std::string name_;
  int32_t index_;
};

// A parameter holding one value of type T; the statement binds it by type.
template <typename T>
class SqlValueParameter final : public SqlParameterBase {
 public:
  SqlValueParameter(std::string name, int32_t index, T value)
      : SqlParameterBase(std::move(name), index), value_(std::move(value)) {}

  void Bind(SqlStatement& statement) const override { statement.Bind(Index(), value_); }
  const T& Value() const { return value_; }

 private:
  T value_;
};

using SqlIntParameter = SqlValueParameter<int32_t>;
using SqlInt64Parameter = SqlValueParameter<int64_t>;
using SqlTextParameter = SqlValueParameter<std::string>;
using SqlBlobParameter = SqlValueParameter<Bytes>;

}  // namespace Varnholt::KrdFiles::Index
