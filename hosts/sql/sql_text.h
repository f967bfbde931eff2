// What texts of SQL databases stand for: the position in a call decides.
#pragma once

#include <string_view>

#include "catalog/catalog.h"
#include "hosts/call/value.h"

namespace host {

// A number given as text is a number, except where a date belongs; a date is one only there. What
// remains is text, which fits nothing but a basis. Refers to the text.
Value value_of_sql_text(std::string_view text, catalog::ArgumentKind kind) noexcept;

// Whether a parameter takes dates.
constexpr bool is_date(catalog::ArgumentKind kind) noexcept {
  return kind == catalog::ArgumentKind::kDate || kind == catalog::ArgumentKind::kDateTime;
}

// Whether a value has the type that a parameter takes: a number is no date. The missing value has
// every type; a module decides whether it takes it.
bool has_type(const Value& value, catalog::ArgumentKind kind) noexcept;

}  // namespace host
