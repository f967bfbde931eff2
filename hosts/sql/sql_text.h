// The values of texts in SQL databases, which depend on the kind of the argument.
#pragma once

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

}  // namespace host
