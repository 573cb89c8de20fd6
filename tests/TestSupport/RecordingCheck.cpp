#include "tests/TestSupport/RecordingCheck.h"

#include <algorithm>

#include "tests/Api/TestHost.h"

namespace Varnholt::Testing {

namespace {

// Lines of a report beyond which only their number is given.
constexpr std::size_t kMostProblems = 8;

std::string AsString(const std::vector<uint8_t>& bytes) { return {bytes.begin(), bytes.end()}; }

// Where two channel reads part: the byte, and the written block it lies in.
std::string FirstDifference(const std::string& read, const std::string& expected,
                            const std::vector<BlockSpec>& blocks, std::size_t place) {
  const auto mismatch = std::mismatch(read.begin(), read.end(), expected.begin(), expected.end());
  const auto at = static_cast<std::size_t>(mismatch.first - read.begin());
  std::size_t block_end = 0;
  for (const BlockSpec& block : blocks) {
    block_end += block.frames * std::size_t{block.Group().sample_size};
    if (at < block_end) {
      return "first difference at byte " + std::to_string(at) + ", in the block at " +
             std::to_string(block.start) + " (place " + std::to_string(place) + ")";
    }
  }
  return "first difference at byte " + std::to_string(at) + ", past the written blocks";
}

void CheckGroup(KrdFileHandle file, const std::vector<BlockSpec>& blocks, const SlotIds& ids,
                bool nothing_after, std::vector<std::string>& problems) {
  const ScriptGroup& group = blocks.front().Group();
  const int64_t first = blocks.front().start;
  const int64_t last = blocks.back().End();
  for (std::size_t place = 0; place < group.channels.size(); ++place) {
    const std::string& slot = group.channels[place];
    if (!ids.contains(slot)) {
      problems.push_back(group.slot + ": blocks were written without channel " + slot);
      continue;
    }
    std::string expected;
    for (const BlockSpec& block : blocks) expected += AsString(block.ChannelSamples(place));
    const std::string read = ReadChannel(file, static_cast<uint16_t>(ids.at(slot)), first, last);
    if (read != expected) {
      problems.push_back(slot + " from " + std::to_string(first) + " to " + std::to_string(last) +
                         ": read " + std::to_string(read.size()) + " bytes, expected " +
                         std::to_string(expected.size()) + "; " +
                         FirstDifference(read, expected, blocks, place));
    }
  }
  int64_t end = 0;
  const int32_t code = GetMaxChGroupTime(file, static_cast<uint16_t>(ids.at(group.slot)), &end);
  if (nothing_after && (code != 0 || end != last)) {
    problems.push_back(group.slot + " ends at " + std::to_string(end) + " (code " +
                       std::to_string(code) + "), its last written block at " +
                       std::to_string(last));
  }
}

void CheckEvent(KrdFileHandle file, const std::string& slot, const EventSpec& event,
                const SlotIds& ids, std::vector<std::string>& problems) {
  const uint32_t id = ids.at(slot);
  int64_t time = 0;
  const int32_t time_code = GetEventTime(file, id, &time);
  KrdU8ArrayHandle data = nullptr;
  const int32_t data_code = GetEventData(file, id, &data);
  const std::string bytes = TakeBytes(data);
  if (time_code != 0 || data_code != 0 || time != event.time || bytes != AsString(event.Bytes())) {
    problems.push_back(slot + " (event " + std::to_string(id) + "): codes " +
                       std::to_string(time_code) + "/" + std::to_string(data_code) + ", time " +
                       std::to_string(time) + " for " + std::to_string(event.time) +
                       (bytes == AsString(event.Bytes()) ? "" : ", other bytes"));
  }
}

}  // namespace

std::string ReadChannel(KrdFileHandle file, uint16_t channel, int64_t first, int64_t last) {
  int64_t continuation = 0;
  KrdU8ArrayHandle samples = nullptr;
  const int32_t code =
      GetChannelData(file, channel, first, last - first + 1, &continuation, &samples);
  const std::string bytes = TakeBytes(samples);
  return code == 0 ? bytes : "<" + std::to_string(code) + ">";
}

std::vector<std::string> ReadBackProblems(KrdFileHandle file, const RecordingScript& script,
                                          const WrittenSteps& written, bool nothing_after) {
  std::vector<std::string> problems;
  std::vector<std::vector<BlockSpec>> blocks(RecordingScript::Groups().size());
  for (std::size_t step : written.steps) {
    const ScriptStep& written_step = script.Steps().at(step);
    if (written_step.block) blocks.at(written_step.block->group).push_back(*written_step.block);
    if (written_step.event && written_step.event->checked) {
      CheckEvent(file, written_step.creates, *written_step.event, written.ids, problems);
    }
  }
  for (const std::vector<BlockSpec>& group_blocks : blocks) {
    if (!group_blocks.empty()) CheckGroup(file, group_blocks, written.ids, nothing_after, problems);
  }
  if (problems.size() > kMostProblems) {
    const std::size_t more = problems.size() - kMostProblems;
    problems.resize(kMostProblems);
    problems.push_back("and " + std::to_string(more) + " more");
  }
  return problems;
}

}  // namespace Varnholt::Testing
