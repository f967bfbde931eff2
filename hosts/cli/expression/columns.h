// The columns that expressions may name.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace cli {

// The columns that expressions may name: the table's, then the results of earlier expressions.
class Columns {
 public:
  explicit Columns(std::vector<std::string> names)
      : names_(std::move(names)), in_table_(names_.size()) {}

  // From here on rows are in groups, which have these columns of the table in common: others can
  // be named as lists alone.
  void group_by(std::vector<std::size_t> keys) {
    is_grouped_ = true;
    keys_ = std::move(keys);
  }
  void add_result(std::string name) { names_.push_back(std::move(name)); }

  [[nodiscard]] const std::vector<std::string>& names() const noexcept { return names_; }
  [[nodiscard]] bool is_grouped() const noexcept { return is_grouped_; }
  [[nodiscard]] bool is_in_table(std::size_t column) const noexcept { return column < in_table_; }
  [[nodiscard]] bool has_one_value(std::size_t column) const noexcept;

  // Throws std::invalid_argument when there is no such column, or more than one.
  [[nodiscard]] std::size_t find(std::string_view name) const;

 private:
  std::vector<std::string> names_;
  std::size_t in_table_;
  bool is_grouped_ = false;
  std::vector<std::size_t> keys_;
};

}  // namespace cli
