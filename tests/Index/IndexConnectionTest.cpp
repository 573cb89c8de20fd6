// Opening, creating and closing an index, statements and their failures.

#include <filesystem>

#include "KrdFileLib/Index/DataTable.h"
#include "KrdFileLib/Index/IndexConnection.h"
#include "tests/Index/IndexTestSupport.h"

namespace Varnholt::KrdFiles::Index {
namespace {

using ::testing::Pair;

class ClosedIndexTest : public ::testing::Test {
 protected:
  Testing::TempDir dir_;
  std::string path_ = dir_.File("index.krq");
  IndexConnection connection_{path_, std::make_shared<Testing::FakeClock>()};
};

TEST_F(ClosedIndexTest, CloseWithoutOpenDoesNothing) {
  connection_.Close();
  connection_.Close();
  EXPECT_FALSE(connection_.IsOpen());
}

TEST_F(ClosedIndexTest, OpenOfAMissingFileFailsWithCode4AndCreatesNothing) {
  EXPECT_THAT(Failure([&] { connection_.Open(); }), Pair(4, "The index file could not be found."));
  EXPECT_FALSE(connection_.IsOpen());
  EXPECT_FALSE(std::filesystem::exists(path_));
}

TEST_F(ClosedIndexTest, CreateInAMissingFolderFailsWithCode5) {
  IndexConnection connection(dir_.File("no/such/folder.krq"), nullptr);
  EXPECT_THAT(Failure([&] { connection.Create(); }), Pair(5, "KRQ file could not be created."));
  EXPECT_FALSE(connection.IsOpen());
}

TEST_F(ClosedIndexTest, EveryStatementBeforeOpeningFailsWithCode38) {
  const SqlCommand command("select 1");
  const std::vector<std::function<void()>> statements = {
      [&] { connection_.ExecuteNonQuery(command); }, [&] { connection_.ExecuteCounted(command); },
      [&] { connection_.ExecuteQuery(command); },    [&] { connection_.TableExists("data"); },
      [&] { connection_.CreateTables(); },           [&] { connection_.BeginTransaction(); },
      [&] { connection_.CommitTransaction(); },      [&] { connection_.LastInsertRowId(); },
  };
  for (const auto& statement : statements) {
    EXPECT_THAT(Failure(statement), Pair(38, "Index file must be opened first."));
  }
}

using IndexConnectionTest = CreatedIndexTest;

TEST_F(IndexConnectionTest, OpeningOrCreatingTwiceFailsWithCode36) {
  EXPECT_THAT(Failure([&] { connection_.Open(); }), Pair(36, "The index file is already open"));
  EXPECT_THAT(Failure([&] { connection_.Create(); }), Pair(36, "The index file is already open."));
  EXPECT_TRUE(connection_.IsOpen());
}

struct EngineFailure {
  const char* label;
  const char* statement;
  const char* engine_text;
};

void PrintTo(const EngineFailure& failure, std::ostream* out) { *out << failure.label; }

class IndexSqliteFailureTest : public CreatedIndexTest,
                               public ::testing::WithParamInterface<EngineFailure> {};

// Failures in preparing or stepping carry SQLite's own text with code 41,
// through either kind of execution, and leave the connection usable.
TEST_P(IndexSqliteFailureTest, CarriesTheEngineTextAndLeavesTheConnectionUsable) {
  connection_.ExecuteCounted(SqlCommand("insert into data values (1, 0, 1, 0)"));
  const SqlCommand command(GetParam().statement);
  EXPECT_THAT(Failure([&] { connection_.ExecuteCounted(command); }),
              Pair(41, GetParam().engine_text));
  EXPECT_THAT(Failure([&] { connection_.ExecuteQuery(command); }),
              Pair(41, GetParam().engine_text));
  EXPECT_EQ(connection_.PendingStatements(), 1);
  connection_.ExecuteCounted(SqlCommand("insert into data values (1, 2, 3, 0)"));
  connection_.Close();
  EXPECT_EQ(RowCount(*OpenReader(), "data"), 2);
}

INSTANTIATE_TEST_SUITE_P(
    Failures, IndexSqliteFailureTest,
    ::testing::Values(EngineFailure{"SyntaxError", "selec 1", "near \"selec\": syntax error"},
                      EngineFailure{"MissingTable", "select * from missing",
                                    "no such table: missing"},
                      EngineFailure{"DuplicateKey", "insert into data values (1, 0, 1, 5)",
                                    "UNIQUE constraint failed: data.channel_group_id, "
                                    "data.start_time_offset, data.end_time_offset"},
                      EngineFailure{"IntegerOverflow", "select abs(-9223372036854775807 - 1)",
                                    "integer overflow"}));

TEST_F(IndexConnectionTest, ParametersBeyondTheStatementsMarksAreRefused) {
  SqlCommand command("select ?");
  command.AddIntParameter("@first", 1);
  command.AddIntParameter("@second", 2);
  EXPECT_THAT(Failure([&] { connection_.ExecuteNonQuery(command); }),
              Pair(41, "column index out of range"));
}

TEST_F(IndexConnectionTest, ACursorMustBeExecutedOnceBeforeUse) {
  const auto query = connection_.PrepareQuery(SqlCommand("select 1"));
  const std::vector<std::function<void()>> uses = {
      [&] { query->NextRow(); },  [&] { query->GetInt(0); },  [&] { query->GetInt64(0); },
      [&] { query->GetBlob(0); }, [&] { query->GetText(0); },
  };
  for (const auto& use : uses) {
    EXPECT_THAT(Failure(use), Pair(41, "Statement must call Execute before anything else."));
  }
  query->Execute();
  EXPECT_EQ(query->GetInt(0), 1);
  EXPECT_THAT(Failure([&] { query->Execute(); }), Pair(41, "Cannot call Execute twice."));

  DataTable never_selected;
  EXPECT_THAT(Failure([&] { never_selected.NextRow(); }),
              Pair(41, "Statement must call Execute before anything else."));
}

TEST_F(IndexConnectionTest, AFailedPrepareIsReportedWhenTheCursorIsExecuted) {
  const auto query = connection_.PrepareQuery(SqlCommand("select * from missing"));
  EXPECT_EQ(query->GetErrorMessage(), "no such table: missing");
  EXPECT_THAT(Failure([&] { query->Execute(); }), Pair(41, "no such table: missing"));
}

TEST_F(IndexConnectionTest, ACursorKeepsItsValuesAndTheDatabaseBeyondClose) {
  for (int start = 0; start < 3; ++start) {
    SqlCommand insert("insert into data values (?, ?, ?, ?)");
    insert.AddIntParameter("channel_group_id", 4);
    insert.AddInt64Parameter("start_time_offset", start);
    insert.AddInt64Parameter("end_time_offset", start + 1);
    insert.AddInt64Parameter("offset", 0);
    connection_.ExecuteCounted(insert);
  }
  std::shared_ptr<SqlQuery> query;
  {
    SqlCommand select("select start_time_offset, ? from data order by start_time_offset");
    select.AddTextParameter("@label", std::string(100, 'x'));  // bound without copy
    query = connection_.ExecuteQuery(select);
  }
  connection_.Close();
  std::vector<int64_t> starts;
  for (; query->HasRow(); query->NextRow()) {
    starts.push_back(query->GetInt64(0));
    EXPECT_EQ(query->GetText(1), std::string(100, 'x'));
  }
  EXPECT_EQ(starts, (std::vector<int64_t>{0, 1, 2}));
  EXPECT_FALSE(query->NextRow());  // a finished cursor stays finished
}

TEST_F(IndexConnectionTest, ColumnsThatAreNotThereReadAsNull) {
  const auto query = connection_.ExecuteQuery(SqlCommand("select 7 where 0"));
  EXPECT_FALSE(query->HasRow());
  EXPECT_EQ(query->GetInt64(0), 0);
  const auto row = connection_.ExecuteQuery(SqlCommand("select 7"));
  EXPECT_EQ(row->GetInt(1), 0);
  EXPECT_EQ(row->GetText(-1), "");
}

}  // namespace
}  // namespace Varnholt::KrdFiles::Index
