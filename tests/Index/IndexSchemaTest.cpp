// The tables a new KRQ file is given, and the statement texts tables build.

#include <fstream>

#include "KrdFileLib/Index/DataTable.h"
#include "KrdFileLib/Index/DeviceTable.h"
#include "KrdFileLib/Index/FileInformationTable.h"
#include "KrdFileLib/Index/IndexSchema.h"
#include "tests/Index/IndexTestSupport.h"

namespace Varnholt::KrdFiles::Index {
namespace {

using ::testing::Pair;

const std::vector<std::string> kCreateTableTexts = {
    "CREATE TABLE post_process (post_process_id INTEGER PRIMARY KEY, channel_id INTEGER, "
    "post_process_index INTEGER, post_process_type INTEGER, is_default INTEGER, is_disabled "
    "INTEGER, data BLOB, label TEXT, is_unit_change INTEGER, unit BLOB, offset INTEGER)",
    "CREATE TABLE channel_group (group_id INTEGER PRIMARY KEY, time_base_divisor INTEGER, "
    "channel_count INTEGER, data_type INTEGER, offset INTEGER)",
    "CREATE TABLE channel (channel_id INTEGER PRIMARY KEY, channel_group_id INTEGER, "
    "physical_channel_id INTEGER, interleav_index INTEGER, disabled INTEGER, label TEXT, offset "
    "INTEGER)",
    "CREATE TABLE device_attributes (device_id INTEGER, attribute_key INTEGER, attribute_index "
    "INTEGER, attribute_value BLOB, offset INTEGER, PRIMARY KEY (device_id, attribute_key, "
    "attribute_index))",
    "CREATE TABLE device (device_id INTEGER PRIMARY KEY, parent_id INTEGER, label TEXT, offset "
    "INTEGER)",
    "CREATE TABLE event_source (event_source_id INTEGER PRIMARY KEY, physical_channel_id "
    "INTEGER, data_type INTEGER, label TEXT, offset INTEGER)",
    "CREATE TABLE event (event_id INTEGER PRIMARY KEY, event_source_id INTEGER, event_time "
    "INTEGER, data BLOB, offset INTEGER)",
    "CREATE TABLE file_information (device_id INTEGER PRIMARY KEY, uuid BLOB, file_version "
    "INTEGER, label TEXT, time_base INTEGER, real_time_start BLOB, real_time_start_type INTEGER, "
    "start_packet_offset INTEGER, annotation TEXT, annotation_offset INTEGER, file_duration "
    "INTEGER)",
    "CREATE TABLE physical_channel_attr (physical_channel_id INTEGER, attribute_key INTEGER, "
    "attribute_index INTEGER, attribute_value BLOB, offset INTEGER, PRIMARY KEY "
    "(physical_channel_id, attribute_key, attribute_index))",
    "CREATE TABLE physical_channel (channel_id INTEGER PRIMARY KEY, device_id INTEGER, "
    "channel_number INTEGER, label TEXT, offset INTEGER)",
    "CREATE TABLE data (channel_group_id INTEGER, start_time_offset INTEGER, end_time_offset "
    "INTEGER, offset INTEGER, PRIMARY KEY (channel_group_id, start_time_offset, "
    "end_time_offset))",
};

std::string FileContents(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

TEST(IndexTableTextTest, TablesGenerateTheSchemaInCreationOrder) {
  EXPECT_EQ(CreateTableTexts(), kCreateTableTexts);
}

TEST(IndexTableTextTest, StatementTextsAreBuiltFromTheColumns) {
  const DeviceTable device;
  const DataTable data;
  const FileInformationTable file;
  const ColumnFilter data_key = {&data.channel_group_id, &data.start_time_offset,
                                 &data.end_time_offset};
  const std::vector<std::pair<std::string, std::string>> texts = {
      {device.InsertText(false),
       "insert into device(device_id, parent_id, label, offset) "
       "values (?, ?, ?, ?)"},
      {device.InsertText(true), "insert into device(parent_id, label, offset) values (?, ?, ?)"},
      {data.InsertText(true),
       "insert into data(channel_group_id, start_time_offset, "
       "end_time_offset, offset) values (?, ?, ?, ?)"},
      {device.UpdateText(),
       "update device set parent_id = ?, label = ?, offset = ? "
       "where device_id = ?"},
      {data.UpdateText(),
       "update data set offset = ? where channel_group_id = ? and "
       "start_time_offset = ? and end_time_offset = ?"},
      {data.SelectText(data_key),
       "select * from data where channel_group_id = ? and "
       "start_time_offset = ? and end_time_offset = ?"},
      {file.SelectText({}), "select * from file_information"},
      {device.DeleteText({&device.device_id}), "delete from device where device_id = ?"},
      {device.CountText(), "SELECT COUNT(1) FROM device"},
      {device.ColumnSelectText("max(device_id)"), "select max(device_id) from device"},
      {device.IdSelectText("device_id", "parent_id"),
       "select device_id from device where parent_id = ?"},
      {device.PrimaryKeyList(), ""},
      {data.PrimaryKeyList(), "channel_group_id, start_time_offset, end_time_offset"},
  };
  for (const auto& [built, expected] : texts) EXPECT_EQ(built, expected);
}

using IndexSchemaTest = CreatedIndexTest;

TEST_F(IndexSchemaTest, ANewFileHoldsExactlyTheTablesInWalMode) {
  const auto query = connection_.ExecuteQuery(
      SqlCommand("select sql from sqlite_master where type = 'table' order by rowid"));
  std::vector<std::string> texts;
  for (; query->HasRow(); query->NextRow()) texts.push_back(query->GetText(0));
  EXPECT_EQ(texts, kCreateTableTexts);
  EXPECT_EQ(QueryInt64(connection_, "select count(1) from sqlite_master where sql is not null"),
            11);
  EXPECT_EQ(connection_.ExecuteQuery(SqlCommand("PRAGMA journal_mode"))->GetText(0), "wal");
  for (const char* table : {"post_process", "device", "file_information", "data"}) {
    EXPECT_EQ(RowCount(connection_, table), 0) << table;
  }
  EXPECT_TRUE(connection_.TableExists("data"));
  EXPECT_FALSE(connection_.TableExists("nothing"));
}

TEST_F(IndexSchemaTest, CreateOverAnExistingIndexEndsClosedAndChangesNothing) {
  connection_.Close();
  const std::string before = FileContents(path_);
  IndexConnection again(path_, clock_);
  EXPECT_THAT(Failure([&] { again.Create(); }), Pair(5, "KRQ file already exists."));
  EXPECT_FALSE(again.IsOpen());
  EXPECT_EQ(FileContents(path_), before);
}

TEST_F(IndexSchemaTest, CreateOverAFileWithoutTheDataTableStopsAtTheFirstTableThere) {
  connection_.ExecuteNonQuery(SqlCommand("drop table data"));
  connection_.Close();
  IndexConnection again(path_, clock_);
  EXPECT_THAT(Failure([&] { again.Create(); }), Pair(41, "table post_process already exists"));
}

TEST(IndexFileTest, CreateOverAFileThatIsNoDatabaseLeavesItAlone) {
  Testing::TempDir dir;
  const std::string path = dir.File("text.krq");
  const std::string text(4096, 'k');
  std::ofstream(path, std::ios::binary) << text;
  {
    IndexConnection connection(path, nullptr);
    EXPECT_THAT(Failure([&] { connection.Create(); }), Pair(41, "file is not a database"));
  }
  EXPECT_EQ(FileContents(path), text);
}

}  // namespace
}  // namespace Varnholt::KrdFiles::Index
