#include "bench/accuracy/ranges.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <stdexcept>
#include <utility>

#include "bench/accuracy/dates.h"

namespace {

using Named = std::vector<std::pair<std::string_view, double>>;

// Splits the text at the first separator. Without a separator, the second part is empty.
std::pair<std::string_view, std::string_view> split(std::string_view text,
                                                    std::string_view separators) {
  const std::size_t at = text.find_first_of(separators);
  return {text.substr(0, at), at == text.npos ? "" : text.substr(at + 1)};
}

double value(std::string_view text, const Named& named) {
  for (std::size_t i = named.size(); i-- > 0;) {
    if (named[i].first == text) return named[i].second;
  }
  double x = 0;
  if (std::from_chars(text.begin(), text.end(), x).ptr != text.end()) {
    throw std::invalid_argument("no number in a range: " + std::string(text));
  }
  return x;
}

}  // namespace

Draw::Draw(std::uint64_t seed, std::uint64_t row, std::uint64_t block) {
  std::seed_seq sequence{seed, seed >> 32, row, block};
  random_.seed(sequence);
}

double Draw::whole(double low, double high) {
  return low + std::min(std::floor((high - low + 1) * unit()), std::max(high - low, 0.0));
}

double Draw::one(std::string_view range, const Named& named) {
  using std::string_view;
  if (range.ends_with(')')) return one(split(range.substr(0, range.size() - 1), "(").second, named);
  if (range.starts_with('@')) {
    is_day_ = true;
    const auto [from, to] = split(range.substr(1), ":");
    const auto start = [&](string_view year) {
      return dates::number(dates::cal::year{static_cast<int>(value(year, named))} / 1 / 1);
    };
    const dates::Date day = dates::date(whole(start(from), start(to) + 364));
    const bool to_end = whole(0, 3) == 0;
    return dates::number(to_end ? day.year() / day.month() / dates::cal::last : day);
  }
  if (range.find('|') != range.npos) {
    auto choice = whole(0, static_cast<double>(std::count(range.begin(), range.end(), '|')));
    for (; choice > 0; --choice) range = split(range, "|").second;
    return value(split(range, "|").first, named);
  }
  const std::size_t at_name_end = std::isalpha(static_cast<unsigned char>(range[0])) != 0
                                      ? range.find_first_of("+-")
                                      : range.npos;
  if (const std::size_t at = at_name_end; at != range.npos) {
    const double offset = one(range.substr(at + 1), named);
    is_day_ = true;
    return value(range.substr(0, at), named) + (range[at] == '+' ? offset : -offset);
  }
  if (const auto [low, high] = split(range, ":"); !high.empty()) {
    return whole(value(low, named), value(high, named));
  }
  if (const auto [low, high] = split(range, "~"); !high.empty()) {
    const double a = value(low, named), b = value(high, named);
    return a * std::exp(unit() * std::log(b / a));
  }
  const std::size_t at = range.find("..");
  const double low = value(range.substr(0, at), named);
  return at == range.npos ? low : low + (value(range.substr(at + 2), named) - low) * unit();
}

Drawn Draw::arguments(std::string_view ranges) {
  Drawn drawn;
  Named named;
  double repeated = 0;
  while (!ranges.empty()) {
    const auto [word, rest] = split(ranges, " ");
    const auto [name, range] = split(word, "=");
    const auto [plain_name, braces] = split(name, "{");
    ranges = rest;
    double count = 1;
    if (braces == "*}") {
      count = repeated;
    } else if (!braces.empty()) {
      count = one(braces.substr(0, braces.size() - 1), named);
      repeated += count;
    }
    for (; count > 0; --count) {
      is_day_ = false;
      drawn.values.push_back(one(range, named));
      drawn.is_day.push_back(is_day_);
      named.emplace_back(plain_name, drawn.values.back());
    }
  }
  return drawn;
}
