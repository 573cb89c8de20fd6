#pragma once

// RecordingReader: the one way C++ programs read recordings. Tools over the
// library (a command line, a Python module) read through it, as should any
// other C++ program; the exported C functions are for hosts.
//
//   Varnholt::KrdFiles::DataTypeRegistry::Process().Replace({{1, 2}});  // type 1: 2-byte samples
//   Varnholt::KrdFiles::Reading::RecordingReader recording("run.krd", "run.krq");
//   for (const auto& channel : recording.Channels()) { ... }
//   std::vector<uint8_t> buffer(64 * 1024);
//   recording.ReadChannel(1, 0, 1000, buffer, [](std::span<const uint8_t> samples) { ... });
//
// It opens a pair as the exported Open does in read mode, with the same
// refusals, codes and messages, and never changes either file; the pair is
// closed when the reader goes. Listings are plain structs
// (RecordingEntities.h); blocks, samples and events are handed to a
// callback as they are read, so that a walk over a long recording needs
// memory for one chunk, not for the walk. Every failure is an ApiException
// (KrdFileLib/Exceptions.h) with the library's code and message.
//
// Sample sizes come from the process's data-type registry
// (KrdFileLib/DataTypeRegistry.h), as for a host after Initialize: reading
// the blocks or a channel of a group whose type is not registered there
// fails with code 36. Times are ticks of the recording's time base. One
// reader is used by one thread at a time; a callback must not call back
// into its reader, and a reader moved from is not used again.

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "KrdFileLib/Exceptions.h"
#include "KrdFileLib/Reading/ContinuationTime.h"
#include "KrdFileLib/Reading/RecordingEntities.h"

namespace Varnholt::KrdFiles {
class KrfReader;
}

namespace Varnholt::KrdFiles::Reading {

// One recording pair open for reading, as described above.
class RecordingReader {
 public:
  // What a read hands on: a chunk of samples, or one block or event.
  using SampleHandler = std::function<void(std::span<const uint8_t> samples)>;
  using BlockHandler = std::function<void(const Block& block)>;
  using EventHandler = std::function<void(const Event& event)>;

  // Opens the pair at krd_path and krq_path for reading (code 1 without
  // the data file, 4 without the index, 3 when their GUIDs differ, ...).
  RecordingReader(const std::string& krd_path, const std::string& krq_path);
  ~RecordingReader();
  RecordingReader(RecordingReader&&) noexcept;
  RecordingReader& operator=(RecordingReader&&) noexcept;

  // Entities ----------------------------------------------------------------

  // Code 40 when the recording has no header.
  FileInformation Information();
  // Each list is in ID order.
  std::vector<Device> Devices();
  std::vector<PhysicalChannel> PhysicalChannels();
  std::vector<ChannelGroup> ChannelGroups();
  std::vector<Channel> Channels();
  std::vector<EventSource> EventSources();

  // Data ----------------------------------------------------------------------

  // Hands take the group's blocks that overlap [first_time, last_time], in
  // start-time order (code 19 for an unknown group, 36 when first_time is
  // after last_time).
  void ForEachBlock(uint16_t group_id, int64_t first_time, int64_t last_time,
                    const BlockHandler& take);
  // Reads the channel's samples over length ticks from start_time, as
  // GetChannelData does: forward for a positive length, backward (ending
  // at start_time) for a negative one, in time order either way. They go
  // to take through buffer, a chunk at a time: each chunk is the front of
  // buffer and holds as many whole samples as buffer does, the last one
  // what is left. Returns where the next read in the same direction starts
  // (kNoMoreData when nothing follows). Memory beyond buffer: one read of
  // the data file, no larger than buffer unless one frame is. Refused as
  // GetChannelData refuses, and with code 36 when buffer holds no whole
  // sample.
  int64_t ReadChannel(uint16_t channel_id, int64_t start_time, int64_t length,
                      std::span<uint8_t> buffer, const SampleHandler& take);
  // Hands take the events from first_time to last_time, both included, by
  // time: of one source (code 23 for an unknown one), or of every source
  // for std::nullopt (by time, then ID).
  void ForEachEvent(std::optional<uint16_t> source_id, int64_t first_time, int64_t last_time,
                    const EventHandler& take);

 private:
  std::unique_ptr<KrfReader> file_;
};

}  // namespace Varnholt::KrdFiles::Reading
