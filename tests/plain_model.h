// Plain day counts, schedules and argument checks for the models with which random calls are
// compared. They are short and slow. Days are counted from 1 January 1960. To reject an argument,
// its slot is thrown.
#pragma once
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <map>
#include <optional>
#include <random>

#include "catalog/catalog.h"
#include "numeric/elementary.h"
#include "tests/harness.h"

namespace plain {

namespace cal = std::chrono;
using namespace std::chrono_literals;
using harness::Outcome, harness::Argument, harness::num, harness::text, harness::Width;
using Date = cal::year_month_day;
using Values = std::vector<double>;

inline constexpr cal::sys_days kDayZero = 1960y / 1 / 1;
inline const double kMissing = harness::missing().number, kNull = 0x1.dp-1000;  // a null pointer

using Basis = std::pair<Argument, int>;  // argument and code; first row: omitted; -1: invalid
inline const std::string kPad(249, ' ');
// clang-format off
inline const Basis kBases[] = {
    {{}, 0}, {num(0), 0}, {num(1), 1}, {num(2), 2}, {num(3), 3}, {num(4), 4}, {text("30/360"), 0},
    {text("actual"), 1}, {text(" A c t/3 60"), 2}, {text("Act/365 "), 3}, {text("eu 30/360"), 4},
    {text(kPad + "ACTUAL"), 1}, {text(kPad + "ACTUAL "), -1}, {text(kPad), -1}, {text(""), -1},
    {text("30/3600"), -1}, {{2, true, 0, {}}, -1}, {{2, false, 6, {}}, -1}, {{3, false, 0, U"ACTUAL"}, -1},
    {harness::null(), 1}, {num(NAN), 1}, {num(-0.5), 0}, {num(2.7), 2}, {num(4.9), 4}, {num(5), -1},
    {num(-1), -1}, {num(0x1p32), -1}, {num(0x1p64), -1}, {num(-HUGE_VAL), -1}};
// clang-format on

inline double number_of(cal::sys_days day) { return static_cast<double>((day - kDayZero).count()); }
inline Date date_of(double number) {  // dates of bills may be any number
  return kDayZero + cal::days{static_cast<int>(std::clamp(number, -1e7, 1e7))};
}
inline bool month_end(const Date& d) { return d == d.year() / d.month() / cal::last; }
inline int months_of(const Date& d) {
  return 12 * int{d.year()} + static_cast<int>(unsigned{d.month()});
}

// The same day of another month, or the last day of that month.
inline Date stepped(const Date& from, int months, bool to_month_ends) {
  const cal::year_month m = from.year() / from.month() + cal::months{months};
  return to_month_ends ? m / cal::last : std::min<Date>(m / cal::last, m / from.day());
}

// A step of a schedule: month ends remain month ends.
inline Date stepped(const Date& from, int months) { return stepped(from, months, month_end(from)); }

// The months from the anchor to its last coupon day that is not after the date.
inline int months_to(const Date& date, const Date& anchor, int months) {
  int k = (months_of(date) - months_of(anchor)) / months * months;
  while (stepped(anchor, k) > date) k -= months;
  while (stepped(anchor, k + months) <= date) k += months;
  return k;
}

inline double days(Date a, const Date& b, int basis) {
  if (basis % 4 != 0 || a == b) return number_of(b) - number_of(a);
  if (basis == 0 && a.day() == 31d && b.day() < 30d) a = date_of(number_of(a) + 1);
  const bool to_30 = basis == 0 && b.month() == cal::February && month_end(b);
  const cal::day start = std::min(a.day(), 30d), end = to_30 ? 30d : std::min(b.day(), 30d);
  return 30 * (months_of(b) - months_of(a)) + static_cast<int>((end - start).count());
}

inline double period_days(const Date& previous, const Date& next, int basis, double frequency) {
  if (basis == 1) return days(previous, next, basis);
  return (basis == 3 ? 365 : 360) / frequency;
}

inline double annual_ratio(const Date& a, const Date& b, int basis, bool end_31,
                           bool length_of_start, bool whole_leaps = false) {
  const double count = days(a, b, basis) + (basis == 0 && end_31 && b.day() == 31d);
  if (basis != 1) return count / (basis == 3 ? 365 : 360);
  double sum = 0, years = 0;
  for (cal::year y = a.year(); y <= b.year(); ++y, ++years) {
    const bool at_end = y == b.year(), held = y == a.year() ? a.month() < cal::March : !at_end;
    const bool counts = whole_leaps || held || (at_end && b.month() > cal::February);
    sum += 365 + (y.is_leap() && counts);
  }
  return count / (length_of_start ? 365 + a.year().is_leap() : sum / years);
}

inline double coupons_left(const Date& settlement, const Date& maturity, int months) {
  const int k = 12 * (int{settlement.year()} - int{maturity.year()});
  double left = -k / months;  // for maturity's day, even beyond the end of the month
  Date x = cal::sys_days{settlement.year() / maturity.month() / maturity.day()};
  for (int j = k; x > settlement; ++left) x = stepped(maturity, j -= months);
  for (int j = k; stepped(maturity, j += months) <= settlement;) --left;
  return left;
}

inline void require(bool holds, int slot) { holds ? void() : throw slot; }

inline double number(const Values& v, int slot, bool whole = false) {
  const double x = v[static_cast<std::size_t>(slot - 1)], t = whole ? std::trunc(x) : x;
  const bool fits = x <= 0x1p53 && x >= -0x1p63 && std::abs(x - t) <= 1e-12 * std::abs(x);
  return !std::isnan(x) && x != kNull && (fits || !whole) ? t : throw slot;
}

// The low 32 bits of a whole number.
inline double low_bits(const Values& v, int slot) {
  return static_cast<int>(std::llrint(number(v, slot, true)));
}

inline constexpr int kFailed = 120836, kUnmarked = -1;
inline Outcome holding(double value) { return {0, std::bit_cast<harness::Word>(value), kUnmarked}; }

Outcome modelled_by(const auto& model) {
  try {
    return holding(model());
  } catch (int slot) {
    return {kFailed, harness::kMissingBits, slot};
  } catch (const Outcome& early) {
    return early;
  }
}

inline double fallback(const catalog::Argument& a) {
  return a.fallback.empty() ? 0 : std::strtod(a.fallback.data(), nullptr);
}

// Reads an argument as the module does. If the default in the catalogue mentions "missing", a
// missing value is allowed.
inline double read(std::string_view word, const catalog::Argument& a, const Values& v, int slot) {
  using enum catalog::ArgumentKind;
  const double given = v[static_cast<std::size_t>(slot - 1)];
  const bool is_nan = std::isnan(given), is_payment = word == "FV" && a.name == "pmt";
  const bool allows_missing = a.fallback.find("missing") != a.fallback.npos;
  require(!is_nan || word != "FV" || a.name != "pv" || !std::isnan(v[2]), slot);
  if (is_nan ? allows_missing || is_payment : allows_missing && given == kNull) return fallback(a);
  if (a.kind == kWhole && allows_missing) {  // a choice, such as a payment type
    require(std::abs(given + 0.5) < 0x1p31 && std::trunc(given) == given, slot);
    return given;
  }
  if (a.name == "fraction" || (a.kind == kFrequency && word.starts_with("COUP"))) {
    const double x = number(v, slot, true);
    require(x < 0x1p31 || (low_bits(v, slot) > 0 && a.kind == kWhole), slot);
    return x;
  }
  const bool is_whole = a.kind == kWhole || a.kind == kFrequency;
  return is_whole ? low_bits(v, slot) : number(v, slot, a.kind == kDate);
}

// Returns the arguments of a call by their names in the catalogue and checks their bounds. The
// order of dates is checked after the last date; for equal dates the result is 0.
using Given = std::map<std::string_view, double>;
inline Given given_by(const catalog::Keyword& keyword, const Values& v, int basis = 0) {
  const auto all = keyword.arguments();
  const std::string_view word = keyword.word;
  Given given{{"", 0}};
  const auto hold = [&](std::size_t i, std::string_view newest) {
    for (const catalog::Bound& bound : all[i].bounds()) {
      // DB checks the month before it compares the period with the life.
      const auto due = word == "DB" && bound.other == "life" ? "month" : bound.other;
      if (!given.contains(due) || (newest != due && newest != "")) continue;
      const double x = given[all[i].name];
      const double limit = bound.value + given[bound.other];
      const auto marked = bound.marked.empty()
                              ? all.begin() + static_cast<std::ptrdiff_t>(i)
                              : std::ranges::find(all, bound.marked, &catalog::Argument::name);
      const int slot = static_cast<int>(marked - all.begin()) + 1;
      require(bound.holds(x, limit), bound.marks ? slot : kUnmarked);
      const bool is_open = word == "AMORLINC" || (word.starts_with("ODDF") && i > 1);
      if (all[i].kind == catalog::ArgumentKind::kDate && x == limit && !is_open) throw holding(0);
    }
  };
  for (std::size_t i = 0; i < all.size(); ++i) {
    const catalog::Argument& a = all[i];
    const bool is_date = a.kind == catalog::ArgumentKind::kDate;
    const bool is_basis = a.kind == catalog::ArgumentKind::kBasis;
    require(!is_basis || basis >= 0, static_cast<int>(i) + 1);
    given[a.name] = is_basis       ? basis
                    : i < v.size() ? read(word, a, v, static_cast<int>(i) + 1)
                                   : fallback(a);
    if (is_date && all[i + 1].kind == a.kind && word != "PRICEMAT") continue;
    if (!is_date) hold(i, "");
    for (std::size_t j = 0; j < i; ++j) hold(j, is_date ? "" : a.name);
    if (is_date) hold(i, "");
  }
  return given;
}

inline constexpr double kTiny = 1.053671212772351e-8;  // 2^-26.5
using vxfnc::zexpm1, vxfnc::zln1px;  // numeric_test.cpp compares them with the C library

// Newton's method in ln(1 + x). The objective returns its value and derivative. It may change
// `scale`, with which the last value of a long search is compared.
std::optional<double> root_near(double x, const auto& objective, const double& scale) {
  for (int i = 0;; ++i) {
    const auto [value, derivative] = objective(x);
    const double g = -value / ((x + 1) * derivative), e = zexpm1(g), old = x;
    x = std::fmax(e * old + (e + old), -0.9999999);
    if (!(g <= 354.891356446692 && std::isfinite(g) && std::isfinite(x))) return {};
    const bool is_zero = std::abs(old) < kTiny && std::abs(x) < kTiny;
    if (i < 100 && !is_zero && std::abs(old - x) > 1e-12 * std::max(std::abs(x), 1.0)) continue;
    if (i == 100 && !(std::abs(value) < 1.110223024625157e-15 * scale)) return {};
    return is_zero ? 0 : x;
  }
}
inline double found(std::optional<double> root) { return root ? *root : throw kUnmarked; }

// Signs of zeros and NaNs are ignored. Values may differ by `share` of their magnitude, or of 1 if
// that is larger.
inline bool alike(const Outcome& got, const Outcome& want, double share) {
  const double x = std::bit_cast<double>(got.bits), y = std::bit_cast<double>(want.bits);
  const bool close = x == y || std::abs(x - y) <= share * std::max(std::abs(y), 1.0);
  const bool same = close || (std::isnan(x) && std::isnan(y));
  return got == want || (got.status == 0 && want.status == 0 && got.marked == kUnmarked && same);
}

inline Outcome evaluate(Width width, const std::string& name, const Values& v, const Basis& basis) {
  std::vector<Argument> a;
  for (const double x : v) a.push_back(x == kNull ? harness::null() : num(x));
  if (&basis != kBases) a.push_back(basis.first);
  return harness::call(width, name, a);
}

struct Generator {
  std::mt19937_64 random{19600101};
  int below(int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); }
  double of(const Values& v) { return v[random() % v.size()]; }

