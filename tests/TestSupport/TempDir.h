#pragma once

#include <atomic>
#include <filesystem>
#include <random>
#include <string>

namespace Varnholt::Testing {

// A fresh directory under the system's temporary folder, removed with
// everything in it when the object goes out of scope.
class TempDir {
 public:
  TempDir() : TempDir(std::filesystem::temp_directory_path()) {}
  // A fresh directory under parent.
  explicit TempDir(const std::filesystem::path& parent) {
    static std::atomic<unsigned> counter{0};
    std::random_device device;
    path_ = parent / ("krd-test-" + std::to_string(device()) + "-" + std::to_string(counter++));
    std::filesystem::create_directories(path_);
  }
  ~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  // Where tests that fail writes or kill processes keep their files:
  // memory-backed /dev/shm where the system has it, since syncing to a
  // storage device proves nothing against a killed process and takes most
  // of such a test's time; the system's temporary folder otherwise.
  static std::filesystem::path InMemoryWherePossible() {
    std::error_code error;
    if (std::filesystem::is_directory("/dev/shm", error)) return "/dev/shm";
    return std::filesystem::temp_directory_path();
  }

  const std::filesystem::path& Path() const { return path_; }
  // Path of a file inside the directory, as the library takes paths.
  std::string File(const std::string& name) const { return (path_ / name).string(); }

 private:
  std::filesystem::path path_;
};

}  // namespace Varnholt::Testing
