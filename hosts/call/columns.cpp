#include "hosts/call/columns.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <new>

namespace host {
namespace {

constexpr double kMissing = std::numeric_limits<double>::quiet_NaN();

template <class T>
double read(const std::byte* at) noexcept {
  T value;
  std::memcpy(&value, at, sizeof value);
  return static_cast<double>(value);
}

// Whether all values of a column are days of the calendar. False if only a look at each value shows
// it.
bool has_only_days(const vxk_column& column, std::int64_t rows) noexcept {
  const auto is_within = [&]<class T>(T low, T high) {
    const T* const values = static_cast<const T*>(column.values) + column.offset;
    return std::all_of(values, values + rows,
                       [=](T value) { return value >= low && value <= high; });
  };
  if (column.type == VXK_DATE32 && column.stride == sizeof(std::int32_t)) {
    return is_within(static_cast<std::int32_t>(kFirstDay - kUnixEpoch),
                     static_cast<std::int32_t>(kLastDay - kUnixEpoch));
  }
  if (column.type == VXK_FLOAT64 && column.stride == sizeof(double)) {
    return is_within(kFirstDay, kLastDay);
  }
  return false;
}

// Whether a call would reject a value of an argument before it calls the module.
bool is_rejected(const catalog::Argument& parameter, bool is_date, double value) noexcept {
  if (parameter.is_date()) return is_beyond_calendar(value);
  if (std::isnan(value)) return false;
  return is_date ||
         (parameter.kind == catalog::ArgumentKind::kFrequency && !catalog::is_frequency(value));
}

// A copy of a column, in which values that would be rejected are missing. Empty if there are none.
std::vector<double> screened(const catalog::Argument& parameter, const ColumnArgument& argument,
                             std::int64_t rows) {
  const vxk_column& column = argument.column;
  const bool is_screened = parameter.is_date() || argument.is_date ||
                           parameter.kind == catalog::ArgumentKind::kFrequency;
  const bool has_days =
      parameter.is_date() && (argument.is_in_calendar || has_only_days(column, rows));
  if (!is_screened || has_days) return {};
  if (column.stride == 0) {
    if (!is_rejected(parameter, argument.is_date, number_at(column, 0))) return {};
    return std::vector<double>(static_cast<std::size_t>(rows), kMissing);
  }
  std::vector<double> copy;
  for (std::int64_t row = 0; row < rows; ++row) {
    const double value = number_at(column, row);
    const bool is_bad = is_rejected(parameter, argument.is_date, value);
    if (is_bad && copy.empty()) {
      for (std::int64_t before = 0; before < row; ++before)
        copy.push_back(number_at(column, before));
    }
    if (is_bad || !copy.empty()) copy.push_back(is_bad ? kMissing : value);
  }
  return copy;
}

}  // namespace

double number_at(const vxk_column& column, std::int64_t row) noexcept {
  const std::int64_t index = column.offset + (column.stride == 0 ? 0 : row);
  const bool is_present =
      column.validity == nullptr || (column.validity[index / 8] >> (index % 8) & 1) != 0;
  if (!is_present) return kMissing;
  const auto* const at = static_cast<const std::byte*>(column.values) + index * column.stride;
  switch (column.type) {
    case VXK_FLOAT64:
      return read<double>(at);
    case VXK_FLOAT32:
      return read<float>(at);
    case VXK_INT64:
      return read<std::int64_t>(at);
    case VXK_INT32:
      return read<std::int32_t>(at);
    default:
      return read<std::int32_t>(at) + kUnixEpoch;
  }
}

ColumnReport evaluate_columns(CheckedCall& call, std::span<const ColumnArgument> arguments,
                              std::int64_t rows, double* results, std::uint8_t* failures,
                              int threads, const volatile std::int32_t* cancel) {
  // The module must not see values that are rejected: it can take long for some of them.
  std::vector<vxk_column> columns;
  std::vector<std::vector<double>> copies;
  bool has_rejected = false;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    copies.push_back(screened(call.parameter(i + 1), arguments[i], rows));
    columns.push_back(copies.back().empty() ? arguments[i].column
                                            : vxkernel::column(copies.back().data()));
    has_rejected |= !copies.back().empty();
  }
  vxk_results to{};
  to.size = sizeof to;
  to.values = results;
  vxk_options options{};
  options.size = sizeof options;
  options.threads = threads;
  options.cancel = cancel;
  vxk_report report{};
  report.size = sizeof report;
  const int status = call.bound().run(columns, rows, to, &options, &report);
  if (status == VXK_CANCELLED) return {.is_cancelled = true};
  if (status != VXK_OK) throw std::bad_alloc();

  std::fill_n(failures, (rows + 7) / 8, std::uint8_t{0});
  ColumnReport all{.missing = report.missing + report.failed};
  const auto fail = [&](std::int64_t row) {
    set_failed(failures, row);
    results[row] = kMissing;
    ++all.failed;
  };
  // A row without a result failed if no value is missing.
  for (std::int64_t row = 0; row < rows && (report.failed > 0 || has_rejected); ++row) {
    if (!std::isnan(results[row])) continue;
    const bool is_missing = std::ranges::any_of(arguments, [row](const ColumnArgument& argument) {
      return std::isnan(number_at(argument.column, row));
    });
    if (is_missing) continue;
    fail(row);
    --all.missing;
  }
  for (std::int64_t row = 0; row < rows && call.keyword().description.searches; ++row) {
    if (call.keyword().is_lowest_rate(results[row])) fail(row);
  }
  return all;
}

std::vector<Value> values_at(const CheckedCall& call, std::span<const ColumnArgument> arguments,
                             std::int64_t row) {
  std::vector<Value> values;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const bool is_date = arguments[i].is_date || call.parameter(i + 1).is_date();
    values.push_back({.number = number_at(arguments[i].column, row),
                      .kind = is_date ? Value::Kind::kDate : Value::Kind::kNumber});
  }
  return values;
}

}  // namespace host
