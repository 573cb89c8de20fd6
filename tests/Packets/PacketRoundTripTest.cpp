// Every packet type against its exact byte layout, and through the file and
// back. (Their index rows, added and rebuilt, are the host tests' and
// RebuiltIndexes.golden's.)

#include <functional>

#include "KrdFileLib/Packets/AnnotationPacket.h"
#include "KrdFileLib/Packets/ChannelPacket.h"
#include "KrdFileLib/Packets/DataPacket.h"
#include "KrdFileLib/Packets/DeviceAttributePacket.h"
#include "KrdFileLib/Packets/DevicePacket.h"
#include "KrdFileLib/Packets/EventPacket.h"
#include "KrdFileLib/Packets/EventSourcePacket.h"
#include "KrdFileLib/Packets/HeaderPacket.h"
#include "KrdFileLib/Packets/PhysicalChannelAttributePacket.h"
#include "KrdFileLib/Packets/PhysicalChannelPacket.h"
#include "KrdFileLib/Packets/PostProcessPacket.h"
#include "KrdFileLib/Packets/StartPacket.h"
#include "tests/Packets/PacketTestSupport.h"

namespace Varnholt::KrdFiles::Packets {
namespace {

using PacketPtr = std::shared_ptr<PacketBase>;

struct PacketCase {
  const char* name;
  std::function<PacketPtr(const ChannelGroupPacket& group)> make;
  Bytes image;  // exactly what make's packet writes; none for the header, see HeaderLayoutTest
};

void PrintTo(const PacketCase& packet_case, std::ostream* out) { *out << packet_case.name; }

// What a packet holds: its body, or for a data block read back (which
// leaves its samples in the file) the fixed fields and the end time.
Bytes Fields(const PacketBase& packet) {
  const auto* data = dynamic_cast<const DataPacket*>(&packet);
  if (data == nullptr) return packet.GetBodyBytes();
  Bytes fields;
  PutUInt64(fields, static_cast<uint64_t>(data->StartTimeOffset()));
  PutUInt16(fields, data->ChannelGroupId());
  PutUInt64(fields, static_cast<uint64_t>(data->EndTimeOffset()));
  return fields;
}

const PacketCase kPacketCases[] = {
    {"Header", [](auto&) { return std::make_shared<HeaderPacket>(3, "ab", 0x01020304); }, {}},
    {"Device",
     [](auto&) { return std::make_shared<DevicePacket>(7, "ab"); },
     {2, 0, 0, 0, 7, 0xFF, 0xFE, 0, 7, 2, 'a', 'b'}},
    {"DeviceAttribute",
     [](auto&) {
       return std::make_shared<DeviceAttributePacket>(0x0102, 3, 4, Bytes{9, 8});
     },
     {3, 0, 0, 0, 8, 1, 2, 0, 3, 0, 4, 9, 8}},
    {"PhysicalChannel",
     [](auto&) { return std::make_shared<PhysicalChannelPacket>(5, 6, "x"); },
     {4, 0, 0, 0, 8, 0xFF, 0xFE, 0, 5, 0, 6, 1, 'x'}},
    {"PhysicalChannelAttribute",
     [](auto&) { return std::make_shared<PhysicalChannelAttributePacket>(1, 2, 3, Bytes{}); },
     {5, 0, 0, 0, 6, 0, 1, 0, 2, 0, 3}},
    {"ChannelGroup",
     [](auto&) { return std::make_shared<ChannelGroupPacket>(0x01020304, 3, kTwoByteType); },
     {6, 0, 0, 0, 9, 0xFF, 0xFF, 1, 2, 3, 4, 3, 0, 7}},
    {"Channel",
     [](auto&) { return std::make_shared<ChannelPacket>(1, 2, 3, ""); },
     {7, 0, 0, 0, 8, 0xFF, 0xFE, 0, 1, 0, 2, 3, 0}},
    {"EventSource",
     [](auto&) { return std::make_shared<EventSourcePacket>(2, 7, "e"); },
     {8, 0, 0, 0, 8, 0xFF, 0xFE, 0, 2, 0, 7, 1, 'e'}},
    {"EmptyEvent",
     [](auto&) { return std::make_shared<EventPacket>(1, 0x0102, Bytes{}); },
     {9, 0, 0, 0, 10, 0, 1, 0, 0, 0, 0, 0, 0, 1, 2}},
    {"EmptyStart",
     [](auto&) { return std::make_shared<StartPacket>(0, Bytes{}); },
     {10, 0, 0, 0, 2, 0, 0}},
    {"EmptyAnnotation",
     [](auto&) { return std::make_shared<AnnotationPacket>(""); },
     {11, 0, 0, 0, 0}},
    {"Data",
     [](const ChannelGroupPacket& group) {
       return std::make_shared<DataPacket>(group, 1000, Bytes{1, 2, 3, 4, 5, 6});
     },
     {12, 0, 0, 0, 16, 0, 0, 0, 0, 0, 0, 3, 0xE8, 0, 1, 1, 2, 3, 4, 5, 6}},
    {"PostProcess",
     [](auto&) {
       return std::make_shared<PostProcessPacket>(
           PostProcessPacket::Step{1, 2, 3, true, false, true, {'V'}, "L", {9}});
     },
     {13, 0, 0, 0, 13, 0, 1, 2, 0, 3, 1, 0, 1, 1, 'V', 1, 'L', 9}},
};

class PacketCaseTest : public PacketFileTest, public ::testing::WithParamInterface<PacketCase> {
 protected:
  void SetUp() override {
    PacketFileTest::SetUp();
    group_ = AddGroup(10, 3);  // group 1: frames of three 2-byte samples
  }
  PacketPtr Make() const { return GetParam().make(*group_); }

