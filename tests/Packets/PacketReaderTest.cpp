#include "KrdFileLib/Packets/PacketReader.h"

#include <gtest/gtest.h>

#include "KrdFileLib/Exceptions.h"
#include "KrdFileLib/Packets/Coding.h"

namespace Varnholt::KrdFiles::Packets {
namespace {

constexpr const char* kTooSmall = "Packet parsing failed because the packet is too small.";

TEST(CodingTest, IntegersAreWrittenMostSignificantByteFirst) {
  Bytes out;
  PutUInt16(out, 0x0102);
  PutUInt32(out, 0x03040506);
  PutUInt64(out, 0x0708090A0B0C0D0Eull);
  PutBool8(out, true);
  EXPECT_EQ(out, (Bytes{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 1}));
}

TEST(CodingTest, String8StoresTheLengthModulo256AndCopiesEverything) {
  Bytes out;
  PutString8(out, std::string(300, 'x'));
  ASSERT_EQ(out.size(), 301u);
  EXPECT_EQ(out[0], 300 % 256);
}

TEST(PacketReaderTest, ReadsBackWhatTheWritersWrote) {
  Bytes body;
  PutUInt8(body, 0xFE);
  PutUInt16(body, 0xBEEF);
  PutUInt32(body, 0xDEADBEEF);
  PutUInt64(body, 0x0123456789ABCDEFull);
  PutString8(body, std::string("label"));
  PutUInt8(body, 2);  // any non-zero flag reads as true
  PutText(body, "rest");

  PacketReader reader(body);
  EXPECT_EQ(reader.ReadUInt8(), 0xFE);
  EXPECT_EQ(reader.ReadUInt16(), 0xBEEF);
  EXPECT_EQ(reader.ReadUInt32(), 0xDEADBEEFu);
  EXPECT_EQ(reader.ReadUInt64(), 0x0123456789ABCDEFull);
  EXPECT_EQ(reader.ReadString8(), "label");
  EXPECT_TRUE(reader.ReadBool8());
  EXPECT_FALSE(reader.IsFullyConsumed());
  EXPECT_EQ(reader.ReadRestAsString(), "rest");
  EXPECT_TRUE(reader.IsFullyConsumed());
  EXPECT_TRUE(reader.ReadRestAsBytes().empty());
}

TEST(PacketReaderTest, ShortFieldsFailAsTooSmallAfterConsumingWhatWasThere) {
  PacketReader reader(Bytes{1, 2, 3});
  try {
    reader.ReadUInt32();
    FAIL();
  } catch (const ApiException& e) {
    EXPECT_EQ(e.Code(), 3);
    EXPECT_STREQ(e.what(), kTooSmall);
  }
  EXPECT_EQ(reader.Position(), 3u);
}

TEST(PacketReaderTest, ALengthByteClaimingMoreThanRemainsFailsWithoutAPartialText) {
  PacketReader reader(Bytes{5, 'a', 'b'});
  EXPECT_THROW(reader.ReadString8(), FileLibraryException<3>);
  EXPECT_EQ(reader.Position(), 1u);
  EXPECT_THROW(reader.RequireBytes(3), FileLibraryException<3>);
  EXPECT_NO_THROW(reader.RequireBytes(2));
}

}  // namespace
}  // namespace Varnholt::KrdFiles::Packets
