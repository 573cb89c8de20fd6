// Feeds arbitrary bytes to the packet parser as the contents of a KRD file and
// walks it packet by packet, as reindexing does. Whatever the bytes, parsing
// may only end in one of the library's own errors: never a crash, a hang, an
// out-of-bounds read or an allocation larger than the file.

#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "KrdFileLib/DataTypeRegistry.h"
#include "KrdFileLib/Exceptions.h"
#include "KrdFileLib/Index/ChannelGroupTable.h"
#include "KrdFileLib/Index/IndexConnection.h"
#include "KrdFileLib/DataFile/KrdInstance.h"
#include "KrdFileLib/Packets/PacketBase.h"
#include "KrdFileLib/Packets/ParsePacket.h"

namespace {

using namespace Varnholt::KrdFiles;

// One index for the whole run, holding a channel group so that data packets
// get past their group lookup and reach the frame-size checks.
struct FuzzWorkspace {
  std::filesystem::path folder;
  std::string krd_path;
  std::unique_ptr<Index::IndexConnection> index;

  FuzzWorkspace() {
    folder = std::filesystem::temp_directory_path() / ("krd-fuzz-" + std::to_string(::getpid()));
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder);
    krd_path = (folder / "input.krd").string();
    DataTypeRegistry::Process().Replace({{1, 2}, {2, 4}});
    index = std::make_unique<Index::IndexConnection>((folder / "index.krq").string(), nullptr);
    index->Create();
    Index::ChannelGroupTable group;
    group.time_base_divisor.Set(10);
    group.channel_count.Set(3);
    group.data_type.Set(1);
    group.Insert(*index, /*skip_row_id=*/true);
  }
};

FuzzWorkspace& Workspace() {
  static FuzzWorkspace workspace;
  return workspace;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzWorkspace& workspace = Workspace();
  {
    std::ofstream out(workspace.krd_path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  }
  KrdInstance file(workspace.krd_path);
  file.Open();
  const uint64_t end = file.GetEndOffset();
  uint64_t offset = 0;
  try {
    while (offset < end) {
      std::shared_ptr<Packets::PacketBase> packet = Packets::ParsePacket(file, *workspace.index, offset);
      // Encoding what was parsed must work too.
      if (packet->GetImage().empty()) __builtin_trap();
      offset += packet->PacketSize();
    }
  } catch (const ApiException&) {
    // The expected way for malformed input to end.
  }
  return 0;
}
