// The functions whose arguments are lists, such as finance_xirr(amounts, dates).
#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "hosts/call/columns.h"
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
};

// The lists of a chunk. If a list of a row is NULL, all its lists are empty, and its result is
// NULL.
class Rows {
 public:
  Rows(const catalog::Keyword& keyword, duckdb_data_chunk chunk);

  [[nodiscard]] const std::vector<Argument>& arguments() const noexcept { return arguments_; }
  [[nodiscard]] const std::vector<std::int64_t>& offsets() const noexcept { return offsets_; }
  // The error of a row whose lists have different lengths.
  [[nodiscard]] std::optional<host::ListError> length_error(std::uint64_t row) const;

 private:
  [[nodiscard]] std::uint64_t length(std::uint64_t row) const noexcept {
    return arguments_[amounts_].lists[row].length;
  }
  void append(std::uint64_t row);

  std::vector<Argument> arguments_;
  std::size_t amounts_ = 0;  // the index of the list of amounts
  std::vector<std::int64_t> offsets_{0};
};

Rows::Rows(const catalog::Keyword& keyword, duckdb_data_chunk chunk) {
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
  for (std::uint64_t row = 0; row < duckdb_data_chunk_get_size(chunk); ++row) append(row);
}

std::optional<host::ListError> Rows::length_error(std::uint64_t row) const {
  for (std::size_t i = 0; i < arguments_.size(); ++i) {
    const duckdb_list_entry* const lists = arguments_[i].lists;
    if (lists == nullptr || lists[row].length == length(row)) continue;
    return host::ListCall::length_error(i + 1, lists[row].length, length(row));
  }
  return {};
}

// Appends the values of a row. A list that does not have the length of the amounts becomes a list
// of NULL, so that the row fails without a search.
void Rows::append(std::uint64_t row) {
  const auto has_list = [row](const Argument& each) { return has_bit(each.validity, row); };
  const std::uint64_t flows = std::ranges::all_of(arguments_, has_list) ? length(row) : 0;
  for (Argument& argument : arguments_) {
    if (argument.lists == nullptr) {
      argument.gathered.push_back(argument.values[row]);
      continue;
    }
    const duckdb_list_entry& list = argument.lists[row];
    for (std::uint64_t i = 0; i < flows; ++i) {
      argument.gathered.push_back(list.length == flows ? argument.values[list.offset + i]
                                                       : kMissing);
    }
  }
  offsets_.push_back(offsets_.back() + static_cast<std::int64_t>(flows));
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
  std::vector<std::uint8_t> failures((count + 7) / 8);
  call.run(rows.offsets(), std::span(values, count), failures.data());
  std::uint64_t* validity = nullptr;
  for (std::uint64_t row = 0; row < count; ++row) {
    if (!std::isnan(values[row])) continue;
    const bool is_failed = host::has_failed(failures.data(), static_cast<std::int64_t>(row));
    if (is_failed && function.on_error == OnError::kRaise) {
      auto error = rows.length_error(row);
      if (!error) error = call.error(rows.offsets(), row);
      throw RowError(host::named(keyword, error->message(keyword)));
    }
    if (validity == nullptr) {
      duckdb_vector_ensure_validity_writable(result);
      validity = duckdb_vector_get_validity(result);
    }
    duckdb_validity_set_row_validity(validity, row, false);
  }
}

}  // namespace finance_duckdb
