#include "KrdFileLib/DataTypeRegistry.h"

#include <gtest/gtest.h>

#include "KrdFileLib/Exceptions.h"

namespace Varnholt::KrdFiles {
namespace {

TEST(DataTypeRegistryTest, LastRowOfARepeatedIdWins) {
  DataTypeRegistry registry;
  registry.Replace({{5, 2}, {7, 8}, {5, 4}});
  EXPECT_EQ(registry.SampleSize(5), 4u);
  EXPECT_EQ(registry.SampleSize(7), 8u);
}

TEST(DataTypeRegistryTest, ReplaceForgetsEarlierTypes) {
  DataTypeRegistry registry;
  registry.Replace({{1, 2}});
  registry.Replace({{65535, 16}});
  EXPECT_FALSE(registry.IsRegistered(1));
  EXPECT_EQ(registry.SampleSize(65535), 16u);
}

TEST(DataTypeRegistryTest, UnknownIdIsCode36WithItsMessage) {
  DataTypeRegistry registry;
  try {
    registry.SampleSize(42);
    FAIL() << "expected a failure";
  } catch (const ApiException& e) {
    EXPECT_EQ(e.Code(), 36);
    EXPECT_STREQ(e.what(), "The specified data-type ID (42) is not registered.");
  }
}

}  // namespace
}  // namespace Varnholt::KrdFiles
