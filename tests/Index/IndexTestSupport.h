#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "KrdFileLib/Exceptions.h"
#include "KrdFileLib/Index/CommitLimits.h"
#include "KrdFileLib/Index/IndexConnection.h"
#include "tests/TestSupport/FakeClock.h"
#include "tests/TestSupport/Outcomes.h"
#include "tests/TestSupport/TempDir.h"

namespace Varnholt::KrdFiles::Index {

using Testing::Failure;

// Column 0 of the first row of a statement, as a 64-bit integer.
inline int64_t QueryInt64(IndexConnection& connection, const std::string& text) {
  return connection.ExecuteQuery(SqlCommand(text))->GetInt64(0);
}

inline int64_t RowCount(IndexConnection& connection, const std::string& table) {
  return QueryInt64(connection, "SELECT COUNT(1) FROM " + table);
}

// A KRQ file created in a fresh temporary folder, on a clock the test drives.
// The process-wide commit limits are put back to their defaults afterwards.
class CreatedIndexTest : public ::testing::Test {
 protected:
  void SetUp() override { connection_.Create(); }
  void TearDown() override {
    SetCommitLimits(kDefaultStatementsPerCommit, kDefaultCommitIntervalMs);
  }

  // Another connection to the same file: it sees only committed rows.
  std::unique_ptr<IndexConnection> OpenReader() {
    auto reader = std::make_unique<IndexConnection>(path_, clock_);
    reader->Open();
    return reader;
  }

  Testing::TempDir dir_;
  std::string path_ = dir_.File("index.krq");
  std::shared_ptr<Testing::FakeClock> clock_ = std::make_shared<Testing::FakeClock>();
  IndexConnection connection_{path_, clock_};
};

}  // namespace Varnholt::KrdFiles::Index
