#include "KrdFileLib/DataTypeRegistry.h"

#include <gtest/gtest.h>

namespace Varnholt::KrdFiles {
namespace {

// A host's table may name an ID twice; its last row counts. (A new table
// replacing the old and an unknown ID are host-visible: DataRecordingTest.)
TEST(DataTypeRegistryTest, LastRowOfARepeatedIdWins) {
  DataTypeRegistry registry;
  registry.Replace({{5, 2}, {7, 8}, {5, 4}});
  EXPECT_EQ(registry.SampleSize(5), 4u);
  EXPECT_EQ(registry.SampleSize(7), 8u);
}

}  // namespace
}  // namespace Varnholt::KrdFiles
