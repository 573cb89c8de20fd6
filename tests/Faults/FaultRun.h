#pragma once

// One run of the recording script on a new pair under a fault plan, made
// as a host makes it, and what a reader sees of the closed pair afterwards.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/TestSupport/FaultSchedule.h"
#include "tests/TestSupport/RecordingCheck.h"
#include "tests/TestSupport/RecordingScript.h"

namespace Varnholt::Testing {

// A call that did not return 0: which, its code and the handle's text.
struct CallFailure {
  std::string call;
  int32_t code = 0;
  std::string message;
};

struct ScriptRun {
  WrittenSteps written;
  std::vector<CallFailure> failures;
  bool opened = false;
  int32_t close_code = 0;
  // The writes the schedule numbered, from Open to the end of Close.
  uint64_t writes = 0;
};

struct RunOptions {
  FaultPlan plan;
  // Tries per call: a host tries again what the disk refused.
  int attempts = 1;
  // When set, only these steps (in ascending order) are run.
  const std::vector<std::size_t>* only = nullptr;
};

// Opens a new pair in record mode, runs the script's steps on it (a step
// whose entities were never created is left out), closes it and keeps
// every failure with its code and text. Close keeps no text.
ScriptRun RunScript(const RecordingScript& script, const std::string& krd, const std::string& krq,
                    const RunOptions& options);

// The run's failed calls, one per line.
std::string DescribeFailures(const ScriptRun& run);

// Everything a reader of a closed pair sees, as text: the recording's own
// facts, its structure, each channel's samples over all times and the data
// file's bytes but its GUID, the last two as a size and a digest.
// "<open failed ...>" when the pair does not open for reading.
std::string Snapshot(const std::string& krd, const std::string& krq);

// The lines in which two snapshots differ (a few, shortened); empty when
// they are the same.
std::string SnapshotDifferences(const std::string& seen, const std::string& expected);

}  // namespace Varnholt::Testing
