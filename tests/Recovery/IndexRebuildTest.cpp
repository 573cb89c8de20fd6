// Rebuilding an index from its data file as the exported CreateIndex does,
// over a recording of every packet kind, the same damaged by hand, and the
// fuzz targets' seed files: the code and text of the outcome, the rows the
// new index holds (those of the packets before a failure included) and what
// became of the data file are those pinned in RebuiltIndexes.golden.

#include <gtest/gtest.h>

#include <cctype>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <string>

#include "KrdFileLib/File/KrfModes.h"
#include "KrdFileLib/Recovery/PairRecovery.h"
#include "KrdFileLibApi/CloseOnFailure.h"
#include "tests/Recovery/RebuiltIndexGolden.h"
#include "tests/Recovery/RecoveryFixture.h"

namespace Varnholt::Testing {
namespace {

// The 32-bit big-endian body length of a frame.
Bytes BodyLength(uint64_t length) {
  return {static_cast<uint8_t>(length >> 24), static_cast<uint8_t>(length >> 16),
          static_cast<uint8_t>(length >> 8), static_cast<uint8_t>(length)};
}

// A data block of group 1 at time 100 whose frame declares body_length
// bytes, followed by the fixed fields only.
Bytes BlockFrameAndFields(uint64_t body_length) {
  Bytes block = {static_cast<uint8_t>(Kind::kData)};
  for (const uint8_t byte : BodyLength(body_length)) block.push_back(byte);
  for (const uint8_t byte : {0, 0, 0, 0, 0, 0, 0, 100, 0, 1}) block.push_back(byte);
  return block;
}

Bytes SeedFile(const std::string& name) {
  return FileBytes(std::string(KRD_FUZZ_FOLDER) + "/" + name);
}

struct RebuildCase {
  const char* name;
  // Turns the recorded "rec.krd" into the data file to rebuild from.
  std::function<void(const Pair&)> make;
};
void PrintTo(const RebuildCase& row, std::ostream* out) { *out << row.name; }

RebuildCase Seed(const char* name) {
  return {name, [name](const Pair& pair) { WriteFile(pair.krd, SeedFile(name)); }};
}

const RebuildCase kRebuildCases[] = {
    {"Recording", [](const Pair&) {}},
    {"HeaderOnly",
     [](const Pair& pair) { WriteFile(pair.krd, pair.PacketBytes(pair.Nth(Kind::kHeader, 0))); }},
    {"NilGuid", [](const Pair& pair) { pair.Overwrite(15, Bytes(16, 0)); }},
    {"Empty", [](const Pair& pair) { WriteFile(pair.krd, {}); }},
    {"AnotherFileType", [](const Pair& pair) { pair.Overwrite(5, {'X'}); }},
    {"CutInAFrame",
     [](const Pair& pair) { pair.Append(Cut(pair.PacketBytes(pair.Nth(Kind::kEvent, 0)), 3)); }},
    {"CutInABody",
     [](const Pair& pair) { pair.Append(Cut(pair.PacketBytes(pair.Nth(Kind::kEvent, 0)), 9)); }},
    {"CutInABlocksFixedFields",
     [](const Pair& pair) { pair.Append(Cut(pair.PacketBytes(pair.Nth(Kind::kData, 0)), 11)); }},
    {"CutInTheLastBlocksSamples",  // a block's fixed fields are all a rebuild reads
     [](const Pair& pair) {
       const Bytes file = FileBytes(pair.krd);
       WriteFile(pair.krd, Bytes(file.begin(), file.end() - 1));
     }},
    {"BlockDeclaringFarMoreThanTheFileHolds",
     [](const Pair& pair) { pair.Append(BlockFrameAndFields(0x7FFFFFFE)); }},
    {"ZerosAtTheEnd", [](const Pair& pair) { pair.Append(Bytes(3000, 0)); }},
    {"UnknownTypeInTheMiddle",
     [](const Pair& pair) { pair.Overwrite(pair.Nth(Kind::kEvent, 1).offset, {99}); }},
    {"BodyLongerThanItsFields",
     [](const Pair& pair) {
       const FramedPacket& device = pair.Nth(Kind::kDevice, 0);
       pair.Overwrite(device.offset + 1, BodyLength(device.size - 5 + 1));
     }},
    {"BodyShorterThanItsFields",
     [](const Pair& pair) {
       const FramedPacket& device = pair.Nth(Kind::kDevice, 0);
       pair.Overwrite(device.offset + 1, BodyLength(device.size - 5 - 1));
     }},
    {"BlockOfAnUnknownGroup",
     [](const Pair& pair) {
       pair.Overwrite(pair.Nth(Kind::kData, 1).offset + 13, {0, 77});
     }},
    {"BlockOfAnUnregisteredDataType",
     [](const Pair& pair) {
       pair.Overwrite(pair.Nth(Kind::kChannelGroup, 0).offset + 12, {0, 99});
     }},
    {"BlockOfPartFrames",
     [](const Pair& pair) { pair.Overwrite(pair.Nth(Kind::kChannelGroup, 0).offset + 11, {3}); }},
    {"BlockWithoutSamples", [](const Pair& pair) { pair.Append(BlockFrameAndFields(10)); }},
    {"BlockTooSmallForItsFields",
     [](const Pair& pair) {
       pair.Append({static_cast<uint8_t>(Kind::kData), 0, 0, 0, 4, 1, 2, 3, 4});
     }},
    {"HeaderInTheMiddle",
     [](const Pair& pair) { pair.Append(pair.PacketBytes(pair.Nth(Kind::kHeader, 0))); }},
    {"StartGivenAgain",
     [](const Pair& pair) { pair.Append(pair.PacketBytes(pair.Nth(Kind::kStart, 0))); }},
    {"GroupIdGivenAgain",
     [](const Pair& pair) { pair.Append(pair.PacketBytes(pair.Nth(Kind::kChannelGroup, 0))); }},
    {"KeyGivenAgain",
     [](const Pair& pair) { pair.Append(pair.PacketBytes(pair.Nth(Kind::kDeviceAttribute, 0))); }},
    Seed("seeds-CreateIndexFuzzer/data.krd"),
    Seed("seeds-CreateIndexFuzzer/grown.krd"),
    Seed("seeds-CreateIndexFuzzer/header.krd"),
    Seed("seeds-CreateIndexFuzzer/recording.krd"),
    Seed("seeds-VerifyFuzzer/damaged.krd"),
    Seed("seeds-VerifyFuzzer/grown.krd"),
    Seed("seeds-VerifyFuzzer/recording.krd"),
    Seed("seeds-VerifyFuzzer/torn.krd"),
    Seed("seeds-VerifyFuzzer/zeros.krd"),
};

class IndexRebuildTest : public RecoveryFixture, public ::testing::WithParamInterface<RebuildCase> {
 protected:
  void SetUp() override {
    RecoveryFixture::SetUp();
    // The fuzz seeds' data types as well as the recording's.
    Configure(100, 10000, 64 * 1024, {{1, 2}, {2, 4}, {kSampleType, 2}});
    KrdFiles::DataTypeRegistry::Process().Replace({{1, 2}, {2, 4}, {kSampleType, 2}});
  }

