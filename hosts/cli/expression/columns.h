// The columns that expressions can use.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace cli {

// The columns of the table, then the results of earlier expressions.
class Columns {
 public:
  explicit Columns(std::vector<std::string> names)
      : names_(std::move(names)), in_table_(names_.size()) {}

  // Groups the rows by these columns of the table. The other columns of the table can then only be
  // used as lists.
  void group_by(std::vector<std::size_t> keys) {
    is_grouped_ = true;
    keys_ = std::move(keys);
  }
  void add_result(std::string name) { names_.push_back(std::move(name)); }

  [[nodiscard]] const std::vector<std::string>& names() const noexcept { return names_; }
  [[nodiscard]] bool is_grouped() const noexcept { return is_grouped_; }
  [[nodiscard]] bool is_in_table(std::size_t column) const noexcept { return column < in_table_; }
  [[nodiscard]] bool has_one_value(std::size_t column) const noexcept;

  // Throws std::invalid_argument when no column, or more than one, has the name.
  [[nodiscard]] std::size_t find(std::string_view name) const;

 private:
  std::vector<std::string> names_;
  std::size_t in_table_;
  bool is_grouped_ = false;
  std::vector<std::size_t> keys_;
};

}  // namespace cli
