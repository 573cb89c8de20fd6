#include "fuzz/MemoryFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Varnholt::Fuzzing {

namespace {

// Buffers kept for reuse: a fuzz input makes a handful of files.
constexpr std::size_t kSpareBuffers = 8;

std::string InodeKey(const struct stat& status) {
  return std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
}

}  // namespace

MemoryFileStore& MemoryFileStore::Process() {
  static MemoryFileStore store;
  return store;
}

void MemoryFileStore::SetNaming(MemoryNaming naming) {
  std::lock_guard lock(mutex_);
  naming_ = naming;
  files_.clear();
}

std::string MemoryFileStore::KeyOf(const std::string& path) const {
  if (naming_ == MemoryNaming::kInMemory) return path;
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return {};
  return InodeKey(status);
}

std::string MemoryFileStore::CreatePlaceholder(const std::string& path) const {
  const int descriptor = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
  if (descriptor < 0) return {};
  struct stat status {};
  const bool known = ::fstat(descriptor, &status) == 0;
  ::close(descriptor);
  return known ? InodeKey(status) : std::string();
}

std::shared_ptr<MemoryFile> MemoryFileStore::NewFile() {
  auto file = std::make_shared<MemoryFile>();
  if (!spare_buffers_.empty()) {
    file->bytes = std::move(spare_buffers_.back());
    spare_buffers_.pop_back();
    file->bytes.clear();
  }
  return file;
}

void MemoryFileStore::Recycle(std::shared_ptr<MemoryFile> file) {
  if (file.use_count() == 1 && spare_buffers_.size() < kSpareBuffers) {
    spare_buffers_.push_back(std::move(file->bytes));
  }
}

std::shared_ptr<MemoryFile> MemoryFileStore::Find(const std::string& path) {
  const std::string key = KeyOf(path);
  if (key.empty()) return nullptr;
  const auto found = files_.find(key);
  if (found != files_.end()) return found->second;
  // A placeholder whose bytes were never written here (or were forgotten)
  // stands for an empty file.
  if (naming_ == MemoryNaming::kInMemory) return nullptr;
  return files_[key] = NewFile();
}

std::shared_ptr<MemoryFile> MemoryFileStore::FindOrCreate(const std::string& path) {
  if (auto file = Find(path)) return file;
  const std::string key = naming_ == MemoryNaming::kInMemory ? path : CreatePlaceholder(path);
  if (key.empty()) return nullptr;
  // A new placeholder may reuse the inode of a removed one: it starts empty.
  if (const auto stale = files_.find(key); stale != files_.end()) Recycle(std::move(stale->second));
  return files_[key] = NewFile();
}

bool MemoryFileStore::Remove(const std::string& path) {
  const std::string key = KeyOf(path);
  if (key.empty()) return false;
  const auto found = files_.find(key);
  const bool had_bytes = found != files_.end();
  if (had_bytes) {
    Recycle(std::move(found->second));
    files_.erase(found);
  }
  if (naming_ == MemoryNaming::kInMemory) return had_bytes;
  return ::unlink(path.c_str()) == 0;
}

void MemoryFileStore::Put(const std::string& path, const uint8_t* data, std::size_t size) {
  std::lock_guard lock(mutex_);
  const std::shared_ptr<MemoryFile> file = FindOrCreate(path);
  if (file == nullptr) return;
  // No locks or shared memory of an earlier life.
  std::vector<uint8_t> buffer = std::move(file->bytes);
  *file = MemoryFile();
  file->bytes = std::move(buffer);
  file->bytes.assign(data, data + size);
}

std::vector<uint8_t> MemoryFileStore::Read(const std::string& path) {
  std::lock_guard lock(mutex_);
  const std::shared_ptr<MemoryFile> file = Find(path);
  return file != nullptr ? file->bytes : std::vector<uint8_t>();
}

void MemoryFileStore::Clear() {
  std::lock_guard lock(mutex_);
  for (auto& [key, file] : files_) Recycle(std::move(file));
  files_.clear();
}

}  // namespace Varnholt::Fuzzing
