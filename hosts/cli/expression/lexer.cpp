#include "hosts/cli/expression/lexer.h"

#include <algorithm>
#include <array>

#include "hosts/call/value.h"

namespace cli {
namespace {

// Every operator needs a stack frame when the expression is evaluated.
constexpr std::size_t kMostTokens = 5000;

bool is_blank(char c) noexcept { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

// The length of YYYY-M-D with one or two digits for month and day; 0 for any other text.
std::size_t like_a_date(std::string_view text) noexcept {
  std::size_t at = 0;
  const auto digits = [&](std::size_t most) {
    std::size_t count = 0;
    while (count < most && at < text.size() && is_digit(text[at])) ++at, ++count;
    return count;
  };
  const auto dash = [&] { return at < text.size() && text[at] == '-' ? ++at, true : false; };
  constexpr std::size_t kYear = 4;
  return digits(kYear) == kYear && dash() && digits(2) > 0 && dash() && digits(2) > 0 ? at : 0;
}

bool is_double_symbol(std::string_view text) noexcept {
  constexpr std::array<std::string_view, 5> kSymbols = {"..", "[]", "<=", ">=", "!="};
  return std::ranges::find(kSymbols, text) != kSymbols.end();
}

}  // namespace

std::vector<Token> tokens_of(std::string_view text) {
  using enum Token::Kind;
  std::vector<Token> tokens;
  const auto add = [&](Token::Kind kind, std::size_t at, std::size_t length) {
    tokens.push_back({kind, text.substr(at, length), at, length});
  };
  const auto run = [text](std::size_t at, auto belongs) {
    const auto* const end = std::find_if_not(text.begin() + at, text.end(), belongs);
    return static_cast<std::size_t>(end - text.begin()) - at;
  };
  const auto number = [&](std::size_t at) {  // with the sign of an exponent
    std::size_t end = at;
    while (end < text.size() && (is_digit(text[end]) || is_letter(text[end]) || text[end] == '.' ||
                                 ((text[end] == '+' || text[end] == '-') && end > at &&
                                  (text[end - 1] == 'e' || text[end - 1] == 'E')))) {
      if (text.substr(end).starts_with("..")) break;
      ++end;
    }
    return end - at;
  };
  constexpr std::size_t kDateLength = 10;
  for (std::size_t at = 0; at < text.size(); at += tokens.back().length) {
    at += run(at, is_blank);
    if (at == text.size()) break;
    const char c = text[at];
    const bool begins_number =
        is_digit(c) || (c == '.' && at + 1 < text.size() && is_digit(text[at + 1]));
    if (c == '\'' || c == '"') {
      const std::size_t end = text.find(c, at + 1);
      if (end == text.npos) throw SyntaxError("the quote is not closed", at, text.size() - at);
      add(c == '"' ? kQuotedName : kText, at, end + 1 - at);
      tokens.back().text = text.substr(at + 1, end - at - 1);
    } else if (host::value_of(text.substr(at, kDateLength)).is_date()) {
      add(kValue, at, kDateLength);
    } else if (const std::size_t length = like_a_date(text.substr(at)); length > 0) {
      throw SyntaxError("invalid date: write YYYY-MM-DD, or put spaces around - to subtract", at,
                        length);
    } else if (begins_number) {
      add(kValue, at, number(at));
    } else if (is_letter(c)) {
      add(kName, at, run(at, [](char x) { return is_letter(x) || is_digit(x); }));
    } else if (is_double_symbol(text.substr(at, 2))) {
      add(kSymbol, at, 2);
    } else if (c == '.') {
      add(kValue, at, 1);
    } else if (std::string_view("+-*/^(),=<>").find(c) != std::string_view::npos) {
      add(kSymbol, at, 1);
    } else {
      const bool is_printable = c > ' ' && c != 127;
      throw SyntaxError(is_printable ? std::string("unexpected character '") + c + '\''
                                     : "unexpected control character",
                        at, 1);
    }
  }
  if (tokens.size() > kMostTokens)
    throw SyntaxError("the expression is too long: it may have 5000 words and signs", 0, 1);
  add(kEnd, text.size(), 0);
  return tokens;
}

}  // namespace cli
