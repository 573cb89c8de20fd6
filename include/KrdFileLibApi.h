/* KrdFileLibApi.h: the C interface of libKrdFileLibApi.so, the KRD file
 * library.
 *
 * Conventions
 * -----------
 * Results. Every function except DisposeHostHandle returns an int32_t code:
 * KRD_OK (0) for success, otherwise one of the error codes named in enum
 * KrdResult below; the functions return int32_t, not the enum, because the
 * size of an enum differs between compilers. The text of the most recent
 * failure on a file handle is kept with that handle and read with
 * GetMostRecentErrorMessage; Open has no handle to keep it with, so
 * DebugOpen returns it instead. No failure ends the process.
 *
 * File handles. Open and DebugOpen hand out a KrdFileHandle, a small
 * unsigned number; 0 is never issued. The lowest free number is reused first
 * once its file has been closed.
 *
 * Host values. Strings and arrays travel as handles: a pointer to a pointer
 * to a block that holds a signed 32-bit count followed by the elements.
 * Strings are byte strings and are not terminated by a zero byte; their
 * length is the count. A KrdBool is one byte, 0 or 1.
 *   - Inputs are copied before the call returns; the caller keeps ownership.
 *     A null handle, or a handle whose block pointer is null, is an empty
 *     input. A negative count makes the call fail with code 36.
 *   - Outputs are the address of the caller's handle variable. The library
 *     allocates a new handle, writes the count and the elements, and stores
 *     it into the variable. It neither reads nor frees the handle the
 *     variable held before. The new handle is stored even when the call
 *     fails (then with count 0), so the caller always owns what it finds
 *     there after the call. A null output address makes the call fail with
 *     code 36 before any work is done.
 *   - Scalar outputs (uint32_t *, KrdBool *, ...) are written on success only.
 *
 * Ownership of returned handles. When the host's run-time exports
 * "AZNewHandle", returned handles come from it: it is looked up in the
 * module given to SetLVRTModule or, when none was given, among the process's
 * global symbols (Linux) or in its main program (Windows). Otherwise the
 * library allocates them itself. Either way, DisposeHostHandle frees a
 * returned handle with the allocator that made it; a host whose run-time
 * owns its handles may also free them through that run-time.
 *
 * Threads. Every function may be called from any thread. Calls on the same
 * file handle are serialised by the library. Each open index batches its
 * writes and a background thread commits them on time (see Initialize).
 *
 * Windows programs. <windows.h> defines CreateEvent as a macro for its own
 * function; a C program that includes it as well must #undef CreateEvent
 * after it to call this library's CreateEvent. (Hosts that call the DLL's
 * functions by name are not affected.)
 *
 * Entity IDs. Devices, physical channels, channel groups, channels and
 * event sources have 16-bit IDs that the library hands out: the root device
 * 0, every other entity 1, 2, ... Within a recording an ID is handed out
 * once and never again, not even after its entity is deleted, so that no
 * new entity takes over what named the old one (a deleted group's blocks, a
 * deleted device's physical channels); the root device cannot be created
 * again once deleted. 65534 and 65535 are markers, so once ID 65533 of a
 * kind has been handed out, creating another fails with 36.
 *
 * File functions. Every function after the library functions takes the
 * file handle first, then its arguments, then the address of its output (if
 * any). Modifying functions fail with 29 on a file opened for reading; in
 * edit mode they change the index only.
 *
 * Codes used by the library functions below: 1 to 5 for a data or index file
 * that is missing, already there or malformed; 7 for a null, unknown or
 * closed file handle; 36 for an unrecognized open mode, bad host input or an
 * unexpected failure. The file functions add the codes of their operations,
 * listed with each family.
 */
#ifndef KRD_FILE_LIB_API_H_
#define KRD_FILE_LIB_API_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Result codes ------------------------------------------------------
 * The values are fixed. The numbers missing from the list (6, 10, 13, 15,
 * 18, 20, 22, 24, 26, 28 and 35) are never returned; a host treats any code
 * it does not know like any other failure. */
