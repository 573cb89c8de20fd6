#include "fuzz/FuzzRecording.h"

#include <fstream>
#include <memory>

#include "KrdFileLib/FileLibrarySettings.h"
#include "KrdFileLib/Index/FileInformationTable.h"
#include "KrdFileLib/File/KrfModes.h"
#include "KrdFileLib/Packets/PacketFormat.h"

namespace Varnholt::Fuzzing {

namespace {

using namespace Varnholt::KrdFiles;
using Bytes = KrfFileBase::Bytes;

// Where the header's GUID lies in the data file: after the frame, the file
// type and the version.
constexpr std::streamoff kGuidOffset =
    Packets::kFrameSize + Packets::kFileTypeString.size() + sizeof(uint16_t);
constexpr CommonLib::Uuid kGuid = {{0x6b, 0x72, 0x64, 0x2d, 0x66, 0x75, 0x7a, 0x7a, 0x40, 0x01,
                                    0x80, 0x00, 0x00, 0x00, 0x00, 0x01}};

Bytes Counting(std::size_t count, uint8_t first) {
  Bytes bytes(count);
  for (std::size_t place = 0; place < count; ++place) {
    bytes[place] = static_cast<uint8_t>(first + place);
  }
  return bytes;
}

Bytes Text(const std::string& text) { return Bytes(text.begin(), text.end()); }

void RecordStructure(KrfFileBase& file) {
  file.CreateHeader(1000, 3, "fuzz rig");
  file.CreateStart(9, {0x07, 0xEA, 0x0B, 0x17});
  file.CreateAnnotation("Sensors calibrated.");

  const uint16_t rig = file.CreateDevice(65535, "rig");
  const uint16_t daq = file.CreateDevice(rig, "daq");
  const uint16_t spare = file.CreateDevice(rig, "spare");
  file.CreateDeviceAttribute(rig, 1, 0, Text("serial-17"));
  file.CreateDeviceAttribute(rig, 1, 1, Text("rev-b"));
  file.CreateDeviceAttribute(daq, 4, 0, {});

  const uint16_t ai0 = file.CreatePhysicalChannel(daq, 0, "ai0");
  const uint16_t ai1 = file.CreatePhysicalChannel(daq, 1, "ai1");
  const uint16_t ai2 = file.CreatePhysicalChannel(spare, 0, "ai2");
  file.CreatePhysicalChannelAttribute(ai0, 2, 0, Text("V"));
  file.CreatePhysicalChannelAttribute(ai1, 3, 0, Text("cal-2024"));

  // Two groups with data (2 channels of 2-byte samples every 10 ticks, and
  // 3 channels of 4-byte samples every tick) and one without.
  const uint16_t slow = file.CreateChannelGroup(10, 2, 1);
  const uint16_t fast = file.CreateChannelGroup(1, 3, 2);
  file.CreateChannelGroup(7, 1, 1);
  const uint16_t pressure = file.CreateChannel(slow, ai0, 0, "pressure");
  file.CreateChannel(slow, ai1, 1, "temperature");
  const uint16_t x = file.CreateChannel(fast, ai0, 0, "x");
  file.CreateChannel(fast, ai1, 1, "y");
  file.CreateChannel(fast, ai2, 2, "z");

  file.CreatePostProcess(pressure, 0, 1, true, false, Counting(8, 1), "scale", true, "bar");
  file.InsertPostProcess(pressure, 0, 2, false, true, {}, "offset", false, "");
  file.CreatePostProcess(x, 3, 7, false, false, Counting(3, 9), "filter", false, "");

  const uint16_t limit = file.CreateEventSource(ai0, 5, "limit");
  const uint16_t trigger = file.CreateEventSource(ai2, 6, "trigger");
  file.CreateEventSource(ai1, 7, "quiet");

  file.RecordChannelGroupData(slow, 0, Counting(8 * 4, 0));
  file.CreateEvent(limit, 5, Counting(4, 100));
  file.RecordChannelGroupData(fast, 0, Counting(16 * 12, 50));
  file.RecordChannelGroupData(slow, 80, Counting(8 * 4, 40));
  file.CreateEvent(trigger, 20, Counting(1, 7));
  file.CreateEvent(trigger, 20, Counting(9, 3));
  file.RecordChannelGroupData(fast, 16, Counting(16 * 12, 90));
  file.RecordChannelGroupData(slow, 200, Counting(4 * 4, 80));
  file.RecordChannelGroupData(fast, 100, Counting(5 * 12, 10));
  file.CreateEvent(limit, 230, {});
}

void ReplaceGuid(const std::string& krd_path, const std::string& krq_path) {
  std::fstream data(krd_path, std::ios::binary | std::ios::in | std::ios::out);
  data.seekp(kGuidOffset);
  data.write(reinterpret_cast<const char*>(kGuid.bytes.data()), kGuid.kSize);
  data.close();

  Index::IndexConnection index(krq_path, nullptr);
  index.Open();
  Index::FileInformationTable row;
  row.RequireHeader(index);
  row.uuid.Set(kGuid);
  row.Update(index);
  index.Close();
}

}  // namespace

std::vector<std::pair<uint16_t, uint32_t>> FuzzRecordingDataTypes() { return {{1, 2}, {2, 4}}; }

void RecordEveryPacketKind(const std::string& krd_path, const std::string& krq_path) {
  KrfRecorder recorder(krd_path, krq_path, std::make_shared<FileLibrarySettings>(), nullptr);
  recorder.Open();
  RecordStructure(recorder);
  recorder.Close();
  ReplaceGuid(krd_path, krq_path);
}

}  // namespace Varnholt::Fuzzing
