#include "hosts/cli/io/diagnostics.h"

#include <algorithm>

namespace cli {

std::string printable(std::string_view message) {
  std::string text(message);
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    if ((c < ' ' && c != '\n') || c == 127) text[i] = '?';
    // U+0080 to U+009F are control characters, too.
    const bool is_pair = c == 0xC2 && i + 1 < text.size();
    if (is_pair && static_cast<unsigned char>(text[i + 1]) < 0xA0) text[i] = text[i + 1] = '?';
  }
  return text;
}

}  // namespace cli
