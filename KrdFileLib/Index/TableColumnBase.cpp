#include "KrdFileLib/Index/TableColumnBase.h"

#include <utility>

namespace Varnholt::KrdFiles::Index {

TableColumnBase::TableColumnBase(std::string name, std::string type_name)
    : name_(std::move(name)), type_name_(std::move(type_name)) {}

void TableColumnBase::ReadFromQuery(const SqlQuery&) {}

void TableColumnBase::SetFromRowId(uint32_t) {}

}  // namespace Varnholt::KrdFiles::Index
