#include "hosts/cli/engines/clickhouse_config.h"

#include <fmt/format.h>

#include "catalog/catalog.h"

namespace cli {
namespace {

std::string type_of(const catalog::Argument& argument) {
  using enum catalog::ArgumentKind;
  std::string type = "Float64";
  if (argument.kind == kDate) type = "Date32";
  if (argument.kind == kBasis) type = "String";
  if (argument.kind == kWhole || argument.kind == kFrequency) type = "Int32";
  return (argument.is_list() ? "Array(" : "Nullable(") + type + ')';
}

// The engine passes every argument: the default of an optional argument must be given.
std::string to_be_given(const catalog::Keyword& keyword) {
  std::string text;
  for (const catalog::Argument& argument : keyword.arguments()) {
    if (argument.presence != catalog::Presence::kOptional) continue;
    text += fmt::format("{}{} ({})", text.empty() ? "All to be given: " : ", ", argument.name,
                        argument.fallback);
  }
  return text.empty() ? "" : text + '.';
}

}  // namespace

std::string clickhouse_config() {
  std::string text = "<functions>\n";
  const auto end = std::back_inserter(text);
  for (const catalog::Keyword& keyword : catalog::keywords()) {
    const bool is_date = keyword.result == catalog::ResultKind::kDate;
    fmt::format_to(end, "  <!-- {}: {}. {} -->\n", keyword.word, keyword.description.title,
                   to_be_given(keyword));
    fmt::format_to(end, "  <function>\n    <type>executable_pool</type>\n");
    fmt::format_to(end, "    <name>{}</name>\n", keyword.function_name());
    fmt::format_to(end, "    <return_type>Nullable({})</return_type>\n",
                   is_date ? "Date32" : "Float64");
    for (const catalog::Argument& argument : keyword.arguments()) {
      fmt::format_to(end, "    <argument><type>{}</type><name>{}</name></argument>\n",
                     type_of(argument), argument.name);
    }
    fmt::format_to(end, "    <format>TabSeparated</format>\n");
    fmt::format_to(end, "    <command>finance --filter {}</command>\n", keyword.word);
    fmt::format_to(end, "    <execute_direct>0</execute_direct>\n  </function>\n");
  }
  return text + "</functions>\n";
}

}  // namespace cli
