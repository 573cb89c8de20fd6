#pragma once

// The rows that rebuilt indexes hold, pinned in RebuiltIndexes.golden beside
// these tests. Each entry is what a test saw of a rebuild (its outcome, the
// data file's change, every row of the index) when that rebuild was known to
// be right, so that any change in them shows as a difference of text. With
// KRD_UPDATE_GOLDEN=1 in the environment the tests write what they see
// instead; run the test program itself for that, not CTest, which runs
// cases side by side.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "tests/TestSupport/IndexSql.h"
#include "tests/TestSupport/Outcomes.h"

namespace Varnholt::Testing {

inline std::map<std::string, std::string> ReadGolden() {
  std::map<std::string, std::string> entries;
  std::ifstream in(KRD_REBUILT_INDEXES_GOLDEN);
  std::string line;
  std::string* entry = nullptr;
  while (std::getline(in, line)) {
    if (line.rfind("== ", 0) == 0) {
      entry = &entries[line.substr(3)];
    } else if (entry != nullptr) {
      *entry += line + "\n";
    }
  }
  return entries;
}

inline void ExpectGolden(const std::string& key, const std::string& seen) {
  std::map<std::string, std::string> entries = ReadGolden();
  if (std::getenv("KRD_UPDATE_GOLDEN") != nullptr) {
    entries[key] = seen;
    std::ofstream out(KRD_REBUILT_INDEXES_GOLDEN, std::ios::trunc);
    out << "# Written by tests/Recovery with KRD_UPDATE_GOLDEN=1 (RebuiltIndexGolden.h).\n";
    for (const auto& [name, text] : entries) out << "== " << name << "\n" << text;
    return;
  }
  const auto found = entries.find(key);
  ASSERT_NE(found, entries.end()) << "nothing pinned for " << key << "; seen:\n" << seen;
  EXPECT_EQ(seen, found->second) << key;
}

inline constexpr std::size_t kGuidAt = 15;  // in the data file: after the frame, type and version
inline constexpr std::size_t kGuidBytes = 16;

// How the data file differs from before: "as it was", "GUID written" (its
// header's GUID and nothing else) or "changed".
inline std::string DataFileChange(const std::vector<uint8_t>& before,
                                  const std::vector<uint8_t>& after) {
  if (after == before) return "as it was";
  const bool guid_only = after.size() == before.size() && after.size() >= kGuidAt + kGuidBytes &&
                         std::equal(after.begin(), after.begin() + kGuidAt, before.begin()) &&
                         std::equal(after.begin() + kGuidAt + kGuidBytes, after.end(),
                                    before.begin() + kGuidAt + kGuidBytes);
  return guid_only ? "GUID written" : "changed";
}

// The index's rows (DumpIndex) with the GUID of the data file krd named
// rather than spelled out, since it is random.
inline std::string RowsNamingTheGuid(const std::string& krq, const std::string& krd) {
  const std::vector<uint8_t> data = FileBytes(krd);
  std::string rows = DumpIndex(krq);
  if (data.size() < kGuidAt + kGuidBytes) return rows;
  std::string guid = "x'";
  for (std::size_t i = kGuidAt; i < kGuidAt + kGuidBytes; ++i) {
    static constexpr char kHex[] = "0123456789abcdef";
    guid += kHex[data[i] >> 4];
    guid += kHex[data[i] & 0xf];
  }
  guid += "'";
  for (std::size_t at; (at = rows.find(guid)) != std::string::npos;) {
    rows.replace(at, guid.size(), "<GUID of the data file>");
  }
  return rows;
}

}  // namespace Varnholt::Testing
