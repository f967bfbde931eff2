// The functions whose arguments are lists, such as finance_xirr(amounts, dates).
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "hosts/call/list_call.h"
#include "hosts/call/module_loader.h"
#include "hosts/duckdb/functions.h"

namespace finance_duckdb {
namespace {

constexpr double kUnixEpoch = 3653.0;  // days from 1 January 1960 to 1 January 1970
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
    return is_date_ ? static_cast<const std::int32_t*>(data_)[i] + kUnixEpoch
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
struct Rows {
  std::vector<Argument> arguments;
  std::vector<std::int64_t> offsets{0};
  std::vector<std::string> errors;  // by row, if any row has one
};

Rows read(const catalog::Keyword& keyword, duckdb_data_chunk chunk, std::uint64_t rows) {
  Rows read;
  const std::size_t count = duckdb_data_chunk_get_column_count(chunk);
  bool is_dated = false;
  for (std::size_t i = 0; i < count; ++i) {
    duckdb_vector vector = duckdb_data_chunk_get_vector(chunk, i);
    const catalog::Argument& parameter = keyword.arguments()[i];
    if (!parameter.is_list()) {
      read.arguments.push_back({Values(vector)});
      continue;
    }
    is_dated |= parameter.is_date();
    read.arguments.push_back({Values(duckdb_list_vector_get_child(vector)),
                              static_cast<const duckdb_list_entry*>(duckdb_vector_get_data(vector)),
                              duckdb_vector_get_validity(vector)});
  }
  // A rate needs two flows, and any other result needs one.
  const std::uint64_t least = keyword.result == catalog::ResultKind::kRate ? 2 : 1;
  const Argument& amounts = *std::ranges::find_if(
      read.arguments, [](const Argument& argument) { return argument.lists != nullptr; });
  for (std::uint64_t row = 0; row < rows; ++row) {
    bool is_null = false;
    for (const Argument& argument : read.arguments) {
      if (argument.lists == nullptr) {
        is_null |= std::isnan(argument.values[row]);
      } else {
        is_null |= !argument.has_list(row);
      }
    }
    const duckdb_list_entry& flows = amounts.lists[row];
    std::string error;
    std::uint64_t present = 0;
    for (std::uint64_t i = 0; i < flows.length && !is_null; ++i) {
      present += std::isnan(amounts.values[flows.offset + i]) ? 0 : 1;
    }
    // In lists with dates, flows without an amount are left out. In other lists the order counts.
    is_null = is_null || present < least || (!is_dated && present < flows.length);
    for (std::size_t i = 0; i < count && !is_null; ++i) {
      const Argument& argument = read.arguments[i];
      if (argument.lists == nullptr || argument.lists[row].length == flows.length) continue;
      error =
          fmt::format("argument {} ({}) has the length {}: must have the length of the amounts, {}",
                      i + 1, keyword.arguments()[i].name, argument.lists[row].length, flows.length);
    }
    const bool is_evaluated = !is_null && error.empty();
    if (!error.empty()) {
      read.errors.resize(rows);
      read.errors[row] = std::move(error);
    }
    for (Argument& argument : read.arguments) {
      if (argument.lists == nullptr) {
        argument.gathered.push_back(argument.values[row]);
        continue;
      }
      const duckdb_list_entry& list = argument.lists[row];
      for (std::uint64_t i = 0; i < list.length && is_evaluated; ++i) {
        argument.gathered.push_back(argument.values[list.offset + i]);
      }
    }
    read.offsets.push_back(read.offsets.back() +
                           (is_evaluated ? static_cast<std::int64_t>(flows.length) : 0));
  }
  return read;
}

}  // namespace

void evaluate_lists(const Function& function, duckdb_data_chunk chunk, duckdb_vector result) {
  const catalog::Keyword& keyword = *function.keyword;
  const std::uint64_t rows = duckdb_data_chunk_get_size(chunk);
  if (rows == 0) return;
  const Rows read_rows = read(keyword, chunk, rows);
  std::vector<host::ListArgument> arguments;
  for (std::size_t i = 0; i < read_rows.arguments.size(); ++i) {
    const Argument& argument = read_rows.arguments[i];
    arguments.push_back({.values = argument.gathered.data(),
                         .is_list = argument.lists != nullptr,
                         .is_date = keyword.arguments()[i].is_date()});
  }
  host::ListCall call(host::loaded_module(), keyword, arguments);
  auto* const values = static_cast<double*>(duckdb_vector_get_data(result));
  call.run(read_rows.offsets, std::span(values, rows));
  std::uint64_t* validity = nullptr;
  for (std::uint64_t row = 0; row < rows; ++row) {
    if (!std::isnan(values[row])) continue;
    const std::string error = read_rows.errors.empty() ? "" : read_rows.errors[row];
    const bool is_failed = !error.empty() || read_rows.offsets[row] != read_rows.offsets[row + 1];
    if (is_failed && function.on_error == OnError::kRaise) {
      throw RowError(
          fmt::format("finance({}): {}", keyword.word,
                      error.empty() ? call.error_message(read_rows.offsets, row) : error));
    }
    if (validity == nullptr) {
      duckdb_vector_ensure_validity_writable(result);
      validity = duckdb_vector_get_validity(result);
    }
    duckdb_validity_set_row_validity(validity, row, false);
  }
}

}  // namespace finance_duckdb
