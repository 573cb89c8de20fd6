#include "KrdFileLib/Errors.h"

#include <gtest/gtest.h>

#include <utility>

#include "KrdFileLibApi.h"

namespace Varnholt::KrdFiles {
namespace {

// Hosts compare results with the public header's names: each must be the
// code the library raises for its condition.
TEST(ErrorsTest, HeaderNamesTheCodeOfEveryCondition) {
  const std::pair<int32_t, ApiException> named_failures[] = {
      {KRD_DATA_FILE_MISSING, Errors::KrdFileDoesNotExist()},
      {KRD_DATA_FILE_EXISTS, Errors::KrdFileAlreadyExists()},
      {KRD_DATA_FILE_MALFORMED, Errors::GuidMismatch()},
      {KRD_INDEX_FILE_MISSING, Errors::IndexFileNotFound()},
      {KRD_INDEX_FILE_MISSING, Errors::IndexLogUnreadable()},
      {KRD_INDEX_FILE_NOT_CREATED, Errors::KrqFileAlreadyExists()},
      {KRD_INVALID_FILE_HANDLE, Errors::FileHandleClosed()},
      {KRD_DEVICE_NOT_FOUND, Errors::DeviceNotFound(1)},
      {KRD_PARENT_DEVICE_NOT_FOUND, Errors::ParentDeviceMissing()},
      {KRD_DEVICE_ATTRIBUTE_NOT_FOUND, Errors::DeviceAttributeNotFound(1, 2, 3)},
      {KRD_DEVICE_ATTRIBUTE_EXISTS, Errors::DeviceAttributeExists(1, 2, 3)},
      {KRD_PHYSICAL_CHANNEL_NOT_FOUND, Errors::PhysicalChannelNotFound(1)},
      {KRD_PHYSICAL_CHANNEL_ATTRIBUTE_NOT_FOUND, Errors::PhysicalChannelAttributeNotFound(1, 2, 3)},
      {KRD_PHYSICAL_CHANNEL_ATTRIBUTE_EXISTS, Errors::PhysicalChannelAttributeExists(1, 2, 3)},
      {KRD_CHANNEL_GROUP_NOT_FOUND, Errors::ChannelGroupNotFound(1)},
      {KRD_CHANNEL_NOT_FOUND, Errors::ChannelNotFound(1)},
      {KRD_EVENT_SOURCE_NOT_FOUND, Errors::EventSourceNotFound(1)},
      {KRD_EVENT_NOT_FOUND, Errors::EventNotFound(1)},
      {KRD_POST_PROCESS_NOT_FOUND, Errors::PostProcessNotFound(1)},
      {KRD_NOT_ALLOWED_IN_READ_MODE, Errors::NotAllowedInReadMode()},
      {KRD_NOT_ALLOWED_IN_EDIT_MODE, Errors::NotAllowedInEditMode()},
      {KRD_DEVICE_HAS_CHILDREN, Errors::DeviceHasChildren(1)},
      {KRD_PHYSICAL_CHANNEL_EXISTS, Errors::PhysicalChannelExists(1, 2)},
      {KRD_CHANNEL_GROUP_HAS_CHANNELS, Errors::ChannelGroupHasChannels(1)},
      {KRD_ROOT_DEVICE_EXISTS, Errors::RootDeviceExists()},
      {KRD_UNCLASSIFIED_ERROR, Errors::OpenModeNotRecognized()},
      {KRD_UNCLASSIFIED_ERROR, Errors::IndexAlreadyOpenOnOpen()},
      {KRD_DATA_FILE_NOT_OPEN, Errors::KrdFileNotOpen()},
      {KRD_INDEX_FILE_NOT_OPEN, Errors::IndexNotOpen()},
      {KRD_HEADER_EXISTS, Errors::HeaderAlreadyCreated()},
      {KRD_HEADER_MISSING, Errors::HeaderNotCreated()},
      {KRD_INDEX_ERROR, Errors::QueryReturnedNoResults()},
      {KRD_OPERATION_NOT_VALID, Errors::ZeroLengthInterval()},
      {KRD_INTERLEAVE_INDEX_TOO_LARGE, Errors::InterleaveIndexTooLarge(1, 0)},
      {KRD_START_EXISTS, Errors::StartAlreadyCreated()},
      {KRD_START_MISSING, Errors::StartNotSet()},
      {KRD_ANNOTATION_EXISTS, Errors::AnnotationAlreadyCreated()},
      {KRD_DATA_BLOCK_NOT_WHOLE_FRAMES, Errors::DataEmpty()},
      {KRD_POST_PROCESS_INDEX_TAKEN, Errors::PostProcessIndexTaken(1, 2)},
  };
  for (const auto& [named, raised] : named_failures) {
    EXPECT_EQ(named, raised.Code()) << raised.what();
  }
  EXPECT_EQ(KRD_UNCLASSIFIED_ERROR, Errors::kUnexpectedCode);
}

}  // namespace
}  // namespace Varnholt::KrdFiles
