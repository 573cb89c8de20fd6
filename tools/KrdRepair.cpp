// krd-repair: checks a recording's pair after a crash, a full disk or
// damage, and brings it back. Without --check it repairs what it finds, and
// only ever moves bytes aside (into side files next to the recording),
// never discards them.
//
//   krd-repair [--check] <recording.krd> [<recording.krq>]
//
// The index defaults to the data file's path with the extension .krq. Exit
// status: 0 when the pair was whole (or has been repaired), 1 when --check
// found something, 2 when the pair cannot be checked (its code and message
// are printed).

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>

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
  std::fputs("usage: krd-repair [--check] <recording.krd> [<recording.krq>]\n", stderr);
  return 2;
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
  int next = 1;
  const bool check_only = argc > next && std::string_view(argv[next]) == "--check";
  if (check_only) ++next;
  if (argc - next < 1 || argc - next > 2) return Usage();
  const std::string krd = argv[next];
  const std::string krq =
      argc - next == 2 ? argv[next + 1]
                       : std::filesystem::path(krd).replace_extension(".krq").string();
  try {
    return check_only ? Check(krd, krq) : Repair(krd, krq);
  } catch (const Varnholt::KrdFiles::ApiException& failure) {
    std::fprintf(stderr, "krd-repair: %s (code %d)\n", failure.what(), failure.Code());
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "krd-repair: %s\n", failure.what());
  }
  return 2;
}
