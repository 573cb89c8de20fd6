#pragma once

// Small helpers that turn what the library did into values a test can
// compare: the failure a call raised, and the bytes a file holds.

#include <cstdint>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "KrdFileLib/Exceptions.h"

namespace Varnholt::Testing {

// The code and text of the failure a call raises; {0, ""} when it raises none.
template <typename Call>
std::pair<int32_t, std::string> Failure(Call&& call) {
  try {
    call();
  } catch (const KrdFiles::ApiException& e) {
    return {e.Code(), e.what()};
  }
  return {0, ""};
}

// Everything a file holds, as bytes (empty when it cannot be read).
inline std::vector<uint8_t> FileBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), {});
}

}  // namespace Varnholt::Testing
