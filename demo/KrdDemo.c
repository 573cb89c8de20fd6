/* Demo, and an example of how a host calls the library: records a small
 * recording (header, start time, annotation, a device with an attribute, a
 * physical channel, a channel group and two channels, data blocks and
 * events) in a fresh folder, reads it back in read mode (walking a channel
 * forwards and backwards across the blocks and listing events), then rebuilds its index from the data file into a second
 * index file and reads the recording back through that one too.
 *
 *   KrdDemo [folder]     (default: a new folder under /tmp)
 *
 * The demo has no host run-time, so the library allocates the strings and
 * arrays it returns itself; every one of them is handed back with
 * DisposeHostHandle. */

#define _POSIX_C_SOURCE 200809L

#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>

#include "KrdFileLibApi.h"

/* A host string or array is a block with a count and the elements; the
 * handle to pass is the address of a variable that points to the block. */
static KrdString* NewText(const char* text) {
  const size_t length = strlen(text);
  KrdString* block = malloc(sizeof(KrdString) + length);
  if (block == NULL) exit(1);
  block->cnt = (int32_t)length;
  memcpy(block->str, text, length);
  return block;
}

static KrdU8Array* NewBytes(const uint8_t* bytes, size_t count) {
  KrdU8Array* block = malloc(sizeof(KrdU8Array) + count);
  if (block == NULL) exit(1);
  block->dimSize = (int32_t)count;
  memcpy(block->elt, bytes, count);
  return block;
}

/* Prints a returned string (not zero-terminated) and hands it back. */
static void PrintAndDispose(const char* name, KrdStringHandle text) {
  printf("  %-12s %.*s\n", name, (int)(*text)->cnt, (const char*)(*text)->str);
  DisposeHostHandle(text);
}

/* Ends the demo when a call failed, with the library's text for it. */
static void Check(int32_t code, KrdFileHandle file, const char* call) {
  if (code == 0) return;
  KrdStringHandle message = NULL;
  GetMostRecentErrorMessage(file, &message);
  fprintf(stderr, "%s failed with code %d: %.*s\n", call, code, (int)(*message)->cnt,
          (const char*)(*message)->str);
  DisposeHostHandle(message);
  exit(1);
}

static KrdFileHandle OpenPair(const char* krd, const char* krq, uint8_t mode) {
  KrdString* krd_path = NewText(krd);
  KrdString* krq_path = NewText(krq);
  KrdFileHandle file = 0;
  KrdStringHandle why = NULL;
  const int32_t code = DebugOpen(&krd_path, &krq_path, mode, &file, &why);
  if (code != 0) {
    fprintf(stderr, "Opening %s failed with code %d: %.*s\n", krd, code, (int)(*why)->cnt,
            (const char*)(*why)->str);
    exit(1);
  }
  DisposeHostHandle(why);
  free(krd_path);
  free(krq_path);
  return file;
}

/* The measurement set-up: a data logger (the root device) with a serial
 * number attribute, one physical input, and a group of two channels
 * sampled together as 2-byte samples (data type 1) every 10 ticks. Channel
 * "pressure" is measured on the input; "pressure x10" is a second view of
 * it in the same frames. */
static void DescribeSetUp(KrdFileHandle file) {
  KrdString* logger = NewText("Data logger DL-4");
  KrdString* input = NewText("AI 0");
  KrdString* pressure = NewText("pressure");
  KrdString* scaled = NewText("pressure x10");
  static const uint8_t serial[] = {'S', 'N', '4', '4', '0', '1'};
  KrdU8Array* serial_value = NewBytes(serial, sizeof serial);
  uint16_t device = 0, physical_channel = 0, group = 0, channel = 0;
  Check(CreateDevice(file, 65535, &logger, &device), file, "CreateDevice");
  Check(CreateDeviceAttribute(file, device, 1, 0, &serial_value), file, "CreateDeviceAttribute");
  Check(CreatePhysicalChannel(file, device, 0, &input, &physical_channel), file,
        "CreatePhysicalChannel");
  Check(CreateChannelGroup(file, 10, 2, 1, &group), file, "CreateChannelGroup");
  Check(CreateChannel(file, group, physical_channel, 0, &pressure, &channel), file,
        "CreateChannel");
  Check(CreateChannel(file, group, physical_channel, 1, &scaled, &channel), file,
        "CreateChannel");
  free(logger);
  free(input);
  free(pressure);
  free(scaled);
  free(serial_value);
}

