// The functions of the PostgreSQL extension whose arguments are arrays, such as
// finance_xirr(amounts, dates).
#include <cmath>
#include <cstring>

#include "hosts/call/list_call.h"
#include "hosts/call/module_loader.h"
#include "hosts/postgresql/pg_values.h"
#include "hosts/sql/sql_text.h"

extern "C" {
#include <catalog/pg_type.h>
#include <utils/array.h>
}

using namespace finance_pg;

namespace {

constexpr int kMostArguments = 4;

// The elements of an array as numbers or days; NULL becomes NaN. infinite_date is the first
// element, from 1, that is an infinite date; 0: none.
struct Elements {
  double* values;
  int count;
  int infinite_date;
};

Elements elements_of(Datum datum) {
  ArrayType* const array = DatumGetArrayTypeP(datum);
  const bool is_date = ARR_ELEMTYPE(array) == TIMESTAMPOID;
  const int count = ArrayGetNItems(ARR_NDIM(array), ARR_DIMS(array));
  auto* const values =
      static_cast<double*>(palloc((static_cast<std::size_t>(count) + 1) * sizeof(double)));
  Elements elements{values, count, 0};
  const bits8* const present = ARR_NULLBITMAP(array);
  const char* from = ARR_DATA_PTR(array);
  for (int i = 0; i < count; ++i) {
    if (present != nullptr && (present[i / 8] >> (i % 8) & 1) == 0) {
      values[i] = std::nan("");
      continue;
    }
    if (is_date) {
      Timestamp time = 0;
      std::memcpy(&time, from, sizeof time);
      values[i] = days_of(time);
      if (TIMESTAMP_NOT_FINITE(time) && elements.infinite_date == 0) elements.infinite_date = i + 1;
    } else {
      std::memcpy(&values[i], from, sizeof(double));
    }
    from += sizeof(double);
  }
  return elements;
}

// The arguments of a call, as plain data.
struct Arguments {
  Elements lists[kMostArguments];
  double scalars[kMostArguments];
  int count;
};

// The result, or NaN, which means NULL.
double evaluate(const catalog::Keyword& keyword, const Arguments& arguments,
                const volatile std::int32_t* stop, bool& is_stopped, Failure& failure) {
  const auto parameters = keyword.arguments();
  const auto fail_with = [&](const host::ListError& error, int sql_state) {
    fail(failure, error.is_missing ? ERRCODE_NULL_VALUE_NOT_ALLOWED : sql_state,
         host::named(keyword, error.message(keyword)),
         detail_of(keyword, error.argument == 0 ? nullptr : &parameters[error.argument - 1]));
    return std::nan("");
  };
  std::vector<host::ListArgument> list_arguments;
  int amounts = -1;         // how many there are
  host::ListError invalid;  // of the list of dates
  for (int i = 0; i < arguments.count; ++i) {
    const auto argument = static_cast<std::size_t>(i) + 1;
    const catalog::Argument& parameter = parameters[argument - 1];
    if (!parameter.is_list()) {
      list_arguments.push_back({.values = &arguments.scalars[i], .is_constant = true});
      continue;
    }
    const auto& [values, count, infinite_date] = arguments.lists[i];
    if (amounts < 0) amounts = count;
    if (count != amounts) {
      invalid = host::ListCall::length_error(argument, count, amounts);
    } else if (infinite_date != 0) {
      invalid = {.status = host::Status::kWrongType,
                 .argument = argument,
                 .element = static_cast<std::size_t>(infinite_date),
                 .reason = "is infinite: must be a date (YYYY-MM-DD)"};
    }
    list_arguments.push_back({.values = values, .is_list = true, .is_date = parameter.is_date()});
  }
  host::ListCall call(host::loaded_module(), keyword, list_arguments);
  const std::int64_t offsets[] = {0, amounts};
  if (call.is_missing(offsets, 0)) return std::nan("");
  if (invalid.argument != 0) return fail_with(invalid, sql_state_of(invalid.status));
  double result = 0.0;
  is_stopped = call.run(offsets, std::span(&result, 1), nullptr, {.cancel = stop}).is_cancelled;
  if (is_stopped || !std::isnan(result)) return result;
  const host::ListError error = call.error(offsets, 0);
  // The elements of an array have the type of the parameter: a date is at most out of range.
  return fail_with(error, error.status == host::Status::kWrongType
                              ? ERRCODE_NUMERIC_VALUE_OUT_OF_RANGE
                              : sql_state_of(error.status));
}

Datum evaluate_lists(FunctionCallInfo fcinfo, std::string_view word, bool null_on_error) {
  const catalog::Keyword& keyword = *catalog::find(word);
  Arguments arguments{};
  arguments.count = PG_NARGS();
  for (int i = 0; i < arguments.count; ++i) {
    if (keyword.arguments()[static_cast<std::size_t>(i)].is_list()) {
      arguments.lists[i] = elements_of(PG_GETARG_DATUM(i));
    } else {
      arguments.scalars[i] = PG_GETARG_FLOAT8(i);
    }
  }
  Failure failure;
  double result = std::nan("");
  run_with_interrupts([&](const volatile std::int32_t* stop) {
    bool is_stopped = false;
    guarded(failure, [&] { result = evaluate(keyword, arguments, stop, is_stopped, failure); });
    return !is_stopped;
  });
  if (is_error(failure, null_on_error)) report(failure);
  if (!failure.is_none() || std::isnan(result)) PG_RETURN_NULL();
  PG_RETURN_FLOAT8(result);
}

}  // namespace

#define LIST_FUNCTION(name, word, null_on_error) \
  SQL_FUNCTION(name) { return evaluate_lists(fcinfo, word, null_on_error); }
#include "symbols.inc"
