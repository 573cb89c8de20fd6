#include "KrdFileLibApi/HostSettings.h"

#include <cstddef>

namespace Varnholt::KrdFiles {

namespace {

std::vector<DataTypeRegistry::Entry> ReadDataTypes(KrdU16Array2DHandle table) {
  std::vector<DataTypeRegistry::Entry> entries;
  if (table == nullptr || *table == nullptr) return entries;
  const KrdU16Array2D& block = **table;
  const int32_t rows = block.dimSizes[0];
  const int32_t columns = block.dimSizes[1];
  if (rows <= 0 || columns < 2) return entries;
  entries.reserve(static_cast<std::size_t>(rows));
  for (std::size_t row = 0; row < static_cast<std::size_t>(rows); ++row) {
    const uint16_t* cells = block.elt + row * static_cast<std::size_t>(columns);
    entries.emplace_back(cells[0], cells[1]);
  }
  return entries;
}

}  // namespace

LibraryConfiguration ReadHostSettings(const KrdLibrarySettings& settings) {
  LibraryConfiguration configuration;
  configuration.read_chunk_size = settings.readChunkSize;
  configuration.data_types = ReadDataTypes(settings.dataTypes);
  configuration.batch_size = settings.batchSize;
  configuration.commit_interval_ms = settings.commitIntervalMs;
  return configuration;
}

}  // namespace Varnholt::KrdFiles
