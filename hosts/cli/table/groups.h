// Groups of rows, held in memory.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "hosts/cli/table/work.h"

namespace cli {

// A column of a group.
struct GroupList {
  std::vector<double> values;  // NaN is a missing value
  bool has_kind = false;       // set by the first value
  bool is_date = false;
};

// The rows that have the same keys.
struct Group {
  std::vector<GroupList> lists;  // in the order of Plan::lists
  std::string message;           // the error of the first invalid row
  std::uint64_t line;            // of that row, or else of the first row
};

class Groups {
 public:
  explicit Groups(const Plan& plan) : plan_(plan) {}

  [[nodiscard]] std::size_t size() const noexcept { return in_order_.size(); }

  // Adds the records of a block. Returns their number.
  std::uint64_t add(const Block& block);

  // Evaluates a range of groups and frees their lists. Groups are in the order of their first rows.
  void evaluate(Work& work, std::size_t first, std::size_t last);

 private:
  void add(const Record& record);
  [[nodiscard]] std::string list_error(const GroupList& list, std::size_t column,
                                       const Value& value) const;
  void fill_block(Work& work, std::size_t first, std::size_t last);

  const Plan& plan_;
  std::uint64_t lines_ = 0;  // so far
  std::string key_;          // the cells of the keys, as a line of TSV
  std::unordered_map<std::string, Group> groups_;
  std::vector<std::pair<const std::string, Group>*> in_order_;
};

}  // namespace cli
