#include "KrdFileLib/Index/SqlCommand.h"

#include <utility>

namespace Varnholt::KrdFiles::Index {

template <typename T>
void SqlCommand::Add(std::string name, T value) {
  const auto index = static_cast<int32_t>(parameters_.size()) + 1;
  parameters_.push_back(
      std::make_shared<const SqlValueParameter<T>>(std::move(name), index, std::move(value)));
}

void SqlCommand::AddIntParameter(std::string name, int32_t value) { Add(std::move(name), value); }

void SqlCommand::AddInt64Parameter(std::string name, int64_t value) { Add(std::move(name), value); }

void SqlCommand::AddTextParameter(std::string name, std::string value) {
  Add(std::move(name), std::move(value));
}

void SqlCommand::AddBlobParameter(std::string name, Bytes value) {
  Add(std::move(name), std::move(value));
}

void SqlCommand::BindTo(SqlStatement& statement) const {
  for (const auto& parameter : parameters_) parameter->Bind(statement);
}

}  // namespace Varnholt::KrdFiles::Index
