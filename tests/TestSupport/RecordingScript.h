#pragma once

// A recording built call by call through the exported functions, the same
// for every run of the same shape: a header, start and annotation, a device
// tree with attributes, physical channels with attributes, channel groups of
// three data types with their channels, event sources, post-process steps,
// then data blocks of varied sizes with events among them and, if asked,
// relabels, moves and deletes in between. Every block's and event's bytes
// follow from a seed, so a test that breaks or kills a run can say from the
// calls that returned 0 alone what a reader must find afterwards.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "KrdFileLibApi.h"

namespace Varnholt::Testing {

// A channel group of the script: its layout, and the slots of the channels
// the checks read, by interleave place (a place without a slot is recorded
// but not read back).
struct ScriptGroup {
  std::string slot;
  uint32_t divisor;
  uint8_t channel_count;
  uint16_t data_type;
  uint16_t sample_size;
  std::vector<std::string> channels;

  std::size_t FrameSize() const { return std::size_t{channel_count} * sample_size; }
};

// A data block: its group (an index into RecordingScript::Groups()), the
// time of its first frame, its number of frames and the seed of its bytes.
struct BlockSpec {
  std::size_t group = 0;
  int64_t start = 0;
  uint32_t frames = 0;
  uint32_t seed = 0;

  const ScriptGroup& Group() const;
  // The time of the block's last frame.
  int64_t End() const;
  std::vector<uint8_t> Bytes() const;
  // The samples of the group's channel at interleave place `place`.
  std::vector<uint8_t> ChannelSamples(std::size_t place) const;
};

// An event: the slot of its source, its time and the seed of its bytes. The
// script changes or deletes the events it creates unchecked.
struct EventSpec {
  std::string source;
  int64_t time = 0;
  uint32_t seed = 0;
  bool checked = true;

  std::vector<uint8_t> Bytes() const;
};

// The IDs a run's creating calls were given, by slot.
using SlotIds = std::map<std::string, uint32_t>;

// One exported call of the script.
struct ScriptStep {
  using Call = std::function<int32_t(KrdFileHandle file, const SlotIds& ids, uint32_t* new_id)>;

  std::string text;                // what the call does, for messages
  std::vector<std::string> needs;  // the slots whose IDs it takes
  std::string creates;             // the slot its new ID goes into, if any
  Call call;
  std::optional<BlockSpec> block;
  std::optional<EventSpec> event;
};

struct ScriptShape {
  int blocks = 300;
  uint32_t max_frames = 40;
  int event_every = 5;  // an event after every n-th block
  bool edits = true;    // relabels, moves and deletes among the blocks
  uint32_t seed = 1;
};

class RecordingScript {
 public:
  explicit RecordingScript(const ScriptShape& shape);

  const std::vector<ScriptStep>& Steps() const { return steps_; }
  // Runs step `index` on the file: its code, with a new ID stored into ids;
  // nothing when a slot it needs holds no ID (then no call is made).
  std::optional<int32_t> Run(std::size_t index, KrdFileHandle file, SlotIds& ids) const;

  // The groups every script records.
  static const std::vector<ScriptGroup>& Groups();
  // Initialize with the groups' data types and these commit limits.
  static int32_t InitializeLibrary(int32_t batch_size, int32_t commit_interval_ms);

 private:
  void Add(std::string text, std::vector<std::string> needs, std::string creates,
           ScriptStep::Call call);
  void AddSetUp();
  void AddBlock(const BlockSpec& block);
  void AddEvent(const std::string& slot, const EventSpec& event);
  void AddEdit(std::size_t number);
  std::size_t EditCount() const;

  std::vector<ScriptStep> steps_;
};

}  // namespace Varnholt::Testing
