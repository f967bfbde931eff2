// The calendar, day counts and coupon schedules of the reference, based on std::chrono. They are
// short and slow, and share no code with the module. Days are counted from 1 January 1960.
#pragma once

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

namespace dates {

namespace cal = std::chrono;
using namespace std::chrono_literals;
using Date = cal::year_month_day;

inline constexpr cal::sys_days kDayZero = 1960y / 1 / 1;

inline double number(const Date& day) {
  return static_cast<double>((cal::sys_days{day} - kDayZero).count());
}
inline Date date(double number) { return kDayZero + cal::days{static_cast<int>(number)}; }
inline bool is_month_end(const Date& d) { return d == d.year() / d.month() / cal::last; }
inline int day_of(const Date& d) { return static_cast<int>(unsigned{d.day()}); }
inline int months_of(const Date& d) {
  return 12 * int{d.year()} + static_cast<int>(unsigned{d.month()});
}
inline Date first_of_next_month(const Date& d) {
  return (d.year() / d.month() + cal::months{1}) / 1;
}

// The same day `months` months later, or the last day of a shorter month. With to_month_ends,
// always the last day.
inline Date stepped(const Date& from, int months, bool to_month_ends) {
  const cal::year_month month = from.year() / from.month() + cal::months{months};
  return to_month_ends ? month / cal::last : std::min<Date>(month / cal::last, month / from.day());
}
inline Date stepped(const Date& from, int months) {
  return stepped(from, months, is_month_end(from));
}

// The months from the anchor to its last coupon day that is not after the date.
inline int months_to(const Date& date, const Date& anchor, int period) {
  int months = (months_of(date) - months_of(anchor)) / period * period;
  while (stepped(anchor, months) > date) months -= period;
  while (stepped(anchor, months + period) <= date) months += period;
  return months;
}

// The coupon days around a date: the last one that is not after it, and the next one.
inline std::pair<Date, Date> coupons_around(const Date& date, const Date& anchor, int period) {
  const int months = months_to(date, anchor, period);
  return {stepped(anchor, months), stepped(anchor, months + period)};
}

inline double actual_days(const Date& a, const Date& b) { return number(b) - number(a); }
inline double days_of_360(const Date& a, int first, const Date& b, int second) {
  return 30 * (months_of(b) - months_of(a)) + second - first;
}

// Days under a basis. In 30/360, a start on the 31st moves to the next month unless the end is the
// 30th or 31st; an end on the last day of February counts as the 30th.
inline double days(Date a, const Date& b, int basis) {
  if (basis % 4 != 0) return actual_days(a, b);
  if (basis == 4) return days_of_360(a, std::min(day_of(a), 30), b, std::min(day_of(b), 30));
  if (a == b) return 0;
  if (day_of(a) == 31 && day_of(b) < 30) a = first_of_next_month(a);
  const bool ends_february = b.month() == cal::February && is_month_end(b);
  const int last = ends_february ? 30 : std::min(day_of(b), 30);
  return days_of_360(a, std::min(day_of(a), 30), b, last);
}

// 30/360 in an odd first period. A start on the 31st or on the last day of February counts as the
// 30th. An end on the 31st counts as the 30th if the start does; an end on the last day of February
// counts as the 30th if the start is the last day of February, too.
inline double days_of_odd_first(const Date& a, const Date& b, int basis) {
  if (basis != 0) return days(a, b, basis);
  const bool in_february = a.month() == cal::February && is_month_end(a);
  const bool to_february = b.month() == cal::February && is_month_end(b);
  const int first = in_february ? 30 : std::min(day_of(a), 30);
  const bool is_30th = (in_february && to_february) || (day_of(b) == 31 && first == 30);
  return days_of_360(a, first, b, is_30th ? 30 : day_of(b));
}

// 30/360 in an odd last period. A start on the last day of a month other than February moves to the
// next month. Then an end on the 30th or on the last day of a month moves, too.
inline double days_of_odd_last(Date a, Date b, int basis) {
  if (basis != 0) return days(a, b, basis == 4 ? 4 : 1);
  const bool moves = is_month_end(a) && a.month() != cal::February;
  if (moves && (is_month_end(b) || day_of(b) == 30)) b = first_of_next_month(b);
  if (moves) a = first_of_next_month(a);
  const bool ends_february = b.month() == cal::February && is_month_end(b);
  const int last = ends_february ? 30 : std::min(day_of(b), 30);
  return 30 * (months_of(b) - months_of(a) - 1) + last + std::max(30 - day_of(a), 0);
}

// The number of coupon days after settlement up to maturity. It starts with the day of maturity in
// the year of settlement; 29 February becomes 1 March in a common year.
inline double coupons_left(const Date& settlement, const Date& maturity, int period) {
  const int years = 12 * (int{settlement.year()} - int{maturity.year()});
  const Date start = cal::sys_days{settlement.year() / maturity.month() / maturity.day()};
  int left = -years / period;
  if (start < settlement) {
    for (int k = years + period; stepped(maturity, k) <= settlement; k += period) --left;
  } else if (start > settlement) {
    ++left;
    for (int k = years - period; stepped(maturity, k) > settlement; k -= period) ++left;
  }
  return left;
}

enum class Year { kAverage, kOfStart, kWholeLeaps };  // the length of a year under basis 1

// A year fraction as a quotient of whole numbers: days * years / days of these years.
struct Fraction {
  double days, year_days, years;
};

inline Fraction year_fraction(const Date& a, const Date& b, int basis, bool counts_31st,
                              Year rule = Year::kAverage) {
  const double count = days(a, b, basis) + (basis == 0 && counts_31st && day_of(b) == 31 ? 1 : 0);
  if (basis != 1) return {count, basis == 3 ? 365.0 : 360.0, 1};
  if (rule == Year::kOfStart) return {count, a.year().is_leap() ? 366.0 : 365.0, 1};
  double sum = 0, years = 0;
  for (cal::year y = a.year(); y <= b.year(); ++y, ++years) {
    const bool is_inner = y != a.year() && y != b.year();
    const bool has_leap_day = is_inner || rule == Year::kWholeLeaps ||
                              (y == a.year() && a.month() <= cal::February) ||
                              (y == b.year() && b.month() >= cal::March);
    sum += y.is_leap() && has_leap_day ? 366 : 365;
  }
  return {count, sum, years};
}

}  // namespace dates
