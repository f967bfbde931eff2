// The arguments of a call, read from the vectors of a data chunk.
#pragma once

#include <string>
#include <vector>

#include "hosts/call/columns.h"
#include "hosts/duckdb/duckdb_api.h"

namespace finance_duckdb {

// One argument. Vectors whose values the kernel reads in place are not copied.
class Input {
 public:
  // Reads the rows of a vector from `first` to `last` for an argument of a kind.
  Input(duckdb_vector vector, std::int64_t first, std::int64_t last, catalog::ArgumentKind kind);

  // The argument for these rows. It is valid as long as the input.
  [[nodiscard]] host::ColumnArgument argument() const noexcept;

  // Whether a value has the wrong type, such as a text that is not a number. Its row fails, unless
  // it is missing a value.
  [[nodiscard]] bool is_wrong(std::int64_t row) const noexcept {
    return !wrong_.empty() && wrong_[static_cast<std::size_t>(row - first_)] != 0;
  }
  [[nodiscard]] bool has_wrong() const noexcept { return !wrong_.empty(); }

  // The value of a row for an error message; `shown` holds its text.
  [[nodiscard]] host::Value value(std::int64_t row, std::string& shown) const;

 private:
  void read(duckdb_logical_type type);
  void read_texts();
  void convert(auto&& number_of);
  void use(int type, std::size_t size) noexcept;

  std::int64_t first_;
  std::size_t rows_;
  catalog::ArgumentKind kind_;
  duckdb_type type_;
  void* data_;
  const std::uint64_t* validity_;  // null: all values are present
  host::ColumnArgument argument_;
  std::vector<double> numbers_;
  std::vector<char> wrong_;
  bool is_refused_ = false;  // the type cannot be an argument
};

}  // namespace finance_duckdb