enum KrdResult {
  /* The call succeeded. */
  KRD_OK = 0,
  /* The KRD file to open does not exist. */
  KRD_DATA_FILE_MISSING = 1,
  /* The KRD file to create exists already. */
  KRD_DATA_FILE_EXISTS = 2,
  /* The KRD file lacks a valid header, holds a bad packet, or its GUID is not the KRQ file's. */
  KRD_DATA_FILE_MALFORMED = 3,
  /* The KRQ file to open does not exist, or its log cannot be read on read-only media. */
  KRD_INDEX_FILE_MISSING = 4,
  /* The KRQ file could not be created, or exists already. */
  KRD_INDEX_FILE_NOT_CREATED = 5,
  /* File handle 0, never issued, or closed. */
  KRD_INVALID_FILE_HANDLE = 7,
  /* No device with that ID. */
  KRD_DEVICE_NOT_FOUND = 8,
  /* The new device's parent does not exist. */
  KRD_PARENT_DEVICE_NOT_FOUND = 9,
  /* The device has no attribute of that key and index. */
  KRD_DEVICE_ATTRIBUTE_NOT_FOUND = 11,
  /* The device has an attribute of that key and index already. */
  KRD_DEVICE_ATTRIBUTE_EXISTS = 12,
  /* No physical channel with that ID. */
  KRD_PHYSICAL_CHANNEL_NOT_FOUND = 14,
  /* The physical channel has no attribute of that key and index. */
  KRD_PHYSICAL_CHANNEL_ATTRIBUTE_NOT_FOUND = 16,
  /* The physical channel has an attribute of that key and index already. */
  KRD_PHYSICAL_CHANNEL_ATTRIBUTE_EXISTS = 17,
  /* No channel group with that ID. */
  KRD_CHANNEL_GROUP_NOT_FOUND = 19,
  /* No channel with that ID. */
  KRD_CHANNEL_NOT_FOUND = 21,
  /* No event source with that ID. */
  KRD_EVENT_SOURCE_NOT_FOUND = 23,
  /* No event with that ID. */
  KRD_EVENT_NOT_FOUND = 25,
  /* No post-process step with that ID. */
  KRD_POST_PROCESS_NOT_FOUND = 27,
  /* A change to a file opened for reading. */
  KRD_NOT_ALLOWED_IN_READ_MODE = 29,
  /* An operation edit mode refuses, such as recording data. */
  KRD_NOT_ALLOWED_IN_EDIT_MODE = 30,
  /* Deleting a device that still has child devices. */
  KRD_DEVICE_HAS_CHILDREN = 31,
  /* The device has a physical channel of that number already. */
  KRD_PHYSICAL_CHANNEL_EXISTS = 32,
  /* Deleting a channel group that still has channels. */
  KRD_CHANNEL_GROUP_HAS_CHANNELS = 33,
  /* The recording has a root device already. */
  KRD_ROOT_DEVICE_EXISTS = 34,
  /* Anything else: bad host input, a refused path or second writer, an unexpected failure. */
  KRD_UNCLASSIFIED_ERROR = 36,
  /* The KRD file is not open. */
  KRD_DATA_FILE_NOT_OPEN = 37,
  /* The KRQ file is not open. */
  KRD_INDEX_FILE_NOT_OPEN = 38,
  /* The header has been recorded already. */
  KRD_HEADER_EXISTS = 39,
  /* The header has not been recorded. */
  KRD_HEADER_MISSING = 40,
  /* An SQLite call on the KRQ file failed, or an expected row or key is missing. */
  KRD_INDEX_ERROR = 41,
  /* Not valid in the file's state (reindexing, a packet the index lacks), or a read of length 0. */
  KRD_OPERATION_NOT_VALID = 42,
  /* The interleave index is not below the group's channel count. */
  KRD_INTERLEAVE_INDEX_TOO_LARGE = 43,
  /* The start has been recorded already. */
  KRD_START_EXISTS = 44,
  /* The start has not been recorded. */
  KRD_START_MISSING = 45,
  /* The annotation has been recorded already. */
  KRD_ANNOTATION_EXISTS = 46,
  /* A data block that is empty or not a whole number of frames. */
  KRD_DATA_BLOCK_NOT_WHOLE_FRAMES = 47,
  /* The channel has a post-process step at that index already. */
  KRD_POST_PROCESS_INDEX_TAKEN = 48
};

/* ---- Host types -------------------------------------------------------- */

/* The host lays its clusters out with natural alignment, except on 32-bit
 * Windows, where they are packed to 1 byte. */
#if defined(_WIN32) && !defined(_WIN64)
#pragma pack(push, 1)
#endif

typedef uint32_t KrdFileHandle;
typedef uint8_t KrdBool;

