// What texts of SQL databases stand for: the position in a call decides.
#pragma once

#include <string_view>

#include "catalog.h"
#include "value.h"

namespace host {

// A number given as text is a number, except where a date belongs; a date is one only there. What
// remains is text, which fits nothing but a basis. Refers to the text.
Value value_of_sql_text(std::string_view text, catalog::ArgumentKind kind) noexcept;

// Whether a value is of the kind that an argument must have: a number is no date. The missing value
// fits everywhere; a module decides whether it takes it.
bool fits(const Value& value, catalog::ArgumentKind kind) noexcept;

}  // namespace host
