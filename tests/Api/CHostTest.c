/* A host written in C: proves that the public header compiles as C and that
 * a program links every function it declares as a host does, calling each
 * of them once. Like a host's
 * run-time, this program exports its own handle allocator, which the
 * library finds among the process's global symbols. */

#define _POSIX_C_SOURCE 200809L

#include <stdarg.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "KrdFileLibApi.h"
#include "../TestSupport/CCheck.h"

/* The run-time functions this program offers the library, exported so that
 * the library finds them among the program's symbols. */
#if defined(_WIN32)
#include <direct.h>
#include <windows.h>
#undef CreateEvent /* <windows.h> names its own CreateEventA so */
#define HOST_EXPORT __declspec(dllexport)
#else
#include <sys/stat.h>
#define HOST_EXPORT __attribute__((visibility("default")))
#endif

/* A new folder of this test's own under the system's temporary folder. */
static int MakeTestFolder(char* folder, size_t size) {
#if defined(_WIN32)
  char base[MAX_PATH];
  if (GetTempPathA(sizeof base, base) == 0) return -1;
  /* Process ids come back, so the first name that is still free. */
  for (unsigned attempt = 0; attempt < 1000; ++attempt) {
    snprintf(folder, size, "%skrd-c-host-%lu-%u", base, (unsigned long)GetCurrentProcessId(),
             attempt);
    if (_mkdir(folder) == 0) return 0;
  }
  return -1;
#else
  snprintf(folder, size, "/tmp/krd-c-host-XXXXXX");
  return mkdtemp(folder) == NULL ? -1 : 0;
#endif
}

static int handles_made = 0;
static int handles_disposed = 0;
static int failures = 0;

HOST_EXPORT void** AZNewHandle(size_t bytes) {
  void** handle = malloc(sizeof *handle);
  if (handle == NULL) return NULL;
  *handle = malloc(bytes);
  ++handles_made;
  return handle;
}

HOST_EXPORT int32_t AZDisposeHandle(void** handle) {
  free(*handle);
  free(handle);
  ++handles_disposed;
  return 0;
}

/* The block of a host string or byte array: the count and the bytes. The
 * handle to pass is the address of a variable pointing to it. */
static KrdString* NewString(const char* text) {
  size_t length = strlen(text);
  KrdString* block = malloc(sizeof(KrdString) + length);
  block->cnt = (int32_t)length;
  memcpy(block->str, text, length);
  return block;
}

/* Whether a returned string or byte array holds text; disposes of it. */
static int Take(void* handle, const char* text) {
  const KrdString* block = handle == NULL ? NULL : *(KrdString**)handle;
  const int equal = block != NULL && (size_t)block->cnt == strlen(text) &&
                    memcmp(block->str, text, strlen(text)) == 0;
  DisposeHostHandle(handle);
  return equal;
}

/* Whether a returned u16 array holds the count IDs that follow; disposes
 * of it. */
static int TakeIds(KrdU16ArrayHandle handle, int32_t count, ...) {
  va_list ids;
  int equal = handle != NULL && (*handle)->dimSize == count;
  va_start(ids, count);
  for (int32_t i = 0; equal && i < count; ++i) equal = (*handle)->elt[i] == va_arg(ids, int);
  va_end(ids);
  DisposeHostHandle(handle);
  return equal;
}

/* Whether a returned attribute list is the single row (key, index). */
static int TakeOneAttribute(KrdU16Array2DHandle handle, uint16_t key, uint16_t index) {
  const int equal = handle != NULL && (*handle)->dimSizes[0] == 1 &&
                    (*handle)->dimSizes[1] == 2 && (*handle)->elt[0] == key &&
                    (*handle)->elt[1] == index;
  DisposeHostHandle(handle);
  return equal;
}

