// The recording's own row: header, start time and annotation.

#include "KrdFileLib/Index/FileInformationTable.h"
#include "tests/Index/IndexTestSupport.h"

namespace Varnholt::KrdFiles::Index {
namespace {

class IndexFileInformationTableTest : public CreatedIndexTest {
 protected:
  FileInformationTable table_;
};

TEST_F(IndexFileInformationTableTest, AFreshIndexHasNoHeader) {
  const std::pair<int32_t, std::string> no_header(40, "The file header has not been created.");
  EXPECT_EQ(Failure([&] { table_.RequireHeader(connection_); }), no_header);
  EXPECT_EQ(Failure([&] { table_.GetStart(connection_); }), no_header);
  EXPECT_EQ(Failure([&] { table_.GetStartType(connection_); }), no_header);
}

TEST_F(IndexFileInformationTableTest, AHeaderWithoutStartHasNoStartTime) {
  table_.label.Set("recording");
  table_.Insert(connection_, true);
  const std::pair<int32_t, std::string> no_start(45, "Start time has not been set.");
  EXPECT_EQ(Failure([&] { table_.GetStart(connection_); }), no_start);
  EXPECT_EQ(Failure([&] { table_.GetStartType(connection_); }), no_start);
  EXPECT_EQ(Failure([&] { table_.RequireStart(); }), no_start);
}

TEST_F(IndexFileInformationTableTest, SettingTheStartCreatesTheRowWhenThereIsNone) {
  table_.SetStart(connection_, 3, {1, 2, 3});
  EXPECT_EQ(table_.device_id.Value(), 1);

  FileInformationTable reader;
  EXPECT_EQ(reader.GetStartType(connection_), 3);
  EXPECT_EQ(reader.GetStart(connection_), (Bytes{1, 2, 3}));
  EXPECT_EQ(RowCount(connection_, "file_information"), 1);
}

TEST_F(IndexFileInformationTableTest, StartAndAnnotationShareTheHeadersRow) {
  const CommonLib::Uuid guid = CommonLib::Uuid::Random();
  table_.uuid.Set(guid);
  table_.label.Set("recording");
  table_.time_base.Set(1000);
  table_.Insert(connection_, true);

  FileInformationTable writer;
  writer.SetAnnotation(connection_, "annotated");
  writer.SetStart(connection_, 7, {9});

  FileInformationTable reader;
  reader.RequireHeader(connection_);
  EXPECT_EQ(reader.uuid.Value(), guid);
  EXPECT_EQ(reader.label.Value(), "recording");
  EXPECT_EQ(reader.time_base.Value(), 1000u);
  EXPECT_EQ(reader.annotation.Value(), "annotated");
  EXPECT_EQ(reader.GetStartType(connection_), 7);
  EXPECT_EQ(RowCount(connection_, "file_information"), 1);
}

}  // namespace
}  // namespace Varnholt::KrdFiles::Index
