// The tokens of an expression.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace cli {

// A syntax error with its place in the text.
struct SyntaxError : std::runtime_error {
  SyntaxError(const std::string& message, std::size_t first, std::size_t size)
      : std::runtime_error(message), at(first), length(size) {}
  std::size_t at;
  std::size_t length;
};

struct Token {
  enum class Kind : std::uint8_t { kEnd, kValue, kText, kName, kQuotedName, kSymbol };
  Kind kind;
  std::string_view text;  // without quotes
  std::size_t at;
  std::size_t length;

  [[nodiscard]] bool is(std::string_view symbol) const noexcept {
    return kind == Kind::kSymbol && text == symbol;
  }
};

// Every byte beyond ASCII is a letter.
inline bool is_letter(char c) noexcept {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || (c & 0x80) != 0;
}
inline bool is_digit(char c) noexcept { return c >= '0' && c <= '9'; }

// The last token is kEnd. The tokens refer to the text. Throws SyntaxError.
std::vector<Token> tokens_of(std::string_view text);

}  // namespace cli
