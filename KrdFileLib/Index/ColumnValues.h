#pragma once

#include <cstdint>
#include <string>

#include "CommonLib/Uuid.h"
#include "KrdFileLib/Index/SqlCommand.h"
#include "KrdFileLib/Index/SqlQuery.h"

namespace Varnholt::KrdFiles::Index {

// How each value type of a column is stored in SQLite and read back. The
// unsigned types and bool travel as 32-bit ints: uint8 and uint16
// zero-extended and cut back to their low bits, uint32 bit for bit (values
// from 2^31 up are stored negative). A bool reads true only for a stored 1;
// a uuid blob of any length but 16 reads as the nil uuid.

void AddColumnParameter(SqlCommand& command, const std::string& name, uint8_t value);
void AddColumnParameter(SqlCommand& command, const std::string& name, uint16_t value);
void AddColumnParameter(SqlCommand& command, const std::string& name, uint32_t value);
void AddColumnParameter(SqlCommand& command, const std::string& name, int64_t value);
void AddColumnParameter(SqlCommand& command, const std::string& name, bool value);
void AddColumnParameter(SqlCommand& command, const std::string& name, const std::string& value);
void AddColumnParameter(SqlCommand& command, const std::string& name, const Bytes& value);
void AddColumnParameter(SqlCommand& command, const std::string& name, const CommonLib::Uuid& value);

void ReadColumnValue(const SqlQuery& query, int column, uint8_t& value);
void ReadColumnValue(const SqlQuery& query, int column, uint16_t& value);
void ReadColumnValue(const SqlQuery& query, int column, uint32_t& value);
void ReadColumnValue(const SqlQuery& query, int column, int64_t& value);
void ReadColumnValue(const SqlQuery& query, int column, bool& value);
void ReadColumnValue(const SqlQuery& query, int column, std::string& value);
void ReadColumnValue(const SqlQuery& query, int column, Bytes& value);
void ReadColumnValue(const SqlQuery& query, int column, CommonLib::Uuid& value);

}  // namespace Varnholt::KrdFiles::Index
