#include "hosts/cli/single_call.h"

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
    if (quoted && end == line.npos) throw std::invalid_argument("the quote is not closed");
    end = std::min(end, line.size());
    words.emplace_back(line.substr(first, end - first));
    at = quoted ? end + 1 : end;
  }
  return words;
}

SingleResult evaluate(const vxkernel::Kernel& kernel, std::span<const std::string> words,
                      int decimals) {
  const auto failed = [](std::string message) {
    return SingleResult{false, std::move(message), false};
  };
  const catalog::Keyword* const keyword = catalog::find(words[0]);
  if (keyword == nullptr) return failed(unknown_keyword(words[0]));
  std::vector<Value> values;
  for (const std::string& word : words.subspan(1)) values.push_back(value_of(word));
  if (const auto error = CheckedCall::arity_error(*keyword, values.size())) {
    return failed(fmt::format("{}: {}", keyword->word, *error));
  }
  CheckedCall call(kernel, *keyword, values.size());
  for (std::size_t i = 0; i < values.size(); ++i) call.set(i + 1, values[i]);
  const CallResult result = call.run();
  if (!result.ok()) {
    return failed(fmt::format("{}: {}", keyword->word, call.error_message(result, values)));
  }
  SingleResult printed{true, {}, false};
  append_value(printed.text, result.value, decimals);
  if (printed.text.empty()) printed.text.append(kMissingWord);
  printed.is_number = !result.value.is_date() && !result.value.is_missing();
  return printed;
}

std::string json_of(const SingleResult& result, std::span<const std::string> words) {
  using Json = nlohmann::ordered_json;
  Json line;
  if (!words.empty()) line["keyword"] = words[0];
  const char* const member = result.ok ? "value" : "error";
  if (result.is_number) {
    line[member] = Json::parse(result.text);
  } else if (result.ok && result.text == kMissingWord) {
    line[member] = nullptr;
  } else {
    line[member] = result.text;
  }
  return line.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace cli
