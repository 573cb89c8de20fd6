#include "KrdFileLib/Index/IndexSchema.h"

#include "KrdFileLib/Index/ChannelGroupTable.h"
#include "KrdFileLib/Index/ChannelTable.h"
#include "KrdFileLib/Index/DataTable.h"
#include "KrdFileLib/Index/DeviceAttributesTable.h"
#include "KrdFileLib/Index/DeviceTable.h"
#include "KrdFileLib/Index/EventSourceTable.h"
#include "KrdFileLib/Index/EventTable.h"
#include "KrdFileLib/Index/FileInformationTable.h"
#include "KrdFileLib/Index/PhysicalChannelAttrTable.h"
#include "KrdFileLib/Index/PhysicalChannelTable.h"
#include "KrdFileLib/Index/PostProcessTable.h"
#include "KrdFileLib/Index/SqlStatement.h"

namespace Varnholt::KrdFiles::Index {

namespace {

// Calls visit with one instance of every index table, in the order a new
// KRQ file gets them.
template <typename Visit>
void ForEachTable(Visit visit) {
  visit(PostProcessTable());
  visit(ChannelGroupTable());
  visit(ChannelTable());
  visit(DeviceAttributesTable());
  visit(DeviceTable());
  visit(EventSourceTable());
  visit(EventTable());
  visit(FileInformationTable());
  visit(PhysicalChannelAttrTable());
  visit(PhysicalChannelTable());
  visit(DataTable());
}

// The schema entries that belong to a table of the library's: the table
// itself, its indexes and its triggers, with their SQL (NULL for the index
// SQLite makes for a key).
constexpr char kEntriesOfTableText[] =
    "select type, name, sql is null, coalesce(sql, '') from sqlite_master "
    "where lower(tbl_name) = lower(?)";

// Whether the file holds the table as the library makes it, and nothing
// more of it but the index of its key.
std::optional<TableNotAsMade> CheckTable(const SqliteDatabase& database, const IndexTable& table) {
  SqlStatement entries(database, kEntriesOfTableText);
  entries.CheckPrepared();
  const std::string name = table.TableName();
  entries.Bind(1, name);
  bool found = false;
  while (entries.Step() == SQLITE_ROW) {
    const std::string type = entries.ColumnText(0);
    const bool made_by_sqlite = entries.ColumnInt(2) != 0;
    const bool is_the_table = type == "table" && entries.ColumnText(1) == name &&
                              entries.ColumnText(3) == table.CreateTableText();
    if (!is_the_table && !(type == "index" && made_by_sqlite)) return TableNotAsMade{name, false};
    found = found || is_the_table;
  }
  if (!found) return TableNotAsMade{name, true};
  return std::nullopt;
}

}  // namespace

std::vector<std::string> CreateTableTexts() {
  std::vector<std::string> texts;
  ForEachTable([&](const IndexTable& table) { texts.push_back(table.CreateTableText()); });
  return texts;
}

std::optional<TableNotAsMade> FirstTableNotAsMade(const SqliteDatabase& database) {
  std::optional<TableNotAsMade> first;
  ForEachTable([&](const IndexTable& table) {
    if (!first) first = CheckTable(database, table);
  });
  return first;
}

}  // namespace Varnholt::KrdFiles::Index
