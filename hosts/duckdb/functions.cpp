// finance, finance_try, finance_error and the functions of one keyword.
#include "hosts/duckdb/functions.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <string>
#include <vector>

#include "hosts/call/module_loader.h"
#include "hosts/duckdb/input.h"
#include "hosts/sql/sql_text.h"

namespace finance_duckdb {
namespace {

using host::CheckedCall;
using host::named;

// The calls of a thread, which are prepared once.
CheckedCall& call_of(const catalog::Keyword& keyword, std::size_t count) {
  thread_local std::map<std::pair<const catalog::Keyword*, std::size_t>, CheckedCall> calls;
  const auto found = calls.find({&keyword, count});
  if (found != calls.end()) return found->second;
  constexpr std::size_t kMostKept = 500;
  if (calls.size() >= kMostKept) calls.clear();
  return calls.try_emplace({&keyword, count}, host::loaded_module(), keyword, count).first->second;
}

// The vector of the results.
class Output {
 public:
  Output(duckdb_vector vector, OnError on_error, bool is_date)
      : vector_(vector),
        data_(duckdb_vector_get_data(vector)),
        on_error_(on_error),
        is_date_(is_date) {}

  [[nodiscard]] bool has_numbers() const noexcept {
    return !is_date_ && on_error_ != OnError::kMessage;
  }
  // Where the results of rows from `first` on are stored, if they are numbers.
  [[nodiscard]] double* numbers(std::int64_t first) const noexcept {
    return static_cast<double*>(data_) + first;
  }

  void set(std::int64_t row, double value) {
    if (std::isnan(value) || on_error_ == OnError::kMessage) return set_null(row);
    const auto at = static_cast<std::size_t>(row);
    if (is_date_) {
      static_cast<std::int32_t*>(data_)[at] = static_cast<std::int32_t>(value) - host::kUnixEpoch;
    } else {
      static_cast<double*>(data_)[at] = value;
    }
  }
  // Throws RowError if errors are raised. The message is made only if it is used.
  void fail(std::int64_t row, auto&& make_message) {
    if (on_error_ == OnError::kNull) return set_null(row);
    const std::string message = make_message();
    if (on_error_ == OnError::kRaise) throw RowError(message);
    duckdb_vector_assign_string_element_len(vector_, static_cast<idx_t>(row), message.data(),
                                            message.size());
  }

 private:
  void set_null(std::int64_t row) {
    if (validity_ == nullptr) {
      duckdb_vector_ensure_validity_writable(vector_);
      validity_ = duckdb_vector_get_validity(vector_);
    }
    duckdb_validity_set_row_validity(validity_, static_cast<idx_t>(row), false);
  }

  duckdb_vector vector_;
  void* data_;
  std::uint64_t* validity_ = nullptr;
  OnError on_error_;
  bool is_date_;
};

std::string message_of(CheckedCall& call, const std::vector<Input>& inputs,
                       std::span<const host::ColumnArgument> arguments, std::int64_t row,
                       std::int64_t first) {
  const std::vector<host::Value> numbers = host::values_at(call, arguments, row - first);
  host::CallResult result = call.run(numbers);
  std::vector<std::string> shown(inputs.size());
  std::vector<host::Value> values;
  for (std::size_t i = 0; i < inputs.size(); ++i) values.push_back(inputs[i].value(row, shown[i]));
  const auto wrong =
      std::ranges::find_if(inputs, [row](const Input& in) { return in.is_wrong(row); });
  if (wrong != inputs.end()) {
    const auto position = static_cast<std::size_t>(wrong - inputs.begin()) + 1;
    result = {host::Status::kWrongType, position, {}};
  }
  return named(call.keyword(), call.error_message(result, values));
}

// Evaluates rows of one keyword.
void evaluate(const catalog::Keyword& keyword, duckdb_data_chunk chunk, std::size_t first_argument,
              std::int64_t first, std::int64_t last, Output& output) {
  const std::size_t count = duckdb_data_chunk_get_column_count(chunk) - first_argument;
  if (!keyword.accepts(count)) {
    for (std::int64_t row = first; row < last; ++row) {
      output.fail(row, [&] { return named(keyword, *CheckedCall::arity_error(keyword, count)); });
    }
    return;
  }
  CheckedCall& call = call_of(keyword, count);
  std::vector<Input> inputs;
  std::vector<host::ColumnArgument> arguments;
  inputs.reserve(count);
  bool has_wrong = false;
  for (std::size_t i = 0; i < count; ++i) {
    inputs.emplace_back(duckdb_data_chunk_get_vector(chunk, first_argument + i), first, last,
                        call.parameter(i + 1).kind);
    arguments.push_back(inputs.back().argument());
    has_wrong |= inputs.back().has_wrong();
  }
  const auto rows = static_cast<std::size_t>(last - first);
  std::vector<std::uint8_t> failures((rows + 7) / 8);
  std::vector<double> own(output.has_numbers() ? 0 : rows);
  double* const results = output.has_numbers() ? output.numbers(first) : own.data();
  const host::ColumnReport report =
      host::evaluate_columns(call, arguments, last - first, results, failures.data());
  if (own.empty() && report.failed == 0 && report.missing == 0 && !has_wrong) return;
  for (std::size_t i = 0; i < rows; ++i) {
    const std::int64_t row = first + static_cast<std::int64_t>(i);
    bool is_failed = host::has_failed(failures.data(), row - first);
    if (has_wrong && !is_failed && !std::isnan(results[i])) {
      is_failed = std::ranges::any_of(inputs, [row](const Input& in) { return in.is_wrong(row); });
    }
    if (is_failed) {
      output.fail(row, [&] { return message_of(call, inputs, arguments, row, first); });
    } else {
      output.set(row, results[i]);
    }
  }
}

// Evaluates rows whose keyword is the first argument. Neighbouring rows with the same keyword are
// evaluated together.
void evaluate_any(duckdb_data_chunk chunk, std::int64_t rows, Output& output) {
  duckdb_vector vector = duckdb_data_chunk_get_vector(chunk, 0);
  auto* const words = static_cast<duckdb_string_t*>(duckdb_vector_get_data(vector));
  std::uint64_t* const validity = duckdb_vector_get_validity(vector);
  const auto is_null = [&](std::int64_t row) {
    return validity != nullptr && !duckdb_validity_row_is_valid(validity, static_cast<idx_t>(row));
  };
  for (std::int64_t first = 0; first < rows;) {
    if (is_null(first)) {
      output.set(first++, std::nan(""));
      continue;
    }
    const std::string_view word = text_of(words[first]);
    std::int64_t last = first + 1;
    while (last < rows && !is_null(last) && text_of(words[last]) == word) ++last;
    const catalog::Keyword* const keyword = catalog::find(word);
    if (keyword != nullptr) {
      evaluate(*keyword, chunk, 1, first, last, output);
    } else {
      for (std::int64_t row = first; row < last; ++row) {
        output.fail(row, [&] { return "finance: " + host::unknown_keyword(word); });
      }
    }
    first = last;
  }
}

}  // namespace

void evaluate(const Function& function, duckdb_data_chunk chunk, duckdb_vector result) {
  const auto rows = static_cast<std::int64_t>(duckdb_data_chunk_get_size(chunk));
  const catalog::Keyword* const keyword = function.keyword;
  const bool is_date = keyword != nullptr && keyword->result == catalog::ResultKind::kDate;
  Output output(result, function.on_error, is_date);
  if (keyword == nullptr) return evaluate_any(chunk, rows, output);
  evaluate(*keyword, chunk, 0, 0, rows, output);
}

}  // namespace finance_duckdb