/* Three blocks of the group (2 channels of int16 samples, a frame every 10
 * ticks): frames at 0..40, 50..90 and, after a pause, 200..220. Pressure
 * counts up from 1000, its x10 view is ten times that. Then an event
 * source on the input with three threshold events. */
static void RecordData(KrdFileHandle file) {
  static const int64_t starts[] = {0, 50, 200};
  static const int frames[] = {5, 5, 3};
  int16_t value = 1000;
  for (int block = 0; block < 3; ++block) {
    int16_t samples[2 * 5];
    for (int frame = 0; frame < frames[block]; ++frame, ++value) {
      samples[2 * frame] = value;
      samples[2 * frame + 1] = (int16_t)(value * 10);
    }
    KrdU8Array* bytes = NewBytes((const uint8_t*)samples, sizeof(int16_t) * 2 * frames[block]);
    Check(RecordChannelGroupData(file, 1, starts[block], &bytes), file, "RecordChannelGroupData");
    free(bytes);
  }
  KrdString* label = NewText("over-pressure");
  uint16_t source = 0;
  Check(CreateEventSource(file, 1, 1, &label, &source), file, "CreateEventSource");
  free(label);
  static const int64_t times[] = {30, 70, 210};
  for (int i = 0; i < 3; ++i) {
    const uint8_t level[] = {(uint8_t)(i + 1)};
    KrdU8Array* data = NewBytes(level, sizeof level);
    uint32_t event = 0;
    Check(CreateEvent(file, source, times[i], &data, &event), file, "CreateEvent");
    free(data);
  }
}

static void Record(const char* krd, const char* krq) {
  static const uint8_t start[] = {0x07, 0xEA, 0x0B, 0x17, 0x09, 0x1E}; /* 2026-11-23 09:30 */
  const KrdFileHandle file = OpenPair(krd, krq, 1);
  KrdString* label = NewText("Demo rig, bench 3");
  KrdU8Array* start_value = NewBytes(start, sizeof start);
  KrdString* annotation = NewText("Ambient 21 C, sensors calibrated this morning.");
  Check(CreateHeader(file, 1000000, 7, &label), file, "CreateHeader");
  Check(CreateStart(file, 1, &start_value), file, "CreateStart");
  Check(CreateAnnotation(file, &annotation), file, "CreateAnnotation");
  DescribeSetUp(file);
  RecordData(file);
  Check(Close(file), file, "Close");
  free(label);
  free(start_value);
  free(annotation);
  printf("Recorded %s\n", krd);
}

/* Prints a returned byte array as text and hands it back. */
static void PrintBytesAndDispose(const char* name, KrdU8ArrayHandle bytes) {
  printf("%s%.*s\n", name, (int)(*bytes)->dimSize, (const char*)(*bytes)->elt);
  DisposeHostHandle(bytes);
}

