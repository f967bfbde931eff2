#include "hosts/cli/io/aligned.h"

#include <algorithm>

#include "hosts/call/value.h"

namespace cli {
namespace {

// Calls visit(cell, column) for each cell of a line.
void for_each_cell(std::string_view line, const auto& visit) {
  for (std::size_t column = 0;; ++column) {
    const std::size_t end = std::min(line.find('\t'), line.size());
    visit(line.substr(0, end), column);
    if (end == line.size()) return;
    line.remove_prefix(end + 1);
  }
}

std::size_t width_of(std::string_view text) {
  return static_cast<std::size_t>(
      std::ranges::count_if(text, [](char c) { return (c & 0xC0) != 0x80; }));
}

}  // namespace

std::string AlignedRows::add(std::string_view lines) {
  std::string out;
  while (!lines.empty()) {
    const std::size_t end = std::min(lines.find('\n'), lines.size());
    add_line(lines.substr(0, end), out);
    lines.remove_prefix(std::min(end + 1, lines.size()));
  }
  return out;
}

std::string AlignedRows::finish() { return has_widths_ ? "" : release(); }

void AlignedRows::add_line(std::string_view line, std::string& out) {
  if (has_widths_) return append(line, out);
  const bool is_header = held_.empty();
  for_each_cell(line, [&](std::string_view cell, std::size_t index) {
    if (index >= columns_.size()) columns_.emplace_back();
    Column& column = columns_[index];
    column.width = std::max(column.width, width_of(cell));
    if (!is_header && host::value_of_cell(cell).is_text()) column.is_number = false;
  });
  held_.emplace_back(line);
  if (held_.size() > kRowsForWidths) out += release();
}

void AlignedRows::append(std::string_view line, std::string& out) const {
  const std::size_t start = out.size();
  for_each_cell(line, [&](std::string_view cell, std::size_t index) {
    if (index > 0) out += "  ";
    const Column column = index < columns_.size() ? columns_[index] : Column{};
    const std::size_t width = width_of(cell);
    const std::string blanks(column.width - std::min(width, column.width), ' ');
    if (column.is_number) out += blanks;
    out += cell;
    if (!column.is_number) out += blanks;
  });
  while (out.size() > start && out.back() == ' ') out.pop_back();
  out += '\n';
}

std::string AlignedRows::release() {
  has_widths_ = true;
  std::string out;
  for (const std::string& line : held_) append(line, out);
  held_.clear();
  return out;
}

}  // namespace cli
