#pragma once

#include <cstdint>
#include <vector>

#include "KrdFileLib/File/KrfFileBase.h"

namespace Varnholt::Fuzzing {

// The IDs an open file's listings returned, a few of each kind (the first
// ones), for the calls that take them.
struct ListedIds {
  std::vector<uint16_t> devices;
  std::vector<KrdFiles::AttributeId> device_attributes;  // of devices.front()
  std::vector<uint16_t> physical_channels;
  std::vector<KrdFiles::AttributeId> physical_channel_attributes;  // of the first one
  std::vector<uint16_t> groups;
  std::vector<uint16_t> channels;
  std::vector<uint32_t> post_processes;
  std::vector<uint16_t> event_sources;
  std::vector<uint32_t> events;
};

// Calls every listing of the file and every getter on the IDs the listings
// return and on a few IDs they do not, reads channel data forward and
// backward over a few ranges, and lists events over a few ranges. A call
// may fail with one of the library's errors, which is passed over; any
// other exception goes on to the caller.
ListedIds CallEveryReader(KrdFiles::KrfFileBase& file);

// A few creating, setting and deleting calls of every kind, on the IDs
// given and on new ones; failures as above.
void CallSomeModifiers(KrdFiles::KrfFileBase& file, const ListedIds& ids);

}  // namespace Varnholt::Fuzzing
