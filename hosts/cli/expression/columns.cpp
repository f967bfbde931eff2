#include "hosts/cli/expression/columns.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <stdexcept>

#include "hosts/call/nearest.h"
#include "hosts/cli/expression/lexer.h"

namespace cli {

bool Columns::has_one_value(std::size_t column) const noexcept {
  return !is_grouped_ || !is_in_table(column) || std::ranges::find(keys_, column) != keys_.end();
}

std::size_t Columns::find(std::string_view name) const {
  const auto found = std::ranges::find(names_, name);
  if (found == names_.end()) {
    if (const std::string nearest = host::did_you_mean(name, names_); !nearest.empty()) {
      throw std::invalid_argument(fmt::format("unknown column {}{}", name, nearest));
    }
    constexpr std::size_t kMostNamed = 20;
    std::vector<std::string> shown_names;
    for (const std::string& each : names_) {
      if (shown_names.size() == kMostNamed) break;
      const bool is_plain =
          !each.empty() && is_letter(each[0]) &&
          std::ranges::all_of(each, [](char c) { return is_letter(c) || is_digit(c); });
      shown_names.push_back(is_plain ? each : '"' + each + '"');
    }
    throw std::invalid_argument(fmt::format("unknown column {}: the columns are {}{}", name,
                                            fmt::join(shown_names, ", "),
                                            shown_names.size() < names_.size() ? ", ..." : ""));
  }
  if (std::find(found + 1, names_.end(), name) != names_.end()) {
    throw std::invalid_argument(
        fmt::format("two columns are named {}: rename one of them in the input", name));
  }
  return static_cast<std::size_t>(found - names_.begin());
}

}  // namespace cli
