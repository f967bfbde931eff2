// Feeds lines to the command: its words, numbers and dates, and whole calls of its kernel. Digits
// must read back to the same value; nothing but an unclosed quotation may throw; a line of a result
// or of an error stays one line without control characters.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>

#include "call.h"

namespace {

void demand(bool holds) { holds ? void() : std::abort(); }

bool same(double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const vxkernel::Kernel kernel(VXFNC_MODULE);
  const std::string line(data, data + size);
  std::vector<std::string> words;
  try {
    words = cli::words_of(line);
  } catch (const std::invalid_argument&) {
    demand(line.find_first_of("'\"") != line.npos);
  }
  for (const std::string& word : words) {
    const vxkernel::Argument argument = cli::argument_of(word);
    const bool is_text = argument.kind == vxkernel::Argument::Kind::kText;
    const std::string digits = cli::digits_of(argument.number);
    demand(is_text ? argument.text == word
                   : same(cli::argument_of(digits).number, argument.number));
  }
  if (words.empty()) return 0;
  const cli::Outcome outcome = cli::evaluate(kernel, words);
  demand(json_of(outcome, words).starts_with("{\"keyword\":"));
  demand(!outcome.text.empty() &&
         std::ranges::none_of(outcome.text, [](unsigned char c) { return c < ' ' || c == 127; }));
  return 0;
}
