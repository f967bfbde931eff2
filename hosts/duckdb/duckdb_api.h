// The C interface of DuckDB, through the table of functions that it passes to the extension.
#pragma once

#include <duckdb_extension.h>

#include <cstddef>
#include <string_view>

DUCKDB_EXTENSION_EXTERN

namespace finance_duckdb {

// Owns a logical type.
class LogicalType {
 public:
  explicit LogicalType(duckdb_type type) : type_(duckdb_create_logical_type(type)) {}
  explicit LogicalType(duckdb_logical_type type) : type_(type) {}
  LogicalType(const LogicalType&) = delete;
  LogicalType& operator=(const LogicalType&) = delete;
  ~LogicalType() { duckdb_destroy_logical_type(&type_); }
  [[nodiscard]] duckdb_logical_type get() const noexcept { return type_; }

 private:
  duckdb_logical_type type_;
};

// A text of a vector. It is valid as long as the vector.
inline std::string_view text_of(duckdb_string_t& text) noexcept {
  return {duckdb_string_t_data(&text), duckdb_string_t_length(text)};
}

}  // namespace finance_duckdb
