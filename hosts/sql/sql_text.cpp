#include "hosts/sql/sql_text.h"

#include <cmath>

namespace host {
Value value_of_sql_text(std::string_view text, catalog::ArgumentKind kind) noexcept {
  const Value as_text{.word = text, .kind = Value::Kind::kText};
  const std::string_view word = trim(text);
  const Value value = word.empty() || word == kMissingWord ? as_text : value_of(word);
  return value.is_date() == catalog::is_date(kind) ? value : as_text;
}

bool has_type(const Value& value, catalog::ArgumentKind kind) noexcept {
  if (value.is_text()) return kind == catalog::ArgumentKind::kBasis;
  return std::isnan(value.number) || value.is_date() == catalog::is_date(kind);
}

}  // namespace host
