#pragma once

// The folder a fuzz target works in: on a memory file system when there is
// one (/dev/shm), since every input is written out as files, and named
// after the process so that parallel jobs do not meet. It is removed when
// the run ends normally; after a crash it stays for a look.

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace Varnholt::Fuzzing {

inline std::filesystem::path FreshFuzzFolder(const std::string& target) {
  const std::filesystem::path shm = "/dev/shm";
  std::error_code error;
  const std::filesystem::path base =
      std::filesystem::is_directory(shm, error) ? shm : std::filesystem::temp_directory_path();
  const std::filesystem::path folder = base / (target + "-" + std::to_string(::getpid()));
  std::filesystem::remove_all(folder);
  std::filesystem::create_directories(folder);
  static std::filesystem::path made;
  made = folder;
  std::atexit([] {
    std::error_code ignored;
    std::filesystem::remove_all(made, ignored);
  });
  return folder;
}

inline void WriteBytes(const std::filesystem::path& path, const uint8_t* data, size_t size) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
}

inline std::vector<uint8_t> ReadBytes(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), {});
}

}  // namespace Varnholt::Fuzzing
