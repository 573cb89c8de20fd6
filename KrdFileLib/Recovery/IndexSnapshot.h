#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "CommonLib/NonCopyableClassBase.h"
#include "KrdFileLib/Index/SqlStatement.h"
#include "KrdFileLib/Index/SqliteDatabase.h"
#include "KrdFileLib/Recovery/PacketKinds.h"

namespace Varnholt::KrdFiles::Recovery {

// A recording's index as recovery reads it: opened for reading only, with
// one read transaction held from the first read to the end, so that every
// question is answered from the same state even while a repair writes to
// the index through another connection. Offsets are read a row at a time
// in offset order, so a large index is never held in memory (SQLite sorts
// in its own bounded sorter).
//
// An index that cannot serve as one (no file, not a database, a table or
// column missing or of another type) is not an error here: Usable() says
// so and UnusableReason() why. Reads that fail later throw code 41.
class IndexSnapshot : public CommonLib::NonCopyableClassBase {
 public:
  explicit IndexSnapshot(const std::string& path);
  ~IndexSnapshot();

  bool Usable() const { return !unusable_reason_; }
  const std::optional<std::string>& UnusableReason() const { return unusable_reason_; }

  // The file_information row, when there is one.
  struct HeaderRow {
    std::vector<uint8_t> uuid;
    bool has_start = false;
    bool has_annotation = false;
  };
  std::optional<HeaderRow> ReadHeaderRow();
  // The greatest offset any row names; nothing when no row names one.
  std::optional<int64_t> GreatestOffset();
  bool HasGroupRow(uint16_t group_id);

  // A cursor over the rows of one query, stepped one row at a time.
  class Rows {
   public:
    bool HasRow() const { return has_row_; }
    void Next();
    int64_t Int64(int column) const { return statement_->ColumnInt64(column); }

   private:
    friend class IndexSnapshot;
    explicit Rows(std::unique_ptr<Index::SqlStatement> statement);
    std::unique_ptr<Index::SqlStatement> statement_;
    bool has_row_ = false;
  };

  // Every row that names a packet, in offset order: what OffsetTables()
  // lists, and the file_information row for the header at 0. Column 0 is
  // the offset (-1 for a row without one where every row has one), and
  // column 1 tells TableOfRow which table and column the row is from.
  Rows ReadOffsetRows();
  static const OffsetTable& TableOfRow(const Rows& rows);

  // The channel_group rows: the group's ID, its offset column (-1 when
  // empty), its channel count and its data type, in columns 0 to 3.
  Rows ReadGroupRows();

  // What the header's row stands for in OffsetRows.
  static const OffsetTable kHeaderRow;

 private:
  std::optional<std::string> CheckSchema();
  std::unique_ptr<Index::SqlStatement> Prepare(const std::string& text);

  std::optional<Index::SqliteDatabase> database_;
  std::optional<std::string> unusable_reason_;
  std::unique_ptr<Index::SqlStatement> group_lookup_;
};

}  // namespace Varnholt::KrdFiles::Recovery
