// Reusing prepared statements: one per text is kept, a text whose statement
// is still in use by an open cursor gets a fresh one, and nothing is left
// bound or running when a statement is reused.

#include "KrdFileLib/Index/StatementCache.h"

#include <set>

#include "tests/Index/IndexTestSupport.h"

namespace Varnholt::KrdFiles::Index {
namespace {

class StatementCacheTest : public CreatedIndexTest {
 protected:
  std::shared_ptr<StatementCache> NewCache() {
    return std::make_shared<StatementCache>(*SqliteDatabase::Open(path_, SQLITE_OPEN_READWRITE));
  }
  void InsertBlock(int32_t group, int64_t start) {
    SqlCommand insert("insert into data values (?, ?, ?, 0)");
    insert.AddIntParameter("channel_group_id", group);
    insert.AddInt64Parameter("start_time_offset", start);
    insert.AddInt64Parameter("end_time_offset", start);
    connection_.ExecuteCounted(insert);
  }
  std::shared_ptr<SqlQuery> StartsOf(int32_t group) {
    SqlCommand select(
        "select start_time_offset from data where channel_group_id = ? order by start_time_offset");
    select.AddIntParameter("@group", group);
    return connection_.ExecuteQuery(select);
  }
  static std::vector<int64_t> Rest(SqlQuery& query) {
    std::vector<int64_t> starts;
    for (; query.HasRow(); query.NextRow()) starts.push_back(query.GetInt64(0));
    return starts;
  }
};

TEST_F(StatementCacheTest, AnOpenCursorKeepsItsStatementWhileTheSameTextRunsAgain) {
  for (int64_t start : {0, 1, 2}) InsertBlock(4, start);
  InsertBlock(5, 9);
  const auto outer = StartsOf(4);
  ASSERT_EQ(outer->GetInt64(0), 0);
  outer->NextRow();
  EXPECT_EQ(Rest(*StartsOf(5)), std::vector<int64_t>{9});  // same text, other binding
  InsertBlock(4, 3);  // the insert statement is reused too, and counted
  EXPECT_EQ(connection_.PendingStatements(), 5);
  EXPECT_EQ(Rest(*outer), (std::vector<int64_t>{1, 2, 3}));
  EXPECT_EQ(Rest(*StartsOf(4)), (std::vector<int64_t>{0, 1, 2, 3}));
}

TEST_F(StatementCacheTest, KeepsOneIdleStatementPerTextResetAndUnbound) {
  const auto cache = NewCache();
  const std::string text = "select ? is null";
  std::set<SqlStatement*> prepared;
  {
    CachedStatement held = cache->Take(text);
    CachedStatement second = cache->Take(text);  // held is in use: a fresh one
    held->Bind(1, int32_t{5});
    EXPECT_EQ(held->Step(), SQLITE_ROW);  // left mid-way
    second->Bind(1, int32_t{6});
    prepared = {&*held, &*second};
  }
  EXPECT_EQ(prepared.size(), 2u);
  EXPECT_EQ(cache->IdleCount(), 1u);
  const CachedStatement again = cache->Take(text);
  EXPECT_EQ(prepared.count(&*again), 1u);
  EXPECT_EQ(again->Step(), SQLITE_ROW);
  EXPECT_EQ(again->ColumnInt(0), 1) << "the earlier binding was cleared";
}

TEST_F(StatementCacheTest, KeepsNoFailedPrepareAndABoundedNumberOfTexts) {
  const auto cache = NewCache();
  EXPECT_FALSE(cache->Take("selec 1")->IsPrepared());
  EXPECT_EQ(cache->IdleCount(), 0u);
  for (std::size_t i = 0; i < StatementCache::kMaxTexts + 10; ++i) {
    cache->Take("select " + std::to_string(i));
  }
  EXPECT_EQ(cache->IdleCount(), StatementCache::kMaxTexts);
}

TEST_F(StatementCacheTest, AStatementOutlivingItsCacheIsFinalisedOnItsOwn) {
  auto cache = NewCache();
  CachedStatement survivor = cache->Take("select 1");
  cache.reset();
  EXPECT_EQ(survivor->Step(), SQLITE_ROW);
  EXPECT_EQ(survivor->ColumnInt(0), 1);
}

}  // namespace
}  // namespace Varnholt::KrdFiles::Index
