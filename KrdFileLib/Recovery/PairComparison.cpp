#include "KrdFileLib/Recovery/PairComparison.h"

#include <algorithm>
#include <exception>
#include <limits>

#include "KrdFileLib/Errors.h"
#include "KrdFileLib/Index/IndexConnection.h"
#include "KrdFileLib/Packets/ChannelGroupPacket.h"
#include "KrdFileLib/Packets/HeaderPacket.h"

namespace Varnholt::KrdFiles::Recovery {

using Errors::Decimal;
using Packets::PacketTypeId;

namespace {

const OffsetTable& GroupTable() {
  const auto tables = OffsetTables();
  return *std::find_if(tables.begin(), tables.end(), [](const OffsetTable& table) {
    return table.kind == PacketTypeId::kChannelGroup;
  });
}

std::string Signed(int64_t value) { return std::to_string(value); }

// Carries a failure of the caller's own step out of the walk, past the
// handler that takes the index's failures for an unusable index.
struct StepFailure {
  std::exception_ptr failure;
};

}  // namespace

CommonLib::Uuid ReadOwnHeader(KrdInstance& file) {
  // The header never asks the index anything; ReadFromFile takes one for
  // the packet types that do.
  Index::IndexConnection no_index("", nullptr);
  return Packets::HeaderPacket::ReadFromFile(file, no_index)->Guid();
}

PairComparison::PairComparison(KrdInstance& file, const std::string& krq_path,
                               CommonLib::Uuid header_guid)
    : file_(file), krq_path_(krq_path), header_guid_(header_guid) {}

VerifyReport PairComparison::Run(const Progress& progress, const Unindexed& unindexed) {
  std::string unusable;
  {
    IndexSnapshot index(krq_path_);
    if (!index.Usable()) {
      unusable = *index.UnusableReason();
    } else {
      try {
        return Compare(index, progress, unindexed);
      } catch (const StepFailure& step) {
        std::rethrow_exception(step.failure);
      } catch (const Errors::E41& failure) {
        unusable = "The index cannot be read: " + failure.Message();
      }
    }
  }
  VerifyReport report = WalkAlone(progress);
  report.index_unusable = unusable;
  return report;
}

VerifyReport PairComparison::WalkAlone(const Progress& progress) {
  Walk::PacketCheck check(Walk::WalkRules::Recovery());
  RecoveryWalk walk(file_, check, progress);
  VerifyReport report;
  TakeWalkEnd(walk.Run([](const Walk::CheckedPacket&) {}), report);
  return report;
}

VerifyReport PairComparison::Compare(IndexSnapshot& index, const Progress& progress,
                                     const Unindexed& unindexed) {
  report_ = VerifyReport();
  last_packet_.reset();
  header_row_ = index.ReadHeaderRow();
  greatest_offset_ = index.GreatestOffset().value_or(-1);
  IndexSnapshot::Rows rows = index.ReadOffsetRows();
  Walk::PacketCheck check(Walk::WalkRules::Recovery());
  RecoveryWalk walk(file_, check, progress);
  const WalkEnd end = walk.Run([&](const Walk::CheckedPacket& packet) {
    MatchRows(rows, packet);
    last_packet_ = packet.frame;
    if (!IsUnindexed(index, packet)) return;
    AddUnindexed(packet.frame.offset);
    if (!unindexed) return;
    try {
      unindexed(packet);
    } catch (...) {
      throw StepFailure{std::current_exception()};
    }
  });
  MatchRemainingRows(rows, end);
  MatchGroupRows(index, check, end);
  if (header_row_) {
    const auto& uuid = header_row_->uuid;
    report_.guid_mismatch =
        !std::equal(uuid.begin(), uuid.end(), header_guid_.bytes.begin(), header_guid_.bytes.end());
  }
  TakeWalkEnd(end, report_);
  return std::move(report_);
}

void PairComparison::MatchRows(IndexSnapshot::Rows& rows, const Walk::CheckedPacket& packet) {
  const auto offset = static_cast<int64_t>(packet.frame.offset);
  for (; rows.HasRow() && rows.Int64(0) <= offset; rows.Next()) {
    const OffsetTable& table = IndexSnapshot::TableOfRow(rows);
    const int64_t row_offset = rows.Int64(0);
    if (row_offset < 0) {
      AddBadRow(table, row_offset, "names no place in the data file");
    } else if (row_offset < offset) {
      AddBadRow(table, row_offset, InsideLastPacket(row_offset));
    } else if (table.kind != packet.frame.type) {
      AddBadRow(table, row_offset,
                "points at " + APacketOfKind(packet.frame.type) + ", not at " +
                    APacketOfKind(table.kind));
    }
  }
}

void PairComparison::MatchRemainingRows(IndexSnapshot::Rows& rows, const WalkEnd& end) {
  for (; rows.HasRow(); rows.Next()) {
    const OffsetTable& table = IndexSnapshot::TableOfRow(rows);
    const int64_t offset = rows.Int64(0);
    const auto place = static_cast<uint64_t>(offset);
    if (offset < 0) {
      AddBadRow(table, offset, "names no place in the data file");
    } else if (place < end.whole_packets_end) {
      AddBadRow(table, offset, InsideLastPacket(offset));
    } else if (end.kind == WalkEnd::Kind::kDamage) {
      AddBadRow(table, offset,
                "lies past the damaged packet at " + Decimal(end.whole_packets_end) +
                    ", where the packets stop being readable");
    } else if (place < end.file_size) {
      AddBadRow(table, offset, "points into the torn tail at " + Decimal(end.whole_packets_end));
    } else {
      AddBadRow(table, offset,
                "points past the end of the data file (" + Decimal(end.file_size) + " bytes)");
    }
  }
}

void PairComparison::MatchGroupRows(IndexSnapshot& index, const Walk::PacketCheck& check,
                                    const WalkEnd& end) {
  const std::string where = end.kind == WalkEnd::Kind::kDamage
                                ? "before the damaged packet at " + Decimal(end.whole_packets_end)
                                : "in the data file";
  for (IndexSnapshot::Rows rows = index.ReadGroupRows(); rows.HasRow(); rows.Next()) {
    const int64_t group_id = rows.Int64(0);
    const bool is_group_id = group_id >= 0 && group_id <= std::numeric_limits<uint16_t>::max();
    const Packets::ChannelGroupPacket* packet =
        is_group_id ? check.LastGroup(static_cast<uint16_t>(group_id)) : nullptr;
    if (packet == nullptr) {
      AddBadRow(GroupTable(), rows.Int64(1),
                "names channel group " + Signed(group_id) + ", which no channel group packet " +
                    where + " defines");
    } else if (rows.Int64(2) != packet->ChannelCount() || rows.Int64(3) != packet->DataType()) {
      // Neither can be changed once recorded: the row is of another group.
      AddBadRow(GroupTable(), rows.Int64(1),
                "gives channel group " + Signed(group_id) + " " + Signed(rows.Int64(2)) +
                    " channels of data type " + Signed(rows.Int64(3)) + ", its last packet " +
                    Decimal(packet->ChannelCount()) + " of data type " +
                    Decimal(packet->DataType()));
    }
  }
}

bool PairComparison::IsUnindexed(IndexSnapshot& index, const Walk::CheckedPacket& packet) const {
  const PacketTypeId kind = packet.frame.type;
  if (kind == PacketTypeId::kHeader) return !header_row_;
  if (static_cast<int64_t>(packet.frame.offset) <= greatest_offset_) return false;
  switch (kind) {
    case PacketTypeId::kChannelGroup:
      return !index.HasGroupRow(packet.group_id);
    case PacketTypeId::kStart:
      return !header_row_ || !header_row_->has_start;
    case PacketTypeId::kAnnotation:
      return !header_row_ || !header_row_->has_annotation;
    default:
      return true;
  }
}

void PairComparison::AddBadRow(const OffsetTable& table, int64_t offset, std::string problem) {
  ++report_.bad_row_count;
  if (report_.bad_rows.size() >= VerifyReport::kListedFindings) return;
  const std::string column = table.column;
  const std::string prefix = column.empty() || column == "offset" ? std::string() : column + " ";
  report_.bad_rows.push_back({table.table, offset, prefix + std::move(problem)});
}

void PairComparison::AddUnindexed(uint64_t offset) {
  ++report_.unindexed_count;
  if (report_.unindexed_packets.size() < VerifyReport::kListedFindings) {
    report_.unindexed_packets.push_back(offset);
  }
}

std::string PairComparison::InsideLastPacket(int64_t offset) const {
  if (!last_packet_) return "points at no packet start (" + Signed(offset) + ")";
  return "points inside the " + KindName(last_packet_->type) + " packet at " +
         Decimal(last_packet_->offset);
}

void PairComparison::TakeWalkEnd(const WalkEnd& end, VerifyReport& report) {
  report.file_size = end.file_size;
  report.whole_packets_end = end.whole_packets_end;
  report.whole_packets = end.whole_packets;
  report.last_whole_packet = end.last_whole_packet;
  if (end.kind == WalkEnd::Kind::kTornTail) {
    report.torn_tail = VerifyReport::TornTail{end.whole_packets_end,
                                              end.file_size - end.whole_packets_end, end.reason};
  } else if (end.kind == WalkEnd::Kind::kDamage) {
    report.damage = VerifyReport::Damage{end.whole_packets_end, end.reason};
  }
}

}  // namespace Varnholt::KrdFiles::Recovery
