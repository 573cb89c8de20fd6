#include "KrdFileLib/Index/ColumnValues.h"

#include <algorithm>

namespace Varnholt::KrdFiles::Index {

namespace {

template <typename Unsigned>
void AddAsInt(SqlCommand& command, const std::string& name, Unsigned value) {
  command.AddIntParameter(name, static_cast<int32_t>(value));
}

template <typename Unsigned>
void ReadFromInt(const SqlQuery& query, int column, Unsigned& value) {
  value = static_cast<Unsigned>(query.GetInt(column));
}

}  // namespace

void AddColumnParameter(SqlCommand& command, const std::string& name, uint8_t value) {
  AddAsInt(command, name, value);
}

void AddColumnParameter(SqlCommand& command, const std::string& name, uint16_t value) {
  AddAsInt(command, name, value);
}

void AddColumnParameter(SqlCommand& command, const std::string& name, uint32_t value) {
  AddAsInt(command, name, value);
}

void AddColumnParameter(SqlCommand& command, const std::string& name, int64_t value) {
  command.AddInt64Parameter(name, value);
}

void AddColumnParameter(SqlCommand& command, const std::string& name, bool value) {
  command.AddIntParameter(name, value ? 1 : 0);
}

void AddColumnParameter(SqlCommand& command, const std::string& name, const std::string& value) {
  command.AddTextParameter(name, value);
}

void AddColumnParameter(SqlCommand& command, const std::string& name, const Bytes& value) {
  command.AddBlobParameter(name, value);
}

void AddColumnParameter(SqlCommand& command, const std::string& name,
                        const CommonLib::Uuid& value) {
  command.AddBlobParameter(name, Bytes(value.bytes.begin(), value.bytes.end()));
}

void ReadColumnValue(const SqlQuery& query, int column, uint8_t& value) {
  ReadFromInt(query, column, value);
}

void ReadColumnValue(const SqlQuery& query, int column, uint16_t& value) {
  ReadFromInt(query, column, value);
}

void ReadColumnValue(const SqlQuery& query, int column, uint32_t& value) {
  ReadFromInt(query, column, value);
}

void ReadColumnValue(const SqlQuery& query, int column, int64_t& value) {
  value = query.GetInt64(column);
}

void ReadColumnValue(const SqlQuery& query, int column, bool& value) {
  value = query.GetInt(column) == 1;
}

void ReadColumnValue(const SqlQuery& query, int column, std::string& value) {
  value = query.GetText(column);
}

void ReadColumnValue(const SqlQuery& query, int column, Bytes& value) {
  value = query.GetBlob(column);
}

void ReadColumnValue(const SqlQuery& query, int column, CommonLib::Uuid& value) {
  const Bytes blob = query.GetBlob(column);
  value = CommonLib::Uuid::Nil();
  if (blob.size() == value.bytes.size()) std::copy(blob.begin(), blob.end(), value.bytes.begin());
}

}  // namespace Varnholt::KrdFiles::Index
