#include "hosts/duckdb/input.h"

#include <cmath>
#include <limits>

#include "catalog/catalog.h"
#include "hosts/sql/sql_text.h"

namespace finance_duckdb {
namespace {

constexpr double kMissing = std::numeric_limits<double>::quiet_NaN();
constexpr double kNoBasis = 6.0;  // a number that the module rejects as a basis

__extension__ using Int128 = __int128;
__extension__ using UInt128 = unsigned __int128;

// The whole number that a value stores.
Int128 whole_of(const duckdb_hugeint& number) noexcept {
  return static_cast<Int128>(static_cast<UInt128>(number.upper) << 64U | number.lower);
}
UInt128 whole_of(const duckdb_uhugeint& number) noexcept {
  return static_cast<UInt128>(number.upper) << 64U | number.lower;
}
template <class T>
T whole_of(const T& number) noexcept {
  return number;
}

// The number of a DECIMAL, as DuckDB casts it to DOUBLE: a number of units that a double cannot
// hold is divided in two parts.
double decimal_of(Int128 units, Int128 units_per_one) noexcept {
  constexpr Int128 kTwoTo53 = Int128{1} << 53U;
  const auto divisor = static_cast<double>(units_per_one);
  if (units >= -kTwoTo53 && units <= kTwoTo53) return static_cast<double>(units) / divisor;
  return static_cast<double>(units / units_per_one) +
         static_cast<double>(units % units_per_one) / divisor;
}

std::string_view name_of(duckdb_type type) noexcept {
  switch (type) {
    case DUCKDB_TYPE_BOOLEAN:
      return "of type BOOLEAN";
    case DUCKDB_TYPE_TIMESTAMP_TZ:
      return "of type TIMESTAMP WITH TIME ZONE";
    case DUCKDB_TYPE_LIST:
      return "a list";
    case DUCKDB_TYPE_ENUM:
      return "of an ENUM type";
    default:
      return "of another type";
  }
}

bool has_bit(const std::uint64_t* bits, std::int64_t row) noexcept {
  return bits == nullptr || (bits[row / 64] >> (row % 64) & 1) != 0;
}

}  // namespace

// Converts the present values; a missing value becomes NaN.
void Input::convert(auto&& number_of) {
  numbers_.reserve(rows_);
  const std::int64_t last = first_ + static_cast<std::int64_t>(rows_);
  for (std::int64_t row = first_; row < last; ++row) {
    numbers_.push_back(has_bit(validity_, row) ? number_of(row) : kMissing);
  }
  argument_.column.type = VXK_FLOAT64;
  argument_.column.stride = sizeof(double);
}

// Lets the kernel read the values in place.
void Input::use(int type, std::size_t size) noexcept {
  argument_.column.type = type;
  argument_.column.stride = static_cast<std::int64_t>(size);
  argument_.column.values = data_;
  argument_.column.offset = first_;
  argument_.column.validity = reinterpret_cast<const std::uint8_t*>(validity_);
}

void Input::read_texts() {
  auto* const texts = static_cast<duckdb_string_t*>(data_);
  convert([&](std::int64_t row) -> double {
    const std::string_view text = text_of(texts[row]);
    const host::Value value = host::value_of_sql_text(text, kind_);
    if (!value.is_text()) return value.number;
    if (kind_ == catalog::ArgumentKind::kBasis) return catalog::basis_of(text).value_or(kNoBasis);
    wrong_.resize(rows_);
    wrong_[static_cast<std::size_t>(row - first_)] = 1;
    return 0.0;
  });
}

Input::Input(duckdb_vector vector, std::int64_t first, std::int64_t last,
             catalog::ArgumentKind kind)
    : first_(first),
      rows_(static_cast<std::size_t>(last - first)),
      kind_(kind),
      data_(duckdb_vector_get_data(vector)),
      validity_(duckdb_vector_get_validity(vector)) {
  const LogicalType type(duckdb_vector_get_column_type(vector));
  type_ = duckdb_get_type_id(type.get());
  argument_.column.size = sizeof argument_.column;
  read(type.get());
  // A number is not a date, except a DOUBLE, which finance('COUPPCD', ...) returns.
  const bool is_number = type_ == DUCKDB_TYPE_DECIMAL ||
                         (type_ >= DUCKDB_TYPE_TINYINT && type_ <= DUCKDB_TYPE_FLOAT) ||
                         type_ == DUCKDB_TYPE_HUGEINT || type_ == DUCKDB_TYPE_UHUGEINT;
  if (catalog::is_date(kind) && is_number) wrong_.assign(rows_, 1);
}

void Input::read(duckdb_logical_type type) {
  duckdb_type stored = type_;
  Int128 scale = 1;
  if (type_ == DUCKDB_TYPE_DECIMAL) {
    stored = duckdb_decimal_internal_type(type);
    for (int digit = 0; digit < duckdb_decimal_scale(type); ++digit) scale *= 10;
  }

  const auto numbers = [&]<class T>(const T* values) {
    if (scale == 1) {
      return convert([=](std::int64_t row) { return static_cast<double>(whole_of(values[row])); });
    }
    convert([=](std::int64_t row) {
      return decimal_of(static_cast<Int128>(whole_of(values[row])), scale);
    });
  };
  const auto times = [&](double units_per_day) {
    argument_.is_date = true;
    const auto* const values = static_cast<const std::int64_t*>(data_);
    convert([values, units_per_day](std::int64_t row) {
      constexpr std::int64_t kInfinite = std::numeric_limits<std::int64_t>::max();
      if (values[row] == kInfinite) return std::numeric_limits<double>::infinity();
      if (values[row] == -kInfinite) return -std::numeric_limits<double>::infinity();
      return static_cast<double>(values[row]) / units_per_day + host::kUnixEpoch;
    });
  };
  constexpr double kSecondsPerDay = 86400.0;
  switch (stored) {
    case DUCKDB_TYPE_SQLNULL:
      return convert([](std::int64_t) { return kMissing; });
    case DUCKDB_TYPE_DOUBLE:
      return use(VXK_FLOAT64, sizeof(double));
    case DUCKDB_TYPE_FLOAT:
      return use(VXK_FLOAT32, sizeof(float));
    case DUCKDB_TYPE_INTEGER:
      if (scale != 1) return numbers(static_cast<const std::int32_t*>(data_));
      return use(VXK_INT32, sizeof(std::int32_t));
    case DUCKDB_TYPE_BIGINT:
      if (scale != 1) return numbers(static_cast<const std::int64_t*>(data_));
      return use(VXK_INT64, sizeof(std::int64_t));
    case DUCKDB_TYPE_TINYINT:
      return numbers(static_cast<const std::int8_t*>(data_));
    case DUCKDB_TYPE_SMALLINT:
      return numbers(static_cast<const std::int16_t*>(data_));
    case DUCKDB_TYPE_UTINYINT:
      return numbers(static_cast<const std::uint8_t*>(data_));
    case DUCKDB_TYPE_USMALLINT:
      return numbers(static_cast<const std::uint16_t*>(data_));
    case DUCKDB_TYPE_UINTEGER:
      return numbers(static_cast<const std::uint32_t*>(data_));
    case DUCKDB_TYPE_UBIGINT:
      return numbers(static_cast<const std::uint64_t*>(data_));
    case DUCKDB_TYPE_HUGEINT:
      return numbers(static_cast<const duckdb_hugeint*>(data_));
    case DUCKDB_TYPE_UHUGEINT:
      return numbers(static_cast<const duckdb_uhugeint*>(data_));
    case DUCKDB_TYPE_DATE:
      argument_.is_date = true;
      return use(VXK_DATE32, sizeof(std::int32_t));
    case DUCKDB_TYPE_TIMESTAMP_S:
      return times(kSecondsPerDay);
    case DUCKDB_TYPE_TIMESTAMP_MS:
      return times(kSecondsPerDay * 1e3);
    case DUCKDB_TYPE_TIMESTAMP:
      return times(kSecondsPerDay * 1e6);
    case DUCKDB_TYPE_TIMESTAMP_NS:
      return times(kSecondsPerDay * 1e9);
    case DUCKDB_TYPE_VARCHAR:
      return read_texts();
    default:
      is_refused_ = true;
      wrong_.assign(rows_, 1);
      return convert([](std::int64_t) { return 0.0; });
  }
}

host::ColumnArgument Input::argument() const noexcept {
  host::ColumnArgument argument = argument_;
  if (!numbers_.empty()) argument.column.values = numbers_.data();
  return argument;
}

host::Value Input::value(std::int64_t row, std::string& shown) const {
  using enum host::Value::Kind;
  const double number = host::number_at(argument().column, row - first_);
  if (std::isnan(number)) return {};
  if (type_ == DUCKDB_TYPE_VARCHAR) {
    shown = text_of(static_cast<duckdb_string_t*>(data_)[row]);
    return host::value_of_sql_text(shown, kind_);
  }
  if (is_refused_) return {.word = name_of(type_), .kind = kText};
  if (!argument_.is_date) return {.number = number};
  constexpr double kFarthest = 1e8;  // days; an infinite date is farther
  if (std::fabs(number) < kFarthest) return {.number = number, .kind = kDate};
  return {.word = number < 0.0 ? "-infinity" : "infinity", .kind = kText};
}

}  // namespace finance_duckdb
