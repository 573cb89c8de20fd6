// Rows written and read through a table's columns, for every value type,
// and what a row written by another program reads as.

#include "KrdFileLib/Index/DeviceTable.h"
#include "KrdFileLib/Index/IndexTable.h"
#include "KrdFileLib/Index/TableColumn.h"
#include "tests/Index/IndexTestSupport.h"

namespace Varnholt::KrdFiles::Index {
namespace {

using CommonLib::Uuid;

// A table with a column of every value type.
class AllTypesTable final : public IndexTable {
 public:
  AllTypesTable() : IndexTable("all_types") {
    RegisterColumns({&id, &u8, &u16, &u32, &i64, &flag, &text, &blob, &uuid});
    RegisterRowId(id);
  }

  UInt32Column id{"id"};
  UInt8Column u8{"u8"};
  UInt16Column u16{"u16"};
  UInt32Column u32{"u32"};
  Int64Column i64{"i64"};
  BoolColumn flag{"flag"};
  TextColumn text{"text"};
  BlobColumn blob{"blob"};
  UuidColumn uuid{"uuid"};
};

struct Row {
  uint8_t u8;
  uint16_t u16;
  uint32_t u32;
  int64_t i64;
  bool flag;
  std::string text;
  Bytes blob;
};

void PrintTo(const Row& row, std::ostream* out) { *out << "u32_" << row.u32; }

class IndexTableRowTest : public CreatedIndexTest {
 protected:
  void SetUp() override {
    CreatedIndexTest::SetUp();
    connection_.ExecuteNonQuery(SqlCommand(table_.CreateTableText()));
  }

  // Inserts the row, then reads it back into a fresh buffer.
  void WriteAndReadBack(const Row& row, const Uuid& uuid) {
    table_.u8.Set(row.u8);
    table_.u16.Set(row.u16);
    table_.u32.Set(row.u32);
    table_.i64.Set(row.i64);
    table_.flag.Set(row.flag);
    table_.text.Set(row.text);
    table_.blob.Set(row.blob);
    table_.uuid.Set(uuid);
    table_.Insert(connection_, true);
    read_.id.Set(table_.id.Value());
    ASSERT_TRUE(read_.SelectFirst(connection_, {&read_.id}));
  }

  // Overwrites one stored column with an SQL value and reads the row again.
  void StoreAndReadBack(const std::string& column, const std::string& sql_value) {
    table_.Insert(connection_, true);
    connection_.ExecuteNonQuery(SqlCommand("update all_types set " + column + " = " + sql_value));
    ASSERT_TRUE(read_.SelectFirst(connection_, ColumnFilter{}));
  }

  AllTypesTable table_;
  AllTypesTable read_;
};

class IndexRoundTripTest : public IndexTableRowTest, public ::testing::WithParamInterface<Row> {};

TEST_P(IndexRoundTripTest, EveryValueComesBackAsWritten) {
  const Row& row = GetParam();
  const Uuid uuid = Uuid::Random();
  WriteAndReadBack(row, uuid);
  EXPECT_EQ(read_.id.Value(), 1u);
  EXPECT_EQ(read_.u8.Value(), row.u8);
  EXPECT_EQ(read_.u16.Value(), row.u16);
  EXPECT_EQ(read_.u32.Value(), row.u32);
  EXPECT_EQ(read_.i64.Value(), row.i64);
  EXPECT_EQ(read_.flag.Value(), row.flag);
  EXPECT_EQ(read_.text.Value(), row.text);
  EXPECT_EQ(read_.blob.Value(), row.blob);
  EXPECT_EQ(read_.uuid.Value(), uuid);
}

INSTANTIATE_TEST_SUITE_P(
    Values, IndexRoundTripTest,
    ::testing::Values(Row{0, 0, 0, 0, false, "", {}},
                      Row{255, 65535, 0x80000000u, INT64_MIN, true, "label", {0, 1, 2}},
                      Row{1, 2, 0xFFFFFFFFu, INT64_MAX, true, std::string(1000, 'a'),
                          Bytes(5000, 0xEE)}));

TEST_F(IndexTableRowTest, StoredFormsOfTheUnsignedTypes) {
  WriteAndReadBack(Row{0, 0, 0x80000000u, 0, false, "", {}}, Uuid::Nil());
  EXPECT_EQ(QueryInt64(connection_, "select u32 from all_types"), -2147483648);
  StoreAndReadBack("u8", "511");
  EXPECT_EQ(read_.u8.Value(), 255);
  StoreAndReadBack("u16", "74565");
  EXPECT_EQ(read_.u16.Value(), 0x2345);
}

TEST_F(IndexTableRowTest, ABoolIsTrueOnlyForAStoredOne) {
  for (const auto& [stored, expected] : std::vector<std::pair<const char*, bool>>{
           {"1", true}, {"2", false}, {"-1", false}, {"0", false}, {"NULL", false}}) {
    StoreAndReadBack("flag", stored);
    EXPECT_EQ(read_.flag.Value(), expected) << stored;
  }
}

TEST_F(IndexTableRowTest, NullTextAndBlobReadEmpty) {
  read_.text.Set("old");
  read_.blob.Set({1});
  StoreAndReadBack("text", "NULL");
  StoreAndReadBack("blob", "NULL");
  EXPECT_EQ(read_.text.Value(), "");
  EXPECT_EQ(read_.blob.Value(), Bytes{});
}

TEST_F(IndexTableRowTest, AUuidOfAnyOtherLengthReadsNil) {
  for (const char* stored : {"x'00112233445566778899AABBCCDDEE'", "x''", "NULL",
                             "x'00112233445566778899AABBCCDDEEFF00'"}) {
    read_.uuid.Set(Uuid::Random());
    StoreAndReadBack("uuid", stored);
    EXPECT_TRUE(read_.uuid.Value().IsNil()) << stored;
  }
}

TEST_F(IndexTableRowTest, TextIsStoredUpToAnEmbeddedNul) {
  WriteAndReadBack(Row{0, 0, 0, 0, false, std::string("ab\0cd", 5), {}}, Uuid::Nil());
  EXPECT_EQ(read_.text.Value(), "ab");
  EXPECT_EQ(QueryInt64(connection_, "select length(text) from all_types"), 2);
}

TEST_F(IndexTableRowTest, ARowIdIsCutToTheColumnsWidth) {
  connection_.ExecuteNonQuery(SqlCommand("insert into device(device_id) values (65537)"));
  DeviceTable device;
  device.Insert(connection_, true);
  EXPECT_EQ(device.device_id.Value(), 2);
}

}  // namespace
}  // namespace Varnholt::KrdFiles::Index
