// The data file on Windows: a file handle shared for reading and writing,
// so that another process can read a recording while it is recorded, with
// 64-bit positions given to every read and write.

#include <windows.h>

#include <algorithm>
#include <climits>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "KrdFileLib/DataFile/PlatformFile.h"

namespace Varnholt::KrdFiles {

namespace {

constexpr DWORD kShareMode = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
// The most one ReadFile or WriteFile call moves.
constexpr std::size_t kMaxTransfer = std::numeric_limits<DWORD>::max();

OVERLAPPED At(uint64_t offset) {
  OVERLAPPED position{};
  position.Offset = static_cast<DWORD>(offset);
  position.OffsetHigh = static_cast<DWORD>(offset >> 32);
  return position;
}

// One byte of the writer's lock, far past the end of any file, so that the
// lock (which Windows enforces on reads) never covers bytes anyone reads.
constexpr uint64_t kWriterLockOffset = uint64_t{1} << 62;

// Text in one code page as text in another, through UTF-16.
std::string Recode(const std::string& text, UINT from, UINT to) {
  if (text.empty()) return text;
  const int length = static_cast<int>(std::min<std::size_t>(text.size(), INT_MAX));
  const int wide_length = MultiByteToWideChar(from, 0, text.data(), length, nullptr, 0);
  if (wide_length <= 0) return text;
  std::vector<wchar_t> wide(static_cast<std::size_t>(wide_length));
  MultiByteToWideChar(from, 0, text.data(), length, wide.data(), wide_length);
  const int out_length =
      WideCharToMultiByte(to, 0, wide.data(), wide_length, nullptr, 0, nullptr, nullptr);
  if (out_length <= 0) return text;
  std::string out(static_cast<std::size_t>(out_length), '\0');
  WideCharToMultiByte(to, 0, wide.data(), wide_length, out.data(), out_length, nullptr, nullptr);
  return out;
}

// A name as the file system compares names, without regard to case: in
// upper case, kept as the bytes of its UTF-16 text.
std::string UpperCase(const std::string& text) {
  if (text.empty()) return text;
  const int length = static_cast<int>(std::min<std::size_t>(text.size(), INT_MAX));
  const int wide_length = MultiByteToWideChar(CP_ACP, 0, text.data(), length, nullptr, 0);
  if (wide_length <= 0) return text;
  std::wstring wide(static_cast<std::size_t>(wide_length), L'\0');
  MultiByteToWideChar(CP_ACP, 0, text.data(), length, wide.data(), wide_length);
  CharUpperBuffW(wide.data(), static_cast<DWORD>(wide.size()));
  return std::string(reinterpret_cast<const char*>(wide.data()), wide.size() * sizeof(wchar_t));
}

// Opens what is at path to ask about it only: no reading or writing, and a
// folder opens too.
HANDLE OpenToQuery(const std::string& path) {
  return CreateFileA(path.c_str(), 0, kShareMode, nullptr, OPEN_EXISTING,
                     FILE_FLAG_BACKUP_SEMANTICS, nullptr);
}

// The volume and file number of what is at path.
std::optional<PlatformFile::Identity> IdentityOfExisting(const std::string& path) {
  HANDLE handle = OpenToQuery(path);
  if (handle == INVALID_HANDLE_VALUE) return std::nullopt;
  BY_HANDLE_FILE_INFORMATION information{};
  const BOOL known = GetFileInformationByHandle(handle, &information);
  CloseHandle(handle);
  if (!known) return std::nullopt;
  return PlatformFile::Identity{
      information.dwVolumeSerialNumber,
      (uint64_t{information.nFileIndexHigh} << 32) | information.nFileIndexLow, {}};
}

}  // namespace

PlatformFile::Kind PlatformFile::KindOf(const std::string& path) {
  HANDLE handle = OpenToQuery(path);
  if (handle == INVALID_HANDLE_VALUE) return Kind::kMissing;
  BY_HANDLE_FILE_INFORMATION information{};
  const bool regular = GetFileType(handle) == FILE_TYPE_DISK &&
                       GetFileInformationByHandle(handle, &information) &&
                       (information.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
  CloseHandle(handle);
  return regular ? Kind::kRegular : Kind::kOther;
}

PlatformFile::Identity PlatformFile::IdentityOf(const std::string& path) {
  if (auto identity = IdentityOfExisting(path)) return *identity;
  // The full path drops "." and "..", and the trailing dots and blanks
  // that Windows drops from a name.
  const DWORD length = GetFullPathNameA(path.c_str(), 0, nullptr, nullptr);
  if (length == 0) return Identity{0, 0, UpperCase(path)};
  std::string full(length, '\0');
  char* name = nullptr;
  const DWORD written = GetFullPathNameA(path.c_str(), length, full.data(), &name);
  if (written == 0 || written >= length || name == nullptr) return Identity{0, 0, UpperCase(path)};
  const std::string folder(full.data(), name);
  full.resize(written);
  if (auto identity = IdentityOfExisting(folder)) {
    identity->name = UpperCase(name);
    return *identity;
  }
  return Identity{0, 0, UpperCase(full)};
}

bool PlatformFile::Exists(const std::string& path) {
  return GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

bool PlatformFile::Remove(const std::string& path) {
  if (DeleteFileA(path.c_str())) return true;
  const DWORD error = GetLastError();
  return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
}

std::string PlatformFile::ToUtf8(const std::string& path) { return Recode(path, CP_ACP, CP_UTF8); }

PlatformFile::OpenResult PlatformFile::CreateNew(const std::string& path) {
  Close();
  HANDLE handle = CreateFileA(path.c_str(), GENERIC_READ | GENERIC_WRITE, kShareMode, nullptr,
                              CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (handle != INVALID_HANDLE_VALUE) {
    handle_ = handle;
    return OpenResult::kOpened;
  }
  const DWORD error = GetLastError();
  return error == ERROR_FILE_EXISTS || error == ERROR_ALREADY_EXISTS ? OpenResult::kExists
                                                                      : OpenResult::kFailed;
}

PlatformFile::OpenResult PlatformFile::OpenExisting(const std::string& path, Access access) {
  Close();
  const DWORD rights = access == Access::kReadOnly ? GENERIC_READ : GENERIC_READ | GENERIC_WRITE;
  HANDLE handle = CreateFileA(path.c_str(), rights, kShareMode, nullptr,
                              OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (handle != INVALID_HANDLE_VALUE) {
    handle_ = handle;
    if (GetFileType(handle) == FILE_TYPE_DISK) return OpenResult::kOpened;
    Close();  // a pipe or a device
    return OpenResult::kFailed;
  }
  const DWORD error = GetLastError();
  return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND ? OpenResult::kMissing
                                                                        : OpenResult::kFailed;
}

void PlatformFile::Close() noexcept {
  if (handle_ != nullptr) CloseHandle(static_cast<HANDLE>(handle_));
  handle_ = nullptr;
}

bool PlatformFile::IsOpen() const { return handle_ != nullptr; }

bool PlatformFile::TryLockAsWriter() {
  OVERLAPPED position = At(kWriterLockOffset);
  if (LockFileEx(static_cast<HANDLE>(handle_), LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY,
                 0, 1, 0, &position)) {
    return true;
  }
  const DWORD error = GetLastError();
  return error != ERROR_LOCK_VIOLATION && error != ERROR_IO_PENDING;  // else: no locks here
}

std::optional<uint64_t> PlatformFile::Size() const {
  LARGE_INTEGER size{};
  if (!GetFileSizeEx(static_cast<HANDLE>(handle_), &size)) return std::nullopt;
  return static_cast<uint64_t>(size.QuadPart);
}

std::optional<std::size_t> PlatformFile::ReadAt(uint64_t offset, std::span<uint8_t> into) {
  std::size_t done = 0;
  while (done < into.size()) {
    OVERLAPPED position = At(offset + done);
    DWORD got = 0;
    const auto wanted = static_cast<DWORD>(std::min(into.size() - done, kMaxTransfer));
    if (!ReadFile(static_cast<HANDLE>(handle_), into.data() + done, wanted, &got, &position)) {
      if (GetLastError() == ERROR_HANDLE_EOF) break;
      return std::nullopt;
    }
    if (got == 0) break;
    done += got;
  }
  return done;
}

bool PlatformFile::WritePieces(uint64_t offset,
                               std::span<const std::span<const uint8_t>> pieces) {
  for (const auto piece : pieces) {
    std::size_t done = 0;
    while (done < piece.size()) {
      OVERLAPPED position = At(offset);
      DWORD put = 0;
      const auto wanted = static_cast<DWORD>(std::min(piece.size() - done, kMaxTransfer));
      if (!WriteFile(static_cast<HANDLE>(handle_), piece.data() + done, wanted, &put, &position) ||
          put == 0) {
        return false;
      }
      done += put;
      offset += put;
    }
  }
  return true;
}

bool PlatformFile::SyncToDisk() { return FlushFileBuffers(static_cast<HANDLE>(handle_)) != 0; }

bool PlatformFile::SetLength(uint64_t length) {
  FILE_END_OF_FILE_INFO end{};
  end.EndOfFile.QuadPart = static_cast<LONGLONG>(length);
  return SetFileInformationByHandle(static_cast<HANDLE>(handle_), FileEndOfFileInfo, &end,
                                    sizeof end) != 0;
}

}  // namespace Varnholt::KrdFiles