typedef struct {
  int32_t cnt;
  uint8_t str[];
} KrdString;
typedef KrdString** KrdStringHandle;

typedef struct {
  int32_t dimSize;
  uint8_t elt[];
} KrdU8Array;
typedef KrdU8Array** KrdU8ArrayHandle;

typedef struct {
  int32_t dimSize;
  uint16_t elt[];
} KrdU16Array;
typedef KrdU16Array** KrdU16ArrayHandle;

typedef struct {
  int32_t dimSize;
  uint32_t elt[];
} KrdU32Array;
typedef KrdU32Array** KrdU32ArrayHandle;

/* A two-dimensional array, elements row by row. Attribute lists have two
 * columns (key, index). */
typedef struct {
  int32_t dimSizes[2]; /* rows, columns */
  uint16_t elt[];
} KrdU16Array2D;
typedef KrdU16Array2D** KrdU16Array2DHandle;

/* The argument of Initialize. */
typedef struct {
  /* Bytes of a data block read from the data file at a time. */
  uint32_t readChunkSize;
  /* One row per sample data type: column 0 the data-type ID, column 1 the
   * size of one sample in bytes; further columns are ignored. A repeated ID
   * keeps the size of its last row. A table with fewer than two columns
   * registers nothing. */
  KrdU16Array2DHandle dataTypes;
  /* Index statements after which an index commits its batch. */
  int32_t batchSize;
  /* Milliseconds after a batch's first statement at which the background
   * thread commits it. */
  int32_t commitIntervalMs;
} KrdLibrarySettings;

#if defined(_WIN32) && !defined(_WIN64)
#pragma pack(pop)
#endif

/* ---- Library functions ------------------------------------------------- */

/* Names the host run-time module from which "AZNewHandle" and
 * "AZDisposeHandle" are looked up on the next allocation: a dlopen handle on
 * Linux, an HMODULE on Windows. NULL looks among the process's global
 * symbols on Linux and in its main program on Windows; without either
 * function the library allocates the handles itself. Returns 0. */
int32_t SetLVRTModule(void* module);

/* Registers the host's data types and index-commit limits; may be called
 * again at any time. Returns 0; a null settings address changes nothing. */
int32_t Initialize(const KrdLibrarySettings* settings);

/* Stops the background commits. Open files stay open and every function
 * keeps working; batches then commit by count and on Close. Returns 0. */
int32_t Terminate(void);

/* Opens a recording: mode 0 reads an existing pair, 1 records a new pair,
 * 2 edits an existing pair (changes reach the index only). The handle is 0
 * after a failure. */
int32_t Open(KrdStringHandle krdPath, KrdStringHandle krqPath, uint8_t mode,
             KrdFileHandle* file);
/* As Open; errorText receives why the files could not be opened (empty on
 * success and for failures before the files were touched). */
int32_t DebugOpen(KrdStringHandle krdPath, KrdStringHandle krqPath, uint8_t mode,
                  KrdFileHandle* file, KrdStringHandle* errorText);
/* Commits the index and closes the pair; the handle is not valid after. */
int32_t Close(KrdFileHandle file);

/* Rebuilds an index file (which must not exist yet) from a data file. No
 * handle is involved and no message is kept. */
int32_t CreateIndex(KrdStringHandle krdPath, KrdStringHandle krqPath);

/* The text of the most recent call on the handle: empty after a success.
 * Returns 7 with an empty text for handle 0 or a handle never issued. */
int32_t GetMostRecentErrorMessage(KrdFileHandle file, KrdStringHandle* message);

/* Frees a string or array handle returned by this library. NULL is ignored. */
void DisposeHostHandle(void* handle);

/* ---- Header, time base, start and annotation ---------------------------
 * Facts recorded once per recording (a second Create fails) and kept in the
 * index, where the Set functions change them in record and edit mode. */

/* Records the header packet: the recording's time base (ticks per second of
 * all time offsets), a device ID and a label of at most 255 bytes. Must be
 * the first packet of a new recording. */
int32_t CreateHeader(KrdFileHandle file, uint32_t timeBase, uint16_t deviceId,
                     KrdStringHandle label);
