#include "call.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace cli {

std::vector<std::string> words_of(std::string_view line) {
  constexpr std::string_view kBlanks = " \t\r\f\v";
  std::vector<std::string> words;
  for (std::size_t at = line.find_first_not_of(kBlanks); at < line.size();
       at = line.find_first_not_of(kBlanks, at)) {
    if (line[at] == '#') break;
    const bool quoted = line[at] == '\'' || line[at] == '"';
    const std::size_t first = quoted ? at + 1 : at;
    std::size_t end = quoted ? line.find(line[at], first) : line.find_first_of(kBlanks, first);
    if (quoted && end == line.npos) throw std::invalid_argument("a quotation is not closed");
    end = std::min(end, line.size());
    words.emplace_back(line.substr(first, end - first));
    at = quoted ? end + 1 : end;
  }
  return words;
}

Outcome evaluate(const vxkernel::Kernel& kernel, std::span<const std::string> words, int decimals) {
  const auto failed = [](std::string complaint) {
    return Outcome{false, std::move(complaint), false};
  };
  const catalog::Keyword* const keyword = catalog::find(words[0]);
  if (keyword == nullptr) return failed(no_such_keyword(words[0]));
  std::vector<Value> values;
  std::vector<vxkernel::Argument> arguments;
  for (const std::string& word : words.subspan(1)) {
    values.push_back(value_of(word));
    arguments.push_back(values.back().argument());
  }
  if (const auto complaint = Callee::complaint_of_count(*keyword, values.size())) {
    return failed(fmt::format("{}: {}", keyword->word, *complaint));
  }
  const Callee callee(*keyword, values.size());
  const vxkernel::Evaluation answer = callee.evaluate(kernel, arguments);
  if (!answer.ok()) {
    return failed(fmt::format("{}: {}", keyword->word, callee.complaint(answer, values)));
  }
  Outcome outcome{true, {}, false};
  const Value result = callee.result(answer);
  const bool is_date = result.is_date() && append_date(outcome.text, result.number);
  if (!is_date) append_digits(outcome.text, result.number, decimals);
  if (outcome.text.empty()) outcome.text.append(kMissingWord);
  outcome.is_number = !is_date && std::isfinite(result.number);
  return outcome;
}

std::string json_of(const Outcome& outcome, std::span<const std::string> words) {
  using Json = nlohmann::ordered_json;
  Json line;
  if (!words.empty()) line["keyword"] = words[0];
  const char* const member = outcome.ok ? "value" : "error";
  if (outcome.is_number) {
    line[member] = Json::parse(outcome.text);
  } else if (outcome.ok && outcome.text == kMissingWord) {
    line[member] = nullptr;
  } else {
    line[member] = outcome.text;
  }
  return line.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace cli
