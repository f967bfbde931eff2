#include "hosts/call/nearest.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <numeric>
#include <vector>

namespace host {
namespace {

char lower(char c) noexcept { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; }

// The number of characters to insert, remove, replace, or swap with the next one, to turn one word
// into the other. Case does not count.
std::size_t distance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> before_last;
  std::vector<std::size_t> last(b.size() + 1);
  std::iota(last.begin(), last.end(), std::size_t{0});
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::vector<std::size_t> row(b.size() + 1, i);
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const bool same = lower(a[i - 1]) == lower(b[j - 1]);
      row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (same ? 0 : 1)});
      const bool swapped = i > 1 && j > 1 && lower(a[i - 1]) == lower(b[j - 2]) &&
                           lower(a[i - 2]) == lower(b[j - 1]);
      if (swapped) row[j] = std::min(row[j], before_last[j - 2] + 1);
    }
    before_last = std::move(last);
    last = std::move(row);
  }
  return last.back();
}

}  // namespace

std::string did_you_mean(std::string_view word, std::span<const std::string> names) {
  constexpr std::size_t kLongest = 40;
  constexpr std::size_t kMostNamed = 3;
  if (word.empty() || word.size() > kLongest) return {};
  std::size_t nearest =
      std::max<std::size_t>(word.size() / 3, 1);  // names with more differences do not help
  std::vector<std::string_view> found;
  for (const std::string& name : names) {
    if (name.size() > kLongest) continue;
    const std::size_t away = distance(word, name);
    if (away > nearest || away >= word.size()) continue;
    if (away < nearest) found.clear();
    nearest = away;
    if (found.size() < kMostNamed) found.push_back(name);
  }
  if (found.empty()) return {};
  return fmt::format("; did you mean {}?", fmt::join(found, " or "));
}

}  // namespace host