/* Changes the time base in the index. */
int32_t SetTimeBase(KrdFileHandle file, uint32_t timeBase);
/* The recording's time base. */
int32_t GetTimeBase(KrdFileHandle file, uint32_t* timeBase);
/* Changes the recording's label (at most 255 bytes) in the index. */
int32_t SetFileLabel(KrdFileHandle file, KrdStringHandle label);
/* The recording's label. */
int32_t GetFileLabel(KrdFileHandle file, KrdStringHandle* label);
/* Records the start of the recording: a value of the host's own data type
 * (its wall-clock time, in whatever form the host chooses). */
int32_t CreateStart(KrdFileHandle file, uint16_t dataType, KrdU8ArrayHandle value);
/* Changes the start value and its data type in the index. */
int32_t SetStart(KrdFileHandle file, uint16_t dataType, KrdU8ArrayHandle value);
/* The data type of the start value. */
int32_t GetStartDataType(KrdFileHandle file, uint16_t* dataType);
/* The start value. */
int32_t GetRTStart(KrdFileHandle file, KrdU8ArrayHandle* value);
/* Records a free-text annotation of the recording. */
int32_t CreateAnnotation(KrdFileHandle file, KrdStringHandle text);
/* Changes the annotation in the index. */
int32_t SetAnnotation(KrdFileHandle file, KrdStringHandle text);
/* The annotation; empty when none was recorded. */
int32_t GetAnnotation(KrdFileHandle file, KrdStringHandle* text);

/* ---- Devices and device attributes -------------------------------------
 * The devices form a tree: one root device, ID 0, and devices below it.
 * An attribute is a byte value of a device, named by a key and an index.
 * Create functions append a packet in record mode and change only the index
 * in edit mode; Set and Delete functions change only the index; all of them
 * fail with 29 in read mode. Labels hold at most 255 bytes (36 otherwise).
 * Codes: 8 unknown device, 9 parent missing, 11 unknown attribute,
 * 12 attribute exists, 31 device has children, 34 root exists. */

/* Creates a device below parentId; parentId 65535 creates the root device,
 * whose ID is always 0. */
int32_t CreateDevice(KrdFileHandle file, uint16_t parentId, KrdStringHandle label,
                     uint16_t* deviceId);
/* Deletes a device without child devices, with its attributes. Its
 * physical channels are kept. */
int32_t DeleteDevice(KrdFileHandle file, uint16_t deviceId);
/* The IDs of the devices whose parent is deviceId. */
int32_t DeviceChildrenList(KrdFileHandle file, uint16_t deviceId, KrdU16ArrayHandle* childIds);
/* Changes a device's label. */
int32_t SetDeviceLabel(KrdFileHandle file, uint16_t deviceId, KrdStringHandle label);
/* A device's label. */
int32_t GetDeviceLabel(KrdFileHandle file, uint16_t deviceId, KrdStringHandle* label);
/* Adds an attribute; the device may hold one value per key and index. */
int32_t CreateDeviceAttribute(KrdFileHandle file, uint16_t deviceId, uint16_t key,
                              uint16_t index, KrdU8ArrayHandle value);
/* Replaces the value of an existing attribute. */
int32_t SetDeviceAttribute(KrdFileHandle file, uint16_t deviceId, uint16_t key, uint16_t index,
                           KrdU8ArrayHandle value);
/* The value of an attribute. */
int32_t GetDeviceAttribute(KrdFileHandle file, uint16_t deviceId, uint16_t key, uint16_t index,
                           KrdU8ArrayHandle* value);
/* Deletes an attribute. */
int32_t DeleteDeviceAttribute(KrdFileHandle file, uint16_t deviceId, uint16_t key,
                              uint16_t index);
/* The key and index of every attribute of the device, one row each. */
int32_t DeviceAttributeList(KrdFileHandle file, uint16_t deviceId,
                            KrdU16Array2DHandle* attributes);

/* ---- Physical channels and their attributes ----------------------------
 * A physical channel is an input of a device, numbered per device; it
 * carries attributes as devices do. Modes as for devices.
 * Codes: 8 unknown device, 14 unknown physical channel, 16 unknown
 * attribute, 17 attribute exists, 32 channel number taken on the device. */

/* Creates a physical channel of deviceId; the number must be new on that
 * device. */
int32_t CreatePhysicalChannel(KrdFileHandle file, uint16_t deviceId, uint16_t channelNumber,
                              KrdStringHandle label, uint16_t* physicalChannelId);
/* Deletes a physical channel with its attributes. Channels and event
 * sources that name it are kept. */