/* The device tree from the root, with attributes and physical channels. */
static void PrintDevices(KrdFileHandle file) {
  KrdStringHandle text = NULL;
  KrdU16ArrayHandle ids = NULL;
  KrdU16Array2DHandle attributes = NULL;
  KrdU8ArrayHandle value = NULL;
  Check(GetDeviceLabel(file, 0, &text), file, "GetDeviceLabel");
  PrintAndDispose("device 0", text);
  Check(DeviceAttributeList(file, 0, &attributes), file, "DeviceAttributeList");
  for (int32_t row = 0; row < (*attributes)->dimSizes[0]; ++row) {
    const uint16_t key = (*attributes)->elt[2 * row];
    const uint16_t index = (*attributes)->elt[2 * row + 1];
    Check(GetDeviceAttribute(file, 0, key, index, &value), file, "GetDeviceAttribute");
    printf("    attribute %u/%u = ", (unsigned)key, (unsigned)index);
    PrintBytesAndDispose("", value);
  }
  DisposeHostHandle(attributes);
  Check(PhysicalChannelList(file, 0, &ids), file, "PhysicalChannelList");
  for (int32_t i = 0; i < (*ids)->dimSize; ++i) {
    uint16_t number = 0;
    Check(GetPhysicalChannelNbr(file, (*ids)->elt[i], &number), file, "GetPhysicalChannelNbr");
    Check(GetPhysicalChannelLabel(file, (*ids)->elt[i], &text), file, "GetPhysicalChannelLabel");
    printf("    physical channel %u, input %u: %.*s\n", (unsigned)(*ids)->elt[i],
           (unsigned)number, (int)(*text)->cnt, (const char*)(*text)->str);
    DisposeHostHandle(text);
  }
  DisposeHostHandle(ids);
}

/* Every channel group with its channels. */
static void PrintChannels(KrdFileHandle file) {
  KrdU16ArrayHandle groups = NULL;
  KrdU16ArrayHandle channels = NULL;
  KrdStringHandle text = NULL;
  Check(ChannelGroupList(file, &groups), file, "ChannelGroupList");
  for (int32_t g = 0; g < (*groups)->dimSize; ++g) {
    const uint16_t group = (*groups)->elt[g];
    uint32_t divisor = 0;
    uint8_t count = 0;
    uint16_t type = 0;
    Check(GetChGroupTimeBaseDivisor(file, group, &divisor), file, "GetChGroupTimeBaseDivisor");
    Check(GetChGroupChCount(file, group, &count), file, "GetChGroupChCount");
    Check(GetChGroupDataType(file, group, &type), file, "GetChGroupDataType");
    printf("  group %u      %u channels of data type %u, a frame every %u ticks\n",
           (unsigned)group, (unsigned)count, (unsigned)type, (unsigned)divisor);
    Check(ChInGroupList(file, group, &channels), file, "ChInGroupList");
    for (int32_t c = 0; c < (*channels)->dimSize; ++c) {
      uint8_t place = 0;
      Check(GetChInterleaveIndex(file, (*channels)->elt[c], &place), file, "GetChInterleaveIndex");
      Check(GetChLabel(file, (*channels)->elt[c], &text), file, "GetChLabel");
      printf("    channel %u at %u: %.*s\n", (unsigned)(*channels)->elt[c], (unsigned)place,
             (int)(*text)->cnt, (const char*)(*text)->str);
      DisposeHostHandle(text);
    }
    DisposeHostHandle(channels);
  }
  DisposeHostHandle(groups);
}

/* Reads channel 1 in steps of length ticks from start, each step where the
 * last one said the data continues, until there is no more data that way. */
static void PrintChannelWalk(KrdFileHandle file, int64_t start, int64_t length) {
  printf("  channel 1 from %lld in steps of %lld ticks:\n", (long long)start, (long long)length);
  for (int64_t time = start; time != -1;) {
    KrdU8ArrayHandle bytes = NULL;
    int64_t next = -1;
    Check(GetChannelData(file, 1, time, length, &next, &bytes), file, "GetChannelData");
    printf("    at %4lld:", (long long)time);
    for (int32_t i = 0; i + 1 < (*bytes)->dimSize; i += 2) {
      int16_t sample;
      memcpy(&sample, (*bytes)->elt + i, sizeof sample);
      printf(" %d", sample);
    }
    printf("%s; continues at %lld\n", (*bytes)->dimSize == 0 ? " (none)" : "", (long long)next);
    DisposeHostHandle(bytes);
    time = next;
  }
}

