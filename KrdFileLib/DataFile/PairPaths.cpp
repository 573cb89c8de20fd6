#include "KrdFileLib/DataFile/PairPaths.h"

#include <string_view>

#include "KrdFileLib/Errors.h"
#include "KrdFileLib/DataFile/PlatformFile.h"

namespace Varnholt::KrdFiles {

namespace {

// The files SQLite keeps beside an index, by the suffix of their names.
constexpr const char* kCompanionSuffixes[] = {"-wal", "-shm", "-journal"};

void CheckSpelling(std::string_view file, const std::string& path) {
  if (path.empty()) throw Errors::PathEmpty(file);
  if (path.find('\0') != std::string::npos) throw Errors::PathHoldsNul(file, path);
}

bool IsSqliteName(const std::string& path) {
  return path == ":memory:" || path.starts_with("file:");
}

}  // namespace

void CheckPairPaths(const std::string& krd_path, const std::string& krq_path) {
  CheckSpelling("KRD", krd_path);
  CheckSpelling("KRQ", krq_path);
  if (IsSqliteName(krq_path)) throw Errors::KrqPathNotAFileName(krq_path);
  const PlatformFile::Identity data_file = PlatformFile::IdentityOf(krd_path);
  if (data_file == PlatformFile::IdentityOf(krq_path)) {
    throw Errors::PairIsOneFile(krd_path, krq_path);
  }
  for (const char* suffix : kCompanionSuffixes) {
    if (data_file == PlatformFile::IdentityOf(krq_path + suffix)) {
      throw Errors::KrdFileIsKrqCompanion(krd_path, krq_path);
    }
  }
  if (PlatformFile::KindOf(krq_path) == PlatformFile::Kind::kOther) {
    throw Errors::KrqFileNotRegular(krq_path);
  }
}

}  // namespace Varnholt::KrdFiles
