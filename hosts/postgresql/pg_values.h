// Values and failures as plain data. The server raises errors with a long jump, which does not run
// the destructors of C++ objects. Code that can raise an error of the server therefore uses only
// plain data. Code that uses C++ objects does not call the server and catches all exceptions.
#pragma once

#include <cstdint>
#include <string>
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

// Defines an SQL function.
#define SQL_FUNCTION(name)                                \
  EXPORTED const Pg_finfo_record* pg_finfo_##name(void) { \
    static const Pg_finfo_record my_finfo = {1};          \
    return &my_finfo;                                     \
  }                                                       \
  EXPORTED Datum name(FunctionCallInfo fcinfo)

namespace finance_pg {

constexpr double kDateZero =
    14610;  // days from 1 January 1960 to 1 January 2000, the server's day 0

// Days from 1 January 1960.
inline double days_of(Timestamp time) noexcept {
  return static_cast<double>(time) / USECS_PER_DAY + kDateZero;
}

// An argument as plain data.
struct SqlValue {
  enum Kind : int { kNull, kNumber, kDate, kText, kRefused } kind;  // kRefused: the text says why
  double number;
  const char* text;
  std::size_t size;
};

// An error, as plain data.
struct Failure {
  enum Kind : int {
    kNone,
    kOfCall,
    kOfHost
  } kind;  // kOfHost: not of the call, such as out of memory
  int sql_state;
  char message[1000];
  char detail[1000];

  Failure() noexcept : kind(kNone) {}  // the texts are set only for a failure
  [[nodiscard]] bool is_none() const noexcept { return kind == kNone; }
};

// Fills the failure of a call.
void fail(Failure& failure, int sql_state, std::string_view message,
          std::string_view detail) noexcept;

// Fills the failure from the current exception.
void fail_of_exception(Failure& failure) noexcept;

// Calls a body that may throw or fail. Returns false if it failed.
bool guarded(Failure& failure, auto&& body) noexcept {
  try {
    body();
  } catch (...) {
    fail_of_exception(failure);
  }
  return failure.is_none();
}

// Whether a failure raises an error; some functions return NULL if a call fails.
inline bool is_error(const Failure& failure, bool null_on_error) noexcept {
  return failure.kind == Failure::kOfHost || (failure.kind == Failure::kOfCall && !null_on_error);
}

// Raises the failure as an error of the server.
[[noreturn]] void report(const Failure& failure);

// The SQLSTATE of a failed call.
int sql_state_of(host::Status status) noexcept;

// The detail of an error message: the arguments of the keyword, or the meaning of one argument.
std::string detail_of(const catalog::Keyword& keyword, const catalog::Argument* argument);

// Calls body(stop), which returns false if it stopped because the flag at `stop` was set, until it
// returns true. The flag is set while an interrupt of the server is pending. If the interrupt is a
// cancellation, this function raises the error.
template <class Body>
void run_with_interrupts(Body&& body) {
  static_assert(sizeof InterruptPending == sizeof(std::int32_t));
  constexpr int kMostRestarts = 10;  // after interrupts of another kind
  for (int restarts = 0;; ++restarts) {
    CHECK_FOR_INTERRUPTS();
    const bool can_stop = INTERRUPTS_CAN_BE_PROCESSED() && restarts < kMostRestarts;
    const auto* const pending = reinterpret_cast<const volatile std::int32_t*>(&InterruptPending);
    if (body(can_stop ? pending : nullptr)) return;
  }
}

// The value of a datum whose type is not a domain. The value may point into the datum.
SqlValue plain_value(Datum datum, Oid type);

// A text of the database in a form that messages can show, for any encoding. A shortened text is
// not a number, date or basis, and was not one before: it has letters outside ASCII.
std::string_view truncate_for_message(std::string_view text);

// The value as an argument of a kind. The result points into the text of the value.
host::Value value_of(const SqlValue& value, catalog::ArgumentKind kind) noexcept;

}  // namespace finance_pg