/* The events of source 1 between two times, both included. */
static void PrintEvents(KrdFileHandle file, int64_t from, int64_t to) {
  KrdU32ArrayHandle events = NULL;
  Check(EventList(file, 1, from, to, &events), file, "EventList");
  printf("  events from %lld to %lld:", (long long)from, (long long)to);
  for (int32_t i = 0; i < (*events)->dimSize; ++i) {
    int64_t time = 0;
    KrdU8ArrayHandle data = NULL;
    Check(GetEventTime(file, (*events)->elt[i], &time), file, "GetEventTime");
    Check(GetEventData(file, (*events)->elt[i], &data), file, "GetEventData");
    printf(" #%u at %lld level %u;", (unsigned)(*events)->elt[i], (long long)time,
           (unsigned)(*data)->elt[0]);
    DisposeHostHandle(data);
  }
  printf("\n");
  DisposeHostHandle(events);
}

static void PrintRecording(const char* krd, const char* krq) {
  const KrdFileHandle file = OpenPair(krd, krq, 0);
  uint32_t time_base = 0;
  uint16_t start_type = 0;
  KrdStringHandle text = NULL;
  KrdU8ArrayHandle start = NULL;
  printf("Read through %s:\n", krq);
  Check(GetFileLabel(file, &text), file, "GetFileLabel");
  PrintAndDispose("label", text);
  Check(GetTimeBase(file, &time_base), file, "GetTimeBase");
  printf("  %-12s %u ticks/s\n", "time base", (unsigned)time_base);
  Check(GetStartDataType(file, &start_type), file, "GetStartDataType");
  Check(GetRTStart(file, &start), file, "GetRTStart");
  printf("  %-12s type %u, bytes", "start", (unsigned)start_type);
  for (int32_t i = 0; i < (*start)->dimSize; ++i) printf(" %02x", (*start)->elt[i]);
  printf("\n");
  DisposeHostHandle(start);
  Check(GetAnnotation(file, &text), file, "GetAnnotation");
  PrintAndDispose("annotation", text);
  PrintDevices(file);
  PrintChannels(file);
  int64_t latest = 0;
  Check(GetMaxChGroupTime(file, 1, &latest), file, "GetMaxChGroupTime");
  printf("  group 1 data ends at %lld\n", (long long)latest);
  PrintChannelWalk(file, 0, 35);
  PrintChannelWalk(file, latest, -35);
  PrintEvents(file, 30, 100);
  Check(Close(file), file, "Close");
}

int main(int argc, char** argv) {
  char folder[256] = "/tmp/krd-demo-XXXXXX";
  if (argc > 1) {
    snprintf(folder, sizeof folder, "%s", argv[1]);
    mkdir(folder, 0777);
  } else if (mkdtemp(folder) == NULL) {
    perror("mkdtemp");
    return 1;
  }
  char krd[300];
  char krq[300];
  char rebuilt_krq[300];
  snprintf(krd, sizeof krd, "%s/demo.krd", folder);
  snprintf(krq, sizeof krq, "%s/demo.krq", folder);
  snprintf(rebuilt_krq, sizeof rebuilt_krq, "%s/rebuilt.krq", folder);

  /* No run-time module: the library allocates what it returns. */
  SetLVRTModule(NULL);
  /* Sample data types, one row each: ID 1 of 2 bytes, ID 2 of 4, ID 3 of 8. */
  static const uint16_t data_types[3][2] = {{1, 2}, {2, 4}, {3, 8}};
  KrdU16Array2D* table = malloc(sizeof(KrdU16Array2D) + sizeof data_types);
  if (table == NULL) return 1;
  table->dimSizes[0] = 3;
  table->dimSizes[1] = 2;
  memcpy(table->elt, data_types, sizeof data_types);
  const KrdLibrarySettings settings = {64 * 1024, &table, 100, 1000};
  Initialize(&settings);
  free(table);

  Record(krd, krq);
  PrintRecording(krd, krq);

  KrdString* krd_path = NewText(krd);
  KrdString* rebuilt_path = NewText(rebuilt_krq);
  const int32_t code = CreateIndex(&krd_path, &rebuilt_path);
  free(krd_path);
  free(rebuilt_path);
  if (code != 0) {
    fprintf(stderr, "CreateIndex failed with code %d\n", code);
    return 1;
  }
  printf("Rebuilt the index from the data file into %s\n", rebuilt_krq);
  PrintRecording(krd, rebuilt_krq);

  Terminate();
  return 0;
}
