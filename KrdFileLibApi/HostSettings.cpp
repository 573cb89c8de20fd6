#include "KrdFileLibApi/HostSettings.h"

#include <cstddef>
#include <cstdint>

namespace Varnholt::KrdFiles {

// The settings cluster as the host lays it out: packed to 1 byte by 32-bit
// Windows hosts, naturally aligned by 64-bit ones. A change of layout would
// make Initialize read the host's values from the wrong places.
#if defined(_WIN32) && !defined(_WIN64)
static_assert(sizeof(KrdLibrarySettings) == 16, "32-bit Windows hosts pack the cluster");
static_assert(offsetof(KrdLibrarySettings, dataTypes) == 4);
static_assert(offsetof(KrdLibrarySettings, batchSize) == 8);
static_assert(offsetof(KrdLibrarySettings, commitIntervalMs) == 12);
#elif UINTPTR_MAX == UINT64_MAX
static_assert(sizeof(KrdLibrarySettings) == 24, "64-bit hosts align the cluster naturally");
static_assert(offsetof(KrdLibrarySettings, dataTypes) == 8);
static_assert(offsetof(KrdLibrarySettings, batchSize) == 16);
static_assert(offsetof(KrdLibrarySettings, commitIntervalMs) == 20);
#endif
// Handles hold a 32-bit count (two for a two-dimensional array), then the
// elements.
static_assert(offsetof(KrdString, str) == 4 && offsetof(KrdU16Array, elt) == 4);
static_assert(offsetof(KrdU16Array2D, elt) == 8);

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
