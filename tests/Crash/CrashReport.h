#pragma once

// What the crash test's child program tells its parent through a pipe: one
// fixed-size record after each call that returned 0, enough for the parent
// to regenerate every byte the call wrote from the same recording script,
// and a last record after Close. A record is far smaller than a pipe's
// atomic write, so a killed child leaves whole records only.

#include <cstdint>

#include "tests/TestSupport/RecordingScript.h"

namespace Varnholt::Testing {

struct CrashReport {
  enum Kind : uint32_t {
    kWritten,  // step returned 0; value: the ID it created, if any
    kFailed,   // step returned a code (value) although nothing failed yet
    kClosed,   // Close returned (code in `step`); value: the writes made
  };
  uint32_t kind = kWritten;
  uint32_t step = 0;
  uint64_t value = 0;
  // A data block: its group's ID, first frame time, bytes and seed.
  int64_t start = 0;
  uint32_t group = 0;
  uint32_t length = 0;
  uint32_t seed = 0;
  uint32_t unused = 0;
};

// The recording the child makes: thousands of blocks of the three groups,
// an event after every fourth, and no edits (an edit changes only the
// index, which a crash may take back with the batch it was in).
inline ScriptShape CrashShape(uint32_t seed, int blocks) {
  return {.blocks = blocks, .max_frames = 120, .event_every = 4, .edits = false, .seed = seed};
}

// The child's commit limits: a batch of 64 statements, or 20 ms, so that
// both the calls and the background thread commit.
inline constexpr int32_t kCrashBatchSize = 64;
inline constexpr int32_t kCrashCommitIntervalMs = 20;

}  // namespace Varnholt::Testing
