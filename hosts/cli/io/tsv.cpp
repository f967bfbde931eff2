#include "hosts/cli/io/tsv.h"

namespace cli {
namespace {

// The characters after a backslash and their meanings. Any other character means itself.
constexpr std::string_view kEscapes = "tnrbf0";
constexpr std::string_view kEscaped("\t\n\r\b\f\0", 6);

}  // namespace

void split_line(std::string_view line, Escape escape, std::vector<std::string>& cells) {
  std::size_t count = 0;
  for (std::size_t at = 0;;) {
    const std::size_t end = std::min(line.find('\t', at), line.size());
    const std::string_view raw = line.substr(at, end - at);
    if (count == cells.size()) cells.emplace_back();
    std::string& cell = cells[count++];
    cell.clear();
    if (escape == Escape::kNone || raw == kMissingCell || raw.find('\\') == raw.npos) {
      cell = raw;
    } else {
      for (std::size_t i = 0; i < raw.size(); ++i) {
        if (raw[i] != '\\' || i + 1 == raw.size()) {
          cell += raw[i];
          continue;
        }
        ++i;
        const std::size_t known = kEscapes.find(raw[i]);
        cell += known == kEscapes.npos ? raw[i] : kEscaped[known];
      }
    }
    if (end == line.size()) break;
    at = end + 1;
  }
  cells.resize(count);
}

}  // namespace cli
