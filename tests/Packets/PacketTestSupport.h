#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "KrdFileLib/DataTypeRegistry.h"
#include "KrdFileLib/Index/IndexConnection.h"
#include "KrdFileLib/DataFile/KrdInstance.h"
#include "KrdFileLib/Packets/ChannelGroupPacket.h"
#include "KrdFileLib/Packets/ParsePacket.h"
#include "tests/Index/IndexTestSupport.h"
#include "tests/TestSupport/Outcomes.h"
#include "tests/TestSupport/TempDir.h"

namespace Varnholt::KrdFiles::Packets {

using Index::Failure;

// A data type of 2-byte samples, registered for every test.
inline constexpr uint16_t kTwoByteType = 7;

template <typename Packet>
const Packet& As(const PacketBase& packet) {
  return dynamic_cast<const Packet&>(packet);
}

// A fresh, empty KRD file and KRQ index in a temporary folder.
class PacketFileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    DataTypeRegistry::Process().Replace({{kTwoByteType, 2}});
    file_.Create();
    index_.Create();
  }
  void TearDown() override { DataTypeRegistry::Process().Replace({}); }

  // Appends bytes as they are; returns the offset they start at.
  uint64_t AppendRaw(const Bytes& bytes) {
    const uint64_t offset = file_.GetEndOffset();
    file_.Append(bytes);
    return offset;
  }
  // Appends a packet the way the file objects do; returns its offset.
  uint64_t Write(PacketBase& packet) {
    file_.AssignEndOffset(packet);
    file_.WritePacket(packet);
    return packet.FileOffset();
  }
  std::shared_ptr<PacketBase> ParseAt(uint64_t offset) {
    return ParsePacket(file_, index_, offset);
  }
  template <typename Packet>
  std::shared_ptr<Packet> ParseAs(uint64_t offset) {
    auto packet = std::dynamic_pointer_cast<Packet>(ParseAt(offset));
    EXPECT_NE(packet, nullptr);
    return packet;
  }
  Bytes FileBytes() const { return Testing::FileBytes(path_); }
  // A channel group of 2-byte samples, recorded in the index.
  std::shared_ptr<ChannelGroupPacket> AddGroup(uint32_t divisor, uint8_t channel_count) {
    auto group = std::make_shared<ChannelGroupPacket>(divisor, channel_count, kTwoByteType);
    group->AddToIndex(index_);
    return group;
  }

  Varnholt::Testing::TempDir dir_;
  std::string path_ = dir_.File("rec.krd");
  KrdInstance file_{path_};
  Index::IndexConnection index_{dir_.File("rec.krq"), nullptr};
};

}  // namespace Varnholt::KrdFiles::Packets
