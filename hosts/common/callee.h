// What a call of a keyword takes, and what is wrong with one, in words.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "catalog.h"
#include "value.h"
#include "vxkernel.h"

namespace host {

using Arguments = std::span<const vxkernel::Argument>;

// A keyword with a number of arguments. Complaints do not name the keyword: a host says how it was
// called.
class Callee {
 public:
  // What is wrong with so many arguments: "takes 6 or 7 arguments, not 2".
  static std::optional<std::string> complaint_of_count(const catalog::Keyword& keyword,
                                                       std::size_t count);

  // The count must be one that complaint_of_count does not complain about.
  Callee(const catalog::Keyword& keyword, std::size_t count);

  [[nodiscard]] std::size_t size() const noexcept { return described_.size(); }

  // A text where only numbers and dates are read, and a frequency that makes no schedule, are
  // refused before the call, with the argument marked.
  [[nodiscard]] vxkernel::Evaluation evaluate(const vxkernel::Kernel& kernel,
                                              Arguments arguments) const noexcept;

  // Why the evaluation failed: "argument 3 (rate) is -0.05: must be greater than 0".
  [[nodiscard]] std::string complaint(const vxkernel::Evaluation& answer,
                                      std::span<const Value> values) const;

  // The same of a value that is not of the kind that the argument must have.
  [[nodiscard]] std::string complaint_of_kind(std::size_t position,
                                              std::span<const Value> values) const;

  // What stands at a position, counted from 1.
  [[nodiscard]] const catalog::Argument& described(std::size_t position) const noexcept {
    return *described_[position - 1];
  }
  [[nodiscard]] const catalog::Keyword& keyword() const noexcept { return *keyword_; }

  // The result of an evaluation that succeeded; a keyword says whether it is a date.
  [[nodiscard]] Value result(const vxkernel::Evaluation& answer) const noexcept;

 private:
  [[nodiscard]] bool is_refused(std::size_t position,
                                const vxkernel::Argument& argument) const noexcept;
  [[nodiscard]] std::string refused(std::size_t position, std::span<const Value> values,
                                    std::string_view complaint) const;
  [[nodiscard]] double value_of(std::string_view name, std::span<const Value> values) const;
  [[nodiscard]] const catalog::Bound* broken_bound(std::size_t position,
                                                   std::span<const Value> values) const;
  [[nodiscard]] std::string reason(std::size_t position, std::span<const Value> values) const;

  const catalog::Keyword* keyword_;
  std::vector<const catalog::Argument*> described_;  // by position, from 0
};

// What is said of a word that names no keyword.
std::string no_such_keyword(std::string_view word);

}  // namespace host
