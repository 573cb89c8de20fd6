/* Reading a recording back as a host does, and printing it: its facts, its
 * device tree, its groups, channels and post-process chains, a channel
 * walked forwards and backwards across its blocks, and its events. */

#include "DemoPrint.h"

#include <stdio.h>
#include <string.h>

#include "DemoHost.h"

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

/* A channel's post-process steps in chain order (the list comes in the
 * order the steps were added; their indexes give the chain). */
static void PrintChain(KrdFileHandle file, uint16_t channel) {
  KrdU32ArrayHandle steps = NULL;
  Check(PostProcessList(file, channel, &steps), file, "PostProcessList");
  for (uint32_t index = 0; index < 256; ++index) {
    for (int32_t i = 0; i < (*steps)->dimSize; ++i) {
      const uint32_t step = (*steps)->elt[i];
      uint8_t step_index = 0;
      uint16_t type = 0;
      KrdBool is_unit_change = 0;
      KrdU8ArrayHandle data = NULL;
      KrdU8ArrayHandle unit = NULL;
      KrdStringHandle label = NULL;
      Check(GetPostProcessIndex(file, step, &step_index), file, "GetPostProcessIndex");
      if (step_index != index) continue;
      Check(GetPostProcess(file, step, &type, &data), file, "GetPostProcess");
      Check(GetPostProcessUnit(file, step, &is_unit_change, &unit), file, "GetPostProcessUnit");
      Check(GetPostProcessLabel(file, step, &label), file, "GetPostProcessLabel");
      printf("      step %u: %.*s (type %u, %d data bytes)%s%.*s\n", (unsigned)index,
             (int)(*label)->cnt, (const char*)(*label)->str, (unsigned)type, (int)(*data)->dimSize,
             is_unit_change ? ", unit becomes " : "", is_unit_change ? (int)(*unit)->dimSize : 0,
             (const char*)(*unit)->elt);
      DisposeHostHandle(data);
      DisposeHostHandle(unit);
      DisposeHostHandle(label);
    }
  }
  DisposeHostHandle(steps);
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
      PrintChain(file, (*channels)->elt[c]);
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

void PrintRecording(const char* krd, const char* krq) {
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
