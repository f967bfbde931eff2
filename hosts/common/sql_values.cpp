#include "sql_values.h"

#include <cmath>

namespace host {
namespace {

bool is_date_kind(catalog::ArgumentKind kind) noexcept {
  return kind == catalog::ArgumentKind::kDate || kind == catalog::ArgumentKind::kDateTime;
}

}  // namespace

Value value_of_sql_text(std::string_view text, catalog::ArgumentKind kind) noexcept {
  const Value as_text{.word = text, .kind = Value::Kind::kText};
  const std::string_view word = without_blanks(text);
  const Value value = word.empty() || word == kMissingWord ? as_text : value_of(word);
  return value.is_date() == is_date_kind(kind) ? value : as_text;
}

bool fits(const Value& value, catalog::ArgumentKind kind) noexcept {
  if (value.is_text()) return kind == catalog::ArgumentKind::kBasis;
  return std::isnan(value.number) || value.is_date() == is_date_kind(kind);
}

}  // namespace host