  // What the exported CreateIndex does, with the failure's text, which it
  // does not keep.
  static std::pair<int32_t, std::string> Rebuild(const std::string& krd, const std::string& krq) {
    return Failure([&] {
      KrdFiles::KrfReindexer reindexer(krd, krq, std::make_shared<KrdFiles::FileLibrarySettings>(),
                                       nullptr);
      KrdFiles::CloseOnFailure close_on_failure(reindexer);
      reindexer.Open();
      reindexer.Reindex();
      close_on_failure.Release();
      reindexer.Close();
    });
  }
};

std::string Escaped(const std::string& text) {
  std::string escaped;
  for (const char c : text) escaped += c == '\r' ? "\\r" : c == '\n' ? "\\n" : std::string(1, c);
  return escaped;
}

TEST_P(IndexRebuildTest, GivesTheRowsCodeAndTextPinned) {
  Record();
  GetParam().make(Pair{Krd(), Krq(), FramedPackets(FileBytes(Krd()))});
  const Bytes damaged = FileBytes(Krd());

  const auto [code, text] = Rebuild(Krd(), Krq("rebuilt"));
  const std::string rows = RowsNamingTheGuid(Krq("rebuilt"), Krd());
  ExpectGolden(std::string("CreateIndex/") + GetParam().name,
               "outcome: " + std::to_string(code) + " " + Escaped(text) +
                   "\ndata file: " + DataFileChange(damaged, FileBytes(Krd())) + "\n" + rows);

  WriteFile(Krd(), damaged);
  HostBytes krd(Krd());
  HostBytes krq(Krq("exported"));
  EXPECT_EQ(CreateIndex(krd.String(), krq.String()), code) << "the exported function";
  EXPECT_EQ(RowsNamingTheGuid(Krq("exported"), Krd()), rows) << "the exported function";
}

INSTANTIATE_TEST_SUITE_P(Recovery, IndexRebuildTest, ::testing::ValuesIn(kRebuildCases),
                         [](const auto& info) {
                           std::string name = info.param.name;
                           for (char& c : name)
                             c = std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
                           return name;
                         });

// What this process has read so far, as Linux counts it: bytes and calls.
struct Reads {
  uint64_t bytes = 0;
  uint64_t calls = 0;
};

std::optional<Reads> ReadsSoFar() {
  std::ifstream io("/proc/self/io");
  Reads reads;
  std::string name;
  uint64_t value = 0;
  int found = 0;
  while (io >> name >> value) {
    if (name == "rchar:") reads.bytes = value, ++found;
    if (name == "syscr:") reads.calls = value, ++found;
  }
  if (found != 2) return std::nullopt;
  return reads;
}

// A walk through a data file, as a caller takes it.
struct WalkCase {
  const char* name;
  std::function<void(const std::string& krd, const std::string& krq)> walk;
};
void PrintTo(const WalkCase& row, std::ostream* out) { *out << row.name; }

const WalkCase kWalkCases[] = {
    {"CreateIndex",
     [](const std::string& krd, const std::string& krq) {
       HostBytes data(krd);
       HostBytes index(krq + ".new");
       EXPECT_EQ(CreateIndex(data.String(), index.String()), 0);
     }},
    {"Verify",
     [](const std::string& krd, const std::string& krq) {
       EXPECT_TRUE(KrdFiles::Recovery::Verify(krd, krq).IsClean());
     }},
    {"RepairBuildingANewIndex",
     [](const std::string& krd, const std::string& krq) {
       std::filesystem::remove(krq);
       EXPECT_EQ(KrdFiles::Recovery::Repair(krd, krq).actions.size(), 1u);
     }},
};

class DataFileWalkTest : public RecoveryFixture, public ::testing::WithParamInterface<WalkCase> {
 protected:
  // name.krd: one channel of 2-byte samples, blocks of block_bytes, back
  // to back in time.
  void RecordBlocks(const std::string& name, int blocks, std::size_t block_bytes) {
    const KrdFileHandle file = OpenOrFail(name, kRecord);
    DescribeOneChannel(file, kSampleType);
    HostBytes samples(std::string(block_bytes, '\x5A'));
    for (int block = 0; block < blocks; ++block) {
      ASSERT_EQ(RecordChannelGroupData(file, 1, block * static_cast<int64_t>(block_bytes / 2),
                                       samples.Array()),
                0);
    }
    ASSERT_EQ(Close(file), 0);
  }

  // What the walk reads of name.krd, its index included.
  Reads ReadsOfWalk(const std::string& name) {
    const std::optional<Reads> before = ReadsSoFar();
    GetParam().walk(Krd(name), Krq(name));
    const std::optional<Reads> after = ReadsSoFar();
    return Reads{after->bytes - before->bytes, after->calls - before->calls};
  }
};

// The walk reads the file a chunk at a time, never a packet at a time, and
// passes over the samples of large blocks without reading them.
TEST_P(DataFileWalkTest, ReadsInChunksAndPassesOverSamples) {
  if (!ReadsSoFar()) GTEST_SKIP() << "no /proc/self/io to count reads with";
  constexpr int kSmallBlocks = 20000;
  RecordBlocks("small", kSmallBlocks, 4);
  EXPECT_LT(ReadsOfWalk("small").calls, kSmallBlocks / 10u);

  RecordBlocks("large", 48, 512 * 1024);
  EXPECT_LT(ReadsOfWalk("large").bytes, std::filesystem::file_size(Krd("large")) / 8);
}

INSTANTIATE_TEST_SUITE_P(Recovery, DataFileWalkTest, ::testing::ValuesIn(kWalkCases),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace Varnholt::Testing
