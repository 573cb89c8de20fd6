// Rebuilding an index from its data file as the exported CreateIndex does,
// over a recording of every packet kind, the same damaged by hand, and the
// fuzz targets' seed files: the code and text of the outcome, the rows the
// new index holds (those of the packets before a failure included) and what
// became of the data file are those pinned in RebuiltIndexes.golden.

#include <gtest/gtest.h>

#include <cctype>
#include <functional>
#include <memory>
#include <ostream>
#include <string>

#include "KrdFileLib/File/KrfModes.h"
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

}  // namespace
}  // namespace Varnholt::Testing
