// krd-repair: checks a recording's pair after a crash, a full disk or
// damage, and brings it back. Without --check it repairs what it finds, and
// only ever moves bytes aside (into side files next to the recording),
// never discards them.
//
//   krd-repair [--check] [--data-type ID:BYTES]... <recording.krd> [<recording.krq>]
//
// Data blocks are checked and indexed by whole frames, so the tool needs the
// sample size of each data type the recording's channel groups use, as the
// host registers them with Initialize: --data-type 1:2 for a type 1 of
// 2-byte samples. The index defaults to the data file's path with the
// extension .krq. Exit
// status: 0 when the pair was whole (or has been repaired), 1 when --check
// found something, 2 when the pair cannot be checked (its code and message
// are printed).

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "KrdFileLib/DataTypeRegistry.h"
#include "KrdFileLib/Exceptions.h"
#include "KrdFileLib/Recovery/PairRecovery.h"

namespace {

using Varnholt::KrdFiles::Recovery::Progress;

// Shows how far the walk has come when someone is watching.
Progress ProgressOnTerminal() {
  if (isatty(STDERR_FILENO) == 0) return {};
  return [](uint64_t walked, uint64_t total) {
    std::fprintf(stderr, "\r%llu of %llu MiB", static_cast<unsigned long long>(walked >> 20),
                 static_cast<unsigned long long>(total >> 20));
    if (walked >= total) std::fputc('\n', stderr);
  };
}

int Usage() {
  std::fputs(
      "usage: krd-repair [--check] [--data-type ID:BYTES]... <recording.krd> [<recording.krq>]\n",
      stderr);
  return 2;
}

// "ID:BYTES" as a registry entry.
std::optional<Varnholt::KrdFiles::DataTypeRegistry::Entry> ParseDataType(const std::string& text) {
  unsigned id = 0;
  unsigned bytes = 0;
  char end = 0;
  if (std::sscanf(text.c_str(), "%u:%u%c", &id, &bytes, &end) != 2 || id > 65535) {
    return std::nullopt;
  }
  return Varnholt::KrdFiles::DataTypeRegistry::Entry{static_cast<uint16_t>(id), bytes};
}

int Check(const std::string& krd, const std::string& krq) {
  const auto report = Varnholt::KrdFiles::Recovery::Verify(krd, krq, ProgressOnTerminal());
  std::fputs(report.Describe().c_str(), stdout);
  return report.IsClean() ? 0 : 1;
}

int Repair(const std::string& krd, const std::string& krq) {
  const auto report = Varnholt::KrdFiles::Recovery::Repair(krd, krq, ProgressOnTerminal());
  std::fputs(report.found.Describe().c_str(), stdout);
  for (const std::string& action : report.actions) std::printf("repaired: %s\n", action.c_str());
  for (const std::string& side_file : report.side_files) {
    std::printf("kept aside: %s\n", side_file.c_str());
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  bool check_only = false;
  std::vector<Varnholt::KrdFiles::DataTypeRegistry::Entry> data_types;
  std::vector<std::string> paths;
  for (int next = 1; next < argc; ++next) {
    const std::string_view argument = argv[next];
    if (argument == "--check") {
      check_only = true;
    } else if (argument == "--data-type" && next + 1 < argc) {
      const auto entry = ParseDataType(argv[++next]);
      if (!entry) return Usage();
      data_types.push_back(*entry);
    } else {
      paths.emplace_back(argument);
    }
  }
  if (paths.empty() || paths.size() > 2) return Usage();
  Varnholt::KrdFiles::DataTypeRegistry::Process().Replace(data_types);
  const std::string& krd = paths[0];
  const std::string krq = paths.size() == 2
                              ? paths[1]
                              : std::filesystem::path(krd).replace_extension(".krq").string();
  try {
    return check_only ? Check(krd, krq) : Repair(krd, krq);
  } catch (const Varnholt::KrdFiles::ApiException& failure) {
    std::fprintf(stderr, "krd-repair: %s (code %d)\n", failure.what(), failure.Code());
    if (std::string_view(failure.what()).starts_with("The specified data-type ID")) {
      std::fputs("Name the sample size of each of the recording's data types with "
                 "--data-type ID:BYTES.\n",
                 stderr);
    }
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "krd-repair: %s\n", failure.what());
  }
  return 2;
}