  double day() {
    const int rare = below(3) ? 1583 + below(below(2) ? 20 : 2417) : 4000 << below(3);
    const auto year = cal::year{below(5) ? 1900 + below(201) : rare};
    const auto last = year / (below(3) ? 1 + below(12) : 2) / cal::last;
    return number_of(last) - below(2) * below(28) + below(5) / 4;
  }

  // An earlier day, often a whole number of coupon periods earlier.
  double before(double day, int months) {
    const int periods = below(below(4) ? 30 : 600) / months;
    const double on = number_of(stepped(date_of(day), -months * periods));
    return of({on, on, on + below(3) - 1, day - below(9), day - below(999), on - below(99)});
  }
  double near() {  // 1, or a number very close to it
    return 1 + of({0, 0, 0, 5e-13, -5e-13, 2e-12, -2e-12, 1e-8, -1e-8, 3e-8, -3e-8});
  }
  double odd() { return of({0x1p32 + 2, 0x1p31, 0x1p53 + 2, -0x1p64, HUGE_VAL, 0, -1}); }
  const Basis& basis() { return kBases[random() % (below(8) ? 11 : std::size(kBases))]; }

  // A call with the drawn arguments; optional arguments are often omitted.
  Values call(const catalog::Keyword& keyword, Given drawn) {
    Values v;
    for (const catalog::Argument& a : keyword.arguments())
      if (a.kind != catalog::ArgumentKind::kBasis) v.push_back(drawn.at(a.name));
    const auto is_optional = [&](std::size_t i) {
      return keyword.arguments()[i].presence == catalog::Presence::kOptional;
    };
    while (is_optional(v.size() - 1) && below(3) == 0) v.pop_back();
    return v;
  }

