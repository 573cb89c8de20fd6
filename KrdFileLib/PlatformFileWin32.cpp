// The data file on Windows: a file handle shared for reading and writing,
// so that another process can read a recording while it is recorded, with
// 64-bit positions given to every read and write.

#include <windows.h>

#include <algorithm>
#include <climits>
#include <limits>
#include <vector>

#include "KrdFileLib/PlatformFile.h"

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

}  // namespace

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
    return OpenResult::kOpened;
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
