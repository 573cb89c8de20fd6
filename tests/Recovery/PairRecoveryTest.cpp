// Verify and Repair on pairs damaged by hand as a crash, a power loss or
// a stray write leaves them: what Verify finds, what Repair does and moves
// aside, that no byte of a whole packet changes, that a second run finds
// nothing more to do, and that the shared library reads the pair again.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "KrdFileLib/Recovery/PairRecovery.h"
#include "tests/Recovery/RebuiltIndexGolden.h"
#include "tests/Recovery/RecoveryFixture.h"

namespace Varnholt::Testing {
namespace {

using KrdFiles::Recovery::Repair;
using KrdFiles::Recovery::RepairReport;
using KrdFiles::Recovery::Verify;
using KrdFiles::Recovery::VerifyReport;
using ::testing::HasSubstr;
using Rows = std::vector<std::pair<std::string, int64_t>>;

// What Verify must find in a damaged pair, and what Repair then does (each
// action by its first word); built up finding by finding.
struct Expected {
  std::optional<uint64_t> torn_at;
  std::optional<uint64_t> damage_at;
  std::string damage_reason;
  std::vector<uint64_t> unindexed;
  Rows bad_rows;
  bool guid_mismatch = false;
  std::string unusable;  // part of the reason
  std::vector<std::string> actions;
  // The number the torn tail's side file gets when its name is taken.
  std::string side_file_number;
  std::string described;  // part of what Verify's report says

