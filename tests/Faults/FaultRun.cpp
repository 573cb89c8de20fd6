#include "tests/Faults/FaultRun.h"

#include <algorithm>
#include <cstdio>
#include <sstream>

#include "tests/Api/HostFixture.h"
#include "tests/Api/RecordingStructure.h"
#include "tests/TestSupport/Outcomes.h"

namespace Varnholt::Testing {

namespace {

// Where the header packet keeps the recording's GUID: after the 5-byte
// frame, the 8-byte file type and the 2-byte version.
constexpr std::size_t kGuidOffset = 5 + 8 + 2;
constexpr std::size_t kGuidSize = 16;

// Opens the pair in record mode, trying again after a failure.
KrdFileHandle OpenForRecording(const std::string& krd, const std::string& krq, int attempts,
                               std::vector<CallFailure>& failures) {
  for (int attempt = 0; attempt < attempts; ++attempt) {
    KrdFileHandle file = 0;
    KrdStringHandle text = nullptr;
    const int32_t code =
        DebugOpen(HostBytes(krd).String(), HostBytes(krq).String(), 1, &file, &text);
    const std::string message = TakeBytes(text);
    if (code == 0) return file;
    failures.push_back({"Open", code, message});
  }
  return 0;
}

// Size and FNV-1a digest of some bytes.
std::string Digest(const std::string& bytes) {
  uint64_t hash = 0xCBF29CE484222325ULL;
  for (const char byte : bytes) hash = (hash ^ static_cast<uint8_t>(byte)) * 0x100000001B3ULL;
  char text[32];
  std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(hash));
  return std::to_string(bytes.size()) + " bytes, digest " + text;
}

// The facts of the recording that StructureOf leaves out.
std::string FactsOf(KrdFileHandle file) {
  using detail::Text;
  uint32_t time_base = 0;
  uint16_t start_type = 0;
  const int32_t time_base_code = GetTimeBase(file, &time_base);
  const int32_t start_type_code = GetStartDataType(file, &start_type);
  return "time base " + std::to_string(time_base) + " (" + std::to_string(time_base_code) +
         ") label " + Text<KrdStringHandle>([&](auto* o) { return GetFileLabel(file, o); }) +
         " start " + std::to_string(start_type) + " (" + std::to_string(start_type_code) + ") " +
         Text<KrdU8ArrayHandle>([&](auto* o) { return GetRTStart(file, o); }) + " annotation " +
         Text<KrdStringHandle>([&](auto* o) { return GetAnnotation(file, o); }) + "\n";
}

std::string SamplesOf(KrdFileHandle file) {
  constexpr int64_t kAllTimes = int64_t{1} << 40;
  std::string out;
  for (uint16_t channel : detail::Ids([&](auto* o) { return ChannelList(file, o); }).ids) {
    out += "samples of " + std::to_string(channel) + ": " +
           Digest(ReadChannel(file, channel, -kAllTimes, kAllTimes)) + "\n";
  }
  return out;
}

std::string DataFileWithoutGuid(const std::string& krd) {
  const std::vector<uint8_t> bytes = FileBytes(krd);
  std::string text(bytes.begin(), bytes.end());
  if (text.size() >= kGuidOffset + kGuidSize) text.replace(kGuidOffset, kGuidSize, kGuidSize, '\0');
  return "data file: " + Digest(text) + "\n";
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

}  // namespace

ScriptRun RunScript(const RecordingScript& script, const std::string& krd, const std::string& krq,
                    const RunOptions& options) {
  FaultSchedule& schedule = FaultSchedule::Process();
  ScriptRun run;
  schedule.Arm(options.plan);
  const KrdFileHandle file = OpenForRecording(krd, krq, options.attempts, run.failures);
  run.opened = file != 0;
  for (std::size_t step = 0; run.opened && step < script.Steps().size(); ++step) {
    if (options.only != nullptr &&
        !std::binary_search(options.only->begin(), options.only->end(), step)) {
      continue;
    }
    for (int attempt = 0; attempt < options.attempts; ++attempt) {
      const std::optional<int32_t> code = script.Run(step, file, run.written.ids);
      if (!code) break;  // what it needs was never created
      if (*code == 0) {
        run.written.steps.push_back(step);
        break;
      }
      run.failures.push_back({script.Steps()[step].text, *code, LastMessage(file)});
    }
  }
  if (run.opened) run.close_code = Close(file);
  if (run.close_code != 0) run.failures.push_back({"Close", run.close_code, ""});
  run.writes = schedule.Calls();
  schedule.Disarm();
  return run;
}

std::string DescribeFailures(const ScriptRun& run) {
  std::string text;
  for (const CallFailure& failure : run.failures) {
    text += failure.call + ": " + std::to_string(failure.code) + " " + failure.message + "\n";
  }
  return text;
}

std::string SnapshotDifferences(const std::string& seen, const std::string& expected) {
  constexpr std::size_t kMostLines = 6;
  constexpr std::size_t kLineLength = 160;
  const std::vector<std::string> seen_lines = Lines(seen);
  const std::vector<std::string> expected_lines = Lines(expected);
  std::string differences;
  std::size_t shown = 0;
  for (std::size_t line = 0; line < std::max(seen_lines.size(), expected_lines.size()); ++line) {
    const std::string is = line < seen_lines.size() ? seen_lines[line] : "<none>";
    const std::string was = line < expected_lines.size() ? expected_lines[line] : "<none>";
    if (is == was || shown++ == kMostLines) continue;
    differences += "line " + std::to_string(line + 1) + ": " + is.substr(0, kLineLength) +
                   "\n  clean run: " + was.substr(0, kLineLength) + "\n";
  }
  return differences;
}

std::string Snapshot(const std::string& krd, const std::string& krq) {
  KrdFileHandle file = 0;
  KrdStringHandle text = nullptr;
  const int32_t code = DebugOpen(HostBytes(krd).String(), HostBytes(krq).String(), 0, &file, &text);
  const std::string why = TakeBytes(text);
  if (code != 0) return "<open failed: " + std::to_string(code) + " " + why + ">";
  const std::string seen = FactsOf(file) + StructureOf(file) + SamplesOf(file);
  Close(file);
  return seen + DataFileWithoutGuid(krd);
}

}  // namespace Varnholt::Testing
