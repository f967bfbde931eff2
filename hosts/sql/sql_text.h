// The values of texts in SQL databases, which depend on the kind of the argument, and the names of
// SQL functions.
#pragma once

#include <string>
#include <string_view>

#include "catalog/catalog.h"
#include "hosts/call/value.h"

namespace host {

// A text is a date if the argument is a date and the text has the form of a date. A text is a
// number if the argument is not a date and the text has the form of a number. Any other text is
// valid only as a basis. The value points into the text.
Value value_of_sql_text(std::string_view text, catalog::ArgumentKind kind) noexcept;

// Whether a value has the type of an argument of this kind. Numbers are not dates. The missing
// value has every type; the module decides whether it is valid.
bool has_type(const Value& value, catalog::ArgumentKind kind) noexcept;

// The error message of a call: "finance(SLN): ...".
inline std::string named(const catalog::Keyword& keyword, const std::string& message) {
  return "finance(" + std::string(keyword.word) + "): " + message;
}

// The name of the function that returns NULL instead of an error: "finance_try_irr".
inline std::string try_name(std::string_view name) {
  constexpr std::string_view kPrefix = "finance_";
  return "finance_try_" + std::string(name.substr(kPrefix.size()));
}

}  // namespace host
