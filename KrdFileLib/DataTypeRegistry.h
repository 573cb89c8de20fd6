#pragma once

#include <cstdint>
#include <map>
#include <shared_mutex>
#include <utility>
#include <vector>

namespace Varnholt::KrdFiles {

// Maps the host's 16-bit data-type IDs to the size in bytes of one sample of
// that type. Recording uses it to check that a data block holds whole frames,
// and reading uses it to cut one channel's samples out of a frame.
// The host replaces the whole registry on each Initialize; files already open
// see the new sizes from then on.
class DataTypeRegistry {
 public:
  using Entry = std::pair<uint16_t, uint32_t>;  // data-type ID, sample size in bytes

  // The registry of this process, empty until the host registers its types.
  static DataTypeRegistry& Process();

  // Clears the registry and registers the entries in order; a repeated ID
  // keeps the size of its last entry.
  void Replace(const std::vector<Entry>& entries);
  // The sample size of a registered type; code 36 for an unknown one.
  uint32_t SampleSize(uint16_t data_type_id) const;
  bool IsRegistered(uint16_t data_type_id) const;

 private:
  mutable std::shared_mutex mutex_;
  std::map<uint16_t, uint32_t> sample_sizes_;
};

}  // namespace Varnholt::KrdFiles
