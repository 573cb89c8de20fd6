// Files that are not what they should be: data files that are not this
// library's, which Verify and Repair refuse before touching anything, and
// index files of every wrong kind, which the shared library refuses to
// open with a code and a text instead of crashing.

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <ostream>
#include <string>

#include "KrdFileLib/Recovery/PairRecovery.h"
#include "tests/Recovery/RecoveryFixture.h"

namespace Varnholt::Testing {
namespace {

using KrdFiles::Recovery::Repair;
using KrdFiles::Recovery::Verify;

// A data file made from a good recording's bytes.
struct ForeignDataFile {
  const char* name;
  std::function<Bytes(const Bytes& recording)> make;
  std::string message;
};
void PrintTo(const ForeignDataFile& row, std::ostream* out) { *out << row.name; }

const ForeignDataFile kForeignDataFiles[] = {
    {"Empty", [](const Bytes&) { return Bytes{}; }, "KRD file ended unexpectedly."},
    {"HeaderCutShort", [](const Bytes& file) { return Bytes(file.begin(), file.begin() + 20); },
     "KRD file ended unexpectedly."},
    {"OtherFileType",
     [](const Bytes& file) {
       Bytes other = file;
       other[5] = 'X';  // the first byte of the header's file type
       return other;
     },
     "File header does not contain a valid file type string."},
    {"NoHeaderFirst",  // the recording from its device packet on
     [](const Bytes& file) {
       const auto packets = FramedPackets(file);
       const auto device = std::find_if(packets.begin(), packets.end(), [](const auto& packet) {
         return packet.kind == Kind::kDevice;
       });
       return Bytes(file.begin() + device->offset, file.end());
     },
     "The KRD file does not begin with a header packet."},
    {"UnknownFirstPacket", [](const Bytes&) { return Bytes{99, 0, 0, 0, 1, 0}; },
     "The packet type Id 99 is not recognized."},
};

class ForeignDataFileTest : public RecoveryFixture,
                            public ::testing::WithParamInterface<ForeignDataFile> {};

TEST_P(ForeignDataFileTest, IsRefusedBeforeAnythingIsWritten) {
  Record();
  const Bytes data = GetParam().make(FileBytes(Krd()));
  WriteFile(Krd(), data);
  const Bytes index = FileBytes(Krq());
  EXPECT_EQ(Failure([&] { Verify(Krd(), Krq()); }), std::make_pair(3, GetParam().message));
  EXPECT_EQ(Failure([&] { Repair(Krd(), Krq()); }), std::make_pair(3, GetParam().message));
  EXPECT_EQ(FileBytes(Krd()), data);
  EXPECT_EQ(FileBytes(Krq()), index);
  for (const auto& entry : std::filesystem::directory_iterator(dir_.Path())) {
    EXPECT_EQ(entry.path().string().find(".torn"), std::string::npos) << entry.path();
    EXPECT_EQ(entry.path().string().find(".replaced"), std::string::npos) << entry.path();
  }
}

INSTANTIATE_TEST_SUITE_P(Recovery, ForeignDataFileTest, ::testing::ValuesIn(kForeignDataFiles),
                         [](const auto& info) { return std::string(info.param.name); });

// An index file that is not an index of this library; make turns the
// recording's own index into it.
struct ForeignIndexFile {
  const char* name;
  std::function<void(const std::string& krq)> make;
  // What opening says, when the row checks it.
  std::string message = "";
};
void PrintTo(const ForeignIndexFile& row, std::ostream* out) { *out << row.name; }

// Every table of the index by name, each with columns of other types.
constexpr const char* kTablesOfOtherTypes =
    "CREATE TABLE post_process (post_process_id TEXT, channel_id BLOB, offset TEXT);"
    "CREATE TABLE channel_group (group_id TEXT, offset BLOB);"
    "CREATE TABLE channel (channel_id TEXT, offset BLOB);"
    "CREATE TABLE device_attributes (device_id TEXT, offset BLOB);"
    "CREATE TABLE device (device_id TEXT, parent_id TEXT, label INTEGER, offset BLOB);"
    "CREATE TABLE event_source (event_source_id TEXT, offset BLOB);"
    "CREATE TABLE event (event_id TEXT, offset BLOB);"
    "CREATE TABLE file_information (device_id TEXT, uuid INTEGER, file_version BLOB);"
    "CREATE TABLE physical_channel_attr (physical_channel_id TEXT, offset BLOB);"
    "CREATE TABLE physical_channel (channel_id TEXT, offset BLOB);"
    "CREATE TABLE data (channel_group_id TEXT, offset BLOB);";

const ForeignIndexFile kForeignIndexFiles[] = {
    {"RandomBytes",
     [](const std::string& krq) {
       Bytes noise(4096);
       for (std::size_t i = 0; i < noise.size(); ++i) noise[i] = static_cast<uint8_t>(i * 151 + 7);
       WriteFile(krq, noise);
     }},
    {"EmptyFile", [](const std::string& krq) { WriteFile(krq, {}); }},
    {"TextFile",
     [](const std::string& krq) {
       const std::string text = "device,label\n0,rig\n";
       WriteFile(krq, Bytes(text.begin(), text.end()));
     }},
    {"DatabaseOfOtherTables",
     [](const std::string& krq) {
       WriteFile(krq, {});
       ASSERT_TRUE(ExecuteSql(krq, "CREATE TABLE samples (t INTEGER, v REAL)"));
     }},
    {"TablesOfOtherColumnTypes",
     [](const std::string& krq) {
       WriteFile(krq, {});
       ASSERT_TRUE(ExecuteSql(krq, kTablesOfOtherTypes));
     }},
    // The recording's own index, with SQL someone added that would run
    // inside the library's statements: never run, the file is refused.
    {"TriggerOnATable",
     [](const std::string& krq) {
       ASSERT_TRUE(ExecuteSql(krq,
                              "CREATE TRIGGER t AFTER INSERT ON device BEGIN "
                              "DELETE FROM event; END"));
     },
     "The index file's table device is not as a recording's index has it (other columns, "
     "constraints, indexes or triggers); the file may come from another program."},
    {"ViewInPlaceOfATable",
     [](const std::string& krq) {
       ASSERT_TRUE(ExecuteSql(krq,
                              "DROP TABLE channel_group; CREATE VIEW channel_group AS "
                              "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) "
                              "SELECT i AS group_id FROM n"));
     }},
    {"ConstraintOnAColumn",
     [](const std::string& krq) {
       ASSERT_TRUE(ExecuteSql(krq,
                              "ALTER TABLE event ADD COLUMN x INTEGER CHECK "
                              "(length(zeroblob(100000000)) > 0)"));
     }},
    {"GeneratedColumn",
     [](const std::string& krq) {
       ASSERT_TRUE(ExecuteSql(krq,
                              "ALTER TABLE device ADD COLUMN g BLOB GENERATED ALWAYS AS "
                              "(zeroblob(100000000)) VIRTUAL"));
     }},
    {"ExpressionIndex",
     [](const std::string& krq) {
       ASSERT_TRUE(ExecuteSql(krq, "CREATE INDEX i ON physical_channel (length(label) * 2)"));
     }},
    {"SqliteHeaderThenNoise",
     [](const std::string& krq) {
       Bytes file(8192, 0xA5);
       const std::string magic = "SQLite format 3";
       std::copy(magic.begin(), magic.end() + 1, file.begin());
       WriteFile(krq, file);
     }},
};

class ForeignIndexFileTest : public RecoveryFixture,
                             public ::testing::WithParamInterface<ForeignIndexFile> {};

TEST_P(ForeignIndexFileTest, OpeningFailsWithACodeAndAText) {
  Record();
  GetParam().make(Krq());
  for (const uint8_t mode : {kRead, kEdit}) {
    HostBytes krd(Krd());
    HostBytes krq(Krq());
    KrdFileHandle file = 99;
    KrdStringHandle text = nullptr;
    EXPECT_NE(DebugOpen(krd.String(), krq.String(), mode, &file, &text), 0) << int{mode};
    const std::string message = TakeBytes(text);
    EXPECT_NE(message, "") << int{mode};
    if (!GetParam().message.empty()) {
      EXPECT_EQ(message, GetParam().message);
    }
    EXPECT_EQ(file, 0u);
  }
  EXPECT_TRUE(KrdFiles::Recovery::Verify(Krd(), Krq()).index_unusable.has_value());
}

INSTANTIATE_TEST_SUITE_P(Recovery, ForeignIndexFileTest, ::testing::ValuesIn(kForeignIndexFiles),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace Varnholt::Testing
