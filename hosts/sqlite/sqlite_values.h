// Values and results of the SQLite extension.
#pragma once

#include <sqlite3ext.h>

#include <exception>
#include <new>
#include <string>
#include <string_view>

#include "hosts/call/value.h"
#include "hosts/sql/sql_text.h"

SQLITE_EXTENSION_INIT3

namespace finance_sqlite {

// Calls a body that may throw: no exception leaves the extension.
void guarded(sqlite3_context* context, auto&& body) noexcept {
  try {
    body();
  } catch (const std::bad_alloc&) {
    sqlite3_result_error_nomem(context);
  } catch (const std::exception& error) {
    sqlite3_result_error(context, error.what(), -1);
  }
}

inline std::string_view text_of(sqlite3_value* value) noexcept {
  const auto* const text = reinterpret_cast<const char*>(sqlite3_value_text(value));
  return text == nullptr
             ? std::string_view()
             : std::string_view(text, static_cast<std::size_t>(sqlite3_value_bytes(value)));
}

// The value as an argument of a kind. It points into a text.
inline host::Value value_of(sqlite3_value* value, catalog::ArgumentKind kind) noexcept {
  switch (sqlite3_value_type(value)) {
    case SQLITE_NULL:
      return {};
    case SQLITE_INTEGER:
    case SQLITE_FLOAT:
      return {.number = sqlite3_value_double(value)};
    case SQLITE_TEXT:
      return host::value_of_sql_text(text_of(value), kind);
    default:
      return {.word = "a blob", .kind = host::Value::Kind::kText};
  }
}

inline void set_text(sqlite3_context* context, std::string_view text) noexcept {
  sqlite3_result_text(context, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
}

inline void set_error(sqlite3_context* context, std::string_view message) noexcept {
  sqlite3_result_error(context, message.data(), static_cast<int>(message.size()));
}

inline void set_result(sqlite3_context* context, const host::Value& result) {
  std::string date;
  if (result.is_date() && host::append_date(date, result.number)) return set_text(context, date);
  sqlite3_result_double(context, result.number);  // NaN is NULL
}

}  // namespace finance_sqlite
