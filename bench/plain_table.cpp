// A program written by hand for one table and one formula, with which the speed of the command is
// compared. It appends the price to lines with the columns
// isin,issuer,settle,maturity,coupon,yield,redemption,frequency,basis. It checks nothing and does
// not support quotes.
#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <fstream>
#include <iostream>
#include <string>
#include <string_view>

#include "bench/minimal.h"

namespace {

double number(std::string_view cell) {
  double value = 0.0;
  std::from_chars(cell.data(), cell.data() + cell.size(), value);
  return value;
}

double date(std::string_view cell) {
  using namespace std::chrono;
  const auto digits = [cell](std::size_t at, std::size_t count) {
    int value = 0;
    for (const char c : cell.substr(at, count)) value = 10 * value + (c - '0');
    return value;
  };
  const year_month_day ymd{year{digits(0, 4)}, month{static_cast<unsigned>(digits(5, 2))},
                           day{static_cast<unsigned>(digits(8, 2))}};
  return static_cast<double>((sys_days{ymd} - sys_days{year{1960} / 1 / 1}).count());
}

}  // namespace

int main(int, char** argv) {
  std::ios::sync_with_stdio(false);
  std::ifstream file(argv[1]);
  std::string line;
  std::getline(file, line);
  std::cout << line << ",price\n";
  while (std::getline(file, line)) {
    std::array<std::string_view, 9> cells;
    std::string_view rest = line;
    for (std::string_view& cell : cells) {
      cell = rest.substr(0, rest.find(','));
      rest.remove_prefix(std::min(rest.size(), cell.size() + 1));
    }
    const double price = minimal::price(
        std::array{date(cells[2]), date(cells[3]), number(cells[4]) / 100, number(cells[5]) / 100,
                   number(cells[6]), number(cells[7]), number(cells[8])});
    std::array<char, 32> digits;
    char* const end = std::to_chars(digits.begin(), digits.end(), price).ptr;
    line += ',';
    line.append(digits.begin(), end);
    line += '\n';
    std::cout << line;
  }
}
