// One call as people write it: words in, a result or an error message out.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "vxkernel.h"

namespace cli {

// The argument that a word stands for: a number, an ISO date (its days from 1 January 1960), a
// full stop for the missing value; anything else is text. A text refers to the word.
vxkernel::Argument argument_of(std::string_view word);

inline constexpr int kAllDigits = -1;

// Shortest digits that read back to the same double, or so many decimals; a full stop for a missing
// value.
std::string digits_of(double value, int decimals = kAllDigits);

// The words of a line: separated by blanks, quoted with ' or " where they hold some. A word that
// begins with # opens a comment. Throws std::invalid_argument when a quotation is not closed.
std::vector<std::string> words_of(std::string_view line);

struct Outcome {
  bool ok;
  std::string text;  // the result, or what went wrong
  bool is_number;    // the result is one; a date and the missing value are none
};

// Evaluates keyword and arguments. A result that is a date is printed as one. The error names
// keyword, argument and value. A text where only numbers and dates are read, and a frequency that
// makes no schedule, are refused before the call.
Outcome evaluate(const vxkernel::Kernel& kernel, std::span<const std::string> words,
                 int decimals = kAllDigits);

// The outcome as a line of JSON: {"keyword":"SLN","value":1800}, {"keyword":"SLN","error":"..."}. A
// date is a string, the missing value null, an infinite one "inf" or "-inf".
std::string json_of(const Outcome& outcome, std::span<const std::string> words);

}  // namespace cli
