// A table for reading: aligned columns.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace cli {

// Takes lines of cells separated by tabs, of which the first has the names of the columns, and
// gives them back with columns of one width. The first rows set the widths: they are held back
// until there are enough of them, or until the end. Columns of numbers are aligned to the right.
class AlignedRows {
 public:
  // Lines that are complete. Returns what can be written.
  std::string add(std::string_view lines);
  // What is held back.
  std::string finish();

 private:
  static constexpr std::size_t kRowsForWidths = 1000;

  void add_line(std::string_view line, std::string& out);
  void append(std::string_view line, std::string& out) const;
  std::string release();

  struct Column {
    std::size_t width = 0;
    bool is_number = true;
  };
  std::vector<Column> columns_;
  std::vector<std::string> held_;
  bool has_widths_ = false;
};

}  // namespace cli
