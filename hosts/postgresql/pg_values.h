// Values and failures as plain data. The server reports errors by jumping over frames, which C++
// objects do not survive: whatever may raise an error of the server works on plain data, and
// whatever works on C++ objects neither calls the server nor lets an exception out.
#pragma once

#include <string_view>

#include "catalog/catalog.h"
#include "hosts/call/checked_call.h"

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

// What is wrong, as plain data.
struct Failure {
  enum Kind : int { kNone, kOfCall, kOfHost } kind;  // of the call, or out of memory and the like
  int sql_state;
  char message[1000];
  char detail[1000];

  Failure() noexcept : kind(kNone) {}  // the texts are filled with a failure
  [[nodiscard]] bool is_none() const noexcept { return kind == kNone; }
};

// Makes it the failure of a call.
void fail(Failure& failure, int sql_state, std::string_view message,
          std::string_view detail) noexcept;

// Makes it the failure of the exception at hand.
void fail_of_exception(Failure& failure) noexcept;

// Calls a body that may throw or fail. False when it failed.
bool guarded(Failure& failure, auto&& body) noexcept {
  try {
    body();
  } catch (...) {
    fail_of_exception(failure);
  }
  return failure.is_none();
}

// Whether a failure is an error, where a function may return NULL for calls that fail.
inline bool is_error(const Failure& failure, bool null_on_error) noexcept {
  return failure.kind == Failure::kOfHost || (failure.kind == Failure::kOfCall && !null_on_error);
}

// Raises the error of the server.
[[noreturn]] void report(const Failure& failure);

// A datum of a type that is no domain. The value may refer to it.
SqlValue plain_value(Datum datum, Oid type);

// A text of the database as messages can show it, whatever its encoding. A text that is cut is no
// number, date or basis, as it was none before: it has letters beyond ASCII.
std::string_view truncate_for_message(std::string_view text);

// What a value stands for where an argument of a kind is wanted. Refers to its text.
host::Value value_of(const SqlValue& value, catalog::ArgumentKind kind) noexcept;

}  // namespace finance_pg
