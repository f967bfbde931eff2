#include "bench/table.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>

std::string figure(double value, int decimals) {
  if (!(value > 0.0)) return "";
  char text[32];
  std::snprintf(text, sizeof text, "%.*f", decimals, value);
  return text;
}

std::string heading() {
  const std::chrono::year_month_day today(
      std::chrono::floor<std::chrono::days>(std::chrono::system_clock::now()));
  char day[32];
  std::snprintf(day, sizeof day, "%d-%02u-%02u", static_cast<int>(today.year()),
                static_cast<unsigned>(today.month()), static_cast<unsigned>(today.day()));
  std::ifstream processors("/proc/cpuinfo");
  std::string line;
  while (std::getline(processors, line) && !line.starts_with("model name")) continue;
  const std::size_t colon = line.find(": ");
  return std::string(day) + ", " +
         (colon == std::string::npos ? "unknown processor" : line.substr(colon + 2)) + '\n';
}

std::string Table::text() const {
  const std::size_t columns = lines_.front().size();
  std::vector<std::size_t> widths(columns, 0);
  for (const auto& line : lines_) {
    for (std::size_t i = 0; i < columns; ++i) widths[i] = std::max(widths[i], line[i].size());
  }
  std::string text;
  for (const auto& line : lines_) {
    for (std::size_t i = 0; i < columns; ++i) {
      const std::string padding(widths[i] - line[i].size(), ' ');
      text += "| " + (i < words_ ? line[i] + padding : padding + line[i]) + ' ';
    }
    text += "|\n";
    if (&line != &lines_.front()) continue;
    for (std::size_t i = 0; i < columns; ++i) {
      text += '|' + std::string(widths[i] + 1, '-') + (i < words_ ? '-' : ':');
    }
    text += "|\n";
  }
  return text;
}