int32_t DeletePhysicalChannel(KrdFileHandle file, uint16_t physicalChannelId);
/* The IDs of the device's physical channels. */
int32_t PhysicalChannelList(KrdFileHandle file, uint16_t deviceId,
                            KrdU16ArrayHandle* physicalChannelIds);
/* Changes a physical channel's label. */
int32_t SetPhysicalChannelLabel(KrdFileHandle file, uint16_t physicalChannelId,
                                KrdStringHandle label);
/* A physical channel's label. */
int32_t GetPhysicalChannelLabel(KrdFileHandle file, uint16_t physicalChannelId,
                                KrdStringHandle* label);
/* The channel number on its device. */
int32_t GetPhysicalChannelNbr(KrdFileHandle file, uint16_t physicalChannelId,
                              uint16_t* channelNumber);
/* Adds an attribute; the physical channel may hold one value per key and
 * index. */
int32_t CreatePhysicalChannelAttribute(KrdFileHandle file, uint16_t physicalChannelId,
                                       uint16_t key, uint16_t index, KrdU8ArrayHandle value);
/* Replaces the value of an existing attribute. */
int32_t SetPhysicalChannelAttribute(KrdFileHandle file, uint16_t physicalChannelId, uint16_t key,
                                    uint16_t index, KrdU8ArrayHandle value);
/* The value of an attribute. */
int32_t GetPhysicalChannelAttribute(KrdFileHandle file, uint16_t physicalChannelId, uint16_t key,
                                    uint16_t index, KrdU8ArrayHandle* value);
/* Deletes an attribute. */
int32_t DeletePhysicalChannelAttribute(KrdFileHandle file, uint16_t physicalChannelId,
                                       uint16_t key, uint16_t index);
/* The key and index of every attribute of the physical channel. */
int32_t PhysicalChannelAttributeList(KrdFileHandle file, uint16_t physicalChannelId,
                                     KrdU16Array2DHandle* attributes);

/* ---- Channel groups ----------------------------------------------------
 * A channel group is sampled as one: its data blocks hold frames of one
 * sample per channel, timeBaseDivisor ticks apart, every sample of the
 * registered data type dataType. Modes as for devices.
 * Codes: 19 unknown group, 33 group still has channels. */

/* Creates a group. The arguments are not checked; the data type must be
 * registered (Initialize) by the time data is recorded. */
int32_t CreateChannelGroup(KrdFileHandle file, uint32_t timeBaseDivisor, uint8_t channelCount,
                           uint16_t dataType, uint16_t* groupId);
/* Deletes a group that no channel names any more. */
int32_t DeleteChannelGroup(KrdFileHandle file, uint16_t groupId);
/* The IDs of all channel groups. */
int32_t ChannelGroupList(KrdFileHandle file, KrdU16ArrayHandle* groupIds);
/* Changes the ticks between two frames of the group. */
int32_t SetChGroupTimeBaseDivisor(KrdFileHandle file, uint16_t groupId, uint32_t timeBaseDivisor);
/* The ticks between two frames of the group. */
int32_t GetChGroupTimeBaseDivisor(KrdFileHandle file, uint16_t groupId,
                                  uint32_t* timeBaseDivisor);
/* The number of samples in each frame of the group. */
int32_t GetChGroupChCount(KrdFileHandle file, uint16_t groupId, uint8_t* channelCount);
/* The data type of every sample of the group. */
int32_t GetChGroupDataType(KrdFileHandle file, uint16_t groupId, uint16_t* dataType);

/* ---- Channels ----------------------------------------------------------
 * A channel is one place (interleave index) of its group's frames, measured
 * on a physical channel. Modes as for devices.
 * Codes: 14 unknown physical channel, 19 unknown group, 21 unknown channel,
 * 43 interleave index not below the group's channel count. */

/* Creates a channel at interleaveIndex of groupId's frames. */
int32_t CreateChannel(KrdFileHandle file, uint16_t groupId, uint16_t physicalChannelId,
                      uint8_t interleaveIndex, KrdStringHandle label, uint16_t* channelId);
/* Deletes a channel with its post-process steps. */
int32_t DeleteChannel(KrdFileHandle file, uint16_t channelId);
/* The IDs of all channels. */
int32_t ChannelList(KrdFileHandle file, KrdU16ArrayHandle* channelIds);
/* The IDs of the group's channels. */
int32_t ChInGroupList(KrdFileHandle file, uint16_t groupId, KrdU16ArrayHandle* channelIds);
/* The IDs of the channels measured on the physical channel. */
int32_t ChInPhysicalChannelList(KrdFileHandle file, uint16_t physicalChannelId,
                                KrdU16ArrayHandle* channelIds);
