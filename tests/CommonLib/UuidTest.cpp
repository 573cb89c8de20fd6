#include "CommonLib/Uuid.h"

#include <gtest/gtest.h>

#include <set>

namespace Varnholt::CommonLib {
namespace {

TEST(UuidTest, NilIsAllZeroAndRandomIsNot) {
  EXPECT_TRUE(Uuid::Nil().IsNil());
  EXPECT_FALSE(Uuid::Random().IsNil());
}

TEST(UuidTest, RandomCarriesVersionFourAndVariantBitsAndDiffers) {
  std::set<std::array<uint8_t, 16>> seen;
  for (int i = 0; i < 1000; ++i) {
    const Uuid uuid = Uuid::Random();
    EXPECT_EQ(uuid.bytes[6] >> 4, 0x4);
    EXPECT_EQ(uuid.bytes[8] >> 6, 0x2);
    seen.insert(uuid.bytes);
  }
  EXPECT_EQ(seen.size(), 1000u);
}

}  // namespace
}  // namespace Varnholt::CommonLib