/* Header, start and annotation; then the handle outlives Terminate. */
static void RecordHeader(KrdFileHandle file) {
  KrdString* label = NewString("From C");
  KrdString* note = NewString("note");
  KrdU8Array* start = (KrdU8Array*)NewString("\x07\xEA");
  KrdStringHandle text = NULL;
  KrdU8ArrayHandle bytes = NULL;
  uint32_t time_base = 0;
  uint16_t type = 0;
  CHECK(CreateHeader(file, 100, 2, &label) == KRD_OK);
  CHECK(CreateStart(file, 4, &start) == KRD_OK);
  CHECK(CreateAnnotation(file, &note) == KRD_OK);
  CHECK(SetTimeBase(file, 200) == KRD_OK);
  CHECK(GetTimeBase(file, &time_base) == KRD_OK && time_base == 200);
  CHECK(SetFileLabel(file, &label) == KRD_OK);
  CHECK(GetFileLabel(file, &text) == KRD_OK && Take(text, "From C"));
  CHECK(SetStart(file, 5, &start) == KRD_OK);
  CHECK(GetStartDataType(file, &type) == KRD_OK && type == 5);
  CHECK(GetRTStart(file, &bytes) == KRD_OK && Take(bytes, "\x07\xEA"));
  CHECK(SetAnnotation(file, &note) == KRD_OK);
  CHECK(GetAnnotation(file, &text) == KRD_OK && Take(text, "note"));
  CHECK(Terminate() == KRD_OK);
  CHECK(GetFileLabel(file, &text) == KRD_OK && Take(text, "From C")); /* still works */
  free(label);
  free(note);
  free(start);
}

/* A device tree with attributes, read back and changed. */
static void DescribeDevices(KrdFileHandle file) {
  KrdString* label = NewString("rig");
  KrdU8Array* value = (KrdU8Array*)NewString("v");
  KrdStringHandle text = NULL;
  KrdU8ArrayHandle bytes = NULL;
  KrdU16ArrayHandle ids = NULL;
  KrdU16Array2DHandle attributes = NULL;
  uint16_t root = 99, child = 0, channel = 0, number = 0;
  CHECK(CreateDevice(file, 65535, &label, &root) == KRD_OK && root == 0);
  CHECK(CreateDevice(file, root, &label, &child) == KRD_OK && child == 1);
  CHECK(DeviceChildrenList(file, root, &ids) == KRD_OK && TakeIds(ids, 1, 1));
  CHECK(SetDeviceLabel(file, child, &label) == KRD_OK);
  CHECK(GetDeviceLabel(file, child, &text) == KRD_OK && Take(text, "rig"));
  CHECK(CreateDeviceAttribute(file, child, 3, 4, &value) == KRD_OK);
  CHECK(SetDeviceAttribute(file, child, 3, 4, &value) == KRD_OK);
  CHECK(GetDeviceAttribute(file, child, 3, 4, &bytes) == KRD_OK && Take(bytes, "v"));
  CHECK(DeviceAttributeList(file, child, &attributes) == KRD_OK &&
        TakeOneAttribute(attributes, 3, 4));

  CHECK(CreatePhysicalChannel(file, child, 7, &label, &channel) == KRD_OK && channel == 1);
  CHECK(PhysicalChannelList(file, child, &ids) == KRD_OK && TakeIds(ids, 1, 1));
  CHECK(SetPhysicalChannelLabel(file, channel, &label) == KRD_OK);
  CHECK(GetPhysicalChannelLabel(file, channel, &text) == KRD_OK && Take(text, "rig"));
  CHECK(GetPhysicalChannelNbr(file, channel, &number) == KRD_OK && number == 7);
  CHECK(CreatePhysicalChannelAttribute(file, channel, 5, 6, &value) == KRD_OK);
  CHECK(SetPhysicalChannelAttribute(file, channel, 5, 6, &value) == KRD_OK);
  CHECK(GetPhysicalChannelAttribute(file, channel, 5, 6, &bytes) == KRD_OK && Take(bytes, "v"));
  CHECK(PhysicalChannelAttributeList(file, channel, &attributes) == KRD_OK &&
        TakeOneAttribute(attributes, 5, 6));
  free(label);
  free(value);
}

/* A group with a channel, read back, changed and deleted again. */
static void DescribeChannels(KrdFileHandle file) {
  KrdString* label = NewString("ch");
  KrdStringHandle text = NULL;
  KrdU16ArrayHandle ids = NULL;
  uint16_t group = 0, channel = 0, type = 0;
  uint32_t divisor = 0;
  uint8_t count = 0, place = 9;
  CHECK(CreateChannelGroup(file, 10, 2, 1, &group) == KRD_OK && group == 1);
  CHECK(ChannelGroupList(file, &ids) == KRD_OK && TakeIds(ids, 1, 1));
  CHECK(SetChGroupTimeBaseDivisor(file, group, 20) == KRD_OK);
  CHECK(GetChGroupTimeBaseDivisor(file, group, &divisor) == KRD_OK && divisor == 20);
  CHECK(GetChGroupChCount(file, group, &count) == KRD_OK && count == 2);
  CHECK(GetChGroupDataType(file, group, &type) == KRD_OK && type == 1);
  CHECK(CreateChannel(file, group, 1, 1, &label, &channel) == KRD_OK && channel == 1);
  CHECK(ChannelList(file, &ids) == KRD_OK && TakeIds(ids, 1, 1));
  CHECK(ChInGroupList(file, group, &ids) == KRD_OK && TakeIds(ids, 1, 1));
  CHECK(ChInPhysicalChannelList(file, 1, &ids) == KRD_OK && TakeIds(ids, 1, 1));
  CHECK(GetChInterleaveIndex(file, channel, &place) == KRD_OK && place == 1);
  CHECK(SetChLabel(file, channel, &label) == KRD_OK);
  CHECK(GetChLabel(file, channel, &text) == KRD_OK && Take(text, "ch"));
  free(label);
}

