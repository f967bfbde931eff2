// One call of the host function FINANCE, in words.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "hosts/call/checked_call.h"

namespace cli {

using namespace host;  // what every host knows of values and calls

// The words of a line: separated by blanks, quoted with ' or " where they hold some. A word that
// begins with # opens a comment. Throws std::invalid_argument when a quotation is not closed.
std::vector<std::string> words_of(std::string_view line);

struct SingleResult {
  bool ok;
  std::string text;  // the result, or what went wrong
  bool is_number;    // the result is one; a date and the missing value are none
};

// Evaluates a keyword and its arguments, given as words.
SingleResult evaluate(const vxkernel::Kernel& kernel, std::span<const std::string> words,
                      int decimals = kAllDigits);

// The result as a line of JSON: {"keyword":"SLN","value":1800}, {"keyword":"SLN","error":"..."}. A
// date is a string, the missing value null, an infinite one "inf" or "-inf".
std::string json_of(const SingleResult& result, std::span<const std::string> words);

}  // namespace cli
