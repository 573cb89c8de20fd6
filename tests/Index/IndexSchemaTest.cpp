// The tables a new KRQ file is given, and creating one over a file that is there.

#include <fstream>

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
