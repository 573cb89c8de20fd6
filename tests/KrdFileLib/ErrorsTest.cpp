#include "KrdFileLib/Errors.h"

#include <gtest/gtest.h>

#include <functional>

namespace Varnholt::KrdFiles {
namespace {

struct ErrorCase {
  std::function<ApiException()> make;
  int32_t code;
  const char* text;
};

// Every condition of the code table with the code and exact text a host sees.
const std::vector<ErrorCase>& AllErrors() {
  using namespace Errors;
  static const std::vector<ErrorCase> cases = {
      {KrdFileDoesNotExist, 1, "The KRD file could not be opened because it does not exist."},
      {KrdFileAlreadyExists, 2, "KRD file could not be created because it already exists."},
      {NoHeaderPacket, 3, "The KRD file does not begin with a header packet."},
      {InvalidFileType, 3, "File header does not contain a valid file type string."},
      {GuidMismatch, 3, "The KRQ file's GUID does not match the KRD file's GUID."},
      {KrdFileEndedUnexpectedly, 3, "KRD file ended unexpectedly."},
      {PacketHasExtraData, 3, "Packet parsing failed because the packet has extra data."},
      {PacketTooSmall, 3, "Packet parsing failed because the packet is too small."},
      {[] { return UnknownPacketType(99); }, 3, "The packet type Id 99 is not recognized."},
      {IndexFileNotFound, 4, "The index file could not be found."},
      {KrqFileNotCreated, 5, "KRQ file could not be created."},
      {KrqFileAlreadyExists, 5, "KRQ file already exists."},
      {FileHandleNull, 7, "File handle was NULL."},
      {FileHandleInvalid, 7, "File handle was invalid."},
      {FileHandleClosed, 7, "File handle was previously closed."},
      {[] { return DeviceNotFound(3); }, 8, "Could not find an device with the ID 3"},
      {ParentDeviceMissing, 9, "Device cannot be created; its parent device does not exist."},
      {[] { return DeviceAttributeNotFound(1, 2, 3); }, 11,
       "Could not find the device attibute with the device ID: 1 Key: 2 Index: 3"},
      {[] { return DeviceAttributeExists(1, 2, 3); }, 12,
       "Device attribute cannot be added because it already exists.  Device ID: 1 Key: 2 Index: 3"},
      {[] { return PhysicalChannelNotFound(65535); }, 14, "Could not find a physical channel with the ID 65535"},
      {[] { return PhysicalChannelAttributeNotFound(4, 5, 6); }, 16,
       "Could not find the physical channel attibute with the channel ID: 4 Key: 5 Index: 6"},
      {[] { return PhysicalChannelAttributeExists(4, 5, 6); }, 17,
       "Physical channel attribute cannot be added because it already exists.  Channel ID: 4 Key: 5 Index: 6"},
      {[] { return ChannelGroupNotFound(7); }, 19, "Could not find an channel group with the ID 7"},
      {[] { return ChannelNotFound(8); }, 21, "Could not find an channel with the ID 8"},
      {[] { return EventSourceNotFound(9); }, 23, "Could not find an event source with the ID 9"},
      {[] { return EventNotFound(4294967295u); }, 25, "Could not find an event with the ID 4294967295"},
      {[] { return PostProcessNotFound(10); }, 27, "Could not find an post-process with the ID 10"},
      {NotAllowedInReadMode, 29, "This operation is not allowed in read mode."},
      {NotAllowedInEditMode, 30, "This operation is not allowed in edit mode."},
      {[] { return DeviceHasChildren(0); }, 31, "Could not delete device with the ID 0 because it had children."},
      {[] { return PhysicalChannelExists(1, 2); }, 32,
       "Physical channel cannot be added because it already exists.  Device ID: 1 Channel Number: 2"},
      {[] { return ChannelGroupHasChannels(11); }, 33,
       "Could not delete channel group with the ID 11 because it has channels."},
      {RootDeviceExists, 34, "Root device cannot be created, a root device already exists."},
      {OpenModeNotRecognized, 36, "The open mode was not recognized."},
      {[] { return DataTypeNotRegistered(12); }, 36, "The specified data-type ID (12) is not registered."},
      {KrdFileCreateFailed, 36, "The KRD file could not be created due to an unknown error."},
      {[] { return KrdFileOpenFailed("C:\\a b.krd"); }, 36,
       "The KRD file (C:\\a b.krd) could not be opened due to an unknown error."},
      {KrdFileWriteFailed, 36, "The KRD file could not be written to due to an unknown error."},
      {StartTimeExceedsEndTime, 36, "The startTime exceeds endTime."},
      {IndexAlreadyOpenOnOpen, 36, "The index file is already open"},
      {IndexAlreadyOpenOnCreate, 36, "The index file is already open."},
      {KrdFileNotOpen, 37, "The KRD file is not open."},
      {IndexNotOpen, 38, "Index file must be opened first."},
      {HeaderAlreadyCreated, 39, "The KRD file's header has already been created."},
      {HeaderNotCreated, 40, "The file header has not been created."},
      {[] { return SqliteError("no such table: x"); }, 41, "no such table: x"},
      {QueryReturnedNoResults, 41, "Query returned no results."},
      {NoAutoIncrementId, 41, "Statement should have generated an auto-increment id, but did not."},
      {QueryNotExecuted, 41, "Statement must call Execute before anything else."},
      {QueryExecutedTwice, 41, "Cannot call Execute twice."},
      {NotAllowedInReindexMode, 42, "This operation is not allowed in reindex mode."},
      {OnlyAllowedInReindexMode, 42, "This operation is only allowed in reindex mode."},
      {DevicePacketNotRecorded, 42, "The device packet is not recorded in the KRQ file."},
      {DeviceAttributePacketNotRecorded, 42, "The device-attribute packet is not recorded in the KRQ file."},
      {EventPacketNotRecorded, 42, "The event packet is not recorded in the KRQ file."},
      {PostProcessPacketNotRecorded, 42, "The post-process packet is not recorded in the KRQ file."},
      {ZeroLengthInterval, 42, "GetChannelData() requires that the time interval length be non-zero."},
      {[] { return InterleaveIndexTooLarge(2, 3); }, 43,
       "For channel group 2 the interleave index may not exceed 3"},
      {StartAlreadyCreated, 44, "Start time has already been created."},
      {StartNotSet, 45, "Start time has not been set."},
      {AnnotationAlreadyCreated, 46, "Annotation text has already been created."},
      {DataNotFrameMultiple, 47,
       "The channel group data to be recorded was no an integer multiple of the channel sample size."},
      {DataEmpty, 47, "The channel group data to be recorded has zero length."},
      {[] { return PostProcessIndexTaken(5, 255); }, 48, "Channel 5 already has a post-process defined for index 255"},
  };
  return cases;
}

TEST(ErrorsTest, EveryConditionHasItsCodeAndExactText) {
  for (const ErrorCase& error_case : AllErrors()) {
    SCOPED_TRACE(error_case.text);
    const ApiException error = error_case.make();
    EXPECT_EQ(error.Code(), error_case.code);
    EXPECT_STREQ(error.what(), error_case.text);
  }
}

TEST(ErrorsTest, TypedExceptionIsCaughtAsApiExceptionAndAsStdException) {
  try {
    throw Errors::ChannelNotFound(4);
  } catch (const FileLibraryException<20>&) {
    FAIL() << "a different code must be a different type";
  } catch (const ApiException& e) {
    EXPECT_EQ(e.Code(), 21);
  }
  try {
    throw Errors::HeaderNotCreated();
  } catch (const std::exception& e) {
    EXPECT_STREQ(e.what(), "The file header has not been created.");
  }
}

TEST(ErrorsTest, BoundaryTextsForForeignExceptions) {
  EXPECT_STREQ(Errors::kUnexpectedError, "An unexpexted error (unrecognized exception) occured.");
  EXPECT_STREQ(Errors::kUnexpectedOpenError,
               "The file could not be opened due to an unexpected error (Unrecognized exception).");
  EXPECT_EQ(Errors::kUnexpectedCode, 36);
}

}  // namespace
}  // namespace Varnholt::KrdFiles
