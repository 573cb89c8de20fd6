#pragma once

// The library's single table of error conditions: every failure the library
// raises is built by one of these functions, which pair the condition's code
// with its message. The texts are part of the host contract and are kept
// exactly as hosts have always seen them, odd spellings and double blanks
// included. Composed messages insert unsigned numbers in plain decimal.

#include <cstdint>
#include <string>
#include <string_view>

#include "KrdFileLib/Exceptions.h"

namespace Varnholt::KrdFiles::Errors {

inline std::string Decimal(uint64_t value) { return std::to_string(value); }

// Texts recorded by the exported boundary for failures that are not ApiExceptions.
inline constexpr const char* kUnexpectedError =
    "An unexpexted error (unrecognized exception) occured.";
inline constexpr const char* kUnexpectedOpenError =
    "The file could not be opened due to an unexpected error (Unrecognized exception).";

// Code returned for any failure that carries no code of its own.
inline constexpr int32_t kUnexpectedCode = 36;

using E1 = FileLibraryException<1>;
using E2 = FileLibraryException<2>;
using E3 = FileLibraryException<3>;
using E5 = FileLibraryException<5>;
using E7 = FileLibraryException<7>;
using E36 = FileLibraryException<36>;
using E41 = FileLibraryException<41>;
using E42 = FileLibraryException<42>;
using E47 = FileLibraryException<47>;

// 1, 2: the data file's existence.
inline E1 KrdFileDoesNotExist() { return E1("The KRD file could not be opened because it does not exist."); }
inline E2 KrdFileAlreadyExists() { return E2("KRD file could not be created because it already exists."); }

// 3: a malformed data file or header.
inline E3 NoHeaderPacket() { return E3("The KRD file does not begin with a header packet."); }
inline E3 InvalidFileType() { return E3("File header does not contain a valid file type string."); }
inline E3 GuidMismatch() { return E3("The KRQ file's GUID does not match the KRD file's GUID."); }
inline E3 KrdFileEndedUnexpectedly() { return E3("KRD file ended unexpectedly."); }
inline E3 PacketHasExtraData() { return E3("Packet parsing failed because the packet has extra data."); }
inline E3 PacketTooSmall() { return E3("Packet parsing failed because the packet is too small."); }
inline E3 UnknownPacketType(uint64_t id) { return E3("The packet type Id " + Decimal(id) + " is not recognized."); }

// 4, 5: the index file's existence.
inline ApiException IndexFileNotFound() { return ApiException(4, "The index file could not be found."); }
inline ApiException IndexLogUnreadable() {
  return ApiException(4, "The index file's write-ahead log holds changes that cannot be read on read-only media; "
                         "copy the recording to writable media to read it.");
}
inline E5 KrqFileNotCreated() { return E5("KRQ file could not be created."); }
inline E5 KrqFileAlreadyExists() { return E5("KRQ file already exists."); }

// 7: file handles.
inline E7 FileHandleNull() { return E7("File handle was NULL."); }
inline E7 FileHandleInvalid() { return E7("File handle was invalid."); }
inline E7 FileHandleClosed() { return E7("File handle was previously closed."); }

// 8 to 34: entity lookups and the rules of the recording's structure.
inline FileLibraryException<8> DeviceNotFound(uint64_t id) {
  return FileLibraryException<8>("Could not find an device with the ID " + Decimal(id));
}
inline FileLibraryException<9> ParentDeviceMissing() {
  return FileLibraryException<9>("Device cannot be created; its parent device does not exist.");
}
inline FileLibraryException<11> DeviceAttributeNotFound(uint64_t device, uint64_t key, uint64_t index) {
  return FileLibraryException<11>("Could not find the device attibute with the device ID: " + Decimal(device) +
                                  " Key: " + Decimal(key) + " Index: " + Decimal(index));
}
inline FileLibraryException<12> DeviceAttributeExists(uint64_t device, uint64_t key, uint64_t index) {
  return FileLibraryException<12>("Device attribute cannot be added because it already exists.  Device ID: " +
                                  Decimal(device) + " Key: " + Decimal(key) + " Index: " + Decimal(index));
}
inline FileLibraryException<14> PhysicalChannelNotFound(uint64_t id) {
  return FileLibraryException<14>("Could not find a physical channel with the ID " + Decimal(id));
}
inline FileLibraryException<16> PhysicalChannelAttributeNotFound(uint64_t channel, uint64_t key,
                                                                 uint64_t index) {
  return FileLibraryException<16>("Could not find the physical channel attibute with the channel ID: " +
                                  Decimal(channel) + " Key: " + Decimal(key) + " Index: " + Decimal(index));
}
inline FileLibraryException<17> PhysicalChannelAttributeExists(uint64_t channel, uint64_t key,
                                                               uint64_t index) {
  return FileLibraryException<17>(
      "Physical channel attribute cannot be added because it already exists.  Channel ID: " +
      Decimal(channel) + " Key: " + Decimal(key) + " Index: " + Decimal(index));
}
inline FileLibraryException<19> ChannelGroupNotFound(uint64_t id) {
  return FileLibraryException<19>("Could not find an channel group with the ID " + Decimal(id));
}
inline FileLibraryException<21> ChannelNotFound(uint64_t id) {
  return FileLibraryException<21>("Could not find an channel with the ID " + Decimal(id));
}
inline FileLibraryException<23> EventSourceNotFound(uint64_t id) {
  return FileLibraryException<23>("Could not find an event source with the ID " + Decimal(id));
}
inline FileLibraryException<25> EventNotFound(uint64_t id) {
  return FileLibraryException<25>("Could not find an event with the ID " + Decimal(id));
}
inline FileLibraryException<27> PostProcessNotFound(uint64_t id) {
  return FileLibraryException<27>("Could not find an post-process with the ID " + Decimal(id));
}
inline FileLibraryException<29> NotAllowedInReadMode() {
  return FileLibraryException<29>("This operation is not allowed in read mode.");
}
inline FileLibraryException<30> NotAllowedInEditMode() {
  return FileLibraryException<30>("This operation is not allowed in edit mode.");
}
inline FileLibraryException<31> DeviceHasChildren(uint64_t id) {
  return FileLibraryException<31>("Could not delete device with the ID " + Decimal(id) + " because it had children.");
}
inline FileLibraryException<32> PhysicalChannelExists(uint64_t device, uint64_t number) {
  return FileLibraryException<32>("Physical channel cannot be added because it already exists.  Device ID: " +
                                  Decimal(device) + " Channel Number: " + Decimal(number));
}
inline FileLibraryException<33> ChannelGroupHasChannels(uint64_t id) {
  return FileLibraryException<33>("Could not delete channel group with the ID " + Decimal(id) +
                                  " because it has channels.");
}
inline FileLibraryException<34> RootDeviceExists() {
  return FileLibraryException<34>("Root device cannot be created, a root device already exists.");
}

// 36: unexpected or unclassified failures.
inline E36 OpenModeNotRecognized() { return E36("The open mode was not recognized."); }
inline E36 DataTypeNotRegistered(uint64_t id) {
  return E36("The specified data-type ID (" + Decimal(id) + ") is not registered.");
}
inline E36 KrdFileCreateFailed() { return E36("The KRD file could not be created due to an unknown error."); }
inline E36 KrdFileOpenFailed(const std::string& path) {
  return E36("The KRD file (" + path + ") could not be opened due to an unknown error.");
}
inline E36 KrdFileWriteFailed() { return E36("The KRD file could not be written to due to an unknown error."); }
inline E36 KrdFileInUse(const std::string& path) {
  return E36("The KRD file (" + path + ") is already open for writing.");
}
// A pair's paths, refused before either file is opened or created. "KRD" or
// "KRQ" names the file; a NUL byte in a path shows as \0.
inline std::string ShownPath(std::string_view path) {
  std::string shown;
  for (const char c : path) {
    if (c == '\0') {
      shown += "\\0";
    } else {
      shown += c;
    }
  }
  return shown;
}
inline E36 PathEmpty(std::string_view file) { return E36("The " + std::string(file) + " file path is empty."); }
inline E36 PathHoldsNul(std::string_view file, std::string_view path) {
  return E36("The " + std::string(file) + " file path (" + ShownPath(path) + ") holds a NUL byte.");
}
inline E36 KrqPathNotAFileName(const std::string& path) {
  return E36("The KRQ file path (" + path + ") names an SQLite in-memory database or URI, not a file.");
}
inline E36 PairIsOneFile(const std::string& krd_path, const std::string& krq_path) {
  return E36("The KRD file (" + krd_path + ") and the KRQ file (" + krq_path + ") are the same file.");
}
inline E36 KrdFileIsKrqCompanion(const std::string& krd_path, const std::string& krq_path) {
  return E36("The KRD file (" + krd_path + ") is a file SQLite keeps beside the KRQ file (" + krq_path + ").");
}
inline E36 KrqFileNotRegular(const std::string& path) {
  return E36("The KRQ file (" + path + ") is not a regular file.");
}
// Recovery's files beside a recording: bytes moved aside, an index replaced.
inline E36 SideFileNotWritten(const std::string& path) {
  return E36("The side file (" + path + ") could not be written.");
}
inline E36 IndexNotReplaced(const std::string& path) {
  return E36("The index file (" + path + ") could not be replaced by its rebuilt copy.");
}
inline E36 RecordingChangedDuringRepair() {
  return E36("The recording changed while it was being repaired; nothing was cut.");
}
// A recording hands out each entity ID once (EntityIds.h).
inline E36 EntityIdsUsedUp(const std::string& kind, uint64_t highest_id) {
  return E36("Every " + kind + " ID up to " + Decimal(highest_id) +
             " has been handed out; a recording never hands out an ID twice, so no further " + kind +
             " can be created.");
}
inline E36 RootDeviceIdHandedOut() {
  return E36("The root device's ID 0 has been handed out before; a recording never hands out an ID twice, "
             "so no root device can be created again.");
}
inline E36 BlockEndsPastTimeLimit(int64_t start_time, uint64_t frames, uint64_t divisor) {
  return E36("A block of " + Decimal(frames) + " frames " + Decimal(divisor) + " ticks apart from " +
             std::to_string(start_time) + " would end past the largest time offset (9223372036854775807).");
}
inline E36 ResultTooLarge(uint64_t bytes, uint64_t most) {
  return E36("The samples asked for come to " + Decimal(bytes) + " bytes, more than the " + Decimal(most) +
             " bytes an array can hold; read the time range in shorter pieces.");
}
inline E36 StartTimeExceedsEndTime() { return E36("The startTime exceeds endTime."); }
// RecordingReader hands a channel's samples on through the caller's buffer.
inline E36 SampleBufferTooSmall(uint64_t bytes, uint64_t sample_size) {
  return E36("A buffer of " + Decimal(bytes) + " bytes cannot hold one sample of " + Decimal(sample_size) +
             " bytes.");
}
inline E36 TextTooLong(std::string_view field, uint64_t length, uint64_t limit) {
  return E36("The " + std::string(field) + " is " + Decimal(length) + " bytes long; a packet holds at most " +
             Decimal(limit) + " bytes.");
}
// Opening and creating word this differently; hosts may match on either text.
inline ApiException IndexAlreadyOpenOnOpen() { return ApiException(36, "The index file is already open"); }
inline ApiException IndexAlreadyOpenOnCreate() { return ApiException(36, "The index file is already open."); }

// 37 to 40: stream, index and header state.
inline FileLibraryException<37> KrdFileNotOpen() { return FileLibraryException<37>("The KRD file is not open."); }
inline FileLibraryException<38> IndexNotOpen() { return FileLibraryException<38>("Index file must be opened first."); }
inline FileLibraryException<39> HeaderAlreadyCreated() {
  return FileLibraryException<39>("The KRD file's header has already been created.");
}
inline FileLibraryException<40> HeaderNotCreated() {
  return FileLibraryException<40>("The file header has not been created.");
}

// 41: the index database.
inline E41 SqliteError(const std::string& engine_text) { return E41(engine_text); }
inline E41 IndexBehind(const std::string& engine_text) {
  return E41("The index file lost its latest changes to a failed write and could not take them back (" +
             engine_text + "); the call was not carried out.");
}
inline E41 IndexTableUnlike(const std::string& table) {
  return E41("The index file's table " + table +
             " is not as a recording's index has it (other columns, constraints, indexes or triggers); "
             "the file may come from another program.");
}
inline E41 QueryReturnedNoResults() { return E41("Query returned no results."); }
inline E41 NoAutoIncrementId() { return E41("Statement should have generated an auto-increment id, but did not."); }
inline E41 QueryNotExecuted() { return E41("Statement must call Execute before anything else."); }
inline E41 QueryExecutedTwice() { return E41("Cannot call Execute twice."); }

// 42: operations not valid in the file's state.
inline E42 NotAllowedInReindexMode() { return E42("This operation is not allowed in reindex mode."); }
inline E42 OnlyAllowedInReindexMode() { return E42("This operation is only allowed in reindex mode."); }
inline E42 DevicePacketNotRecorded() { return E42("The device packet is not recorded in the KRQ file."); }
inline E42 DeviceAttributePacketNotRecorded() {
  return E42("The device-attribute packet is not recorded in the KRQ file.");
}
inline E42 EventPacketNotRecorded() { return E42("The event packet is not recorded in the KRQ file."); }
inline E42 PostProcessPacketNotRecorded() { return E42("The post-process packet is not recorded in the KRQ file."); }
inline E42 ZeroLengthInterval() {
  return E42("GetChannelData() requires that the time interval length be non-zero.");
}

// 43 to 48: recording rules.
// The limit is the channel count less one: -1 for a group of no channels,
// which takes no channel at all.
inline FileLibraryException<43> InterleaveIndexTooLarge(uint64_t group, int64_t limit) {
  return FileLibraryException<43>("For channel group " + Decimal(group) + " the interleave index may not exceed " +
                                  std::to_string(limit));
}
inline FileLibraryException<44> StartAlreadyCreated() {
  return FileLibraryException<44>("Start time has already been created.");
}
inline FileLibraryException<45> StartNotSet() { return FileLibraryException<45>("Start time has not been set."); }
inline FileLibraryException<46> AnnotationAlreadyCreated() {
  return FileLibraryException<46>("Annotation text has already been created.");
}
inline E47 DataNotFrameMultiple() {
  return E47("The channel group data to be recorded was no an integer multiple of the channel sample size.");
}
inline E47 DataEmpty() { return E47("The channel group data to be recorded has zero length."); }
inline FileLibraryException<48> PostProcessIndexTaken(uint64_t channel, uint64_t index) {
  return FileLibraryException<48>("Channel " + Decimal(channel) + " already has a post-process defined for index " +
                                  Decimal(index));
}

}  // namespace Varnholt::KrdFiles::Errors
