// The file objects below the exported functions: what a host's tables
// cannot see (bytes a refusal leaves, the reindex mode).

#include <gtest/gtest.h>

#include <functional>

#include "KrdFileLib/Exceptions.h"
#include "KrdFileLib/File/KrfModes.h"
#include "tests/TestSupport/Outcomes.h"
#include "tests/TestSupport/TempDir.h"

namespace Varnholt::KrdFiles {
namespace {

using Bytes = KrfFileBase::Bytes;
using Outcome = std::pair<int32_t, std::string>;

using Testing::FileBytes;
using Testing::Failure;

class KrfFileTest : public ::testing::Test {
 public:
  template <typename Mode>
  std::shared_ptr<Mode> Make(const std::string& krq) {
    return std::make_shared<Mode>(krd_, dir_.File(krq), nullptr, nullptr);
  }
  template <typename Mode>
  std::shared_ptr<Mode> Opened(const std::string& krq = "rec.krq") {
    auto file = Make<Mode>(krq);
    file->Open();
    return file;
  }
  // A recording with header, start and annotation, closed again.
  void Record() {
    auto recorder = Opened<KrfRecorder>();
    recorder->CreateHeader(1000, 7, "rig 3");
    recorder->CreateStart(2, Bytes{1, 2, 3});
    recorder->CreateAnnotation("calibrated");
    recorder->Close();
  }

  Testing::TempDir dir_;
  std::string krd_ = dir_.File("rec.krd");
};

// The refusals' codes and texts are HostInterfaceTest's; here, that a
// refused fact writes nothing and that an empty start counts as none.
TEST_F(KrfFileTest, OnceOnlyFactsAreRefusedTheSecondTimeAndTheFileKeepsOneCopy) {
  auto recorder = Opened<KrfRecorder>();
  EXPECT_EQ(Failure([&] { recorder->CreateStart(1, {1}); }).first, 40);
  recorder->CreateHeader(10, 0, "ab");
  const Bytes after_header = FileBytes(krd_);
  EXPECT_EQ(after_header.size(), 40u);
  EXPECT_EQ(Failure([&] { recorder->CreateHeader(10, 0, "ab"); }).first, 39);
  EXPECT_EQ(FileBytes(krd_), after_header);
  recorder->CreateStart(1, {});  // an empty start leaves the start unset...
  recorder->CreateStart(1, {9});  // ...so it can be created again
  EXPECT_EQ(recorder->GetRTStart(), Bytes{9});
}

TEST_F(KrfFileTest, ALabelSetBeforeTheHeaderMakesTheHeaderFail) {
  auto recorder = Opened<KrfRecorder>();
  recorder->SetFileLabel("early");
  EXPECT_EQ(Failure([&] { recorder->CreateHeader(1, 0, "late"); }).first, 39);
  EXPECT_EQ(FileBytes(krd_).size(), 0u);
}

TEST_F(KrfFileTest, EditModeChangesOnlyTheIndex) {
  Record();
  const Bytes recorded = FileBytes(krd_);
  {
    auto editor = Opened<KrfEditor>();
    editor->SetStart(5, {4, 4});
    editor->SetFileLabel("relabelled");
    editor->SetAnnotation("");
    editor->SetTimeBase(50);
    EXPECT_EQ(editor->GetRTStart(), (Bytes{4, 4}));
    editor->Close();
  }
  EXPECT_EQ(FileBytes(krd_), recorded);
  auto reader = Opened<KrfReader>();
  EXPECT_EQ(reader->GetFileLabel(), "relabelled");
  EXPECT_EQ(reader->GetTimeBase(), 50u);
}

// Which families each mode refuses, with the code and text of the refusal.
struct ModeCase {
  const char* name;
  std::function<std::shared_ptr<KrfFileBase>(KrfFileTest&)> open;
  Outcome append, modify, reindex;
};

class KrfModeTest : public KrfFileTest, public ::testing::WithParamInterface<int> {};

TEST_P(KrfModeTest, EachModeRefusesItsFamilies) {
  const Outcome read_refusal{29, "This operation is not allowed in read mode."};
  const Outcome ok{0, ""};
  const Outcome reindex_only{42, "This operation is only allowed in reindex mode."};
  const std::vector<ModeCase> cases = {
      {"record", [](KrfFileTest& t) { return t.Opened<KrfRecorder>("new.krq"); }, ok, ok, reindex_only},
      {"read", [](KrfFileTest& t) { return t.Opened<KrfReader>(); }, read_refusal, read_refusal, reindex_only},
      {"edit", [](KrfFileTest& t) { return t.Opened<KrfEditor>(); },
       {30, "This operation is not allowed in edit mode."}, ok, reindex_only},
      {"reindex", [](KrfFileTest& t) { return t.Opened<KrfReindexer>("rebuilt.krq"); },
       {42, "This operation is not allowed in reindex mode."}, ok, ok},
  };
  const ModeCase& mode = cases[static_cast<std::size_t>(GetParam())];
  SCOPED_TRACE(mode.name);
  if (std::string(mode.name) != "record") Record();
  auto file = mode.open(*this);
  // The mode check comes before any other, so the header is refused by mode.
  EXPECT_EQ(Failure([&] { file->CreateHeader(1, 0, "x"); }), mode.append);
  EXPECT_EQ(Failure([&] { file->SetAnnotation("x"); }), mode.modify);
  EXPECT_EQ(Failure([&] { file->Reindex(); }), mode.reindex);
}

INSTANTIATE_TEST_SUITE_P(Modes, KrfModeTest, ::testing::Range(0, 4));

}  // namespace
}  // namespace Varnholt::KrdFiles
