// A report in Markdown that reads well on a terminal, too.
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

// The figure with so many decimals; nothing for one that is not above 0.
std::string figure(double value, int decimals);

// The day (UTC) and the processor.
std::string heading();

class Table {
 public:
  // The first columns hold words, the others figures.
  Table(std::vector<std::string> header, std::size_t words) : words_(words) {
    add(std::move(header));
  }
  void add(std::vector<std::string> cells) { lines_.push_back(std::move(cells)); }
  std::string text() const;

 private:
  std::size_t words_;
  std::vector<std::vector<std::string>> lines_;
};
