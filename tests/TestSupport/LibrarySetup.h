#pragma once

// Initialize as a host calls it, for tests and test programs of the C
// interface: the commit limits, the read chunk size and a data-type table
// built into the host's two-dimensional array.

#include <cstdint>
#include <cstring>
#include <vector>

#include "KrdFileLibApi.h"

namespace Varnholt::Testing {

// A data type of a test's registry: its ID and the size of one sample.
struct DataType {
  uint16_t id;
  uint16_t sample_size;
};

// Initializes the library with these limits, read chunk size and data types
// (which replace those of earlier calls); Initialize's code.
inline int32_t InitializeLibrary(int32_t batch_size, int32_t commit_interval_ms,
                                 uint32_t read_chunk_size,
                                 const std::vector<DataType>& data_types) {
  std::vector<uint16_t> table(2 * 2 + 2 * data_types.size());  // room for the two counts
  const int32_t rows = static_cast<int32_t>(data_types.size());
  const int32_t columns = 2;
  std::memcpy(table.data(), &rows, sizeof rows);
  std::memcpy(table.data() + 2, &columns, sizeof columns);
  for (std::size_t row = 0; row < data_types.size(); ++row) {
    table[4 + 2 * row] = data_types[row].id;
    table[4 + 2 * row + 1] = data_types[row].sample_size;
  }
  void* block = table.data();
  const KrdLibrarySettings settings{read_chunk_size, reinterpret_cast<KrdU16Array2DHandle>(&block),
                                    batch_size, commit_interval_ms};
  return Initialize(&settings);
}

}  // namespace Varnholt::Testing
