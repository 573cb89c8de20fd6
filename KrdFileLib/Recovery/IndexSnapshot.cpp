#include "KrdFileLib/Recovery/IndexSnapshot.h"

#include "KrdFileLib/Errors.h"
#include "KrdFileLib/Index/ChannelGroupTable.h"
#include "KrdFileLib/Index/ChannelTable.h"
#include "KrdFileLib/Index/DataTable.h"
#include "KrdFileLib/Index/DeviceAttributesTable.h"
#include "KrdFileLib/Index/DeviceTable.h"
#include "KrdFileLib/Index/EventSourceTable.h"
#include "KrdFileLib/Index/EventTable.h"
#include "KrdFileLib/Index/FileInformationTable.h"
#include "KrdFileLib/Index/IndexSchema.h"
#include "KrdFileLib/Index/PhysicalChannelAttrTable.h"
#include "KrdFileLib/Index/PhysicalChannelTable.h"
#include "KrdFileLib/Index/PostProcessTable.h"
#include "KrdFileLib/DataFile/PlatformFile.h"

namespace Varnholt::KrdFiles::Recovery {

using Index::SqlStatement;
using Unset = OffsetTable::Unset;

const OffsetTable IndexSnapshot::kHeaderRow = {Index::FileInformationTable::kTableName, "",
                                               Packets::PacketTypeId::kHeader, Unset::kNone};

namespace {

// How long a read waits for a writer of another process to let go.
constexpr int kBusyTimeoutMs = 5000;

std::string Quoted(const std::string& name) { return "\"" + name + "\""; }

// One SELECT of the offsets a table's column names, tagged with the
// column's place in OffsetTables() (the header's row: the place past it).
std::string OffsetSelect(const OffsetTable& table, std::size_t place) {
  const std::string column = Quoted(table.column);
  const std::string tag = std::to_string(place);
  const std::string from = " FROM " + Quoted(table.table);
  switch (table.unset) {
    case Unset::kNone:
      return "SELECT coalesce(" + column + ", -1) AS place, " + tag + from;
    case Unset::kMinusOne:
      return "SELECT " + column + " AS place, " + tag + from + " WHERE " + column + " <> -1";
    case Unset::kZeroOrMinusOne:
      return "SELECT " + column + " AS place, " + tag + from + " WHERE " + column +
             " NOT IN (0, -1)";
  }
  return {};
}

std::string AllOffsetsSelect() {
  const auto tables = OffsetTables();
  std::string text = "SELECT 0 AS place, " + std::to_string(tables.size()) + " FROM " +
                     Quoted(Index::FileInformationTable::kTableName);
  for (std::size_t place = 0; place < tables.size(); ++place) {
    text += " UNION ALL " + OffsetSelect(tables[place], place);
  }
  return text;
}

}  // namespace

IndexSnapshot::IndexSnapshot(const std::string& path) {
  if (!PlatformFile::Exists(path)) {
    unusable_reason_ = Errors::IndexFileNotFound().Message();
    return;
  }
  database_ = Index::SqliteDatabase::Open(path, SQLITE_OPEN_READONLY);
  if (!database_) {
    unusable_reason_ = Errors::IndexFileNotFound().Message();
    return;
  }
  sqlite3_busy_timeout(database_->Handle(), kBusyTimeoutMs);
  try {
    Prepare("BEGIN")->Step();
    unusable_reason_ = CheckSchema();
  } catch (const ApiException& failure) {
    unusable_reason_ = failure.Message();
  }
}

IndexSnapshot::~IndexSnapshot() = default;

std::unique_ptr<SqlStatement> IndexSnapshot::Prepare(const std::string& text) {
  if (!database_) throw Errors::IndexNotOpen();
  auto statement = std::make_unique<SqlStatement>(*database_, text);
  statement->CheckPrepared();
  return statement;
}

std::optional<std::string> IndexSnapshot::CheckSchema() {
  const auto unlike = Index::FirstTableNotAsMade(*database_);
  if (!unlike) return std::nullopt;
  if (unlike->missing) return "The index has no table " + unlike->table + ".";
  return Errors::IndexTableUnlike(unlike->table).Message();
}

std::optional<IndexSnapshot::HeaderRow> IndexSnapshot::ReadHeaderRow() {
  const auto statement =
      Prepare("SELECT uuid, length(real_time_start) > 0, length(annotation) > 0 FROM " +
              Quoted(Index::FileInformationTable::kTableName) + " LIMIT 1");
  if (statement->Step() != SQLITE_ROW) return std::nullopt;
  return HeaderRow{statement->ColumnBlob(0), statement->ColumnInt(1) != 0,
                   statement->ColumnInt(2) != 0};
}

std::optional<int64_t> IndexSnapshot::GreatestOffset() {
  const auto statement =
      Prepare("SELECT max(place) IS NULL, max(place) FROM (" + AllOffsetsSelect() + ")");
  statement->Step();
  if (statement->ColumnInt(0) != 0) return std::nullopt;
  return statement->ColumnInt64(1);
}

bool IndexSnapshot::HasGroupRow(uint16_t group_id) {
  if (!group_lookup_) {
    group_lookup_ = Prepare("SELECT 1 FROM " + Quoted(Index::ChannelGroupTable::kTableName) +
                            " WHERE group_id = ?");
  }
  group_lookup_->Bind(1, int32_t{group_id});
  const bool found = group_lookup_->Step() == SQLITE_ROW;
  group_lookup_->Reset();
  return found;
}

IndexSnapshot::Rows IndexSnapshot::ReadOffsetRows() {
  return Rows(Prepare(AllOffsetsSelect() + " ORDER BY place"));
}

const OffsetTable& IndexSnapshot::TableOfRow(const Rows& rows) {
  const auto tables = OffsetTables();
  const int64_t place = rows.Int64(1);
  if (place >= 0 && static_cast<std::size_t>(place) < tables.size()) return tables[place];
  return kHeaderRow;
}

IndexSnapshot::Rows IndexSnapshot::ReadGroupRows() {
  return Rows(Prepare("SELECT group_id, coalesce(\"offset\", -1), channel_count, data_type FROM " +
                      Quoted(Index::ChannelGroupTable::kTableName)));
}

IndexSnapshot::Rows::Rows(std::unique_ptr<SqlStatement> statement)
    : statement_(std::move(statement)) {
  Next();
}

void IndexSnapshot::Rows::Next() { has_row_ = statement_->Step() == SQLITE_ROW; }

}  // namespace Varnholt::KrdFiles::Recovery
