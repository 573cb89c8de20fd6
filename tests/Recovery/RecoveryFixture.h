#pragma once

// A recording made through the C interface, for the recovery tests: the
// packets it holds, the bytes and SQL that damage it, and the shared
// library's read of it once repaired.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "KrdFileLib/DataTypeRegistry.h"
#include "KrdFileLib/Packets/PacketFormat.h"
#include "KrdFileLibApi.h"
#include "tests/Api/HostFixture.h"
#include "tests/Api/TestHost.h"
#include "tests/TestSupport/IndexSql.h"
#include "tests/TestSupport/Outcomes.h"

namespace Varnholt::Testing {

using Kind = KrdFiles::Packets::PacketTypeId;
using Bytes = std::vector<uint8_t>;

// One packet of a data file, as its frame tells.
struct FramedPacket {
  uint64_t offset;
  Kind kind;
  uint64_t size;
};

// The packets of a data file of whole packets, read frame by frame.
inline std::vector<FramedPacket> FramedPackets(const Bytes& file) {
  std::vector<FramedPacket> packets;
  for (uint64_t at = 0; at + 5 <= file.size();) {
    const uint64_t body = uint64_t{file[at + 1]} << 24 | uint64_t{file[at + 2]} << 16 |
                          uint64_t{file[at + 3]} << 8 | file[at + 4];
    packets.push_back({at, static_cast<Kind>(file[at]), 5 + body});
    at += 5 + body;
  }
  return packets;
}

inline void WriteFile(const std::string& path, const Bytes& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(bytes.data()),
            static_cast<std::streamsize>(bytes.size()));
}

// The pair "rec" as recorded, and the means to damage it.
struct Pair {
  std::string krd;
  std::string krq;
  std::vector<FramedPacket> packets;

  // The n-th packet of a kind, counted from the end when n is negative.
  const FramedPacket& Nth(Kind kind, int n) const {
    std::vector<const FramedPacket*> found;
    for (const auto& packet : packets) {
      if (packet.kind == kind) found.push_back(&packet);
    }
    return *found.at(n < 0 ? found.size() + n : static_cast<std::size_t>(n));
  }
  uint64_t Size() const { return packets.back().offset + packets.back().size; }
  Bytes PacketBytes(const FramedPacket& packet) const {
    const Bytes file = FileBytes(krd);
    return Bytes(file.begin() + packet.offset, file.begin() + packet.offset + packet.size);
  }
  void Append(const Bytes& bytes) const {
    Bytes file = FileBytes(krd);
    file.insert(file.end(), bytes.begin(), bytes.end());
    WriteFile(krd, file);
  }
  void Overwrite(uint64_t offset, const Bytes& bytes) const {
    Bytes file = FileBytes(krd);
    std::copy(bytes.begin(), bytes.end(), file.begin() + offset);
    WriteFile(krd, file);
  }
  // The offsets of the packets from offset on.
  std::vector<uint64_t> StartsFrom(uint64_t offset) const {
    std::vector<uint64_t> starts;
    for (const auto& packet : packets) {
      if (packet.offset >= offset) starts.push_back(packet.offset);
    }
    return starts;
  }
  void Sql(const std::string& statements) const { ASSERT_TRUE(ExecuteSql(krq, statements)); }
  // The index as if the writer had stopped before committing the rows of
  // the packets from group 2's on: those rows are gone, the annotation too.
  // Group 2's row has no offset; it stays unless group_row_lost. Returns
  // the packets that then have no row.
  std::vector<uint64_t> LagFromGroup2(bool group_row_lost) const {
    const uint64_t group = Nth(Kind::kChannelGroup, 1).offset;
    std::string sql = "UPDATE file_information SET annotation = '';";
    for (const char* table :
         {"device", "device_attributes", "physical_channel", "physical_channel_attr", "channel",
          "event_source", "event", "data", "post_process"}) {
      sql +=
          std::string("DELETE FROM ") + table + " WHERE offset >= " + std::to_string(group) + ";";
    }
    if (group_row_lost) sql += "DELETE FROM channel_group WHERE group_id = 2;";
    Sql(sql);
    return StartsFrom(group_row_lost ? group : group + 1);
  }
};

// Bytes that a torn append leaves: the first count bytes of a packet.
inline Bytes Cut(const Bytes& packet, std::size_t count) {
  return Bytes(packet.begin(), packet.begin() + count);
}

// Pairs named <name>.krd and <name>.krq in the test's folder, recorded as
//    header, start, root device, device attribute, physical channel and its
//    attribute, group 1 (2 channels of 2-byte samples, divisor 10), channels
//    1 and 2, an event source, blocks B1 (time 0) and B2 (40), an event,
//    a post-process step; then "late": group 2 (1 channel), channel 3, a
//    block of group 2, the annotation, an event, B3 (80), an event, and a
//    last block of group 2.
class RecoveryFixture : public HostFixture {
 protected:
  static constexpr uint16_t kSampleType = 5;

