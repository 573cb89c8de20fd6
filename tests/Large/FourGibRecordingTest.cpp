// A recording that grows past 4 GiB, made through the exported functions
// as a host makes it, in whatever word size the test is built for: in a
// 32-bit process every size, offset and count that is narrowed to 32 bits
// on its way wraps here. The blocks just below, across and above the 4 GiB
// mark are read back byte for byte, and an index rebuilt by CreateIndex and
// by Repair finds every block at the offset the recorder's index gave it.
//
// It writes a little over 4 GiB: to /dev/shm when that has room, else to
// the system's temporary folder, and it is skipped when neither has.

#include <gtest/gtest.h>
#include <sys/statvfs.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "KrdFileLib/DataTypeRegistry.h"
#include "KrdFileLib/Recovery/PairRecovery.h"
#include "KrdFileLibApi.h"
#include "tests/Api/HostFixture.h"
#include "tests/Api/TestHost.h"
#include "tests/TestSupport/IndexSql.h"

namespace Varnholt::Testing {
namespace {

constexpr uint64_t kFourGib = uint64_t{1} << 32;
// Blocks of one-byte frames, one tick apart: a block's frame times run on
// from the last block's, and a frame's byte lies at a known file offset.
constexpr uint32_t kBlockBytes = 64 << 20;
constexpr uint64_t kPacketHead = 5 + 10;  // frame, start time, group
constexpr uint64_t kRoomNeeded = kFourGib + 4 * uint64_t{kBlockBytes};

// The byte a frame holds, from the file offset it is written at: any offset
// read back from another (one wrapped at 32 bits) reads other bytes.
uint8_t ByteAt(uint64_t offset) {
  return static_cast<uint8_t>(offset ^ (offset >> 11) ^ (offset >> 23) ^ (offset >> 32) * 0x5B);
}

uint64_t FreeBytes(const std::filesystem::path& folder) {
  struct statvfs status {};
  if (::statvfs(folder.c_str(), &status) != 0) return 0;
  return uint64_t{status.f_bavail} * status.f_frsize;
}

std::filesystem::path RoomyFolder() {
  for (const std::filesystem::path& folder :
       {std::filesystem::path("/dev/shm"), std::filesystem::temp_directory_path()}) {
    std::error_code error;
    if (std::filesystem::is_directory(folder, error) && FreeBytes(folder) > kRoomNeeded) {
      return folder;
    }
  }
  return {};
}

// One recorded block: where its packet lies and its frames' first time.
struct Block {
  uint64_t offset;
  int64_t start_time;
};

class FourGibRecordingTest : public HostFixture {
 protected:
  void SetUp() override {
    HostFixture::SetUp();
    folder_ = RoomyFolder();
    if (folder_.empty()) GTEST_SKIP() << "no folder has the 4 GiB and more this test writes";
    Configure(100, 10000, 1 << 20, {{1, 1}});
    // Repair is linked in statically, with a registry of its own.
    KrdFiles::DataTypeRegistry::Process().Replace({{1, 1}});
    big_ = std::make_unique<TempDir>(folder_);
  }
  void TearDown() override {
    KrdFiles::DataTypeRegistry::Process().Replace({});
    HostFixture::TearDown();
  }

  std::string Krd() const { return big_->File("big.krd"); }
  std::string Krq(const std::string& name = "big") const { return big_->File(name + ".krq"); }

  // Records blocks until the file has passed 4 GiB by two blocks. Blocks
  // near the mark carry each byte's own pattern; the others one value.
  void Record() {
    KrdFileHandle file = 0;
    ASSERT_EQ(Open(HostBytes(Krd()).String(), HostBytes(Krq()).String(), kRecord, &file), 0);
    DescribeOneChannel(file, 1);
    std::vector<char> samples(kBlockBytes);
    int64_t time = 0;
    while (blocks_.empty() || blocks_.back().offset < kFourGib + kBlockBytes) {
      const uint64_t offset = std::filesystem::file_size(Krd());
      const uint64_t first_byte = offset + kPacketHead;
      if (first_byte + 2 * uint64_t{kBlockBytes} > kFourGib) {
        for (uint32_t at = 0; at < kBlockBytes; ++at) samples[at] = char(ByteAt(first_byte + at));
      } else {
        std::memset(samples.data(), 0x11, samples.size());
      }
      HostBytes block(std::string_view(samples.data(), samples.size()));
      ASSERT_EQ(RecordChannelGroupData(file, 1, time, block.Array()), 0) << LastMessage(file);
      blocks_.push_back({offset, time});
      time += kBlockBytes;
    }
    ASSERT_EQ(Close(file), 0);
    ASSERT_GT(std::filesystem::file_size(Krd()), kFourGib + kBlockBytes);
  }