/* The channel's place in its group's frames. */
int32_t GetChInterleaveIndex(KrdFileHandle file, uint16_t channelId, uint8_t* interleaveIndex);
/* Changes a channel's label. */
int32_t SetChLabel(KrdFileHandle file, uint16_t channelId, KrdStringHandle label);
/* A channel's label. */
int32_t GetChLabel(KrdFileHandle file, uint16_t channelId, KrdStringHandle* label);

/* ---- Channel-group data ------------------------------------------------
 * Data is recorded per channel group as blocks of whole frames: each frame
 * holds one sample of every channel of the group, in interleave-index
 * order, each of the size registered for the group's data type; frame i of
 * a block lies at startTime + i * timeBaseDivisor. Data is read back per
 * channel by time range. Times are signed ticks of the file's time base.
 * Codes: 19 unknown group, 21 unknown channel, 29/30 recording in read or
 * edit mode, 36 data type not registered or a range past the 64-bit limits,
 * 41 a block that repeats a group's start and end times, 42 a length of 0,
 * 47 not whole frames, or none. */

/* The last frame time of the group's latest-starting block; 0 without
 * blocks. */
int32_t GetMaxChGroupTime(KrdFileHandle file, uint16_t groupId, int64_t* endTime);
/* Records one block of the group; record mode only. Blocks are neither
 * ordered nor checked for overlap. */
int32_t RecordChannelGroupData(KrdFileHandle file, uint16_t groupId, int64_t startTime,
                               KrdU8ArrayHandle samples);
/* The channel's samples in time order over |length| ticks: from startTime
 * on for a positive length, up to and including startTime for a negative
 * one. continuationTime receives the start of the next read in the same
 * direction, or -1 when the group has no more data that way. */
int32_t GetChannelData(KrdFileHandle file, uint16_t channelId, int64_t startTime, int64_t length,
                       int64_t* continuationTime, KrdU8ArrayHandle* samples);

/* ---- Event sources and events ------------------------------------------
 * An event is one time-stamped byte value of an event source; a source
 * belongs to a physical channel. Modes as for devices.
 * Codes: 14 unknown physical channel, 23 unknown event source, 25 unknown
 * event. */

/* Creates a source on a physical channel; dataType is the host's own. */
int32_t CreateEventSource(KrdFileHandle file, uint16_t physicalChannelId, uint16_t dataType,
                          KrdStringHandle label, uint16_t* eventSourceId);
/* Deletes a source with its events. */
int32_t DeleteEventSource(KrdFileHandle file, uint16_t eventSourceId);
/* The IDs of all event sources. */
int32_t EventSourceList(KrdFileHandle file, KrdU16ArrayHandle* eventSourceIds);
/* The IDs of the physical channel's sources; empty for an unknown one. */
int32_t EventSrcInPhysicalChList(KrdFileHandle file, uint16_t physicalChannelId,
                                 KrdU16ArrayHandle* eventSourceIds);
/* The data type given at the source's creation. */
int32_t GetEventSrcDataType(KrdFileHandle file, uint16_t eventSourceId, uint16_t* dataType);
/* Changes a source's label. */
int32_t SetEventSrcLabel(KrdFileHandle file, uint16_t eventSourceId, KrdStringHandle label);
/* A source's label. */
int32_t GetEventSrcLabel(KrdFileHandle file, uint16_t eventSourceId, KrdStringHandle* label);
/* The latest event time of the source; 0 without events. */
int32_t GetMaxEventSrcTime(KrdFileHandle file, uint16_t eventSourceId, int64_t* eventTime);
/* Records an event; neither time order nor the data's size is checked. */
int32_t CreateEvent(KrdFileHandle file, uint16_t eventSourceId, int64_t eventTime,
                    KrdU8ArrayHandle data, uint32_t* eventId);
/* Deletes an event. */
int32_t DeleteEvent(KrdFileHandle file, uint32_t eventId);
/* The IDs of the source's events from startTime to endTime, both included,
 * in time order; empty when endTime is before startTime. */
int32_t EventList(KrdFileHandle file, uint16_t eventSourceId, int64_t startTime, int64_t endTime,
                  KrdU32ArrayHandle* eventIds);
