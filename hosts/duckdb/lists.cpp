// The functions whose arguments are lists, such as finance_xirr(amounts, dates).
#include <fmt/format.h>

#include <cmath>
#include <limits>
#include <span>
#include <string>
#include <vector>

#include "hosts/call/list_call.h"
#include "hosts/call/module_loader.h"
#include "hosts/duckdb/functions.h"
#include "hosts/sql/sql_text.h"

namespace finance_duckdb {
namespace {

constexpr double kMissing = std::numeric_limits<double>::quiet_NaN();

bool has_bit(const std::uint64_t* bits, std::uint64_t index) noexcept {
  return bits == nullptr || (bits[index / 64] >> (index % 64) & 1) != 0;
}

// A vector of numbers, dates or lists of them. NULL becomes NaN.
class Values {
 public:
  explicit Values(duckdb_vector vector)
      : data_(duckdb_vector_get_data(vector)), validity_(duckdb_vector_get_validity(vector)) {
    const LogicalType type(duckdb_vector_get_column_type(vector));
    is_date_ = duckdb_get_type_id(type.get()) == DUCKDB_TYPE_DATE;
  }
  [[nodiscard]] double operator[](std::uint64_t i) const noexcept {
    if (!has_bit(validity_, i)) return kMissing;
    return is_date_ ? static_cast<const std::int32_t*>(data_)[i] + host::kUnixEpoch
                    : static_cast<const double*>(data_)[i];
  }

 private:
  const void* data_;
  const std::uint64_t* validity_;
  bool is_date_ = false;
};

// One argument: a list for each row, or a number for each row.
struct Argument {
  Values values;
  const duckdb_list_entry* lists = nullptr;  // null: not a list
  const std::uint64_t* validity = nullptr;   // of the lists
  std::vector<double> gathered{};            // the values of all rows, one list after the other

  [[nodiscard]] bool has_list(std::uint64_t row) const noexcept { return has_bit(validity, row); }
};

// The lists of a chunk for the kernel. A row that is NULL, and a row whose lists have different
// lengths, has empty lists there.
class Rows {
 public:
  Rows(const catalog::Keyword& keyword, duckdb_data_chunk chunk);

  [[nodiscard]] const std::vector<Argument>& arguments() const noexcept { return arguments_; }
  [[nodiscard]] const std::vector<std::int64_t>& offsets() const noexcept { return offsets_; }
  [[nodiscard]] bool is_evaluated(std::uint64_t row) const noexcept {
    return offsets_[row] != offsets_[row + 1];
  }
  // The error of a row that is not evaluated; empty if the row is NULL.
  [[nodiscard]] std::string error(std::uint64_t row) const {
    return errors_.empty() ? std::string() : errors_[row];
  }

 private:
  [[nodiscard]] const duckdb_list_entry& flows(std::uint64_t row) const noexcept {
    return arguments_[amounts_].lists[row];
  }
  [[nodiscard]] bool is_null(std::uint64_t row) const noexcept;
  [[nodiscard]] std::string length_error(std::uint64_t row) const;
  void append(std::uint64_t row, bool has_flows);

