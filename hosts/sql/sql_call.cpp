#include "hosts/sql/sql_call.h"

namespace host {
std::optional<std::string> SqlCall::keyword_error(std::string_view word, std::size_t count) {
  const catalog::Keyword* const keyword = catalog::find(word);
  if (keyword == nullptr) return "finance: " + unknown_keyword(word);
  const auto error = CheckedCall::arity_error(*keyword, count);
  if (error) return named(*keyword, *error);
  return std::nullopt;
}

SqlCall::SqlCall(const vxkernel::Kernel& kernel, const catalog::Keyword& keyword, std::size_t count)
    : call_(kernel, keyword, count) {
  takes_date_.reserve(count);
  for (std::size_t i = 1; i <= count; ++i) takes_date_.push_back(parameter(i).is_date() ? 1 : 0);
}

std::string SqlCall::error_message(const CallResult& result, std::span<const Value> values) const {
  return named(keyword(), call_.error_message(result, values));
}

}  // namespace host
