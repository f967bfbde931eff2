// Random arguments, from the line that the report prints as their ranges.
//
//   rate=1e-4~1         evenly by order of magnitude
//   pr=50..150          evenly
//   nper=1:480          whole; a bound may be the name of an argument before
//   type=0|1            one of them
//   start=@1950:2050    a day of these years; one in four is the last of its month
//   end=start+1:3650    so many days after the last argument of that name; with a minus, before
//   flow{2:24}=...      a list of so many
//   day{*}=...          a list of as many as the list before
//   pr=f(0..0.1)        drawn from what the parentheses hold; the row then makes pr of it
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
  bool is_day_ = false;  // what was drawn last
};
