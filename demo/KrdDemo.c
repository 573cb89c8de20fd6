/* Demo, and an example of how a host calls the library. In a fresh folder it
 *   - records a small recording: header, start time, annotation, a device
 *     with an attribute, a physical channel, a channel group of two
 *     channels with a post-process step, three data blocks and three events;
 *   - reads it back in read mode and prints it, walking a channel forwards
 *     and backwards across the blocks and listing events by time;
 *   - edits it in edit mode (changes reach the index only) and prints it;
 *   - rebuilds the index from the data file into a second index file and
 *     prints the recording through that one: the recording as recorded,
 *     without the edits.
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

#include "DemoHost.h"
#include "DemoPrint.h"
#include "KrdFileLibApi.h"

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
  /* Readers of the x10 view divide by ten to get bar: a scaling step
   * (type 1 here, the host's own numbering) with its factor as data. */
  KrdString* step_label = NewText("to bar");
  KrdString* bar = NewText("bar");
  static const uint8_t factor[] = {10};
  KrdU8Array* factor_value = NewBytes(factor, sizeof factor);
  uint32_t step = 0;
  Check(CreatePostProcess(file, channel, 0, 1, 1, 0, &factor_value, &step_label, 1, &bar, &step),
        file, "CreatePostProcess");
  free(step_label);
  free(bar);
  free(factor_value);
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

/* Edit mode: a new label for the x10 view, an offset step inserted before
 * its scaling step, and one more event. Only the index changes. */
static void Edit(const char* krd, const char* krq) {
  const KrdFileHandle file = OpenPair(krd, krq, 2);
  KrdString* label = NewText("pressure x10 (zeroed)");
  KrdString* step_label = NewText("zero offset");
  static const uint8_t offset[] = {0xFE};
  KrdU8Array* offset_value = NewBytes(offset, sizeof offset);
  static const uint8_t level[] = {9};
  KrdU8Array* event_data = NewBytes(level, sizeof level);
  uint32_t step = 0, event = 0;
  Check(SetChLabel(file, 2, &label), file, "SetChLabel");
  Check(InsertPostProcess(file, 2, 0, 2, 0, 0, &offset_value, &step_label, 0, NULL, &step), file,
        "InsertPostProcess");
  Check(CreateEvent(file, 1, 90, &event_data, &event), file, "CreateEvent");
  Check(Close(file), file, "Close");
  free(label);
  free(step_label);
  free(offset_value);
  free(event_data);
  printf("Edited %s: relabelled channel 2, inserted a step before its first, added an event\n",
         krq);
}

int main(int argc, char** argv) {
  char folder[256];
  if (MakeDemoFolder(folder, sizeof folder, argc > 1 ? argv[1] : NULL) != 0) {
    perror("Making the demo's folder");
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
  Edit(krd, krq);
  PrintRecording(krd, krq);

  KrdString* krd_path = NewText(krd);
  KrdString* rebuilt_path = NewText(rebuilt_krq);
  const int32_t code = CreateIndex(&krd_path, &rebuilt_path);
  free(krd_path);
  free(rebuilt_path);
  if (code != KRD_OK) {
    fprintf(stderr, "CreateIndex failed with code %d\n", code);
    return 1;
  }
  printf("Rebuilt the index from the data file into %s\n", rebuilt_krq);
  PrintRecording(krd, rebuilt_krq);

  Terminate();
  return 0;
}
