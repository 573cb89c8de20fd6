// Demo: creates a recording's index in a fresh folder, records the file's
// own facts in it, closes it, opens it again and prints what it reads back.
//
//   KrdDemo [folder]     (default: a new folder under the system's temp dir)

#include <filesystem>
#include <iostream>
#include <memory>
#include <string>

#include "CommonLib/Clock.h"
#include "CommonLib/Uuid.h"
#include "KrdFileLib/Exceptions.h"
#include "KrdFileLib/Index/FileInformationTable.h"
#include "KrdFileLib/Index/IndexConnection.h"
#include "KrdFileLib/Index/SqlCommand.h"
#include "KrdFileLib/Index/SqlQuery.h"

namespace {

using namespace Varnholt;
using namespace Varnholt::KrdFiles::Index;

std::string Hex(const CommonLib::Uuid& uuid) {
  static const char* digits = "0123456789abcdef";
  std::string text;
  for (uint8_t byte : uuid.bytes) {
    text += digits[byte >> 4];
    text += digits[byte & 0xF];
  }
  return text;
}

void CreateIndex(const std::string& path, const std::shared_ptr<const CommonLib::IClock>& clock) {
  IndexConnection index(path, clock);
  index.Create();
  FileInformationTable info;
  info.uuid.Set(CommonLib::Uuid::Random());
  info.file_version.Set(1001);
  info.label.Set("Demo rig, bench 3");
  info.time_base.Set(1'000'000);
  info.Insert(index, /*skip_row_id=*/true);
  info.SetStart(index, 1, {0x07, 0xEA, 0x0B, 0x17});
  info.SetAnnotation(index, "Ambient 21 C, sensors calibrated this morning.");
  index.Close();
}

void PrintIndex(const std::string& path, const std::shared_ptr<const CommonLib::IClock>& clock) {
  IndexConnection index(path, clock);
  index.Open();
  FileInformationTable info;
  info.RequireHeader(index);
  std::cout << "label:       " << info.label.Value() << "\n"
            << "guid:        " << Hex(info.uuid.Value()) << "\n"
            << "version:     " << info.file_version.Value() << "\n"
            << "time base:   " << info.time_base.Value() << " ticks/s\n"
            << "start type:  " << info.GetStartType(index) << " (" << info.GetStart(index).size()
            << " bytes)\n"
            << "annotation:  " << info.annotation.Value() << "\n"
            << "tables:     ";
  auto tables = index.ExecuteQuery(
      SqlCommand("SELECT name FROM sqlite_master WHERE type='table' ORDER BY name"));
  for (; tables->HasRow(); tables->NextRow()) std::cout << " " << tables->GetText(0);
  std::cout << "\n";
  index.Close();
}

}  // namespace

int main(int argc, char** argv) {
  namespace fs = std::filesystem;
  const fs::path folder = argc > 1 ? fs::path(argv[1])
                                   : fs::temp_directory_path() /
                                         ("krd-demo-" + Hex(CommonLib::Uuid::Random()).substr(0, 8));
  try {
    fs::create_directories(folder);
    const std::string index_path = (folder / "demo.krq").string();
    auto clock = std::make_shared<CommonLib::Clock>();
    CreateIndex(index_path, clock);
    std::cout << "Wrote " << index_path << "\n";
    PrintIndex(index_path, clock);
  } catch (const KrdFiles::ApiException& e) {
    std::cerr << "failed with code " << e.Code() << ": " << e.what() << "\n";
    return 1;
  }
  return 0;
}
