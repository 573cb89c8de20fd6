// The C++ layer under the exported functions: the host value conventions,
// Initialize's reading of the host's settings, and the library instance.

#include <gtest/gtest.h>

#include <array>
#include <cstring>

#include "KrdFileLib/DataTypeRegistry.h"
#include "KrdFileLib/Index/CommitLimits.h"
#include "KrdFileLibApi/HostSettings.h"
#include "KrdFileLibApi/HostValues.h"
#include "KrdFileLibApi/LibraryInstance.h"

namespace Varnholt::KrdFiles {
namespace {

template <typename Array, typename Element>
std::vector<Element> TakeArray(Array** handle) {
  std::vector<Element> elements((*handle)->elt, (*handle)->elt + (*handle)->dimSize);
  HostAllocator::Process().Dispose(handle);
  return elements;
}

TEST(HostValuesTest, ArraysAreStoredAsCountAndElements) {
  KrdU16ArrayHandle shorts = nullptr;
  KrdU32ArrayHandle longs = nullptr;
  ASSERT_TRUE(StoreToHost(&shorts, std::vector<uint16_t>{1, 65535}));
  ASSERT_TRUE(StoreToHost(&longs, std::vector<uint32_t>{}));
  EXPECT_EQ((TakeArray<KrdU16Array, uint16_t>(shorts)), (std::vector<uint16_t>{1, 65535}));
  EXPECT_EQ((TakeArray<KrdU32Array, uint32_t>(longs)), std::vector<uint32_t>{});
}

TEST(HostSettingsTest, ReadsColumnsZeroAndOneOfEachRowAndNothingOfANarrowerTable) {
  struct Case {
    int32_t rows;
    int32_t columns;
    std::array<uint16_t, 6> cells;
    std::vector<DataTypeRegistry::Entry> expected;
  };
  const std::vector<Case> cases = {
      {3, 2, {1, 2, 5, 2, 5, 4}, {{1, 2}, {5, 2}, {5, 4}}},
      {2, 3, {1, 2, 99, 3, 8, 99}, {{1, 2}, {3, 8}}},
      {6, 1, {1, 2, 3, 4, 5, 6}, {}},
      {-1, 2, {}, {}},
  };
  for (const Case& c : cases) {
    std::vector<int32_t> block(2 + 3);
    block[0] = c.rows;
    block[1] = c.columns;
    std::memcpy(block.data() + 2, c.cells.data(), sizeof c.cells);
    void* pointer = block.data();
    const KrdLibrarySettings settings{4096, reinterpret_cast<KrdU16Array2DHandle>(&pointer), 7,
                                      250};
    const LibraryConfiguration configuration = ReadHostSettings(settings);
    EXPECT_EQ(configuration.data_types, c.expected) << c.rows << "x" << c.columns;
    EXPECT_EQ(configuration.read_chunk_size, 4096u);
    EXPECT_EQ(configuration.batch_size, 7);
    EXPECT_EQ(configuration.commit_interval_ms, 250);
  }
  const KrdLibrarySettings without_table{1, nullptr, 1, 1};
  EXPECT_TRUE(ReadHostSettings(without_table).data_types.empty());
}

TEST(LibraryInstanceTest, InitializeFillsInTheHostsValuesAndTerminateStopsTheMaintenanceThread) {
  LibraryInstance& library = LibraryInstance::Process();
  library.Initialize({8192, {{5, 2}, {6, 8}, {5, 4}}, 12, 345});
  EXPECT_EQ(library.Settings()->ReadChunkSize(), 8192u);
  EXPECT_EQ(DataTypeRegistry::Process().SampleSize(5), 4u);
  EXPECT_EQ(DataTypeRegistry::Process().SampleSize(6), 8u);
  EXPECT_EQ(Index::StatementsPerCommit(), 12);
  EXPECT_EQ(Index::CommitIntervalMs(), 345);
  library.Initialize({4096, {}, 100, 10000});
  EXPECT_FALSE(DataTypeRegistry::Process().IsRegistered(5));
  EXPECT_TRUE(library.MaintenanceRunning());
  library.Terminate();
  EXPECT_FALSE(library.MaintenanceRunning());
}

}  // namespace
}  // namespace Varnholt::KrdFiles
