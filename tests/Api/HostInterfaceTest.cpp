// The C interface as a host sees it: codes, texts, handles and the memory
// conventions of strings and arrays.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <ostream>
#include <string>
#include <string_view>
#include <thread>
#include <tuple>

#include "KrdFileLibApi.h"
#include "tests/Api/HostFixture.h"
#include "tests/Api/TestHost.h"

namespace Varnholt::Testing {
namespace {

constexpr const char* kUnexpected = "An unexpexted error (unrecognized exception) occured.";

// What a file says about itself, read through the file functions.
struct Facts {
  uint32_t time_base = 0;
  std::string label;
  uint16_t start_type = 0;
  std::string start;
  std::string annotation;
  bool operator==(const Facts&) const = default;
};

Facts ReadFacts(KrdFileHandle file) {
  Facts facts;
  KrdStringHandle label = nullptr;
  KrdU8ArrayHandle start = nullptr;
  KrdStringHandle annotation = nullptr;
  EXPECT_EQ(GetTimeBase(file, &facts.time_base), 0);
  EXPECT_EQ(GetFileLabel(file, &label), 0);
  EXPECT_EQ(GetStartDataType(file, &facts.start_type), 0);
  EXPECT_EQ(GetRTStart(file, &start), 0);
  EXPECT_EQ(GetAnnotation(file, &annotation), 0);
  EXPECT_EQ(HostFixture::RunTimeSize(label), 4 + (*label)->cnt) << "count and bytes, no terminator";
  facts.label = TakeBytes(label);
  facts.start = TakeBytes(start);
  facts.annotation = TakeBytes(annotation);
  return facts;
}

int32_t CreateHeaderCall(KrdFileHandle file) {
  HostBytes label("label");
  return CreateHeader(file, 1000, 1, label.String());
}
int32_t CreateStartCall(KrdFileHandle file) {
  HostBytes value("\x01\x02");
  return CreateStart(file, 4, value.Array());
}
int32_t CreateAnnotationCall(KrdFileHandle file) {
  HostBytes text("more");
  return CreateAnnotation(file, text.String());
}
int32_t GetTimeBaseCall(KrdFileHandle file) {
  uint32_t time_base = 0;
  return GetTimeBase(file, &time_base);
}

using HostInterfaceTest = HostFixture;

TEST_F(HostInterfaceTest, ReadsBackWhatWasRecordedAndWhatWasEdited) {
  RecordComplete("a");
  const Facts recorded{1000, "Rig a", 9, "\x07\xEA\x0B\x17", "Sensors calibrated."};
  const KrdFileHandle reader = OpenOrFail("a", kRead);
  EXPECT_EQ(ReadFacts(reader), recorded);
  EXPECT_EQ(Close(reader), 0);

  const KrdFileHandle file = OpenOrFail("a", kEdit);
  HostBytes label("Relabelled");
  HostBytes start("\x05");
  EXPECT_EQ(SetTimeBase(file, 50), 0);
  EXPECT_EQ(SetFileLabel(file, label.String()), 0);
  EXPECT_EQ(SetStart(file, 2, start.Array()), 0);
  EXPECT_EQ(SetAnnotation(file, nullptr), 0) << "a null string handle is an empty string";
  EXPECT_EQ(ReadFacts(file), (Facts{50, "Relabelled", 2, "\x05", ""}));
  EXPECT_EQ(Close(file), 0);

  HostBytes krd(dir_.File("a.krd"));
  HostBytes krq(dir_.File("rebuilt.krq"));
  ASSERT_EQ(CreateIndex(krd.String(), krq.String()), 0);
  EXPECT_EQ(ReadFacts(OpenOrFail("a", kRead, "rebuilt")), recorded) << "rebuilt from the packets";
}

// Every failure of a file function, with its code and the text recorded
// against the handle.
struct FileFailure {
  const char* name;
  uint8_t mode;  // of the pair opened: a new pair in record mode, else a complete one
  std::function<int32_t(KrdFileHandle)> call;
  int32_t code;
  const char* message;
};
void PrintTo(const FileFailure& row, std::ostream* out) { *out << row.name; }

class FileFailureTest : public HostFixture, public ::testing::WithParamInterface<FileFailure> {};

TEST_P(FileFailureTest, ReturnsItsCodeAndRecordsItsText) {
  if (GetParam().mode != kRecord) RecordComplete("a");
  const KrdFileHandle file = OpenOrFail("a", GetParam().mode);
  EXPECT_EQ(GetParam().call(file), GetParam().code);
  EXPECT_EQ(LastMessage(file), GetParam().message);
}

// Runs a call that must succeed, then another.
using FileCall = std::function<int32_t(KrdFileHandle)>;
FileCall After(FileCall first, FileCall then) {
  return [=](KrdFileHandle file) { return first(file) == 0 ? then(file) : -1; };
}

const char* const kReadMode = "This operation is not allowed in read mode.";
INSTANTIATE_TEST_SUITE_P(
    HostInterface, FileFailureTest,
    ::testing::Values(
        FileFailure{"AppendInReadMode", 0, CreateHeaderCall, 29, kReadMode},
        FileFailure{"ModifyInReadMode", 0, [](KrdFileHandle file) { return SetTimeBase(file, 5); },
                    29, kReadMode},
        FileFailure{"AppendInEditMode", 2, CreateStartCall, 30,
                    "This operation is not allowed in edit mode."},
        FileFailure{"HeaderTwice", 1, After(CreateHeaderCall, CreateHeaderCall), 39,
                    "The KRD file's header has already been created."},
        FileFailure{"ReadBeforeHeader", 1, GetTimeBaseCall, 40,
                    "The file header has not been created."},
        FileFailure{"StartTwice", 1,
                    After(CreateHeaderCall, After(CreateStartCall, CreateStartCall)), 44,
                    "Start time has already been created."},
        FileFailure{"StartNotSet", 1,
                    After(CreateHeaderCall,
                          [](KrdFileHandle file) {
                            KrdU8ArrayHandle value = nullptr;
                            const int32_t code = GetRTStart(file, &value);
                            return TakeBytes(value).empty() ? code : -1;
                          }),
                    45, "Start time has not been set."},
        FileFailure{"AnnotationTwice", 1,
                    After(CreateHeaderCall, After(CreateAnnotationCall, CreateAnnotationCall)), 46,
                    "Annotation text has already been created."},
        FileFailure{"ClosedHandle", 2, After(Close, Close), 7,
                    "File handle was previously closed."},
        FileFailure{"NullOutputAddress", 2,
                    [](KrdFileHandle file) { return GetFileLabel(file, nullptr); }, 36,
                    kUnexpected},
        FileFailure{"NegativeCountInAString", 2,
                    [](KrdFileHandle file) {
                      HostBytes text("abc", -1);
                      return SetAnnotation(file, text.String());
                    },
                    36, kUnexpected}),
    [](const auto& info) { return std::string(info.param.name); });

// Every failure of opening a pair. DebugOpen says why the files could not
// be opened; a failed open issues no handle and leaves what the paths name
// as it was. Paths are relative to the test's folder.
struct OpenFailure {
  const char* name;
  std::string_view krd;  // a host's string carries a count: it may hold a NUL
  std::string_view krq;
  uint8_t mode;
  int32_t code;
  const char* text;
};
void PrintTo(const OpenFailure& row, std::ostream* out) { *out << row.name; }

class PreparedRecordings : public HostFixture {
 protected:
  // "a" and "b" complete; "noheader" whose first packet is a start packet;
  // "badtype", a copy of "a" whose file type string ends in "X"; "folder",
  // a pipe "fifo", "device.krd" a link to a device, "hardlink.krq" a second
  // name of a.krd, and "dangling.krq" a link to the missing "new.krd". The
  // test runs in the folder.
  void SetUp() override {
    HostFixture::SetUp();
    RecordComplete("a");
    RecordComplete("b");
    const KrdFileHandle file = OpenOrFail("noheader", kRecord);
    HostBytes label("no header yet");
    ASSERT_EQ(SetFileLabel(file, label.String()), 0);  // adds the index row, writes no packet
    ASSERT_EQ(CreateStartCall(file), 0);
    ASSERT_EQ(Close(file), 0);
    std::filesystem::copy_file(dir_.File("a.krd"), dir_.File("badtype.krd"));
    std::filesystem::copy_file(dir_.File("a.krq"), dir_.File("badtype.krq"));
    std::fstream(dir_.File("badtype.krd"), std::ios::in | std::ios::out | std::ios::binary)
        .seekp(5 + 7)  // the frame, then the file type string's last byte
        .put('X');
    std::filesystem::create_directory(dir_.File("folder"));
    ASSERT_EQ(mkfifo(dir_.File("fifo").c_str(), 0600), 0);
    std::filesystem::create_symlink("/dev/null", dir_.File("device.krd"));
    std::filesystem::create_hard_link(dir_.File("a.krd"), dir_.File("hardlink.krq"));
    std::filesystem::create_symlink("new.krd", dir_.File("dangling.krq"));
    test_folder_ = std::filesystem::current_path();
    std::filesystem::current_path(dir_.Path());
    pipe_writer_ = std::thread([this] { OpenThePipesOtherEnd(); });
  }
  void TearDown() override {
    done_ = true;
    pipe_writer_.join();
    std::filesystem::current_path(test_folder_);
    HostFixture::TearDown();
  }
  // Opens the pipe's writing end now and then, so that an open that waits
  // for a writer comes back (and fails its test) rather than hanging it.
  void OpenThePipesOtherEnd() const {
    while (!done_) {
      const int end = ::open(dir_.File("fifo").c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
      if (end >= 0) ::close(end);
      std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
  }
  // Whether something is at path, and the size of a regular file there.
  static std::string StateOf(std::string_view path) {
    std::error_code error;
    const std::filesystem::path file(path);
    if (!std::filesystem::exists(file, error)) return "missing";
    if (!std::filesystem::is_regular_file(file, error)) return "not a regular file";
    return std::to_string(std::filesystem::file_size(file, error)) + " bytes";
  }
  // The lowest handle number never issued.
  static KrdFileHandle FirstUnissuedHandle() {
    KrdFileHandle file = 1;
    while (LastMessage(file).rfind("<7>", 0) != 0) ++file;
    return file;
  }

 private:
  std::filesystem::path test_folder_;
  std::atomic<bool> done_{false};
  std::thread pipe_writer_;
};

class OpenFailureTest : public PreparedRecordings,
                        public ::testing::WithParamInterface<OpenFailure> {};

TEST_P(OpenFailureTest, ReturnsItsCodeAndDebugOpenItsText) {
  const OpenFailure& failure = GetParam();
  const KrdFileHandle unissued = FirstUnissuedHandle();
  const std::string krd_state = StateOf(failure.krd);
  const std::string krq_state = StateOf(failure.krq);
  HostBytes krd(failure.krd);
  HostBytes krq(failure.krq);
  KrdFileHandle file = 99;
  EXPECT_EQ(Open(krd.String(), krq.String(), failure.mode, &file), failure.code);
  EXPECT_EQ(file, 0u);
  KrdStringHandle text = nullptr;
  EXPECT_EQ(DebugOpen(krd.String(), krq.String(), failure.mode, &file, &text), failure.code);
  EXPECT_EQ(TakeBytes(text), failure.text);
  EXPECT_EQ(FirstUnissuedHandle(), unissued);
  EXPECT_EQ(StateOf(failure.krd), krd_state);
  EXPECT_EQ(StateOf(failure.krq), krq_state);
}

using namespace std::string_view_literals;

INSTANTIATE_TEST_SUITE_P(
    HostInterface, OpenFailureTest,
    ::testing::Values(
        OpenFailure{"MissingDataFile", "none.krd", "new.krq", 0, 1,
                    "The KRD file could not be opened because it does not exist."},
        OpenFailure{"DataFileExists", "a.krd", "new.krq", 1, 2,
                    "KRD file could not be created because it already exists."},
        OpenFailure{"NoHeaderPacket", "noheader.krd", "noheader.krq", 0, 3,
                    "The KRD file does not begin with a header packet."},
        OpenFailure{"BadFileType", "badtype.krd", "badtype.krq", 2, 3,
                    "File header does not contain a valid file type string."},
        OpenFailure{"GuidMismatch", "a.krd", "b.krq", 2, 3,
                    "The KRQ file's GUID does not match the KRD file's GUID."},
        OpenFailure{"MissingIndexFile", "a.krd", "new.krq", 0, 4,
                    "The index file could not be found."},
        OpenFailure{"IndexFileExists", "new.krd", "a.krq", 1, 5, "KRQ file already exists."},
        OpenFailure{"IndexInAMissingFolder", "new.krd", "none/new.krq", 1, 5,
                    "KRQ file could not be created."},
        OpenFailure{"UnknownMode", "a.krd", "a.krq", 3, 36, ""},
        // Two paths of one file, however spelled, and names
        // that are no file to the system or to SQLite.
        OpenFailure{"OneFileTwice", "new.krd", "new.krd", 1, 36,
                    "The KRD file (new.krd) and the KRQ file (new.krd) are the "
                    "same file."},
        OpenFailure{"OneFileThroughDotSegments", "a.krd", "folder/.././a.krd", 2, 36,
                    "The KRD file (a.krd) and the KRQ file (folder/.././a.krd) are "
                    "the same file."},
        OpenFailure{"OneFileThroughAHardLink", "a.krd", "hardlink.krq", 0, 36,
                    "The KRD file (a.krd) and the KRQ file (hardlink.krq) are the "
                    "same file."},
        OpenFailure{"OneFileThroughALinkToAFileToBe", "new.krd", "dangling.krq", 1, 36,
                    "The KRD file (new.krd) and the KRQ file (dangling.krq) are the "
                    "same file."},
        OpenFailure{"DataFileIsTheIndexLog", "new.krq-wal", "new.krq", 1, 36,
                    "The KRD file (new.krq-wal) is a file SQLite keeps beside the "
                    "KRQ file (new.krq)."},
        OpenFailure{"NulByteInPaths", "a\0-data.krd"sv, "a\0-index.krq"sv, 1, 36,
                    "The KRD file path (a\\0-data.krd) holds a NUL byte."},
        OpenFailure{"NulByteInIndexPath", "a.krd", "a.krq\0.old"sv, 0, 36,
                    "The KRQ file path (a.krq\\0.old) holds a NUL byte."},
        OpenFailure{"EmptyDataPath", "", "a.krq", 0, 36, "The KRD file path is empty."},
        OpenFailure{"EmptyIndexPath", "new.krd", "", 1, 36, "The KRQ file path is empty."},
        OpenFailure{"InMemoryIndex", "new.krd", ":memory:", 1, 36,
                    "The KRQ file path (:memory:) names an SQLite in-memory "
                    "database or URI, not a file."},
        OpenFailure{"UriIndex", "new.krd", "file:new.krq", 1, 36,
                    "The KRQ file path (file:new.krq) names an SQLite in-memory "
                    "database or URI, not a file."},
        // What is not a regular file, refused without waiting.
        OpenFailure{"FolderAsDataFile", "folder", "a.krq", 0, 36,
                    "The KRD file (folder) could not be opened due to an unknown "
                    "error."},
        OpenFailure{"PipeAsDataFile", "fifo", "a.krq", 0, 36,
                    "The KRD file (fifo) could not be opened due to an unknown "
                    "error."},
        OpenFailure{"DeviceAsDataFile", "device.krd", "a.krq", 2, 36,
                    "The KRD file (device.krd) could not be opened due to an "
                    "unknown error."},
        OpenFailure{"FolderAsIndexFile", "a.krd", "folder", 0, 36,
                    "The KRQ file (folder) is not a regular file."},
        OpenFailure{"PipeAsIndexFile", "new.krd", "fifo", 1, 36,
                    "The KRQ file (fifo) is not a regular file."}),
    [](const auto& info) { return std::string(info.param.name); });

// CreateIndex has no handle to keep a text with: its code is all it reports.
TEST_F(PreparedRecordings, CreateIndexReturnsTheRebuildsCode) {
  for (const auto& [krd_name, krq_name, code] :
       {std::tuple{"none.krd", "new1.krq", 1}, std::tuple{"a.krd", "b.krq", 5},
        std::tuple{"a.krd", "./a.krd", 36}, std::tuple{"a.krd", "", 36},
        std::tuple{"a.krd", ":memory:", 36}, std::tuple{"fifo", "new3.krq", 36},
        std::tuple{"a.krd", "fifo", 36}}) {
    HostBytes krd(krd_name);
    HostBytes krq(krq_name);
    EXPECT_EQ(CreateIndex(krd.String(), krq.String()), code) << krd_name << " " << krq_name;
  }
}

TEST_F(HostInterfaceTest, HandlesAreIssuedLowestFreeFirst) {
  for (const char* name : {"a", "b", "c"}) RecordComplete(name);
  EXPECT_EQ(OpenOrFail("a", kRead), 1u);
  EXPECT_EQ(OpenOrFail("b", kRead), 2u);
  EXPECT_EQ(OpenOrFail("c", kRead), 3u);
  EXPECT_EQ(Close(2), 0);
  EXPECT_EQ(OpenOrFail("b", kEdit), 2u);
}

TEST_F(HostInterfaceTest, AFailedCallStoresANewEmptyHandleAndLeavesTheOldOneAlone) {
  EXPECT_EQ(GetTimeBaseCall(0), 7);
  EXPECT_EQ(Close(0), 7);
  EXPECT_EQ(LastMessage(0), "<7>");
  EXPECT_EQ(LastMessage(1000), "<7>");
  HostBytes previous("kept");
  KrdStringHandle label = previous.String();
  EXPECT_EQ(GetFileLabel(1000, &label), 7);
  EXPECT_NE(label, previous.String());
  EXPECT_EQ(RunTimeSize(label), 4);
  EXPECT_EQ(TakeBytes(label), "");
  EXPECT_EQ(std::string(reinterpret_cast<const char*>((*previous.String())->str), 4), "kept");
}

TEST_F(HostInterfaceTest, NullOutputsAndUnreadableInputsAreRefusedBeforeAnyWork) {
  HostBytes krd(dir_.File("a.krd"));
  HostBytes krq(dir_.File("a.krq"));
  HostBytes unreadable("a.krd", -1);
  KrdFileHandle file = 99;
  KrdStringHandle text = nullptr;
  EXPECT_EQ(Open(krd.String(), krq.String(), kRecord, nullptr), 36);
  EXPECT_EQ(DebugOpen(krd.String(), krq.String(), kRecord, &file, nullptr), 36);
  EXPECT_EQ(file, 0u);
  EXPECT_FALSE(std::filesystem::exists(dir_.File("a.krd")));
  EXPECT_EQ(DebugOpen(unreadable.String(), krq.String(), kRecord, &file, &text), 36);
  EXPECT_EQ(TakeBytes(text), "") << "the paths are read before the guarded open";
  EXPECT_EQ(CreateIndex(krd.String(), unreadable.String()), 36);
  EXPECT_EQ(GetMostRecentErrorMessage(1, nullptr), 36);
  EXPECT_EQ(Initialize(nullptr), 0);
}

TEST_F(HostInterfaceTest, WithoutARunTimeTheLibraryMakesAndDisposesTheHandles) {
#if defined(KRD_STATIC_PROGRAMS)
  GTEST_SKIP() << "a statically linked test program holds the test run-time: there is no program "
                  "without one to ask";
#endif
  const KrdFileHandle file = OpenOrFail("a", kRecord);
  EXPECT_EQ(CreateHeaderCall(file), 0);
  ASSERT_EQ(SetLVRTModule(nullptr), 0);  // this executable exports no AZNewHandle
  KrdStringHandle label = nullptr;
  EXPECT_EQ(GetFileLabel(file, &label), 0);
  EXPECT_EQ(RunTimeSize(label), -1);
  EXPECT_EQ(TakeBytes(label), "label");
  DisposeHostHandle(nullptr);
}

}  // namespace
}  // namespace Varnholt::Testing
