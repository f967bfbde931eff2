// Calls as SQL databases make them: row after row, with values of the database's own.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "callee.h"
#include "sql_values.h"

namespace host {

struct SqlAnswer {
  Value value{};             // of a call that succeeded
  std::string complaint{};   // of one that failed: "finance(PRICE): argument 3 (rate) is ..."
  std::size_t position = 0;  // of the argument that it names, from 1; 0 when it names none
};

// A keyword with a number of arguments, for many rows. Keeps the values of the last call.
class SqlCall {
 public:
  // What is wrong with a keyword, or with so many arguments of it: "finance: NOPE: no such
  // keyword".
  static std::optional<std::string> complaint_of(std::string_view word, std::size_t count);

  // The keyword and count must be ones that complaint_of does not complain about.
  SqlCall(const catalog::Keyword& keyword, std::size_t count);

  // The function gives the value at a position, counted from 1, for a kind of argument. Positions
  // behind a value that does not fit are not asked for. Throws std::bad_alloc when storage runs
  // out.
  template <typename Function>
  SqlAnswer evaluate(const vxkernel::Kernel& kernel, Function value_at) {
    for (std::size_t i = 0; i < values_.size(); ++i) {
      const catalog::ArgumentKind kind = callee_.described(i + 1).kind;
      values_[i] = value_at(i + 1, kind);
      arguments_[i] = values_[i].argument();
      if (!fits(values_[i], kind)) return refused(i + 1);
    }
    return evaluate(kernel);
  }

  [[nodiscard]] const Callee& callee() const noexcept { return callee_; }

 private:
  [[nodiscard]] SqlAnswer refused(std::size_t position) const;
  [[nodiscard]] SqlAnswer evaluate(const vxkernel::Kernel& kernel) const;

  Callee callee_;
  std::vector<Value> values_;
  std::vector<vxkernel::Argument> arguments_;
};

}  // namespace host
