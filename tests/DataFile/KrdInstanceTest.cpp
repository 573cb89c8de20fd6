// The data file as the packets see it, where the exported functions cannot
// reach: reads past its end, a write cut short, a file another writer grows.

#include "KrdFileLib/DataFile/KrdInstance.h"

#include <gtest/gtest.h>

#include <sys/resource.h>

#include <csignal>
#include <filesystem>

#include "KrdFileLib/Exceptions.h"
#include "KrdFileLib/Packets/ChannelGroupPacket.h"
#include "KrdFileLib/Packets/DataPacket.h"
#include "KrdFileLib/DataTypeRegistry.h"
#include "tests/TestSupport/Outcomes.h"
#include "tests/TestSupport/TempDir.h"

namespace Varnholt::KrdFiles {
namespace {

using Bytes = std::vector<uint8_t>;

using Testing::Failure;
using Testing::FileBytes;

class KrdInstanceTest : public ::testing::Test {
 protected:
  Testing::TempDir dir_;
  std::string path_ = dir_.File("rec.krd");
};

TEST_F(KrdInstanceTest, ReadsPastTheEndFailWithoutAllocatingTheClaimedSize) {
  KrdInstance file(path_);
  file.Create();
  file.Append(Bytes(20, 7));
  Bytes buffer;
  const auto ended = std::make_pair(3, std::string("KRD file ended unexpectedly."));
  EXPECT_EQ(Failure([&] { file.ReadBytes(20, 5, buffer); }), ended);
  EXPECT_EQ(Failure([&] { file.ReadBytes(16, 5, buffer); }), ended);
  EXPECT_EQ(Failure([&] { file.ReadBytes(5, uint64_t{1} << 32, buffer); }), ended);
  EXPECT_EQ(Failure([&] { file.ReadBytes(~uint64_t{0}, 2, buffer); }), ended);
  EXPECT_EQ(buffer.capacity(), 0u);
  file.ReadBytes(20, 0, buffer);
  EXPECT_TRUE(buffer.empty());
}

// Makes the file system refuse to let this process grow files past a
// length, as a full disk would: a write across it comes back short, and
// the next one fails.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) {
    getrlimit(RLIMIT_FSIZE, &saved_);
    previous_handler_ = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limited{bytes, saved_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limited);
  }
  ~FileSizeLimit() {
    setrlimit(RLIMIT_FSIZE, &saved_);
    std::signal(SIGXFSZ, previous_handler_);
  }

 private:
  rlimit saved_{};
  void (*previous_handler_)(int) = SIG_DFL;
};

// A data block goes out as its frame and fixed fields followed by the
// caller's samples in one gathered write; when that write is cut short the
// torn packet is cut off again, and the next one lands where it should.
TEST_F(KrdInstanceTest, AShortGatheredWriteIsCutBackToTheLastWholePacket) {
  DataTypeRegistry::Process().Replace({{1, 2}});
  Packets::ChannelGroupPacket group(1, 2, 1);
  const Bytes samples(400, 0x5A);
  KrdInstance file(path_);
  file.Create();
  file.Append(Bytes{7, 7, 7});
  {
    const FileSizeLimit limit(100);
    Packets::DataPacket block(group, 0, samples);
    EXPECT_EQ(Failure([&] { file.WritePacket(block); }),
              std::make_pair(36, std::string("The KRD file could not be written to due to an unknown error.")));
  }
  EXPECT_EQ(std::filesystem::file_size(path_), 3u);
  EXPECT_EQ(file.GetEndOffset(), 3u);

  Packets::DataPacket block(group, 0, samples);
  file.AssignEndOffset(block);
  file.WritePacket(block);
  file.Close();
  Bytes expected{7, 7, 7};
  const Bytes image = block.GetImage();
  expected.insert(expected.end(), image.begin(), image.end());
  EXPECT_EQ(FileBytes(path_), expected);
  EXPECT_EQ(block.PacketSize(), 15u + samples.size());
  DataTypeRegistry::Process().Replace({});
}

// A file opened rather than created may grow under another writer; its end
// is asked of the file system each time.
TEST_F(KrdInstanceTest, AnOpenedFileSeesWhatAnotherWriterAppends) {
  KrdInstance writer(path_);
  writer.Create();
  writer.Append(Bytes{1, 2});
  KrdInstance reader(path_);
  reader.Open();
  writer.Append(Bytes{3, 4, 5});
  EXPECT_EQ(reader.GetEndOffset(), 5u);
  Bytes read;
  reader.ReadBytes(2, 3, read);
  EXPECT_EQ(read, (Bytes{3, 4, 5}));
}

}  // namespace
}  // namespace Varnholt::KrdFiles
