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
  TempDir() {
    static std::atomic<unsigned> counter{0};
    std::random_device device;
    path_ = std::filesystem::temp_directory_path() /
            ("krd-test-" + std::to_string(device()) + "-" + std::to_string(counter++));
    std::filesystem::create_directories(path_);
  }
  ~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const std::filesystem::path& Path() const { return path_; }
  // Path of a file inside the directory, as the library takes paths.
  std::string File(const std::string& name) const { return (path_ / name).string(); }

 private:
  std::filesystem::path path_;
};

}  // namespace Varnholt::Testing
