#pragma once

// What a reader finds of what a recording script's calls wrote: after a
// fault, a crash and a repair, every data block and event that a call
// reported written must read back byte for byte through the exported
// functions.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "KrdFileLibApi.h"
#include "tests/TestSupport/RecordingScript.h"

namespace Varnholt::Testing {

// The steps of a run whose calls returned 0, in the order they ran, and
// the IDs their creating calls were given.
struct WrittenSteps {
  std::vector<std::size_t> steps;
  SlotIds ids;
};

// One line for each difference between what the written steps' blocks and
// checked events hold and what the open file returns for them; empty when
// everything reads back (past a few lines, only how many more there
// are). Each group's written blocks are read per channel
// over their whole time range, so a block found between them that no call
// wrote is a difference too. With `nothing_after`, a group must also end
// with its last written block.
std::vector<std::string> ReadBackProblems(KrdFileHandle file, const RecordingScript& script,
                                          const WrittenSteps& written, bool nothing_after);

// A channel's samples from first to last (both included), or "<code>".
std::string ReadChannel(KrdFileHandle file, uint16_t channel, int64_t first, int64_t last);

}  // namespace Varnholt::Testing