  // In one of seven calls, replaces an argument or changes it slightly.
  void spoil(Values& v) {
    double& x = v[random() % v.size()];
    if (below(7) == 0) x = of({NAN, kNull, -HUGE_VAL, 0, -1, x + 0.5, x * near(), x * near()});
  }
};

// Compares random calls of a keyword, in both widths, with a model. Values may differ by `share`.
void compare(auto& calls, std::string_view word, const auto& model, double share = 0) {
  const catalog::Keyword& keyword = *catalog::find(word);
  const auto all = keyword.arguments();
  const bool has_basis = all.back().kind == catalog::ArgumentKind::kBasis;
  int good = 0;
  for (int i = 0; i < 9000; ++i) {
    const Values v = calls(keyword);
    const Basis& basis = has_basis ? calls.basis() : kBases[0];
    const bool is_list = keyword.max_args() == catalog::kNoBound;
    const bool fits = is_list || (v.size() >= keyword.min_args() && v.size() <= keyword.max_args());
    const Outcome want = fits ? modelled_by([&] { return model(keyword, v, basis.second); })
                              : Outcome{kFailed, harness::kUntouched, kUnmarked};
    for (const Width width : {Width::wide, Width::byte}) {
      const Outcome got = evaluate(width, std::string(word), v, basis);
      ASSERT_TRUE(alike(got, want, share)) << word << testing::PrintToString(v) << " basis row "
                                           << &basis - kBases << ": " << got << ", not " << want;
    }
    good += want.status == 0;
  }
  EXPECT_GT(good, 3000) << word;
}

}  // namespace plain