  std::shared_ptr<ChannelGroupPacket> group_;
};

// The cases that have a fixed image.
std::vector<PacketCase> CasesWithImages() {
  std::vector<PacketCase> kept;
  for (const PacketCase& packet_case : kPacketCases) {
    if (!packet_case.image.empty()) kept.push_back(packet_case);
  }
  return kept;
}

using PacketLayoutTest = PacketCaseTest;

TEST_P(PacketLayoutTest, ImageIsTheExactLayout) { EXPECT_EQ(Make()->GetImage(), GetParam().image); }

TEST_P(PacketCaseTest, ParsesBackAtItsOffsetAndTheNextPacketFollowsIt) {
  const PacketPtr packet = Make();
  const uint64_t offset = Write(*packet);
  AnnotationPacket next("next");
  Write(next);

  const PacketPtr parsed = ParseAt(offset);
  EXPECT_EQ(parsed->TypeId(), packet->TypeId());
  EXPECT_EQ(parsed->FileOffset(), offset);
  EXPECT_EQ(parsed->PacketSize(), next.FileOffset() - offset);
  EXPECT_EQ(parsed->PacketSize(), packet->PacketSize());
  EXPECT_EQ(Fields(*parsed), Fields(*packet));
  EXPECT_EQ(ParseAs<AnnotationPacket>(offset + parsed->PacketSize())->Text(), "next");
}

std::string CaseName(const ::testing::TestParamInfo<PacketCase>& info) { return info.param.name; }

INSTANTIATE_TEST_SUITE_P(AllTypes, PacketCaseTest, ::testing::ValuesIn(kPacketCases), CaseName);
INSTANTIATE_TEST_SUITE_P(FixedImages, PacketLayoutTest, ::testing::ValuesIn(CasesWithImages()),
                         CaseName);

using HeaderLayoutTest = PacketFileTest;

TEST_F(HeaderLayoutTest, NewHeaderCarriesTheFileTypeVersionAndItsGuid) {
  HeaderPacket header(0x0102, "ab", 0x01020304);
  Bytes expected{1, 0, 0, 0, 35, 'K', 'R', 'D', 0, 0, 0, 0, 0, 0x03, 0xE9};
  PutBytes(expected, header.Guid().bytes);
  PutBytes(expected, Bytes{1, 2, 2, 'a', 'b', 1, 2, 3, 4});
  EXPECT_EQ(header.GetImage(), expected);
  EXPECT_FALSE(header.Guid().IsNil());
  EXPECT_EQ(HeaderPacket(0, "", 0).GetImage().size(), 38u);
}

using PacketReadingTest = PacketFileTest;

TEST_F(PacketReadingTest, DeviceZeroIsTheRootWhateverParentTheFileGives) {
  const auto device = ParseAs<DevicePacket>(AppendRaw({2, 0, 0, 0, 5, 0, 0, 0, 7, 0}));
  EXPECT_EQ(device->ParentId(), kNoParentDeviceId);
  EXPECT_TRUE(device->IsRoot());
}

TEST_F(PacketReadingTest, AnyNonZeroFlagByteReadsTrueAndIsWrittenAsOne) {
  const auto step =
      ParseAs<PostProcessPacket>(AppendRaw({13, 0, 0, 0, 10, 0, 1, 0, 0, 0, 2, 0, 0, 0, 0}));
  EXPECT_TRUE(step->Fields().is_default);
  EXPECT_EQ(step->GetBodyBytes()[5], 1);
}

}  // namespace
}  // namespace Varnholt::KrdFiles::Packets
