#include "KrdFileLib/DataTypeRegistry.h"

#include <mutex>

#include "KrdFileLib/Errors.h"

namespace Varnholt::KrdFiles {

DataTypeRegistry& DataTypeRegistry::Process() {
  static DataTypeRegistry registry;
  return registry;
}

void DataTypeRegistry::Replace(const std::vector<Entry>& entries) {
  std::map<uint16_t, uint32_t> sizes;
  for (const auto& [id, size] : entries) sizes[id] = size;
  std::unique_lock lock(mutex_);
  sample_sizes_.swap(sizes);
}

uint32_t DataTypeRegistry::SampleSize(uint16_t data_type_id) const {
  std::shared_lock lock(mutex_);
  const auto found = sample_sizes_.find(data_type_id);
  if (found == sample_sizes_.end()) throw Errors::DataTypeNotRegistered(data_type_id);
  return found->second;
}

bool DataTypeRegistry::IsRegistered(uint16_t data_type_id) const {
  std::shared_lock lock(mutex_);
  return sample_sizes_.contains(data_type_id);
}

}  // namespace Varnholt::KrdFiles
