// Values and outcomes as plain data. The server reports errors by jumping over frames, which C++
// objects do not survive: whatever may raise an error of the server works on plain data, and
// whatever works on C++ objects neither calls the server nor lets an exception out.
#pragma once

#include <string_view>

#include "catalog.h"
#include "value.h"

extern "C" {
#include <postgres.h>
// The server's header comes first.
#include <datatype/timestamp.h>
#include <fmgr.h>
#include <miscadmin.h>
}

#define EXPORTED extern "C" [[gnu::visibility("default")]]

// Defines a function of SQL.
#define SQL_FUNCTION(name)                                \
  EXPORTED const Pg_finfo_record* pg_finfo_##name(void) { \
    static const Pg_finfo_record my_finfo = {1};          \
    return &my_finfo;                                     \
  }                                                       \
  EXPORTED Datum name(FunctionCallInfo fcinfo)

namespace finance_pg {

constexpr double kDateZero = 14610;  // 1 January 2000, the server's first day, from 1 January 1960

// An argument as plain data.
struct SqlValue {
  enum Kind : int { kNull, kNumber, kDate, kText, kRefused } kind;  // refused: the text says why
  double number;
  const char* text;
  std::size_t size;
};

// What came of a call, as plain data.
struct Outcome {
  enum Kind : int { kValue, kNull, kRefused, kBroken } kind;  // broken: no fault of the call's
  double value;
  bool is_date;
  int sql_state;
  char complaint[1000];
  char detail[1000];
};

// Makes the outcome a refused call.
void fail(Outcome& outcome, int sql_state, std::string_view complaint,
          std::string_view detail) noexcept;

// Makes the outcome that of the exception at hand; logic errors are those of a group of flows.
void fail_of_exception(Outcome& outcome) noexcept;

// Calls a body that may throw or fail. False when the outcome is a failure.
bool guarded(Outcome& outcome, auto&& body) noexcept {
  outcome.kind = Outcome::kNull;
  try {
    body();
  } catch (...) {
    fail_of_exception(outcome);
  }
  return outcome.kind == Outcome::kNull || outcome.kind == Outcome::kValue;
}

// Whether the outcome is an error, where a function may answer NULL for refused calls.
inline bool is_reported(const Outcome& outcome, bool fails) noexcept {
  return outcome.kind == Outcome::kBroken || (outcome.kind == Outcome::kRefused && fails);
}

// Raises the error of the server.
[[noreturn]] void report(const Outcome& outcome);

// A datum of a type that is no domain. The value may refer to it.
SqlValue plain_value(Datum datum, Oid type);

// A text of the database as messages can show it, whatever its encoding. One that is cut stands for
// no number, date or basis, as it did not before: it has letters beyond ASCII.
std::string_view clipped(std::string_view text);

// What a value stands for where an argument of a kind is wanted. Refers to its text.
host::Value value_of(const SqlValue& value, catalog::ArgumentKind kind) noexcept;

}  // namespace finance_pg