/* Two blocks of group 1 (one 2-byte sample of each of its two channels per
 * frame, data type 1), read back across both; and events. */
static void RecordDataAndEvents(KrdFileHandle file) {
  KrdU8Array* first = (KrdU8Array*)NewString("a1b1a2b2");
  KrdU8Array* second = (KrdU8Array*)NewString("a3b3");
  KrdString* label = NewString("alarm");
  KrdU8ArrayHandle bytes = NULL;
  KrdU16ArrayHandle sources = NULL;
  KrdU32ArrayHandle events = NULL;
  KrdStringHandle text = NULL;
  int64_t time = 0;
  uint16_t source = 0, type = 0;
  uint32_t event = 0;
  CHECK(RecordChannelGroupData(file, 1, 0, &first) == KRD_OK);
  CHECK(RecordChannelGroupData(file, 1, 40, &second) == KRD_OK);
  CHECK(GetMaxChGroupTime(file, 1, &time) == KRD_OK && time == 40);
  CHECK(GetChannelData(file, 1, 0, 100, &time, &bytes) == KRD_OK && Take(bytes, "b1b2b3"));
  CHECK(time == -1);
  CHECK(GetChannelData(file, 1, 40, -21, &time, &bytes) == KRD_OK && Take(bytes, "b2b3"));
  CHECK(time == 0);
  CHECK(CreateEventSource(file, 1, 9, &label, &source) == KRD_OK && source == 1);
  CHECK(EventSourceList(file, &sources) == KRD_OK && TakeIds(sources, 1, 1));
  CHECK(EventSrcInPhysicalChList(file, 1, &sources) == KRD_OK && TakeIds(sources, 1, 1));
  CHECK(GetEventSrcDataType(file, source, &type) == KRD_OK && type == 9);
  CHECK(SetEventSrcLabel(file, source, &label) == KRD_OK);
  CHECK(GetEventSrcLabel(file, source, &text) == KRD_OK && Take(text, "alarm"));
  CHECK(CreateEvent(file, source, 30, &second, &event) == KRD_OK && event == 1);
  CHECK(SetEventTime(file, event, 35) == KRD_OK);
  CHECK(GetEventTime(file, event, &time) == KRD_OK && time == 35);
  CHECK(SetEventData(file, event, &first) == KRD_OK);
  CHECK(GetEventData(file, event, &bytes) == KRD_OK && Take(bytes, "a1b1a2b2"));
  CHECK(GetMaxEventSrcTime(file, source, &time) == KRD_OK && time == 35);
  CHECK(EventList(file, source, 35, 35, &events) == KRD_OK && events != NULL &&
        (*events)->dimSize == 1 && (*events)->elt[0] == event);
  DisposeHostHandle(events);
  free(first);
  free(second);
  free(label);
}

