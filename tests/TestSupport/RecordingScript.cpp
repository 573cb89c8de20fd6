#include "tests/TestSupport/RecordingScript.h"

#include <string_view>
#include <utility>

#include "tests/Api/TestHost.h"
#include "tests/TestSupport/LibrarySetup.h"

namespace Varnholt::Testing {

namespace {

// A small, repeatable random source (SplitMix64).
class Random {
 public:
  explicit Random(uint64_t seed) : state_(seed) {}
  uint64_t Next() {
    uint64_t value = (state_ += 0x9E3779B97F4A7C15ULL);
    value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9ULL;
    value = (value ^ (value >> 27)) * 0x94D049BB133111EBULL;
    return value ^ (value >> 31);
  }
  uint32_t Below(uint64_t bound) { return static_cast<uint32_t>(Next() % bound); }

 private:
  uint64_t state_;
};

std::vector<uint8_t> SeededBytes(uint32_t seed, std::size_t count) {
  Random random(seed);
  std::vector<uint8_t> bytes(count);
  for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(random.Next() >> 56);
  return bytes;
}

std::string_view View(const std::vector<uint8_t>& bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

uint16_t Id(const SlotIds& ids, const std::string& slot) {
  return static_cast<uint16_t>(ids.at(slot));
}

// Runs a creating call with an output of type Out and hands its ID on.
template <typename Out, typename Call>
int32_t Creating(uint32_t* new_id, Call call) {
  Out out = 0;
  const int32_t code = call(&out);
  *new_id = out;
  return code;
}

// An attribute the set-up creates, and an event source with the slot of
// its physical channel.
struct Attribute {
  uint16_t key;
  uint16_t index;
  const char* value;
};
struct Source {
  const char* slot;
  const char* physical;
  uint16_t data_type;
};

// The physical channel each channel of the groups is recorded from.
std::string PhysicalChannelOf(std::size_t group, std::size_t place) {
  return "pc" + std::to_string((group + place) % 4);
}

}  // namespace

const std::vector<ScriptGroup>& RecordingScript::Groups() {
  static const std::vector<ScriptGroup> groups = {
      {"g-slow", 10, 2, 3, 2, {"ch-pressure", "ch-temperature"}},
      {"g-fast", 1, 3, 5, 4, {"ch-x", "ch-y", "ch-z"}},
      {"g-wide", 100, 2, 8, 8, {"ch-wide"}},  // place 1: a channel that is deleted
  };
  return groups;
}

int32_t RecordingScript::InitializeLibrary(int32_t batch_size, int32_t commit_interval_ms) {
  std::vector<DataType> types;
  for (const ScriptGroup& group : Groups()) types.push_back({group.data_type, group.sample_size});
  return Testing::InitializeLibrary(batch_size, commit_interval_ms, 4096, types);
}

const ScriptGroup& BlockSpec::Group() const { return RecordingScript::Groups().at(group); }

int64_t BlockSpec::End() const { return start + int64_t{frames - 1} * Group().divisor; }

std::vector<uint8_t> BlockSpec::Bytes() const {
  return SeededBytes(seed, std::size_t{frames} * Group().FrameSize());
}

std::vector<uint8_t> BlockSpec::ChannelSamples(std::size_t place) const {
  const std::vector<uint8_t> bytes = Bytes();
  const std::size_t size = Group().sample_size;
  std::vector<uint8_t> samples;
  for (std::size_t frame = 0; frame < frames; ++frame) {
    const auto first =
        bytes.begin() + static_cast<std::ptrdiff_t>((frame * Group().channel_count + place) * size);
    samples.insert(samples.end(), first, first + static_cast<std::ptrdiff_t>(size));
  }
  return samples;
}

std::vector<uint8_t> EventSpec::Bytes() const { return SeededBytes(seed, 1 + seed % 24); }

RecordingScript::RecordingScript(const ScriptShape& shape) {
  AddSetUp();
  Random random(shape.seed);
  std::vector<int64_t> next_start(Groups().size(), 0);
  const std::size_t edits = shape.edits ? EditCount() : 0;
  const auto blocks = static_cast<std::size_t>(shape.blocks);
  std::size_t edits_added = 0;
  for (std::size_t number = 0; number < blocks; ++number) {
    BlockSpec block;
    block.group = random.Below(Groups().size());
    block.frames = 1 + random.Below(shape.max_frames);
    if (number % 64 == 63) block.frames *= 16;  // now and then a block of many chunks
    block.start = next_start[block.group];
    block.seed = static_cast<uint32_t>(random.Next());
    const uint32_t gap = random.Below(4) == 0 ? random.Below(50) : 0;
    next_start[block.group] = block.End() + block.Group().divisor + gap;
    AddBlock(block);
    if (shape.event_every > 0 && number % shape.event_every == 0) {
      AddEvent("ev-" + std::to_string(number),
               {number % 2 == 0 ? "src-limit" : "src-trigger", block.start,
                static_cast<uint32_t>(random.Next()), true});
    }
    // The edits spread evenly over the blocks.
    while (edits_added < edits && (edits_added + 1) * blocks <= (number + 1) * (edits + 1)) {
      AddEdit(edits_added++);
    }
  }
  while (edits_added < edits) AddEdit(edits_added++);
}

std::optional<int32_t> RecordingScript::Run(std::size_t index, KrdFileHandle file,
                                            SlotIds& ids) const {
  const ScriptStep& step = steps_.at(index);
  for (const std::string& slot : step.needs) {
    if (!ids.contains(slot)) return std::nullopt;
  }
  uint32_t new_id = 0;
  const int32_t code = step.call(file, ids, &new_id);
  if (code == 0 && !step.creates.empty()) ids[step.creates] = new_id;
  return code;
}

void RecordingScript::Add(std::string text, std::vector<std::string> needs, std::string creates,
                          ScriptStep::Call call) {
  // Every call after the header needs it.
  if (creates != "header") needs.emplace_back("header");
  steps_.push_back(
      {std::move(text), std::move(needs), std::move(creates), std::move(call), {}, {}});
}

void RecordingScript::AddSetUp() {
  // Steps that create no entity with an ID name what they created all the
  // same ("header", "attr-..."), so that the edits of it wait for it.
  Add("CreateHeader", {}, "header", [](auto f, auto&, auto*) {
    return CreateHeader(f, 1000, 3, HostBytes("fault rig").String());
  });
  Add("CreateStart", {}, "start", [](auto f, auto&, auto*) {
    return CreateStart(f, 9, HostBytes("\x07\xEA\x0B\x17").Array());
  });
  Add("CreateAnnotation", {}, "annotation", [](auto f, auto&, auto*) {
    return CreateAnnotation(f, HostBytes("Sensors calibrated.").String());
  });
  Add("CreateDevice rig", {}, "dev-rig", [](auto f, auto&, auto* id) {
    return Creating<uint16_t>(
        id, [&](auto* o) { return CreateDevice(f, 65535, HostBytes("rig").String(), o); });
  });
  for (const char* child : {"dev-daq", "dev-spare"}) {
    Add(std::string("CreateDevice ") + child, {"dev-rig"}, child,
        [child](auto f, auto& ids, auto* id) {
          return Creating<uint16_t>(id, [&](auto* o) {
            return CreateDevice(f, Id(ids, "dev-rig"), HostBytes(child + 4).String(), o);
          });
        });
  }
  for (const Attribute attribute : {Attribute{1, 0, "serial-17"}, Attribute{1, 1, "rev-b"}}) {
    const std::string created = "attr-rig-" + std::to_string(attribute.index);
    Add("CreateDeviceAttribute", {"dev-rig"}, created, [=](auto f, auto& ids, auto*) {
      return CreateDeviceAttribute(f, Id(ids, "dev-rig"), attribute.key, attribute.index,
                                   HostBytes(attribute.value).Array());
    });
  }
  for (int number : {0, 1, 2, 3, 9}) {
    const std::string slot = number == 9 ? "pc-spare" : "pc" + std::to_string(number);
    Add("CreatePhysicalChannel " + slot, {"dev-daq"}, slot, [=](auto f, auto& ids, auto* id) {
      return Creating<uint16_t>(id, [&](auto* o) {
        return CreatePhysicalChannel(f, Id(ids, "dev-daq"), number,
                                     HostBytes("ai" + std::to_string(number)).String(), o);
      });
    });
  }
  for (const Attribute attribute : {Attribute{2, 0, "V"}, Attribute{3, 0, "cal-2024"}}) {
    const std::string created = "attr-pc0-" + std::to_string(attribute.key);
    Add("CreatePhysicalChannelAttribute", {"pc0"}, created, [=](auto f, auto& ids, auto*) {
      return CreatePhysicalChannelAttribute(f, Id(ids, "pc0"), attribute.key, attribute.index,
                                            HostBytes(attribute.value).Array());
    });
  }
  std::vector<ScriptGroup> groups = Groups();
  groups.push_back({"g-unused", 7, 1, 3, 2, {}});
  for (std::size_t number = 0; number < groups.size(); ++number) {
    const ScriptGroup group = groups[number];
    Add("CreateChannelGroup " + group.slot, {}, group.slot, [=](auto f, auto&, auto* id) {
      return Creating<uint16_t>(id, [&](auto* o) {
        return CreateChannelGroup(f, group.divisor, group.channel_count, group.data_type, o);
      });
    });
    std::vector<std::string> channels = group.channels;
    if (group.slot == "g-wide") channels.push_back("ch-wide-spare");
    for (std::size_t place = 0; place < channels.size(); ++place) {
      const std::string slot = channels[place];
      const std::string physical = PhysicalChannelOf(number, place);
      Add("CreateChannel " + slot, {group.slot, physical}, slot, [=](auto f, auto& ids, auto* id) {
        return Creating<uint16_t>(id, [&](auto* o) {
          return CreateChannel(f, Id(ids, group.slot), Id(ids, physical),
                               static_cast<uint8_t>(place), HostBytes(slot.substr(3)).String(), o);
        });
      });
    }
  }
  for (const Source source : {Source{"src-limit", "pc0", 5}, Source{"src-trigger", "pc2", 6},
                              Source{"src-spare", "pc3", 7}}) {
    Add(std::string("CreateEventSource ") + source.slot, {source.physical}, source.slot,
        [=](auto f, auto& ids, auto* id) {
          return Creating<uint16_t>(id, [&](auto* o) {
            return CreateEventSource(f, Id(ids, source.physical), source.data_type,
                                     HostBytes(source.slot + 4).String(), o);
          });
        });
  }
  AddEvent("ev-temp-a", {"src-limit", 5, 11, false});
  AddEvent("ev-temp-b", {"src-limit", 6, 12, false});
  AddEvent("ev-spare", {"src-spare", 7, 13, false});
  Add("CreatePostProcess scale", {"ch-pressure"}, "pp-scale", [](auto f, auto& ids, auto* id) {
    return Creating<uint32_t>(id, [&](auto* o) {
      return CreatePostProcess(f, Id(ids, "ch-pressure"), 0, 7, 1, 0, HostBytes("x2").Array(),
                               HostBytes("scale").String(), 1, HostBytes("bar").String(), o);
    });
  });
  Add("InsertPostProcess offset", {"ch-pressure"}, "pp-offset", [](auto f, auto& ids, auto* id) {
    return Creating<uint32_t>(id, [&](auto* o) {
      return InsertPostProcess(f, Id(ids, "ch-pressure"), 0, 8, 0, 0, HostBytes("+1").Array(),
                               HostBytes("offset").String(), 0, HostBytes("").String(), o);
    });
  });
  Add("CreatePostProcess filter", {"ch-x"}, "pp-filter", [](auto f, auto& ids, auto* id) {
    return Creating<uint32_t>(id, [&](auto* o) {
      return CreatePostProcess(f, Id(ids, "ch-x"), 0, 9, 0, 1, HostBytes("lp").Array(),
                               HostBytes("filter").String(), 0, HostBytes("").String(), o);
    });
  });
}

void RecordingScript::AddBlock(const BlockSpec& block) {
  const std::string& group = block.Group().slot;
  Add("RecordChannelGroupData " + group + " at " + std::to_string(block.start), {group}, "",
      [=](auto f, auto& ids, auto*) {
        const std::vector<uint8_t> bytes = block.Bytes();
        return RecordChannelGroupData(f, Id(ids, group), block.start,
                                      HostBytes(View(bytes)).Array());
      });
  steps_.back().block = block;
}

void RecordingScript::AddEvent(const std::string& slot, const EventSpec& event) {
  Add("CreateEvent " + slot, {event.source}, slot, [=](auto f, auto& ids, auto* id) {
    return Creating<uint32_t>(id, [&](auto* o) {
      const std::vector<uint8_t> bytes = event.Bytes();
      return CreateEvent(f, Id(ids, event.source), event.time, HostBytes(View(bytes)).Array(), o);
    });
  });
  steps_.back().event = event;
}

namespace {

// A change among the blocks: a relabel, move or delete of what the set-up
// created, on the entity in `slot` (none for the recording's own facts).
struct Edit {
  const char* text;
  const char* slot;
  int32_t (*call)(KrdFileHandle file, uint32_t id);
  // What else must have been created: the attribute or fact it changes.
  const char* also = nullptr;
};

const std::vector<Edit>& Edits() {
  using F = KrdFileHandle;
  static const std::vector<Edit> edits = {
      {"SetFileLabel", nullptr,
       [](F f, uint32_t) { return SetFileLabel(f, HostBytes("fault rig, relabelled").String()); }},
      {"SetDeviceLabel", "dev-daq",
       [](F f, uint32_t id) { return SetDeviceLabel(f, id, HostBytes("daq-2").String()); }},
      {"SetDeviceAttribute", "dev-rig",
       [](F f, uint32_t id) { return SetDeviceAttribute(f, id, 1, 0, HostBytes("s-18").Array()); },
       "attr-rig-0"},
      {"DeleteDeviceAttribute", "dev-rig",
       [](F f, uint32_t id) { return DeleteDeviceAttribute(f, id, 1, 1); }, "attr-rig-1"},
      {"SetPhysicalChannelLabel", "pc1",
       [](F f, uint32_t id) {
         return SetPhysicalChannelLabel(f, id, HostBytes("shunt").String());
       }},
      {"SetPhysicalChannelAttribute", "pc0",
       [](F f, uint32_t id) {
         return SetPhysicalChannelAttribute(f, id, 2, 0, HostBytes("mV").Array());
       },
       "attr-pc0-2"},
      {"DeletePhysicalChannelAttribute", "pc0",
       [](F f, uint32_t id) { return DeletePhysicalChannelAttribute(f, id, 3, 0); }, "attr-pc0-3"},
      {"DeletePhysicalChannel", "pc-spare",
       [](F f, uint32_t id) { return DeletePhysicalChannel(f, id); }},
      {"DeleteDevice", "dev-spare", [](F f, uint32_t id) { return DeleteDevice(f, id); }},
      {"DeleteChannelGroup", "g-unused",
       [](F f, uint32_t id) { return DeleteChannelGroup(f, id); }},
      {"DeleteChannel", "ch-wide-spare", [](F f, uint32_t id) { return DeleteChannel(f, id); }},
      {"SetChLabel", "ch-pressure",
       [](F f, uint32_t id) { return SetChLabel(f, id, HostBytes("pressure-abs").String()); }},
      {"SetEventSrcLabel", "src-trigger",
       [](F f, uint32_t id) { return SetEventSrcLabel(f, id, HostBytes("trigger-2").String()); }},
      {"SetEventTime", "ev-temp-a", [](F f, uint32_t id) { return SetEventTime(f, id, 77); }},
      {"SetEventData", "ev-temp-a",
       [](F f, uint32_t id) { return SetEventData(f, id, HostBytes("changed").Array()); }},
      {"DeleteEvent", "ev-temp-b", [](F f, uint32_t id) { return DeleteEvent(f, id); }},
      {"DeleteEventSource", "src-spare", [](F f, uint32_t id) { return DeleteEventSource(f, id); }},
      {"SetPostProcessIndex", "pp-filter",
       [](F f, uint32_t id) { return SetPostProcessIndex(f, id, 3); }},
      {"SetPostProcess", "pp-scale",
       [](F f, uint32_t id) { return SetPostProcess(f, id, 11, HostBytes("x3").Array()); }},
      {"SetPostProcessDisable", "pp-offset",
       [](F f, uint32_t id) { return SetPostProcessDisable(f, id, 1); }},
      {"SetPostProcessUnit", "pp-scale",
       [](F f, uint32_t id) { return SetPostProcessUnit(f, id, 1, HostBytes("kPa").Array()); }},
      {"SetPostProcessLabel", "pp-filter",
       [](F f, uint32_t id) { return SetPostProcessLabel(f, id, HostBytes("low-pass").String()); }},
      {"DeletePostProcess", "pp-offset", [](F f, uint32_t id) { return DeletePostProcess(f, id); }},
      {"SetAnnotation", nullptr,
       [](F f, uint32_t) { return SetAnnotation(f, HostBytes("Calibrated twice.").String()); },
       "annotation"},
      {"SetStart", nullptr,
       [](F f, uint32_t) { return SetStart(f, 9, HostBytes("\x07\xEA\x0B\x18").Array()); },
       "start"},
      {"SetTimeBase", nullptr, [](F f, uint32_t) { return SetTimeBase(f, 2000); }},
  };
  return edits;
}

}  // namespace

std::size_t RecordingScript::EditCount() const { return Edits().size(); }

void RecordingScript::AddEdit(std::size_t number) {
  const Edit edit = Edits().at(number);
  std::vector<std::string> needs;
  if (edit.slot != nullptr) needs.emplace_back(edit.slot);
  if (edit.also != nullptr) needs.emplace_back(edit.also);
  Add(edit.text, needs, "", [edit](KrdFileHandle file, const SlotIds& ids, uint32_t*) {
    return edit.call(file, edit.slot == nullptr ? 0 : ids.at(edit.slot));
  });
}

}  // namespace Varnholt::Testing