  Expected& Torn(uint64_t at) { return torn_at = at, *this; }
  Expected& Damage(uint64_t at, std::string reason) {
    damage_at = at;
    damage_reason = std::move(reason);
    return *this;
  }
  Expected& Unindexed(std::vector<uint64_t> offsets) {
    return unindexed = std::move(offsets), *this;
  }
  Expected& BadRows(Rows rows) { return bad_rows = std::move(rows), *this; }
  Expected& GuidMismatch() { return guid_mismatch = true, *this; }
  Expected& Unusable(std::string reason) { return unusable = std::move(reason), *this; }
  Expected& Actions(std::vector<std::string> words) { return actions = std::move(words), *this; }
  Expected& Says(std::string part) { return described = std::move(part), *this; }
  Expected& SideFileNumber(std::string number) {
    return side_file_number = std::move(number), *this;
  }
};

struct DamageCase {
  const char* name;
  std::function<Expected(const Pair&)> damage;
  // Whether damage in the middle of the data file stays after repair.
  bool damage_stays = false;
};
void PrintTo(const DamageCase& row, std::ostream* out) { *out << row.name; }

Expected TornFrame(const Pair& pair, std::size_t bytes) {
  const uint64_t end = pair.Size();
  pair.Append(Cut(pair.PacketBytes(pair.Nth(Kind::kEvent, -1)), bytes));
  return Expected().Torn(end).Actions({"moved"});
}

const DamageCase kDamageCases[] = {
    {"Clean", [](const Pair&) { return Expected{}; }},
    {"TornFrameOf1Byte", [](const Pair& pair) { return TornFrame(pair, 1); }},
    {"TornFrameOf4Bytes", [](const Pair& pair) { return TornFrame(pair, 4); }},
    {"TornBody",
     [](const Pair& pair) {
       const uint64_t end = pair.Size();
       pair.Append(Cut(pair.PacketBytes(pair.Nth(Kind::kData, 0)), 20));
       return Expected().Torn(end).Actions({"moved"});
     }},
    {"TornTailWhoseSideFileNameIsTaken",  // the file there is kept as it is
     [](const Pair& pair) {
       const uint64_t end = pair.Size();
       WriteFile(pair.krd + ".torn-" + std::to_string(end), {1, 2, 3});
       pair.Append(Cut(pair.PacketBytes(pair.Nth(Kind::kEvent, 0)), 7));
       return Expected().Torn(end).Actions({"moved"}).SideFileNumber("-1");
     }},
    {"ZeroFilledTail",
     [](const Pair& pair) {
       const uint64_t end = pair.Size();
       pair.Append(Bytes(3000, 0));
       return Expected().Torn(end).Actions({"moved"});
     }},
    {"ZeroFilledLastPacket",  // its row now points into the tail
     [](const Pair& pair) {
       const FramedPacket& last = pair.packets.back();
       pair.Overwrite(last.offset + 5, Bytes(last.size - 5, 0));
       return Expected()
           .Torn(last.offset)
           .BadRows({{"data", last.offset}})
           .Actions({"moved", "rebuilt"});
     }},
    {"UnknownTypeIdInTheMiddle",
     [](const Pair& pair) {
       const uint64_t at = pair.Nth(Kind::kEvent, 1).offset;
       pair.Overwrite(at, {99});
       return Expected()
           .Damage(at, "The packet type Id 99 is not recognized.")
           .BadRows({{"event", at},
                     {"data", pair.Nth(Kind::kData, -2).offset},
                     {"event", pair.Nth(Kind::kEvent, -1).offset},
                     {"data", pair.Nth(Kind::kData, -1).offset}})
           .Actions({"rebuilt"});
     },
     true},
    {"CorruptBodyInTheMiddle",  // a block naming a group that does not exist
     [](const Pair& pair) {
       const uint64_t at = pair.Nth(Kind::kData, -2).offset;
       pair.Overwrite(at + 13, {0, 77});
       return Expected()
           .Damage(at, "Could not find an channel group with the ID 77")
           .BadRows({{"data", at},
                     {"event", pair.Nth(Kind::kEvent, -1).offset},
                     {"data", pair.Nth(Kind::kData, -1).offset}})
           .Actions({"rebuilt"});
     },
     true},
    {"LaggingIndexWithItsLastGroupsRow",
     [](const Pair& pair) {
       return Expected().Unindexed(pair.LagFromGroup2(false)).Actions({"restored"});
     }},
    {"TornBodyAndLaggingIndexWithoutItsLastGroupsRow",
     [](const Pair& pair) {
       const uint64_t end = pair.Size();
       pair.Append(Cut(pair.PacketBytes(pair.Nth(Kind::kEvent, 0)), 9));
       return Expected()
           .Torn(end)
           .Unindexed(pair.LagFromGroup2(true))
           .Actions({"moved", "restored"});
     }},
    {"LaggingIndexOfAKeyGivenAgain",  // as an attribute deleted and created again leaves it
     [](const Pair& pair) {
       const uint64_t end = pair.Size();
       pair.Append(pair.PacketBytes(pair.Nth(Kind::kDeviceAttribute, 0)));
       return Expected().Unindexed({end}).Actions({"restored"});
     }},
    {"RebuildWithAGroupIdGivenAgain",  // as recorders wrote before IDs were kept
     [](const Pair& pair) {
       pair.Append(pair.PacketBytes(pair.Nth(Kind::kChannelGroup, 0)));
       std::filesystem::remove(pair.krq);
       return Expected().Unusable("could not be found").Actions({"rebuilt"});
     }},
    {"RowPointingInsideAPacket",
     [](const Pair& pair) {
       pair.Sql("UPDATE device SET offset = offset + 3");
       return Expected()
           .BadRows({{"device", pair.Nth(Kind::kDevice, 0).offset + 3}})
           .Actions({"rebuilt"});
     }},
    {"RowAtAPacketOfAnotherKind",
     [](const Pair& pair) {
       const uint64_t block = pair.Nth(Kind::kData, 0).offset;
       pair.Sql("UPDATE event SET offset = " + std::to_string(block) +
                " WHERE offset = " + std::to_string(pair.Nth(Kind::kEvent, 0).offset));
       return Expected().BadRows({{"event", static_cast<int64_t>(block)}}).Actions({"rebuilt"});
     }},
    {"RowAtTheEnd",  // the first offset past the last packet
     [](const Pair& pair) {
       const auto end = static_cast<int64_t>(std::filesystem::file_size(pair.krd));
       pair.Sql("UPDATE event SET offset = " + std::to_string(end) +
                " WHERE offset = " + std::to_string(pair.Nth(Kind::kEvent, 0).offset));
       return Expected()
           .BadRows({{"event", end}})
           .Says("points past the end of the data file")
           .Actions({"rebuilt"});
     }},
    {"GroupRowWithoutItsPacket",
     [](const Pair& pair) {
       pair.Sql("INSERT INTO channel_group VALUES (9, 10, 1, 5, -1)");
       return Expected().BadRows({{"channel_group", -1}}).Actions({"rebuilt"});
     }},
    {"GroupRowOfOtherChannels",  // channel counts and data types cannot be edited
     [](const Pair& pair) {
       pair.Sql("UPDATE channel_group SET channel_count = 5 WHERE group_id = 2");
       return Expected().BadRows({{"channel_group", -1}}).Actions({"rebuilt"});
     }},
    {"IndexOfAnotherRecording",  // recorded alike, so only the GUID differs
     [](const Pair& pair) {
       const std::string other = pair.krq.substr(0, pair.krq.size() - 7) + "other.krq";
       WriteFile(pair.krq, FileBytes(other));
       return Expected().GuidMismatch().Actions({"rebuilt"});
     }},
    {"IndexMissing",
     [](const Pair& pair) {
       std::filesystem::remove(pair.krq);
       return Expected().Unusable("could not be found").Actions({"rebuilt"});
     }},
    {"IndexOfRandomBytes",
     [](const Pair& pair) {
       Bytes noise(5000);
       for (std::size_t i = 0; i < noise.size(); ++i) noise[i] = static_cast<uint8_t>(i * 37 + 11);
       WriteFile(pair.krq, noise);
       return Expected().Unusable("not a database").Actions({"rebuilt"});
     }},
    {"IndexWithOtherTables",
     [](const Pair& pair) {
       WriteFile(pair.krq, {});
       pair.Sql("CREATE TABLE readings (offset INTEGER)");
       return Expected().Unusable("The index has no table").Actions({"rebuilt"});
     }},
    {"IndexWithAColumnOfAnotherType",
     [](const Pair& pair) {
       pair.Sql(
           "ALTER TABLE data RENAME TO old_data;"
           "CREATE TABLE data (channel_group_id INTEGER, start_time_offset INTEGER,"
           " end_time_offset INTEGER, offset TEXT);"
           "INSERT INTO data SELECT * FROM old_data; DROP TABLE old_data;");
       return Expected()
           .Unusable("table data is not as a recording's index has it")
           .Actions({"rebuilt"});
     }},
};

class PairRecoveryTest : public RecoveryFixture, public ::testing::WithParamInterface<DamageCase> {
 protected:
  Pair Recorded() {
    Record("rec");
    Record("other");
    return Pair{Krd(), Krq(), FramedPackets(FileBytes(Krd()))};
  }
};

Rows RowsOf(const VerifyReport& report) {
  Rows rows;
  for (const auto& row : report.bad_rows) rows.emplace_back(row.table, row.offset);
  return rows;
}

std::vector<std::string> FirstWords(const std::vector<std::string>& actions) {
  std::vector<std::string> words;
  for (const auto& action : actions) words.push_back(action.substr(0, action.find(' ')));
  return words;
}

void ExpectFindings(const VerifyReport& found, const Expected& want, uint64_t size) {
  ASSERT_EQ(found.torn_tail.has_value(), want.torn_at.has_value());
  if (want.torn_at) {
    EXPECT_EQ(found.torn_tail->offset, *want.torn_at);
    EXPECT_EQ(found.torn_tail->bytes, size - *want.torn_at);
  }
  ASSERT_EQ(found.damage.has_value(), want.damage_at.has_value());
  if (want.damage_at) {
    EXPECT_EQ(found.damage->offset, *want.damage_at);
    EXPECT_EQ(found.damage->reason, want.damage_reason);
  }
  EXPECT_EQ(found.unindexed_packets, want.unindexed);
  EXPECT_EQ(RowsOf(found), want.bad_rows);
  EXPECT_EQ(found.guid_mismatch, want.guid_mismatch);
  EXPECT_THAT(found.index_unusable.value_or(""), HasSubstr(want.unusable));
  EXPECT_EQ(found.index_unusable.has_value(), !want.unusable.empty());
  const std::string described = found.Describe();
  EXPECT_THAT(described, HasSubstr(want.described));
  const uint64_t lines = std::count(described.begin(), described.end(), '\n');
  const uint64_t findings = want.torn_at.has_value() + want.damage_at.has_value() +
                            want.unindexed.size() + want.bad_rows.size() + want.guid_mismatch +
                            !want.unusable.empty();
  EXPECT_EQ(lines, std::max<uint64_t>(findings, 1)) << described;
}

TEST_P(PairRecoveryTest, VerifyFindsTheDamageAndRepairMendsItOnce) {
  const Pair pair = Recorded();
  const Expected want = GetParam().damage(pair);
  const Bytes damaged = FileBytes(pair.krd);
  const Bytes old_index = FileBytes(pair.krq);
  const bool had_index = std::filesystem::exists(pair.krq);

  std::pair<uint64_t, uint64_t> last_progress;
  const VerifyReport found = Verify(pair.krd, pair.krq, [&](uint64_t walked, uint64_t total) {
    last_progress = {walked, total};
  });
  ExpectFindings(found, want, damaged.size());
  EXPECT_EQ(last_progress, (std::pair<uint64_t, uint64_t>{damaged.size(), damaged.size()}));
  EXPECT_EQ(FileBytes(pair.krd), damaged) << "Verify changes nothing";
  EXPECT_EQ(FileBytes(pair.krq), old_index) << "Verify changes nothing";

  const RepairReport done = Repair(pair.krd, pair.krq);
  ExpectGolden(std::string("Repair/") + GetParam().name, RowsNamingTheGuid(pair.krq, pair.krd));
  EXPECT_EQ(FirstWords(done.actions), want.actions) << ::testing::PrintToString(done.actions);
  std::vector<std::string> side_files;
  const uint64_t whole_end = want.torn_at.value_or(damaged.size());
  if (want.torn_at) {
    const std::string taken = pair.krd + ".torn-" + std::to_string(*want.torn_at);
    side_files.push_back(taken + want.side_file_number);
    EXPECT_EQ(FileBytes(side_files.back()), Bytes(damaged.begin() + whole_end, damaged.end()));
    if (!want.side_file_number.empty()) {
      EXPECT_EQ(FileBytes(taken), (Bytes{1, 2, 3})) << "a side file there already is kept";
    }
  }
  if (std::count(want.actions.begin(), want.actions.end(), "rebuilt") && had_index) {
    side_files.push_back(pair.krq + ".replaced");
    EXPECT_EQ(FileBytes(side_files.back()), old_index) << "the old index is kept as it was";
  }
  EXPECT_EQ(done.side_files, side_files);
  EXPECT_EQ(FileBytes(pair.krd), Bytes(damaged.begin(), damaged.begin() + whole_end))
      << "the whole packets are as they were";

  const VerifyReport again = Verify(pair.krd, pair.krq);
  if (GetParam().damage_stays) {
    ASSERT_TRUE(again.damage.has_value());
    EXPECT_EQ(again.damage->offset, *want.damage_at);
    EXPECT_EQ(RowsOf(again), Rows{}) << again.Describe();
    EXPECT_TRUE(again.unindexed_packets.empty() && !again.index_unusable && !again.torn_tail);
  } else {
    EXPECT_TRUE(again.IsClean()) << again.Describe();
  }
  const RepairReport second = Repair(pair.krd, pair.krq);
  EXPECT_EQ(second.actions, std::vector<std::string>{});
  EXPECT_EQ(second.side_files, std::vector<std::string>{});

  const std::string block_one = Block(0);
  EXPECT_EQ(ReadChannel1(0, 40),
            std::string({block_one[0], block_one[1], block_one[4], block_one[5], block_one[8],
                         block_one[9], block_one[12], block_one[13]}));
}

INSTANTIATE_TEST_SUITE_P(Recovery, PairRecoveryTest, ::testing::ValuesIn(kDamageCases),
                         [](const auto& info) { return std::string(info.param.name); });

// Repair is the recording's one writer while it runs: it refuses a pair
// that an editor (or a recorder) has open, as the open of a second editor
// is refused; Verify only reads. Both refuse paths that name one file.
TEST_F(RecoveryFixture, RepairWaitsForTheWriterToCloseThePair) {
  Record();
  const KrdFileHandle editor = OpenOrFail("rec", kEdit);
  EXPECT_EQ(Failure([&] { Repair(Krd(), Krq()); }),
            std::make_pair(36, "The KRD file (" + Krd() + ") is already open for writing."));
  EXPECT_TRUE(Verify(Krd(), Krq()).IsClean());
  EXPECT_EQ(Close(editor), 0);
  EXPECT_EQ(Repair(Krd(), Krq()).actions, std::vector<std::string>{});
  const std::string one_file = dir_.File(".") + "/rec.krd";
  EXPECT_EQ(Failure([&] { Verify(Krd(), one_file); }).first, 36);
  EXPECT_EQ(Failure([&] { Repair(Krd(), one_file); }).first, 36);
}

}  // namespace
}  // namespace Varnholt::Testing