  // What a reader through index krq finds of count frames from the one
  // whose byte lies at file offset from, against the pattern they were
  // given.
  void ExpectBytesAt(const std::string& krq, uint64_t from, uint32_t count) {
    KrdFileHandle file = 0;
    ASSERT_EQ(Open(HostBytes(Krd()).String(), HostBytes(krq).String(), kRead, &file), 0);
    int64_t next = 0;
    KrdU8ArrayHandle samples = nullptr;
    const int64_t first_time = TimeAt(from);
    ASSERT_EQ(GetChannelData(file, 1, first_time, count, &next, &samples), 0) << LastMessage(file);
    const std::string bytes = TakeBytes(samples);
    ASSERT_EQ(bytes.size(), count);
    for (uint32_t at = 0; at < count; ++at) {
      const uint64_t offset = OffsetAt(first_time + at);
      ASSERT_EQ(uint8_t(bytes[at]), ByteAt(offset)) << "frame at file offset " << offset;
    }
    Close(file);
  }

  // The offset of each block's packet, as the index at krq has them.
  std::string Offsets(const std::string& krq) const {
    return QueryColumn(krq, "SELECT offset FROM data ORDER BY start_time_offset");
  }
  std::string RecordedOffsets() const {
    std::string text;
    for (const Block& block : blocks_)
      text += (text.empty() ? "" : ",") + std::to_string(block.offset);
    return text;
  }

  // The block whose packet holds the offset, if any.
  const Block* BlockHolding(uint64_t offset) const {
    const Block* holding = nullptr;
    for (const Block& block : blocks_) {
      if (block.offset <= offset) holding = &block;
    }
    return holding;
  }
  // The time of the frame whose byte lies at offset, and the other way.
  int64_t TimeAt(uint64_t offset) const {
    const Block* block = BlockHolding(offset);
    return block->start_time + static_cast<int64_t>(offset - block->offset - kPacketHead);
  }
  uint64_t OffsetAt(int64_t time) const {
    const Block* holding = &blocks_.front();
    for (const Block& block : blocks_) {
      if (block.start_time <= time) holding = &block;
    }
    return holding->offset + kPacketHead + static_cast<uint64_t>(time - holding->start_time);
  }

  std::filesystem::path folder_;
  std::unique_ptr<TempDir> big_;
  std::vector<Block> blocks_;
};

TEST_F(FourGibRecordingTest, BlocksAcrossTheMarkReadBackAndRebuildAtTheirOffsets) {
  ASSERT_NO_FATAL_FAILURE(Record());
  const Block* across = BlockHolding(kFourGib);
  ASSERT_NE(across, nullptr);
  ASSERT_NE(across, &blocks_.back());
  ASSERT_NE(across, &blocks_.front());

  ExpectBytesAt(Krq(), kFourGib - 4096, 8192);     // across the mark
  ExpectBytesAt(Krq(), across->offset - 64, 128);  // from the block below into it
  ExpectBytesAt(Krq(), (across + 1)->offset + kPacketHead - 64, 4096);  // into the block above
  EXPECT_EQ(Offsets(Krq()), RecordedOffsets());

  ASSERT_EQ(CreateIndex(HostBytes(Krd()).String(), HostBytes(Krq("rebuilt")).String()), 0);
  EXPECT_EQ(Offsets(Krq("rebuilt")), RecordedOffsets());
  ExpectBytesAt(Krq("rebuilt"), kFourGib - 4096, 8192);

  std::filesystem::remove(Krq());
  KrdFiles::Recovery::Repair(Krd(), Krq());
  EXPECT_EQ(Offsets(Krq()), RecordedOffsets());
  ExpectBytesAt(Krq(), kFourGib - 4096, 8192);
}

}  // namespace
}  // namespace Varnholt::Testing
