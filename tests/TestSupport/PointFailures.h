#pragma once

// The checks of a test that tries many points (write numbers, kill times)
// one after the other. The failures of the first few failing points are
// reported in full; of the others only the point is kept, and the test ends
// with one failure that lists every failing point as ranges ("16-62,
// 906-912"). So one broken behaviour neither hides the others nor buries
// them in output.

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace Varnholt::Testing {

class PointFailures {
 public:
  explicit PointFailures(std::size_t reported_in_full = 2) : reported_in_full_(reported_in_full) {}
  PointFailures(const PointFailures&) = delete;
  PointFailures& operator=(const PointFailures&) = delete;
  ~PointFailures() { EXPECT_TRUE(failing_.empty()) << Summary(); }

  // Runs the checks of one point.
  template <typename Checks>
  void Check(uint64_t point, Checks checks) {
    ::testing::TestPartResultArray results;
    {
      const ::testing::ScopedFakeTestPartResultReporter intercept(
          ::testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &results);
      checks();
    }
    points_.push_back(point);
    bool failed = false;
    for (int index = 0; index < results.size(); ++index) {
      const ::testing::TestPartResult& result = results.GetTestPartResult(index);
      if (!result.failed()) continue;
      failed = true;
      if (failing_.size() < reported_in_full_) {
        ADD_FAILURE_AT(result.file_name() ? result.file_name() : "?", result.line_number())
            << result.message();
      }
    }
    if (failed) failing_.push_back(points_.size() - 1);
  }

 private:
  // The failing points, with runs of neighbouring tried points joined.
  std::string Summary() const {
    std::string text = std::to_string(failing_.size()) + " of " + std::to_string(points_.size()) +
                       " points failed:";
    for (std::size_t at = 0; at < failing_.size();) {
      std::size_t end = at;
      while (end + 1 < failing_.size() && failing_[end + 1] == failing_[end] + 1) ++end;
      text += " " + std::to_string(points_[failing_[at]]);
      if (end > at) text += "-" + std::to_string(points_[failing_[end]]);
      text += end + 1 < failing_.size() ? "," : "";
      at = end + 1;
    }
    return text;
  }

  std::size_t reported_in_full_;
  std::vector<uint64_t> points_;
  std::vector<std::size_t> failing_;  // indexes into points_
};

}  // namespace Varnholt::Testing