/* A chain of two steps on channel 1: the second inserted before the first. */
static void ChainSteps(KrdFileHandle file) {
  KrdU8Array* data = (KrdU8Array*)NewString("k=2");
  KrdString* label = NewString("gain");
  KrdString* unit = NewString("bar");
  KrdU8ArrayHandle bytes = NULL;
  KrdU32ArrayHandle steps = NULL;
  KrdStringHandle text = NULL;
  uint32_t first = 0, second = 0;
  uint16_t type = 0;
  uint8_t index = 9;
  KrdBool flag = 9;
  CHECK(CreatePostProcess(file, 1, 0, 4, 1, 0, &data, &label, 1, &unit, &first) == KRD_OK);
  CHECK(InsertPostProcess(file, 1, 0, 5, 0, 0, &data, &label, 0, &unit, &second) == KRD_OK);
  CHECK(GetPostProcessIndex(file, first, &index) == KRD_OK && index == 1);
  CHECK(SetPostProcessIndex(file, second, 3) == KRD_OK);
  CHECK(PostProcessList(file, 1, &steps) == KRD_OK && steps != NULL && (*steps)->dimSize == 2);
  DisposeHostHandle(steps);
  CHECK(SetPostProcess(file, first, 6, &data) == KRD_OK);
  CHECK(GetPostProcess(file, first, &type, &bytes) == KRD_OK && type == 6 && Take(bytes, "k=2"));
  CHECK(SetPostProcessDisable(file, first, 1) == KRD_OK);
  CHECK(GetPostProcessDisable(file, first, &flag) == KRD_OK && flag == 1);
  CHECK(GetPostProcessDefault(file, first, &flag) == KRD_OK && flag == 1);
  CHECK(SetPostProcessUnit(file, first, 0, &data) == KRD_OK);
  CHECK(GetPostProcessUnit(file, first, &flag, &bytes) == KRD_OK && flag == 0 &&
        Take(bytes, "k=2"));
  CHECK(SetPostProcessLabel(file, first, &label) == KRD_OK);
  CHECK(GetPostProcessLabel(file, first, &text) == KRD_OK && Take(text, "gain"));
  CHECK(DeletePostProcess(file, second) == KRD_OK);
  free(data);
  free(label);
  free(unit);
}

/* Everything deleted again, innermost first. */
static void DeleteAll(KrdFileHandle file) {
  KrdU16ArrayHandle ids = NULL;
  CHECK(DeleteEvent(file, 1) == KRD_OK);
  CHECK(DeleteEventSource(file, 1) == KRD_OK);
  CHECK(DeleteChannel(file, 1) == KRD_OK);
  CHECK(DeleteChannelGroup(file, 1) == KRD_OK);
  CHECK(DeletePhysicalChannelAttribute(file, 1, 5, 6) == KRD_OK);
  CHECK(DeletePhysicalChannel(file, 1) == KRD_OK);
  CHECK(DeleteDeviceAttribute(file, 1, 3, 4) == KRD_OK);
  CHECK(DeleteDevice(file, 1) == KRD_OK);
  CHECK(DeleteDevice(file, 0) == KRD_OK);
  CHECK(ChannelGroupList(file, &ids) == KRD_OK && TakeIds(ids, 0));
  CHECK(DeviceChildrenList(file, 0, &ids) == KRD_DEVICE_NOT_FOUND && TakeIds(ids, 0));
}

int main(void) {
  char folder[200];
  if (MakeTestFolder(folder, sizeof folder) != 0) return 2;
  char krd[256];
  char krq[256];
  snprintf(krd, sizeof krd, "%s/c.krd", folder);
  snprintf(krq, sizeof krq, "%s/c.krq", folder);
  KrdString* krd_path = NewString(krd);
  KrdString* krq_path = NewString(krq);

  CHECK(SetLVRTModule(NULL) == KRD_OK);
  /* One data type: ID 1, 2-byte samples. */
  KrdU16Array2D* data_types = malloc(sizeof(KrdU16Array2D) + 2 * sizeof(uint16_t));
  data_types->dimSizes[0] = 1;
  data_types->dimSizes[1] = 2;
  data_types->elt[0] = 1;
  data_types->elt[1] = 2;
  KrdLibrarySettings settings = {4096, &data_types, 100, 1000};
  CHECK(Initialize(&settings) == KRD_OK);
  free(data_types);

  KrdFileHandle file = 0;
  KrdStringHandle text = NULL;
  CHECK(DebugOpen(&krd_path, &krq_path, 1, &file, &text) == KRD_OK);
  CHECK(file != 0 && Take(text, ""));
  RecordHeader(file);
  DescribeDevices(file);
  DescribeChannels(file);
  RecordDataAndEvents(file);
  ChainSteps(file);
  CHECK(Close(file) == KRD_OK);
  CHECK(Open(&krd_path, &krq_path, 2, &file) == KRD_OK);
  DeleteAll(file);
  CHECK(Close(file) == KRD_OK);
  CHECK(GetMostRecentErrorMessage(file, &text) == KRD_OK && Take(text, ""));
  CHECK(handles_made > 0 && handles_made == handles_disposed);

  KrdString* rebuilt_path = NewString("/nonexistent/folder/rebuilt.krq");
  CHECK(CreateIndex(&krd_path, &rebuilt_path) != KRD_OK);
  free(rebuilt_path);
  free(krd_path);
  free(krq_path);
  unlink(krd);
  unlink(krq);
  rmdir(folder);
  if (failures == 0) printf("C host: all checks passed\n");
  return failures == 0 ? 0 : 1;
}
