#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>

#include "KrdFileLib/Index/SqlStatement.h"

namespace Varnholt::KrdFiles::Index {

// A statement whose parameters are all integers, with the values of one
// run: what a rebuild runs once per data block, a million times and more.
// It is made without allocating, where a SqlCommand allocates each of its
// parameters: the text is shared by every run of the statement, and the
// values are held in place. The connection's batch journal keeps it as it
// keeps a SqlCommand.
class IntegerCommand {
 public:
  static constexpr std::size_t kMaxValues = 4;
  using SharedText = std::shared_ptr<const std::string>;

  // Fails with code 41 for more than kMaxValues values.
  IntegerCommand(SharedText text, std::initializer_list<int64_t> values);

  const std::string& Text() const { return *text_; }
  // Binds the values by position, the first at 1.
  void BindTo(SqlStatement& statement) const;

 private:
  SharedText text_;
  std::array<int64_t, kMaxValues> values_{};
  std::size_t count_ = 0;
};

}  // namespace Varnholt::KrdFiles::Index