  void SetUp() override {
    HostFixture::SetUp();
    Configure(100, 10000, 64 * 1024, {{kSampleType, 2}});
    // The recovery functions are linked in statically, with a registry of
    // their own.
    KrdFiles::DataTypeRegistry::Process().Replace({{kSampleType, 2}});
  }
  void TearDown() override {
    KrdFiles::DataTypeRegistry::Process().Replace({});
    HostFixture::TearDown();
  }

  std::string Krd(const std::string& name = "rec") const { return dir_.File(name + ".krd"); }
  std::string Krq(const std::string& name = "rec") const { return dir_.File(name + ".krq"); }

  // 4 frames of group 1 starting at value first: channel 1's samples are
  // the frames' bytes 0 and 1.
  static std::string Block(uint8_t first) {
    std::string bytes;
    for (uint8_t i = 0; i < 16; ++i) bytes.push_back(static_cast<char>(first + i));
    return bytes;
  }

  void Record(const std::string& name = "rec") {
    const KrdFileHandle file = OpenOrFail(name, kRecord);
    uint16_t id = 0;
    uint32_t id32 = 0;
    auto text = [](const char* bytes) { return HostBytes(bytes); };
    ASSERT_EQ(CreateHeader(file, 1000, 3, text("rig").String()), 0);
    ASSERT_EQ(CreateStart(file, 9, text("\x07\xEA").Array()), 0);
    ASSERT_EQ(CreateDevice(file, 65535, text("root").String(), &id), 0);
    ASSERT_EQ(CreateDeviceAttribute(file, 0, 1, 0, text("attr").Array()), 0);
    ASSERT_EQ(CreatePhysicalChannel(file, 0, 0, text("in").String(), &id), 0);
    ASSERT_EQ(CreatePhysicalChannelAttribute(file, 1, 2, 0, text("gain").Array()), 0);
    ASSERT_EQ(CreateChannelGroup(file, 10, 2, kSampleType, &id), 0);
    ASSERT_EQ(CreateChannel(file, 1, 1, 0, text("a").String(), &id), 0);
    ASSERT_EQ(CreateChannel(file, 1, 1, 1, text("b").String(), &id), 0);
    ASSERT_EQ(CreateEventSource(file, 1, 4, text("marks").String(), &id), 0);
    ASSERT_EQ(RecordChannelGroupData(file, 1, 0, HostBytes(Block(0)).Array()), 0);
    ASSERT_EQ(RecordChannelGroupData(file, 1, 40, HostBytes(Block(16)).Array()), 0);
    ASSERT_EQ(CreateEvent(file, 1, 5, text("e0").Array(), &id32), 0);
    ASSERT_EQ(CreatePostProcess(file, 1, 0, 3, 1, 0, text("pp").Array(), text("scale").String(), 0,
                                text("V").String(), &id32),
              0);
    ASSERT_EQ(CreateChannelGroup(file, 20, 1, kSampleType, &id), 0);
    ASSERT_EQ(CreateChannel(file, 2, 1, 0, text("c").String(), &id), 0);
    ASSERT_EQ(RecordChannelGroupData(file, 2, 0, text("\x01\x02\x03\x04").Array()), 0);
    ASSERT_EQ(CreateAnnotation(file, text("calibrated").String()), 0);
    ASSERT_EQ(CreateEvent(file, 1, 70, text("e1").Array(), &id32), 0);
    ASSERT_EQ(RecordChannelGroupData(file, 1, 80, HostBytes(Block(32)).Array()), 0);
    ASSERT_EQ(CreateEvent(file, 1, 90, text("e2").Array(), &id32), 0);
    ASSERT_EQ(RecordChannelGroupData(file, 2, 100, text("\x05\x06").Array()), 0);
    ASSERT_EQ(Close(file), 0);
  }

  // Channel 1's samples over [start, start + length), read through the
  // shared library in read mode; "<code>" when opening or reading fails.
  std::string ReadChannel1(int64_t start, int64_t length, const std::string& name = "rec") {
    HostBytes krd(Krd(name));
    HostBytes krq(Krq(name));
    KrdFileHandle file = 0;
    const int32_t opened = Open(krd.String(), krq.String(), kRead, &file);
    if (opened != 0) return "<open " + std::to_string(opened) + ">";
    int64_t next = 0;
    KrdU8ArrayHandle samples = nullptr;
    const int32_t code = GetChannelData(file, 1, start, length, &next, &samples);
    std::string bytes = TakeBytes(samples);
    Close(file);
    return code == 0 ? bytes : "<" + std::to_string(code) + ">";
  }
};

}  // namespace Varnholt::Testing
