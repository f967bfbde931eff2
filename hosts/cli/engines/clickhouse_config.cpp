#include "hosts/cli/engines/clickhouse_config.h"

#include <fmt/format.h>

#include <algorithm>

#include "catalog/catalog.h"

namespace cli {
namespace {

std::string type_of(const catalog::Argument& argument) {
  using enum catalog::ArgumentKind;
  std::string type = "Float64";
  if (argument.is_date()) type = "Date32";
  if (argument.kind == kBasis) type = "String";
  if (argument.kind == kWhole || argument.kind == kFrequency) type = "Int32";
  type = "Nullable(" + type + ')';
  return argument.is_list() ? "Array(" + type + ')' : type;
}

// Appends the function that takes the first `count` arguments of the keyword. Its name has the
// count, unless it takes all arguments.
void append_function(std::string& text, const catalog::Keyword& keyword, std::size_t count) {
  const auto end = std::back_inserter(text);
  const bool takes_all = count == keyword.arguments().size();
  std::string omitted;
  for (const catalog::Argument& argument : keyword.arguments().subspan(count)) {
    omitted += fmt::format("{}{} ({})", omitted.empty() ? " Omitted: " : ", ", argument.name,
                           argument.fallback.substr(0, argument.fallback.find(';')));
  }
  fmt::format_to(end, "  <!-- {}: {}.{} -->\n", keyword.word, keyword.description.title,
                 omitted.empty() ? "" : omitted + '.');
  fmt::format_to(end, "  <function>\n    <type>executable_pool</type>\n");
  fmt::format_to(end, "    <name>{}{}</name>\n", keyword.function_name(),
                 takes_all ? "" : fmt::format("_{}", count));
  fmt::format_to(end, "    <return_type>Nullable({})</return_type>\n",
                 keyword.result == catalog::ResultKind::kDate ? "Date32" : "Float64");
  for (const catalog::Argument& argument : keyword.arguments().first(count)) {
    fmt::format_to(end, "    <argument><type>{}</type><name>{}</name></argument>\n",
                   type_of(argument), argument.name);
  }
  fmt::format_to(end, "    <format>TabSeparated</format>\n");
  fmt::format_to(end, "    <command>finance --filter {}</command>\n", keyword.word);
  fmt::format_to(end, "    <execute_direct>0</execute_direct>\n");
  fmt::format_to(end, "    <deterministic>1</deterministic>\n  </function>\n");
}

}  // namespace

std::string clickhouse_config() {
  std::string text = "<functions>\n";
  for (const catalog::Keyword& keyword : catalog::keywords()) {
    const auto arguments = keyword.arguments();
    const auto required = arguments.size() - static_cast<std::size_t>(std::ranges::count(
                                                 arguments, catalog::Presence::kOptional,
                                                 &catalog::Argument::presence));
    for (std::size_t count = arguments.size(); count >= required; --count)
      append_function(text, keyword, count);
  }
  return text + "</functions>\n";
}

}  // namespace cli
