#include "KrdFileLib/Index/IntegerCommand.h"

#include <algorithm>

#include "KrdFileLib/Errors.h"

namespace Varnholt::KrdFiles::Index {

IntegerCommand::IntegerCommand(SharedText text, std::initializer_list<int64_t> values)
    : text_(std::move(text)), count_(values.size()) {
  if (count_ > kMaxValues) throw Errors::SqliteError("Too many values for an integer statement.");
  std::copy(values.begin(), values.end(), values_.begin());
}

void IntegerCommand::BindTo(SqlStatement& statement) const {
  for (std::size_t index = 0; index < count_; ++index) {
    statement.Bind(static_cast<int>(index + 1), values_[index]);
  }
}

}  // namespace Varnholt::KrdFiles::Index
