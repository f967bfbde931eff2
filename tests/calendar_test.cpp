// The calendar, the host's date formats, and the coupon functions that no keyword uses.
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>

#include "abi/kernel_handle.h"
#include "calendar/host_dates.h"
#include "coupons/coupon_days.h"
#include "coupons/proportions.h"
#include "coupons/schedule.h"

namespace vxfnc {
namespace {

CalendarDate day(int year, int month, int day_of_month) {
  using namespace std::chrono;
  const sys_days date{std::chrono::year{year} / month / day_of_month};
  return date_of_day((date - sys_days{1960y / 1 / 1}).count() + kDayNumberOfDateZero);
}

TEST(Calendar, ConvertsEveryDayThereAndBack) {
  using namespace std::chrono;
  const sys_days first{1y / 1 / 1};
  for (std::int64_t j = 1721426; j < 4200000; ++j) {
    const CalendarDate date = date_of_day(j);
    const year_month_day wanted{first + days{j - 1721426}};
    ASSERT_TRUE(date.year == int{wanted.year()} &&
                unsigned(date.month) == unsigned{wanted.month()} &&
                unsigned(date.day) == unsigned{wanted.day()} && date.dayNumber == j)
        << j;
  }
  for (std::int64_t j = 0; j < 3000000000; j += 5987) {  // the whole range of the 32-bit form
    CalendarDate date = date_of_day(j);
    ConvertDateToJulian(date);
    ASSERT_EQ(date.dayNumber, j);
  }
  EXPECT_TRUE(day(2001, 2, 28).endOfMonth == 1 && day(2000, 2, 28).endOfMonth == 0);
}

TEST(HostDates, ConvertOrReject) {
  const double no = MISSING;
  // clang-format off
  const struct { double year, month, day, wanted; } triples[] = {
      {49, 3, 1, 2049060}, {50, 3, 1, 1950060}, {99, 12, 31, 1999365}, {1582, 1, 1, 1582001},
      {4000, 2, 29, no}, {4000, 3, 1, 4000060}, {1581, 1, 1, no}, {20000, 12, 31, 20000365},
      {20001, 1, 1, no}, {-1, 1, 1, no}, {100, 1, 1, no}, {2001, 2, 29, no}, {2001, 13, 1, no},
      {2001, 0.5, 1, no}, {2001, 1, 0.5, no}, {2001, 1, 32, no}, {NAN, 1, 1, no}, {2001.9, 1.9, 1.9, 2001001}};
  const struct { double julian, wanted, back; } julians[] = {
      {1960001, 0, 1960001}, {1582001, -138061, 1582001}, {20000365, 6589335, 20000365},
      {49060, 32567, 2049060}, {20000366, no, no}, {1581365, no, no}, {100001, no, no},
      {2001366, no, no}, {0, no, no}, {-1, no, no}, {NAN, no, no}, {4000366, no, no}};
  // clang-format on
  const auto same = [](double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); };
  for (const auto& [year, month, day_of_month, wanted] : triples) {
    EXPECT_TRUE(same(vxfmtzjulymd(year, month, day_of_month), wanted)) << year << '-' << month;
  }
  for (const auto& [julian, wanted, back] : julians) {
    EXPECT_TRUE(same(vxfmtzdatjul(julian), wanted)) << julian;
    EXPECT_TRUE(same(vxfmtzjuldat(vxfmtzdatjul(julian)), back)) << julian;
  }
  double year, month, of_month;
  for (int date = -138061; date < 6589336; date += 13) {
    const double julian = vxfmtzjuldat(date + 0.5);
    vxfmtzymdjul(&year, &month, &of_month, julian + 0.9);
    ASSERT_TRUE(vxfmtzdatjul(julian) == date && vxfmtzjulymd(year, month, of_month) == julian)
        << date;
  }
  EXPECT_TRUE(std::isnan(vxfmtzjuldat(-138061.5)) && std::isnan(vxfmtzjuldat(6589336)));
  vxfmtzymdjul(&year, &month, &of_month, 0.9);
  EXPECT_TRUE(std::isnan(year) && std::isnan(month) && std::isnan(of_month));

  KernelServices handle{};
  Exported_VXHandle = &handle;  // a kernel without options
  EXPECT_EQ(vxfmtzjulymd(49, 3, 1), 2049060);
  handle.get_option = [](KernelServices*, const WideChar* name, std::uint64_t length,
                         std::uint64_t kind, std::int64_t* value, std::uint64_t* size) {
    EXPECT_EQ(std::u32string(name, length), U"VX_NAME_YEARCUTOFF");
    EXPECT_TRUE(kind == 3 && *value == 1950 && *size == 8);
    *value = 1920;
    return 0;
  };
  EXPECT_TRUE(vxfmtzjulymd(49, 3, 1) == 1949060 && vxfmtzjulymd(19, 3, 1) == 2019060);
  Exported_VXHandle = nullptr;
}

TEST(Schedule, CountsWholeCouponsAndFractionsOfAPeriod) {
  DayCountTerms terms{};
  measure_in_coupons(terms, 2, kBasisActual);
  const CalendarDate issue = day(2020, 3, 1), maturity = day(2030, 11, 15);
  EXPECT_EQ(CountWholeCoupons(day(2020, 5, 15), maturity, terms), 21);
  EXPECT_EQ(CountWholeCoupons(issue, maturity, terms), 21);
  EXPECT_EQ(CountWholeCoupons(day(2020, 12, 1), maturity, terms), 19);
  const CalendarDate last = day(2023, 2, 28), leap_day = day(2024, 2, 29);
  CouponSearch search(last, leap_day, terms, kDaysInPeriod);
  EXPECT_TRUE(FindCouponInfo(search) && zCompareDates(search.previousStore, last) == kEarlier);
  EXPECT_EQ(*ComputeFromSettlementToNextCoupon(issue, maturity, terms), 75.0 / 182.0);
  EXPECT_EQ(ComputeFromSettlementToNextCoupon(day(2020, 5, 15), maturity, terms), 0.0);
}

// The calculations use the returned count only. The stored values are for readers of the record.
TEST(Schedule, CouponDaysAreAlsoStoredWithALimit) {
  const double year_days[] = {360, 1, 360, 365, 360}, capped[] = {180, 275, 180, 182.5, 180};
  for (const int basis : {0, 1, 2, 3, 4}) {
    DayCountTerms terms{};
    measure_in_coupons(terms, 2, static_cast<BasisCode>(basis));
    CountTheCouponDays(day(2030, 1, 15), day(2030, 10, 17), terms);
    EXPECT_EQ(terms.basisYearDays, year_days[basis]);
    EXPECT_EQ(terms.cappedDayCount, capped[basis]);
  }
}

}  // namespace
}  // namespace vxfnc
