#pragma once

#include <cstdint>
#include <exception>
#include <string>

namespace Varnholt::KrdFiles {

// Root of the library's failures: a message and nothing else. Every failure
// inside the library is thrown as one of these and turned into an integer
// code only at the exported boundary.
class ExceptionBase : public std::exception {
 public:
  explicit ExceptionBase(std::string message) : message_(std::move(message)) {}
  const char* what() const noexcept override { return message_.c_str(); }
  const std::string& Message() const noexcept { return message_; }

 private:
  std::string message_;
};

// A failure that carries the error code the host will see. The library's own
// handlers catch this type only; anything else becomes the unexpected-error code.
class ApiException : public ExceptionBase {
 public:
  ApiException(int32_t code, std::string message) : ExceptionBase(std::move(message)), code_(code) {}
  int32_t Code() const noexcept { return code_; }

 private:
  int32_t code_;
};

// One distinct type per error code, so that a catch site can single out one
// condition. Errors.h names every condition with its message.
template <int32_t N>
class FileLibraryException : public ApiException {
 public:
  static constexpr int32_t kCode = N;
  explicit FileLibraryException(std::string message) : ApiException(N, std::move(message)) {}
};

}  // namespace Varnholt::KrdFiles
