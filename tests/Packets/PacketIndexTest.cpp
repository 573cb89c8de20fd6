// The checks on the index side of the packets that no host reaches through
// the exported functions.

#include <functional>

#include "KrdFileLib/Packets/ChannelPacket.h"
#include "KrdFileLib/Packets/DeviceAttributePacket.h"
#include "KrdFileLib/Packets/DevicePacket.h"
#include "KrdFileLib/Packets/EventPacket.h"
#include "KrdFileLib/Packets/PostProcessPacket.h"
#include "tests/Packets/PacketTestSupport.h"

namespace Varnholt::KrdFiles::Packets {
namespace {

using Connection = Index::IndexConnection;

struct RuleCase {
  const char* name;
  std::function<void(Connection&)> call;  // runs on an index holding the setup below
  int32_t code;
  std::string message;
};

void PrintTo(const RuleCase& rule, std::ostream* out) { *out << rule.name; }

PostProcessPacket::Step StepAt(uint16_t channel, uint8_t index) {
  PostProcessPacket::Step step;
  step.channel_id = channel;
  step.post_process_index = index;
  return step;
}

// The checks that no host reaches through the exported functions (a row
// found by its key is always recorded). Setup: root device 0 with child 1
// (attribute 2/3), channel group 1 of three channels, channel 1 in it with
// a step at index 0.
const RuleCase kRuleCases[] = {
    {"EventLookupBeyond16Bits", [](Connection& c) { EventPacket::Find(c, 70000); }, 25,
     "Could not find an event with the ID 70000"},
    {"UnrecordedDevice", [](Connection& c) { DevicePacket().RequireRecorded(c); }, 42,
     "The device packet is not recorded in the KRQ file."},
    {"UnrecordedDeviceAttribute",
     [](Connection& c) { DeviceAttributePacket(1, 2, 4, {}).RequireRecorded(c); }, 42,
     "The device-attribute packet is not recorded in the KRQ file."},
    {"UnrecordedPostProcess",
     [](Connection& c) { PostProcessPacket(StepAt(1, 0)).RequireRecorded(c); }, 42,
     "The post-process packet is not recorded in the KRQ file."},
    {"UnrecordedEvent", [](Connection& c) { EventPacket(1, 0, {}).RequireRecorded(c); }, 42,
     "The event packet is not recorded in the KRQ file."},
};

class IndexRuleTest : public PacketFileTest, public ::testing::WithParamInterface<RuleCase> {
 protected:
  void SetUp() override {
    PacketFileTest::SetUp();
    DevicePacket(kNoParentDeviceId, "root").AddToIndex(index_);
    DevicePacket(0, "child").AddToIndex(index_);
    DeviceAttributePacket(1, 2, 3, {}).AddToIndex(index_);
    AddGroup(10, 3);
    ChannelPacket(1, 1, 0, "").AddToIndex(index_);
    PostProcessPacket(StepAt(1, 0)).AddToIndex(index_);
  }
};

TEST_P(IndexRuleTest, RaisesItsCodeAndMessage) {
  EXPECT_EQ(Failure([&] { GetParam().call(index_); }),
            std::make_pair(GetParam().code, GetParam().message));
}

INSTANTIATE_TEST_SUITE_P(Cases, IndexRuleTest, ::testing::ValuesIn(kRuleCases),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace Varnholt::KrdFiles::Packets
