// Reading recordings from C++: prints each channel of a pair with the bytes
// of samples it holds, read through RecordingReader a chunk at a time.
//   ReadRecording <recording.krd> <recording.krq>
// The data types are those the demo registers (make demo records a pair).

#include <cstdint>
#include <cstdio>
#include <limits>
#include <vector>

#include "KrdFileLib/DataTypeRegistry.h"
#include "KrdFileLib/Reading/RecordingReader.h"

using namespace Varnholt::KrdFiles;

int main(int argc, char** argv) try {
  if (argc != 3) {
    std::fprintf(stderr, "usage: ReadRecording <krd> <krq>\n");
    return 2;
  }
  DataTypeRegistry::Process().Replace({{1, 2}, {2, 4}, {3, 8}});  // ID, bytes per sample
  Reading::RecordingReader recording(argv[1], argv[2]);
  std::vector<uint8_t> chunk(64 * 1024);
  for (const Reading::Channel& channel : recording.Channels()) {
    uint64_t bytes = 0;
    recording.ReadChannel(channel.id, 0, std::numeric_limits<int64_t>::max(), chunk,
                          [&](std::span<const uint8_t> samples) { bytes += samples.size(); });
    std::printf("channel %d (%s): %llu bytes\n", channel.id, channel.label.c_str(),
                static_cast<unsigned long long>(bytes));
  }
  return 0;
} catch (const ApiException& failure) {
  std::fprintf(stderr, "%s (code %d)\n", failure.what(), failure.Code());
  return 1;
}
