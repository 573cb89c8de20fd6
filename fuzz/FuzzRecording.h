#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Varnholt::Fuzzing {

// The data types of the recording below, with their sample sizes, for
// DataTypeRegistry::Process().Replace.
std::vector<std::pair<uint16_t, uint32_t>> FuzzRecordingDataTypes();

// Records, through a record-mode file object, a pair with every kind of
// packet: header, start, annotation, a device tree with attributes,
// physical channels with attributes, channel groups and their channels,
// post-process steps, data blocks of two groups, event sources and events.
// The pair is the same on every run, down to its GUID (which a recorder
// draws at random and this replaces in both files), so that an index
// made on one run fits the data file of the next.
void RecordEveryPacketKind(const std::string& krd_path, const std::string& krq_path);

}  // namespace Varnholt::Fuzzing
