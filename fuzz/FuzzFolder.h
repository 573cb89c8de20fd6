#pragma once

// The folder a fuzz target works in: on a memory file system when there is
// one (/dev/shm), since every input is written out as files, and named
// after the process so that parallel jobs do not meet.

#include <unistd.h>

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
