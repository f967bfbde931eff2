// One call of the host function FINANCE, given as words.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "hosts/call/checked_call.h"

namespace cli {

using namespace host;  // values and checked calls

// Splits a line into words at blanks. A word in single or double quotes may have blanks. A word
// that begins with # starts a comment. Throws std::invalid_argument when a quote is not closed.
std::vector<std::string> words_of(std::string_view line);

struct SingleResult {
  bool ok;
  std::string text;  // the result, or the error message
  bool is_number;    // false for a date and for a missing value
};

// Evaluates a keyword and its arguments, given as words.
SingleResult evaluate(const vxkernel::Kernel& kernel, std::span<const std::string> words,
                      int decimals = kAllDigits);

// The result as a line of JSON: {"keyword":"SLN","value":1800}, {"keyword":"SLN","error":"..."}. A
// date is a string, and a missing value is null.
std::string json_of(const SingleResult& result, std::span<const std::string> words);

}  // namespace cli
