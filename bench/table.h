// Tables in Markdown that are also aligned for a terminal.
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

// Returns the figure with this number of decimals, or "" if it is not above 0.
std::string figure(double value, int decimals);

// Returns the date (UTC) and the name of the processor.
std::string heading();

class Table {
 public:
  // The first `words` columns contain words, the others figures.
  Table(std::vector<std::string> header, std::size_t words) : words_(words) {
    add(std::move(header));
  }
  void add(std::vector<std::string> cells) { lines_.push_back(std::move(cells)); }
  std::string text() const;

 private:
  std::size_t words_;
  std::vector<std::vector<std::string>> lines_;
};
