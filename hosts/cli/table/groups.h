// Groups of rows, held in memory.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "hosts/cli/table/work.h"

namespace cli {

// Rows that agree in their keys.
struct Group {
  std::vector<std::vector<double>> lists;  // as Plan::lists
  std::string message;                     // of the first row that cannot be used
  std::uint64_t line;                      // of that row, or the first one
};

class Groups {
 public:
  explicit Groups(const Plan& plan) : plan_(plan) {}

  [[nodiscard]] std::size_t size() const noexcept { return in_order_.size(); }

  // Adds the records of a block. Returns how many they are.
  std::uint64_t add(const Block& block);

  // Evaluates a range of groups, in the order in which they appeared.
  void evaluate(Work& work, std::size_t first, std::size_t last);

 private:
  void add(const Record& record);

  const Plan& plan_;
  std::uint64_t lines_ = 0;  // so far
  std::string key_;          // cells separated by tabs, with escapes
  std::unordered_map<std::string, Group> groups_;
  std::vector<std::pair<const std::string, Group>*> in_order_;
};

}  // namespace cli
