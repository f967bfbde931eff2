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

// Shortest digits that read back to the same double; a full stop for a missing value.
std::string digits_of(double value);

// The words of a line: separated by blanks, quoted with ' or " where they hold some. A word that
// begins with # opens a comment. Throws std::invalid_argument when a quotation is not closed.
std::vector<std::string> words_of(std::string_view line);

struct Outcome {
  bool ok;
  std::string text;  // the result, or what went wrong
};

// Evaluates keyword and arguments. A result that is a date is printed as one. The error names
// keyword, argument and value. A text where only numbers and dates are read, and a frequency that
// makes no schedule, are refused before the call.
Outcome evaluate(const vxkernel::Kernel& kernel, std::span<const std::string> words);

}  // namespace cli
