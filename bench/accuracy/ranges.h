// Draws random arguments from the text of ranges that the report prints.
//
//   rate=1e-4~1         evenly by order of magnitude
//   pr=50..150          evenly
//   nper=1:480          a whole number; a bound may be the name of an earlier argument
//   type=0|1            one of these values
//   start=@1950:2050    a day of these years; one in four is the last day of a month
//   end=start+1:3650    1 to 3650 days after the last argument named start; with a minus: before
//   flow{2:24}=...      a list of 2 to 24 values
//   day{*}=...          a list of the same length as the previous list
//   pr=f(0..0.1)        drawn from the range in parentheses; the row then computes pr from it
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

using Values = std::vector<double>;

struct Drawn {
  Values values;
  std::vector<bool> is_day;  // of each value
};

class Draw {
 public:
  Draw(std::uint64_t seed, std::uint64_t row, std::uint64_t block);
  Drawn arguments(std::string_view ranges);

 private:
  double unit() { return static_cast<double>(random_() >> 11) * 0x1p-53; }
  double whole(double low, double high);
  double one(std::string_view range, const std::vector<std::pair<std::string_view, double>>& named);

  std::mt19937_64 random_;
  bool is_day_ = false;  // true if the last value drawn is a day
};
