#pragma once

// What RecordingReader lists: each entity of a recording as a plain struct
// of its fields as the index holds them, with the entities that belong to it
// (a device's attributes, a channel's post-process chain) inside it, and the
// data blocks and events it hands on. Structs compare field by field.

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace Varnholt::KrdFiles::Reading {

using Bytes = std::vector<uint8_t>;

// The header's fields, the start and the annotation.
struct FileInformation {
  std::array<uint8_t, 16> guid{};  // in the order the files hold it
  uint16_t file_version = 0;
  uint16_t device_id = 0;
  std::string label;
  uint32_t time_base = 0;  // the ticks all times count, as the host defines them
  uint16_t start_data_type = 0;
  Bytes start;  // empty when no start was recorded
  std::string annotation;

  bool operator==(const FileInformation&) const = default;
};

// One attribute of a device or physical channel.
struct Attribute {
  uint16_t key = 0;
  uint16_t index = 0;
  Bytes value;

  bool operator==(const Attribute&) const = default;
};

struct Device {
  uint16_t id = 0;
  uint16_t parent_id = 0;  // 65535 for the root device
  std::string label;
  std::vector<Attribute> attributes;  // as the attribute list orders them

  bool operator==(const Device&) const = default;
};

struct PhysicalChannel {
  uint16_t id = 0;
  uint16_t device_id = 0;
  uint16_t channel_number = 0;
  std::string label;
  std::vector<Attribute> attributes;  // as the attribute list orders them

  bool operator==(const PhysicalChannel&) const = default;
};

struct ChannelGroup {
  uint16_t id = 0;
  uint32_t time_base_divisor = 0;  // ticks from one frame to the next
  uint8_t channel_count = 0;
  uint16_t data_type = 0;

  bool operator==(const ChannelGroup&) const = default;
};

// One step of a channel's post-process chain; type, data and unit are the
// recording host's and opaque to the library.
struct PostProcessStep {
  uint32_t id = 0;
  uint8_t index = 0;  // place in the chain
  uint16_t type = 0;
  bool is_default = false;
  bool is_disabled = false;
  bool is_unit_change = false;
  Bytes unit;
  std::string label;
  Bytes data;

  bool operator==(const PostProcessStep&) const = default;
};

struct Channel {
  uint16_t id = 0;
  uint16_t group_id = 0;
  uint16_t physical_channel_id = 0;
  uint8_t interleave_index = 0;  // place in the group's frames
  bool disabled = false;
  std::string label;
  std::vector<PostProcessStep> post_process;  // in chain order

  bool operator==(const Channel&) const = default;
};

struct EventSource {
  uint16_t id = 0;
  uint16_t physical_channel_id = 0;
  uint16_t data_type = 0;
  std::string label;

  bool operator==(const EventSource&) const = default;
};

// One recorded data block of a channel group.
struct Block {
  int64_t start_time = 0;  // of its first frame
  int64_t end_time = 0;    // of its last frame
  uint64_t frame_count = 0;
  uint64_t offset = 0;  // of its packet in the data file

  bool operator==(const Block&) const = default;
};

struct Event {
  uint32_t id = 0;
  uint16_t source_id = 0;
  int64_t time = 0;
  Bytes data;

  bool operator==(const Event&) const = default;
};

}  // namespace Varnholt::KrdFiles::Reading
