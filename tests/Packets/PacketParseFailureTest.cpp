// Damaged packets fail with the library's own errors: the cases that a
// rebuild of a damaged recording (RebuiltIndexes.golden) does not already
// pin. Arbitrary bytes are the fuzz target's job (fuzz/ParsePacketFuzzer).

#include "tests/Packets/PacketTestSupport.h"

namespace Varnholt::KrdFiles::Packets {
namespace {

constexpr const char* kTooSmall = "Packet parsing failed because the packet is too small.";
constexpr const char* kExtraData = "Packet parsing failed because the packet has extra data.";
constexpr const char* kEnded = "KRD file ended unexpectedly.";

struct DamagedCase {
  const char* name;
  Bytes file;  // parsed at offset 0
  int32_t code;
  std::string message;
};

void PrintTo(const DamagedCase& damaged, std::ostream* out) { *out << damaged.name; }

Bytes HeaderImage(uint32_t body_length, uint8_t label_length) {
  Bytes image{1};
  PutUInt32(image, body_length);
  image.resize(5 + 28, 0);
  image.push_back(label_length);
  image.resize(image.size() + 4, 0);  // time base
  return image;
}

const DamagedCase kDamagedCases[] = {
    {"TypeZero", {0, 0, 0, 0, 0}, 3, "The packet type Id 0 is not recognized."},
    {"TypeFourteen", {14, 0, 0, 0, 0}, 3, "The packet type Id 14 is not recognized."},
    // A body length of 4 GiB in a 20-byte file fails before anything that
    // size is allocated.
    {"BodyPastTheEnd",
     {1, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0},
     3,
     kEnded},
    {"HeaderOfThirtyTwoBytes", HeaderImage(32, 0), 3, kTooSmall},
    {"HeaderWithOneByteMore",
     [] {
       Bytes b = HeaderImage(34, 0);
       b.push_back(0);
       return b;
     }(),
     3, kExtraData},
    {"LabelLongerThanTheBody", HeaderImage(33, 200), 3, kTooSmall},
    {"ChannelGroupWithOneByteMore", {6, 0, 0, 0, 10, 0, 1, 0, 0, 0, 1, 3, 0, 7, 0}, 3, kExtraData},
    {"StartWithoutItsType", {10, 0, 0, 0, 1, 0}, 3, kTooSmall},
    {"PostProcessUnitPastTheEnd", {13, 0, 0, 0, 10, 0, 1, 0, 0, 0, 0, 0, 0, 5, 0}, 3, kTooSmall},
};

class DamagedPacketTest : public PacketFileTest,
                          public ::testing::WithParamInterface<DamagedCase> {};

TEST_P(DamagedPacketTest, FailsWithItsParsingError) {
  AppendRaw(GetParam().file);
  EXPECT_EQ(Failure([&] { ParseAt(0); }), std::make_pair(GetParam().code, GetParam().message));
}

INSTANTIATE_TEST_SUITE_P(Cases, DamagedPacketTest, ::testing::ValuesIn(kDamagedCases),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace Varnholt::KrdFiles::Packets
