// How the post-process chain of a channel moves: each row starts from a
// chain, runs one operation and names the index every step has after it.

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "KrdFileLibApi.h"
#include "tests/Api/HostFixture.h"
#include "tests/Api/RecordingStructure.h"
#include "tests/Api/TestHost.h"

namespace Varnholt::Testing {
namespace {

struct ChainCase {
  const char* name;
  std::vector<uint8_t> chain;  // steps 1, 2, ... created at these indexes, in this order
  std::function<int32_t(KrdFileHandle)> operation;
  std::string expected;  // "step:index" for every step of the channel, by step
};
void PrintTo(const ChainCase& row, std::ostream* out) { *out << row.name; }

// Step n + 1 added to channel 1 at index.
template <typename Add>
std::function<int32_t(KrdFileHandle)> Adding(Add add, uint8_t index) {
  return [=](KrdFileHandle file) {
    uint32_t step = 0;
    return add(file, 1, index, 3, 0, 0, nullptr, HostBytes("new").String(), 0, nullptr, &step);
  };
}
std::function<int32_t(KrdFileHandle)> Moving(uint32_t step, uint8_t index) {
  return [=](KrdFileHandle file) { return SetPostProcessIndex(file, step, index); };
}
std::function<int32_t(KrdFileHandle)> Deleting(uint32_t step) {
  return [=](KrdFileHandle file) { return DeletePostProcess(file, step); };
}

std::string ChainOf(KrdFileHandle file) {
  KrdU32ArrayHandle list = nullptr;
  EXPECT_EQ(PostProcessList(file, 1, &list), 0);
  std::string chain;
  for (uint32_t step : TakeIds(list)) {
    uint8_t index = 0;
    EXPECT_EQ(GetPostProcessIndex(file, step, &index), 0);
    chain += (chain.empty() ? "" : " ") + std::to_string(step) + ":" + std::to_string(index);
  }
  return chain;
}

class PostProcessChainTest : public HostFixture, public ::testing::WithParamInterface<ChainCase> {
 protected:
  // A recording with channel 1 and, in record mode, its chain.
  KrdFileHandle OpenWithChain(uint8_t mode, const std::vector<uint8_t>& chain) {
    const KrdFileHandle file = OpenOrFail("chain", kRecord);
    uint16_t id = 0;
    EXPECT_EQ(CreateHeader(file, 1, 0, nullptr), 0);
    EXPECT_EQ(CreateDevice(file, 65535, nullptr, &id), 0);
    EXPECT_EQ(CreatePhysicalChannel(file, 0, 0, nullptr, &id), 0);
    EXPECT_EQ(CreateChannelGroup(file, 1, 1, 1, &id), 0);
    EXPECT_EQ(CreateChannel(file, 1, 1, 0, nullptr, &id), 0);
    for (uint8_t index : chain) EXPECT_EQ(Adding(CreatePostProcess, index)(file), 0);
    if (mode == kRecord) return file;
    EXPECT_EQ(Close(file), 0);
    return OpenOrFail("chain", mode);
  }
};

TEST_P(PostProcessChainTest, MovesTheChainAsTheRowSays) {
  const KrdFileHandle file = OpenWithChain(kRecord, GetParam().chain);
  EXPECT_EQ(GetParam().operation(file), 0) << LastMessage(file);
  EXPECT_EQ(ChainOf(file), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Chains, PostProcessChainTest,
    ::testing::Values(
        ChainCase{"CreateAfterTheEnd", {0, 1}, Adding(CreatePostProcess, 2), "1:0 2:1 3:2"},
        ChainCase{"CreateAtAFreeIndexMovesTheStepsAbove", {0, 6}, Adding(CreatePostProcess, 5),
                  "1:0 2:7 3:5"},
        ChainCase{"InsertBeforeTheFirst", {0, 1}, Adding(InsertPostProcess, 0), "1:1 2:2 3:0"},
        ChainCase{"InsertInTheMiddle", {0, 1, 2}, Adding(InsertPostProcess, 1),
                  "1:0 2:2 3:3 4:1"},
        ChainCase{"InsertPastTheEnd", {0}, Adding(InsertPostProcess, 9), "1:0 2:9"},
        ChainCase{"MoveUp", {0, 1, 2}, Moving(1, 2), "1:2 2:1 3:3"},
        ChainCase{"MoveDown", {0, 1, 2}, Moving(3, 0), "1:1 2:2 3:0"},
        ChainCase{"MoveToTheSameIndex", {0, 1, 2}, Moving(2, 1), "1:0 2:1 3:2"},
        ChainCase{"MoveIntoAGap", {0, 5}, Moving(1, 3), "1:3 2:6"},
        ChainCase{"DeleteLeavesAGap", {0, 1, 2}, Deleting(2), "1:0 3:2"},
        ChainCase{"PushPast255ReadsAsZero", {0, 255}, Adding(InsertPostProcess, 0),
                  "1:1 2:0 3:0"},
        ChainCase{"InsertAt255", {255}, Adding(InsertPostProcess, 255), "1:0 2:255"}),
    [](const auto& info) { return std::string(info.param.name); });

// The recorded packets keep the index each step was created at; a rebuilt
// index numbers the steps afresh in file order and places each where its
// packet says, whatever moved it later.
TEST_F(PostProcessChainTest, ARebuiltIndexPlacesEachStepWhereItWasRecorded) {
  const KrdFileHandle file = OpenWithChain(kRecord, {0, 1});
  EXPECT_EQ(Adding(InsertPostProcess, 0)(file), 0);
  EXPECT_EQ(Moving(2, 7)(file), 0);
  EXPECT_EQ(ChainOf(file), "1:1 2:7 3:0");
  EXPECT_EQ(Close(file), 0);
  HostBytes krd(dir_.File("chain.krd"));
  HostBytes krq(dir_.File("rebuilt.krq"));
  ASSERT_EQ(CreateIndex(krd.String(), krq.String()), 0);
  EXPECT_EQ(ChainOf(OpenOrFail("chain", kRead, "rebuilt")), "1:0 2:1 3:0");
}

TEST_F(PostProcessChainTest, AStepKeepsItsFieldsAndAHostBoolIsOneByte) {
  const KrdFileHandle file = OpenWithChain(kEdit, {});
  uint32_t step = 0;
  ASSERT_EQ(CreatePostProcess(file, 1, 0, 12, 2, 0, HostBytes("k=2").Array(),
                              HostBytes("gain").String(), 0xFF, HostBytes("mV").String(), &step),
            0);
  KrdBool flag = 9;
  EXPECT_EQ(GetPostProcessDefault(file, step, &flag), 0);
  EXPECT_EQ(flag, 1) << "any non-zero byte is true, and true comes back as 1";
  EXPECT_EQ(SetPostProcessDisable(file, step, 0x80), 0);
  EXPECT_EQ(GetPostProcessDisable(file, step, &flag), 0);
  EXPECT_EQ(flag, 1);
  EXPECT_EQ(SetPostProcessUnit(file, step, 0, HostBytes("V").Array()), 0);
  KrdU8ArrayHandle unit = nullptr;
  EXPECT_EQ(GetPostProcessUnit(file, step, &flag, &unit), 0);
  EXPECT_EQ(flag, 0);
  EXPECT_EQ(TakeBytes(unit), "V");
  uint16_t type = 0;
  KrdU8ArrayHandle data = nullptr;
  EXPECT_EQ(SetPostProcess(file, step, 13, HostBytes("k=3").Array()), 0);
  EXPECT_EQ(GetPostProcess(file, step, &type, &data), 0);
  EXPECT_EQ(type, 13);
  EXPECT_EQ(TakeBytes(data), "k=3");

  EXPECT_EQ(DeleteChannel(file, 1), 0) << "takes its steps";
  EXPECT_EQ(GetPostProcessIndex(file, step, &flag), 27);
  KrdU32ArrayHandle steps = nullptr;
  EXPECT_EQ(PostProcessList(file, 1, &steps), 21) << "the channel is gone";
  EXPECT_TRUE(TakeIds(steps).empty());
}

}  // namespace
}  // namespace Varnholt::Testing
