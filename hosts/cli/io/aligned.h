// A table for reading: aligned columns.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace cli {

// Aligns the columns of lines whose cells are separated by tabs. The first line has the names of
// the columns. The first rows set the widths, so they are kept until there are enough rows, or
// until the end. Columns of numbers are aligned to the right.
class AlignedRows {
 public:
  // Lines that are complete. Returns what can be written.
  std::string add(std::string_view lines);
  // Returns the lines that were kept.
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
