// The C++ layer under the exported functions where a host cannot see into
// it: Initialize's reading of the host's data-type table, and the handle
// table when a file fails to close.

#include <gtest/gtest.h>

#include <array>
#include <cstring>

#include "KrdFileLib/DataTypeRegistry.h"
#include "KrdFileLib/Errors.h"
#include "KrdFileLibApi/HostSettings.h"
#include "KrdFileLibApi/KrfFileTable.h"
#include "tests/TestSupport/Outcomes.h"

namespace Varnholt::KrdFiles {
namespace {

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

// A file whose Close fails, as one on a full disk does.
class FailingToClose : public KrfFileBase {
 public:
  FailingToClose() : KrfFileBase("unused.krd", "unused.krq", nullptr, nullptr) {}
  void Open() override {}
  void Close() override { throw Errors::KrdFileNotOpen(); }
};

TEST(KrfFileTableTest, ASlotIsFreedEvenWhenTheFilesCloseFails) {
  KrfFileTable table(std::make_shared<FileLibrarySettings>());
  const uint32_t handle = table.Issue(std::make_shared<FailingToClose>());
  EXPECT_EQ(Testing::Failure([&] { table.Close(handle); }).first, 37);
  EXPECT_EQ(table.FileInSlot(handle - 1), nullptr);
  EXPECT_EQ(table.Issue(std::make_shared<FailingToClose>()), handle);
}

}  // namespace
}  // namespace Varnholt::KrdFiles
