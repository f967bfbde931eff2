// One call of the host function FINANCE: what is wrong with its arguments, in words.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "catalog.h"
#include "value.h"
#include "vxkernel.h"

namespace cli {

using Arguments = std::span<const vxkernel::Argument>;

// A keyword with a number of arguments.
class Callee {
 public:
  // What is wrong with so many arguments: "PRICE: takes 6 or 7 arguments, not 2".
  static std::optional<std::string> complaint_of_count(const catalog::Keyword& keyword,
                                                       std::size_t count);

  // The count must be one that complaint_of_count does not complain about.
  Callee(const catalog::Keyword& keyword, std::size_t count);

  [[nodiscard]] std::size_t size() const noexcept { return described_.size(); }

  // A text where only numbers and dates are read, and a frequency that makes no schedule, are
  // refused before the call, with the argument marked.
  [[nodiscard]] vxkernel::Evaluation evaluate(const vxkernel::Kernel& kernel,
                                              Arguments arguments) const noexcept;

  // Why the evaluation failed: names keyword, argument and value.
  [[nodiscard]] std::string complaint(const vxkernel::Evaluation& answer,
                                      std::span<const Value> values) const;

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

// The words of a line: separated by blanks, quoted with ' or " where they hold some. A word that
// begins with # opens a comment. Throws std::invalid_argument when a quotation is not closed.
std::vector<std::string> words_of(std::string_view line);

struct Outcome {
  bool ok;
  std::string text;  // the result, or what went wrong
  bool is_number;    // the result is one; a date and the missing value are none
};

// Evaluates a keyword and its arguments, given as words.
Outcome evaluate(const vxkernel::Kernel& kernel, std::span<const std::string> words,
                 int decimals = kAllDigits);

// The outcome as a line of JSON: {"keyword":"SLN","value":1800}, {"keyword":"SLN","error":"..."}. A
// date is a string, the missing value null, an infinite one "inf" or "-inf".
std::string json_of(const Outcome& outcome, std::span<const std::string> words);

}  // namespace cli
