#pragma once

// The table of exported file functions: one row per function, with its
// host parameters after the file handle, in the order of the public
// header's prototype. ExportedFileFunctions.cpp turns each row into the
// definition of that function, which runs the file object's member
// operation of the same name. The row, the header's prototype and the
// member must agree: a row whose parameters differ from the prototype
// declares a second C function of the same name, and one whose parameters
// do not fit the member fails FileFunction's checks; both stop the build.
//
// A row  X(GetFileLabel, (KrdStringHandle*, label))  stands for
//   int32_t GetFileLabel(KrdFileHandle file, KrdStringHandle* label);

// clang-format off
#define KRD_FILE_FUNCTIONS(X)                                                                     \
  /* Header, time base, start and annotation */                                                   \
  X(CreateHeader, (uint32_t, timeBase)(uint16_t, deviceId)(KrdStringHandle, label))               \
  X(SetTimeBase, (uint32_t, timeBase))                                                            \
  X(GetTimeBase, (uint32_t*, timeBase))                                                           \
  X(SetFileLabel, (KrdStringHandle, label))                                                       \
  X(GetFileLabel, (KrdStringHandle*, label))                                                      \
  X(CreateStart, (uint16_t, dataType)(KrdU8ArrayHandle, value))                                   \
  X(SetStart, (uint16_t, dataType)(KrdU8ArrayHandle, value))                                      \
  X(GetStartDataType, (uint16_t*, dataType))                                                      \
  X(GetRTStart, (KrdU8ArrayHandle*, value))                                                       \
  X(CreateAnnotation, (KrdStringHandle, text))                                                    \
  X(SetAnnotation, (KrdStringHandle, text))                                                       \
  X(GetAnnotation, (KrdStringHandle*, text))                                                      \
  /* Devices and device attributes */                                                             \
  X(CreateDevice, (uint16_t, parentId)(KrdStringHandle, label)(uint16_t*, deviceId))              \
  X(DeleteDevice, (uint16_t, deviceId))                                                           \
  X(DeviceChildrenList, (uint16_t, deviceId)(KrdU16ArrayHandle*, childIds))                       \
  X(SetDeviceLabel, (uint16_t, deviceId)(KrdStringHandle, label))                                 \
  X(GetDeviceLabel, (uint16_t, deviceId)(KrdStringHandle*, label))                                \
  X(CreateDeviceAttribute, (uint16_t, deviceId)(uint16_t, key)(uint16_t, index)                   \
                           (KrdU8ArrayHandle, value))                                             \
  X(SetDeviceAttribute, (uint16_t, deviceId)(uint16_t, key)(uint16_t, index)                      \
                        (KrdU8ArrayHandle, value))                                                \
  X(GetDeviceAttribute, (uint16_t, deviceId)(uint16_t, key)(uint16_t, index)                      \
                        (KrdU8ArrayHandle*, value))                                               \
  X(DeleteDeviceAttribute, (uint16_t, deviceId)(uint16_t, key)(uint16_t, index))                  \
  X(DeviceAttributeList, (uint16_t, deviceId)(KrdU16Array2DHandle*, attributes))                  \
  /* Physical channels and their attributes */                                                    \
  X(CreatePhysicalChannel, (uint16_t, deviceId)(uint16_t, channelNumber)(KrdStringHandle, label)  \
                           (uint16_t*, physicalChannelId))                                        \
  X(DeletePhysicalChannel, (uint16_t, physicalChannelId))                                         \
  X(PhysicalChannelList, (uint16_t, deviceId)(KrdU16ArrayHandle*, physicalChannelIds))            \
  X(SetPhysicalChannelLabel, (uint16_t, physicalChannelId)(KrdStringHandle, label))               \
  X(GetPhysicalChannelLabel, (uint16_t, physicalChannelId)(KrdStringHandle*, label))              \
  X(GetPhysicalChannelNbr, (uint16_t, physicalChannelId)(uint16_t*, channelNumber))               \
  X(CreatePhysicalChannelAttribute, (uint16_t, physicalChannelId)(uint16_t, key)(uint16_t, index) \
                                    (KrdU8ArrayHandle, value))                                    \
  X(SetPhysicalChannelAttribute, (uint16_t, physicalChannelId)(uint16_t, key)(uint16_t, index)    \
                                 (KrdU8ArrayHandle, value))                                       \
  X(GetPhysicalChannelAttribute, (uint16_t, physicalChannelId)(uint16_t, key)(uint16_t, index)    \
                                 (KrdU8ArrayHandle*, value))                                      \
  X(DeletePhysicalChannelAttribute, (uint16_t, physicalChannelId)(uint16_t, key)(uint16_t, index)) \
  X(PhysicalChannelAttributeList, (uint16_t, physicalChannelId)(KrdU16Array2DHandle*, attributes)) \
  /* Channel groups */                                                                            \
  X(CreateChannelGroup, (uint32_t, timeBaseDivisor)(uint8_t, channelCount)(uint16_t, dataType)    \
                        (uint16_t*, groupId))                                                     \
  X(DeleteChannelGroup, (uint16_t, groupId))                                                      \
  X(ChannelGroupList, (KrdU16ArrayHandle*, groupIds))                                             \
  X(SetChGroupTimeBaseDivisor, (uint16_t, groupId)(uint32_t, timeBaseDivisor))                    \
  X(GetChGroupTimeBaseDivisor, (uint16_t, groupId)(uint32_t*, timeBaseDivisor))                   \
  X(GetChGroupChCount, (uint16_t, groupId)(uint8_t*, channelCount))                               \
  X(GetChGroupDataType, (uint16_t, groupId)(uint16_t*, dataType))                                 \
  /* Channels */                                                                                  \
  X(CreateChannel, (uint16_t, groupId)(uint16_t, physicalChannelId)(uint8_t, interleaveIndex)     \
                   (KrdStringHandle, label)(uint16_t*, channelId))                                \
  X(DeleteChannel, (uint16_t, channelId))                                                         \
  X(ChannelList, (KrdU16ArrayHandle*, channelIds))                                                \
  X(ChInGroupList, (uint16_t, groupId)(KrdU16ArrayHandle*, channelIds))                           \
  X(ChInPhysicalChannelList, (uint16_t, physicalChannelId)(KrdU16ArrayHandle*, channelIds))       \
  X(GetChInterleaveIndex, (uint16_t, channelId)(uint8_t*, interleaveIndex))                       \
  X(SetChLabel, (uint16_t, channelId)(KrdStringHandle, label))                                    \
  X(GetChLabel, (uint16_t, channelId)(KrdStringHandle*, label))                                   \
  /* Channel-group data */                                                                        \
  X(GetMaxChGroupTime, (uint16_t, groupId)(int64_t*, endTime))                                    \
  X(RecordChannelGroupData, (uint16_t, groupId)(int64_t, startTime)(KrdU8ArrayHandle, samples))   \
  X(GetChannelData, (uint16_t, channelId)(int64_t, startTime)(int64_t, length)                    \
                    (int64_t*, continuationTime)(KrdU8ArrayHandle*, samples))                     \
  /* Event sources and events */                                                                  \
  X(CreateEventSource, (uint16_t, physicalChannelId)(uint16_t, dataType)(KrdStringHandle, label)  \
                       (uint16_t*, eventSourceId))                                                \
  X(DeleteEventSource, (uint16_t, eventSourceId))                                                 \
  X(EventSourceList, (KrdU16ArrayHandle*, eventSourceIds))                                        \
  X(EventSrcInPhysicalChList, (uint16_t, physicalChannelId)(KrdU16ArrayHandle*, eventSourceIds))  \
  X(GetEventSrcDataType, (uint16_t, eventSourceId)(uint16_t*, dataType))                          \
  X(SetEventSrcLabel, (uint16_t, eventSourceId)(KrdStringHandle, label))                          \
  X(GetEventSrcLabel, (uint16_t, eventSourceId)(KrdStringHandle*, label))                         \
  X(GetMaxEventSrcTime, (uint16_t, eventSourceId)(int64_t*, eventTime))                           \
  X(CreateEvent, (uint16_t, eventSourceId)(int64_t, eventTime)(KrdU8ArrayHandle, data)            \
                 (uint32_t*, eventId))                                                            \
  X(DeleteEvent, (uint32_t, eventId))                                                             \
  X(EventList, (uint16_t, eventSourceId)(int64_t, startTime)(int64_t, endTime)                    \
               (KrdU32ArrayHandle*, eventIds))                                                    \
  X(SetEventTime, (uint32_t, eventId)(int64_t, eventTime))                                        \
  X(GetEventTime, (uint32_t, eventId)(int64_t*, eventTime))                                       \
  X(SetEventData, (uint32_t, eventId)(KrdU8ArrayHandle, data))                                    \
  X(GetEventData, (uint32_t, eventId)(KrdU8ArrayHandle*, data))                                   \
  /* Post-process chains */                                                                       \
  X(CreatePostProcess, (uint16_t, channelId)(uint8_t, index)(uint16_t, type)(KrdBool, isDefault)  \
                       (KrdBool, isDisabled)(KrdU8ArrayHandle, data)(KrdStringHandle, label)      \
                       (KrdBool, isUnitChange)(KrdStringHandle, unit)(uint32_t*, postProcessId))  \
  X(InsertPostProcess, (uint16_t, channelId)(uint8_t, index)(uint16_t, type)(KrdBool, isDefault)  \
                       (KrdBool, isDisabled)(KrdU8ArrayHandle, data)(KrdStringHandle, label)      \
                       (KrdBool, isUnitChange)(KrdStringHandle, unit)(uint32_t*, postProcessId))  \
  X(DeletePostProcess, (uint32_t, postProcessId))                                                 \
  X(PostProcessList, (uint16_t, channelId)(KrdU32ArrayHandle*, postProcessIds))                   \
  X(SetPostProcessIndex, (uint32_t, postProcessId)(uint8_t, index))                               \
  X(GetPostProcessIndex, (uint32_t, postProcessId)(uint8_t*, index))                              \
  X(SetPostProcess, (uint32_t, postProcessId)(uint16_t, type)(KrdU8ArrayHandle, data))            \
  X(GetPostProcess, (uint32_t, postProcessId)(uint16_t*, type)(KrdU8ArrayHandle*, data))          \
  X(SetPostProcessDisable, (uint32_t, postProcessId)(KrdBool, isDisabled))                        \
  X(GetPostProcessDisable, (uint32_t, postProcessId)(KrdBool*, isDisabled))                       \
  X(GetPostProcessDefault, (uint32_t, postProcessId)(KrdBool*, isDefault))                        \
  X(SetPostProcessUnit, (uint32_t, postProcessId)(KrdBool, isUnitChange)(KrdU8ArrayHandle, unit)) \
  X(GetPostProcessUnit, (uint32_t, postProcessId)(KrdBool*, isUnitChange)                         \
                        (KrdU8ArrayHandle*, unit))                                                \
  X(SetPostProcessLabel, (uint32_t, postProcessId)(KrdStringHandle, label))                       \
  X(GetPostProcessLabel, (uint32_t, postProcessId)(KrdStringHandle*, label))
