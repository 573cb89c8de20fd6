// Reading recordings that cannot be written: read-only files, a read-only
// folder, a read-only mount (as an archive or a write-protected share is),
// and an index whose write-ahead log still holds changes that cannot be read
// from such media.

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <functional>
#include <string>

#include "KrdFileLibApi.h"
#include "tests/Api/HostFixture.h"
#include "tests/Api/RecordingStructure.h"
#include "tests/Api/TestHost.h"

namespace Varnholt::Testing {
namespace {

namespace fs = std::filesystem;

enum class Medium { kReadOnlyFiles, kReadOnlyFolder, kReadOnlyMount };

// What a read of the whole recording gives: its structure and its samples.
std::string ReadWhole(const std::string& krd, const std::string& krq) {
  HostBytes krd_path(krd);
  HostBytes krq_path(krq);
  KrdFileHandle file = 0;
  KrdStringHandle text = nullptr;
  const int32_t code = DebugOpen(krd_path.String(), krq_path.String(), 0, &file, &text);
  const std::string message = TakeBytes(text);
  if (code != 0) return "<" + std::to_string(code) + "> " + message;
  int64_t next = 0;
  KrdU8ArrayHandle samples = nullptr;
  const int32_t read = GetChannelData(file, 1, 0, 1000, &next, &samples);
  std::string whole = StructureOf(file) + "samples <" + std::to_string(read) + "> " +
                      TakeBytes(samples);
  Close(file);
  return whole;
}

// Runs body in a child process that cannot write what the test made
// read-only, and returns what body returned. Permissions do not hold for
// root, so a root child first becomes nobody; for a mount it instead mounts
// the folder read-only in a mount namespace of its own. "<skip>" when the
// child cannot arrange that here.
std::string InChild(Medium medium, const fs::path& folder,
                    const std::function<std::string()>& body) {
  std::array<int, 2> pipe_ends{};
  if (pipe(pipe_ends.data()) != 0) return "<pipe>";
  const pid_t child = fork();
  if (child == 0) {
    close(pipe_ends[0]);
    bool ready = true;
    if (medium == Medium::kReadOnlyMount) {
      ready = unshare(CLONE_NEWNS) == 0 &&
              mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
              mount(folder.c_str(), folder.c_str(), nullptr, MS_BIND, nullptr) == 0 &&
              mount(nullptr, folder.c_str(), nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY,
                    nullptr) == 0;
    } else if (geteuid() == 0) {
      ready = setgid(65534) == 0 && setuid(65534) == 0;
    }
    const std::string result = ready ? body() : "<skip>";
    const ssize_t written = write(pipe_ends[1], result.data(), result.size());
    _exit(written == static_cast<ssize_t>(result.size()) ? 0 : 1);
  }
  close(pipe_ends[1]);
  std::string result;
  std::array<char, 4096> chunk{};
  for (ssize_t got; (got = read(pipe_ends[0], chunk.data(), chunk.size())) > 0;) {
    result.append(chunk.data(), static_cast<std::size_t>(got));
  }
  close(pipe_ends[0]);
  int status = 0;
  waitpid(child, &status, 0);
  return result;
}

class ReadOnlyMediaTest : public HostFixture, public ::testing::WithParamInterface<Medium> {
 protected:
  // A recording with a device, a physical channel, a group with a channel,
  // a block of samples and an event, in its own folder "name".
  fs::path Record(const std::string& name) {
    const fs::path folder = dir_.Path() / name;
    fs::create_directories(folder);
    HostBytes krd((folder / "r.krd").string());
    HostBytes krq((folder / "r.krq").string());
    KrdFileHandle file = 0;
    EXPECT_EQ(Open(krd.String(), krq.String(), kRecord, &file), 0);
    recorder_ = file;
    uint16_t id = 0;
    uint32_t event = 0;
    DescribeOneChannel(file, 1);
    EXPECT_EQ(RecordChannelGroupData(file, 1, 0, HostBytes("\x01\x02\x03\x04").Array()), 0);
    EXPECT_EQ(CreateEventSource(file, 1, 7, HostBytes("trigger").String(), &id), 0);
    EXPECT_EQ(CreateEvent(file, 1, 5, HostBytes("hit").Array(), &event), 0);
    return folder;
  }
  void CloseRecorder() { EXPECT_EQ(Close(recorder_), 0); }