/* Changes an event's time. */
int32_t SetEventTime(KrdFileHandle file, uint32_t eventId, int64_t eventTime);
/* An event's time. */
int32_t GetEventTime(KrdFileHandle file, uint32_t eventId, int64_t* eventTime);
/* Replaces an event's data. */
int32_t SetEventData(KrdFileHandle file, uint32_t eventId, KrdU8ArrayHandle data);
/* An event's data. */
int32_t GetEventData(KrdFileHandle file, uint32_t eventId, KrdU8ArrayHandle* data);

/* ---- Post-process chains -----------------------------------------------
 * Each channel may carry a chain of post-process steps for readers to apply
 * to its samples, ordered by their index. The library stores and orders
 * them; a step's type, data and unit are the host's. Indexes are never
 * closed up after a delete, and an index moved past 255 reads back as 0.
 * Modes as for devices.
 * Codes: 21 unknown channel, 27 unknown step, 48 index taken on create. */

/* Adds a step at index of the channel's chain; fails (48) when the chain
 * has a step there. Every step of the chain at or above index moves up by
 * one. The default flag is fixed here; unit is the unit after the step. */
int32_t CreatePostProcess(KrdFileHandle file, uint16_t channelId, uint8_t index, uint16_t type,
                          KrdBool isDefault, KrdBool isDisabled, KrdU8ArrayHandle data,
                          KrdStringHandle label, KrdBool isUnitChange, KrdStringHandle unit,
                          uint32_t* postProcessId);
/* As CreatePostProcess, but a step at index moves up with the rest: the new
 * step goes before it. */
int32_t InsertPostProcess(KrdFileHandle file, uint16_t channelId, uint8_t index, uint16_t type,
                          KrdBool isDefault, KrdBool isDisabled, KrdU8ArrayHandle data,
                          KrdStringHandle label, KrdBool isUnitChange, KrdStringHandle unit,
                          uint32_t* postProcessId);
/* Deletes a step; the others keep their indexes. */
int32_t DeletePostProcess(KrdFileHandle file, uint32_t postProcessId);
/* The IDs of the channel's steps. */
int32_t PostProcessList(KrdFileHandle file, uint16_t channelId, KrdU32ArrayHandle* postProcessIds);
/* Moves a step to index: the steps at and above index move up by one
 * first. The same index changes nothing. */
int32_t SetPostProcessIndex(KrdFileHandle file, uint32_t postProcessId, uint8_t index);
/* A step's index in its chain. */
int32_t GetPostProcessIndex(KrdFileHandle file, uint32_t postProcessId, uint8_t* index);
/* Replaces a step's type and data. */
int32_t SetPostProcess(KrdFileHandle file, uint32_t postProcessId, uint16_t type,
                       KrdU8ArrayHandle data);
/* A step's type and data. */
int32_t GetPostProcess(KrdFileHandle file, uint32_t postProcessId, uint16_t* type,
                       KrdU8ArrayHandle* data);
/* Disables or enables a step. */
int32_t SetPostProcessDisable(KrdFileHandle file, uint32_t postProcessId, KrdBool isDisabled);
/* Whether a step is disabled. */
int32_t GetPostProcessDisable(KrdFileHandle file, uint32_t postProcessId, KrdBool* isDisabled);
/* Whether a step is a default step (set at its creation). */
int32_t GetPostProcessDefault(KrdFileHandle file, uint32_t postProcessId, KrdBool* isDefault);
/* Replaces whether a step changes the unit, and the unit after it. */
int32_t SetPostProcessUnit(KrdFileHandle file, uint32_t postProcessId, KrdBool isUnitChange,
                           KrdU8ArrayHandle unit);
/* Whether a step changes the unit, and the unit after it. */
int32_t GetPostProcessUnit(KrdFileHandle file, uint32_t postProcessId, KrdBool* isUnitChange,
                           KrdU8ArrayHandle* unit);
/* Changes a step's label. */
int32_t SetPostProcessLabel(KrdFileHandle file, uint32_t postProcessId, KrdStringHandle label);
/* A step's label. */
int32_t GetPostProcessLabel(KrdFileHandle file, uint32_t postProcessId, KrdStringHandle* label);

#ifdef __cplusplus
}
#endif

#endif /* KRD_FILE_LIB_API_H_ */