  const catalog::Keyword& keyword_;
  std::vector<Argument> arguments_;
  std::size_t amounts_ = 0;  // the index of the list of amounts
  std::vector<std::int64_t> offsets_{0};
  std::vector<std::string> errors_;  // by row, if any row has one
};

Rows::Rows(const catalog::Keyword& keyword, duckdb_data_chunk chunk) : keyword_(keyword) {
  for (idx_t i = 0; i < duckdb_data_chunk_get_column_count(chunk); ++i) {
    duckdb_vector vector = duckdb_data_chunk_get_vector(chunk, i);
    const catalog::Argument& parameter = keyword.arguments()[i];
    if (!parameter.is_list()) {
      arguments_.push_back({Values(vector)});
      continue;
    }
    arguments_.push_back({Values(duckdb_list_vector_get_child(vector)),
                          static_cast<const duckdb_list_entry*>(duckdb_vector_get_data(vector)),
                          duckdb_vector_get_validity(vector)});
  }
  while (arguments_[amounts_].lists == nullptr) ++amounts_;
  const std::uint64_t rows = duckdb_data_chunk_get_size(chunk);
  for (std::uint64_t row = 0; row < rows; ++row) {
    const bool is_missing = is_null(row);
    std::string error = is_missing ? std::string() : length_error(row);
    append(row, !is_missing && error.empty());
    if (error.empty()) continue;
    errors_.resize(rows);
    errors_[row] = std::move(error);
  }
}

// In lists with dates, flows without an amount are left out. In other lists the order counts, so a
// NULL makes the result NULL.
bool Rows::is_null(std::uint64_t row) const noexcept {
  for (const Argument& argument : arguments_) {
    const bool is_present =
        argument.lists == nullptr ? !std::isnan(argument.values[row]) : argument.has_list(row);
    if (!is_present) return true;
  }
  const duckdb_list_entry& list = flows(row);
  std::uint64_t present = 0;
  for (std::uint64_t i = 0; i < list.length; ++i) {
    present += std::isnan(arguments_[amounts_].values[list.offset + i]) ? 0 : 1;
  }
  return present < host::min_flows(keyword_) ||
         (!keyword_.has_dated_lists() && present < list.length);
}

std::string Rows::length_error(std::uint64_t row) const {
  const std::uint64_t length = flows(row).length;
  for (std::size_t i = 0; i < arguments_.size(); ++i) {
    const Argument& argument = arguments_[i];
    if (argument.lists == nullptr || argument.lists[row].length == length) continue;
    return fmt::format(
        "argument {} ({}) has the length {}: must have the length of the amounts, {}", i + 1,
        keyword_.arguments()[i].name, argument.lists[row].length, length);
  }
  return {};
}

// Appends the values of a row to the lists for the kernel.
void Rows::append(std::uint64_t row, bool has_flows) {
  for (Argument& argument : arguments_) {
    if (argument.lists == nullptr) argument.gathered.push_back(argument.values[row]);
    if (argument.lists == nullptr || !has_flows) continue;
    const duckdb_list_entry& list = argument.lists[row];
    for (std::uint64_t i = 0; i < list.length; ++i) {
      argument.gathered.push_back(argument.values[list.offset + i]);
    }
  }
  offsets_.push_back(offsets_.back() +
                     (has_flows ? static_cast<std::int64_t>(flows(row).length) : 0));
}

}  // namespace

void evaluate_lists(const Function& function, duckdb_data_chunk chunk, duckdb_vector result) {
  const catalog::Keyword& keyword = *function.keyword;
  const std::uint64_t count = duckdb_data_chunk_get_size(chunk);
  if (count == 0) return;
  const Rows rows(keyword, chunk);
  std::vector<host::ListArgument> arguments;
  for (std::size_t i = 0; i < rows.arguments().size(); ++i) {
    const Argument& argument = rows.arguments()[i];
    arguments.push_back({.values = argument.gathered.data(),
                         .is_list = argument.lists != nullptr,
                         .is_date = keyword.arguments()[i].is_date()});
  }
  host::ListCall call(host::loaded_module(), keyword, arguments);
  auto* const values = static_cast<double*>(duckdb_vector_get_data(result));
  call.run(rows.offsets(), std::span(values, count));
  std::uint64_t* validity = nullptr;
  for (std::uint64_t row = 0; row < count; ++row) {
    if (!std::isnan(values[row])) continue;
    std::string error = rows.error(row);
    const bool is_failed = !error.empty() || rows.is_evaluated(row);
    if (is_failed && function.on_error == OnError::kRaise) {
      if (error.empty()) error = call.error_message(rows.offsets(), row);
      throw RowError(host::named(keyword, error));
    }
    if (validity == nullptr) {
      duckdb_vector_ensure_validity_writable(result);
      validity = duckdb_vector_get_validity(result);
    }
    duckdb_validity_set_row_validity(validity, row, false);
  }
}

}  // namespace finance_duckdb