  static void MakeReadOnly(const fs::path& folder, Medium medium) {
    for (const auto& entry : fs::directory_iterator(folder)) {
      fs::permissions(entry.path(), fs::perms::owner_read | fs::perms::group_read |
                                        fs::perms::others_read);
    }
    if (medium == Medium::kReadOnlyFolder) {
      fs::permissions(folder, fs::perms::owner_read | fs::perms::owner_exec |
                                  fs::perms::group_read | fs::perms::group_exec |
                                  fs::perms::others_read | fs::perms::others_exec);
    }
  }
  static void MakeWritable(const fs::path& folder) {
    fs::permissions(folder, fs::perms::owner_all, fs::perm_options::add);
  }

  KrdFileHandle recorder_ = 0;
};

TEST_P(ReadOnlyMediaTest, ReadModeReadsTheWholeRecording) {
  Configure(100, 10000, 64 * 1024, {{1, 2}});
  const fs::path folder = Record("closed");
  CloseRecorder();
  const std::string krd = (folder / "r.krd").string();
  const std::string krq = (folder / "r.krq").string();
  const std::string expected = ReadWhole(krd, krq);
  ASSERT_NE(expected.find("samples <0> \x01\x02\x03\x04"), std::string::npos) << expected;

  MakeReadOnly(folder, GetParam());
  const std::string read = InChild(GetParam(), folder, [&] { return ReadWhole(krd, krq); });
  MakeWritable(folder);
  if (read == "<skip>") GTEST_SKIP() << "this machine cannot make the medium read-only";
  EXPECT_EQ(read, expected);
  EXPECT_FALSE(fs::exists(krq + "-wal"));
}

TEST_P(ReadOnlyMediaTest, AnIndexLogThatCannotBeReadIsReported) {
  // A copy taken while the recorder was open: its index's changes are still
  // in the write-ahead log beside it.
  Configure(1, 10000, 64 * 1024, {{1, 2}});
  const fs::path folder = Record("live");
  const fs::path copy = dir_.Path() / "copy";
  fs::create_directories(copy);
  for (const char* name : {"r.krd", "r.krq", "r.krq-wal"}) fs::copy_file(folder / name, copy / name);
  CloseRecorder();
  const std::string krd = (copy / "r.krd").string();
  const std::string krq = (copy / "r.krq").string();

  MakeReadOnly(copy, GetParam());
  const std::string read = InChild(GetParam(), copy, [&] { return ReadWhole(krd, krq); });
  MakeWritable(copy);
  if (read == "<skip>") GTEST_SKIP() << "this machine cannot make the medium read-only";
  EXPECT_EQ(read,
            "<4> The index file's write-ahead log holds changes that cannot be read on "
            "read-only media; copy the recording to writable media to read it.");
  // Where the copy can be written, the log is read and the recording is whole.
  EXPECT_NE(ReadWhole(krd, krq).find("samples <0> \x01\x02\x03\x04"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(ReadOnly, ReadOnlyMediaTest,
                         ::testing::Values(Medium::kReadOnlyFiles, Medium::kReadOnlyFolder,
                                           Medium::kReadOnlyMount),
                         [](const auto& info) {
                           switch (info.param) {
                             case Medium::kReadOnlyFiles: return std::string("Files");
                             case Medium::kReadOnlyFolder: return std::string("Folder");
                             default: return std::string("Mount");
                           }
                         });

}  // namespace
}  // namespace Varnholt::Testing
