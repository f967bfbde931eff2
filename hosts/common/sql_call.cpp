#include "sql_call.h"

#include <new>

namespace host {
namespace {

std::string named(const catalog::Keyword& keyword, const std::string& complaint) {
  return "finance(" + std::string(keyword.word) + "): " + complaint;
}

}  // namespace

std::optional<std::string> SqlCall::complaint_of(std::string_view word, std::size_t count) {
  const catalog::Keyword* const keyword = catalog::find(word);
  if (keyword == nullptr) return "finance: " + no_such_keyword(word);
  const auto complaint = Callee::complaint_of_count(*keyword, count);
  if (complaint) return named(*keyword, *complaint);
  return std::nullopt;
}

SqlCall::SqlCall(const catalog::Keyword& keyword, std::size_t count)
    : callee_(keyword, count), values_(count), arguments_(count, vxkernel::Argument::missing()) {}

SqlAnswer SqlCall::refused(std::size_t position) const {
  return {{}, named(callee_.keyword(), callee_.complaint_of_kind(position, values_)), position};
}

SqlAnswer SqlCall::evaluate(const vxkernel::Kernel& kernel) const {
  const vxkernel::Evaluation answer = callee_.evaluate(kernel, arguments_);
  if (answer.ok()) return {callee_.result(answer)};
  if (answer.status == vxkernel::kOutOfStorage) throw std::bad_alloc();
  const auto position = static_cast<std::size_t>(answer.marked >= 1 ? answer.marked : 0);
  return {{}, named(callee_.keyword(), callee_.complaint(answer, values_)), position};
}

}  // namespace host
