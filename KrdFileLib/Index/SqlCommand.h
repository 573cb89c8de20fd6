#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "KrdFileLib/Index/SqlParameter.h"
#include "KrdFileLib/Index/SqlStatement.h"

namespace Varnholt::KrdFiles::Index {

// A statement to run: its SQL text and its parameters in position order.
// Built by value for one use. Copies share the parameters, so a cursor can
// keep its own copy cheaply and with it the text and blob buffers it binds.
class SqlCommand {
 public:
  using Parameters = std::vector<std::shared_ptr<const SqlParameterBase>>;

  explicit SqlCommand(std::string text) : text_(std::move(text)) {}

  // Each appends one parameter at the next position.
  void AddIntParameter(std::string name, int32_t value);
  void AddInt64Parameter(std::string name, int64_t value);
  void AddTextParameter(std::string name, std::string value);
  void AddBlobParameter(std::string name, Bytes value);

  const std::string& Text() const { return text_; }
  const Parameters& GetParameters() const { return parameters_; }

  // Binds every parameter in list order.
  void BindTo(SqlStatement& statement) const;

 private:
  template <typename T>
  void Add(std::string name, T value);

  std::string text_;
  Parameters parameters_;
};

}  // namespace Varnholt::KrdFiles::Index