// clang-format on

// KRD_PARAMETERS((t1, n1)(t2, n2)) is ", t1 n1, t2 n2"; KRD_ARGUMENT_NAMES
// of the same list is ", n1, n2". Each macro alternates between two
// helpers so that the preprocessor walks the whole sequence of pairs.
#define KRD_PARAMETERS(list) KRD_DETAIL_LIST_END(KRD_DETAIL_PARAMETER_A list)
#define KRD_DETAIL_PARAMETER_A(type, name) , type name KRD_DETAIL_PARAMETER_B
#define KRD_DETAIL_PARAMETER_B(type, name) , type name KRD_DETAIL_PARAMETER_A
#define KRD_DETAIL_PARAMETER_A_END
#define KRD_DETAIL_PARAMETER_B_END
#define KRD_ARGUMENT_NAMES(list) KRD_DETAIL_LIST_END(KRD_DETAIL_ARGUMENT_A list)
#define KRD_DETAIL_ARGUMENT_A(type, name) , name KRD_DETAIL_ARGUMENT_B
#define KRD_DETAIL_ARGUMENT_B(type, name) , name KRD_DETAIL_ARGUMENT_A
#define KRD_DETAIL_ARGUMENT_A_END
#define KRD_DETAIL_ARGUMENT_B_END
#define KRD_DETAIL_LIST_END(...) KRD_DETAIL_LIST_PASTE_END(__VA_ARGS__)
#define KRD_DETAIL_LIST_PASTE_END(...) __VA_ARGS__##_END
