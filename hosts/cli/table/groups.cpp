#include "hosts/cli/table/groups.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cmath>

#include "hosts/cli/io/tsv.h"

namespace cli {

std::uint64_t Groups::add(const Block& block) {
  std::uint64_t rows = 0;
  RecordParser parser(block.text, plan_.shape);
  for (; parser.next(); ++rows) add(parser.record());
  lines_ += parser.lines();
  return rows;
}

// Puts the keys and the lists of the groups into the block of the work.
void Groups::fill_block(Work& work, std::size_t first, std::size_t last) {
  BlockEvaluator& block = work.columns;
  work.begin_block(last - first);
  block.rows = last - first;
  block.offsets.assign(1, 0);
  for (const std::size_t column : plan_.lists) block.lists[column].values.clear();
  std::vector<std::string> keys;
  for (std::size_t g = first; g < last; ++g) {
    auto& [key, group] = *in_order_[g];
    split_line(key, Escape::kBackslash, keys);
    for (std::size_t i = 0; i < plan_.keys.size(); ++i) {
      const std::size_t column = plan_.keys[i];
      if (!std::ranges::binary_search(plan_.cells, column)) continue;  // no expression uses it
      work.store(column, g - first, value_of_cell(keys[i], plan_.formats[column]));
    }
    if (!group.message.empty()) block.is_special[g - first] = 1;
    for (std::size_t i = 0; i < plan_.lists.size(); ++i) {
      BlockList& to = block.lists[plan_.lists[i]];
      GroupList& from = group.lists[i];
      if (g == first) to.is_date = from.is_date;
      if (from.is_date != to.is_date) block.is_special[g - first] = 1;
      to.values.insert(to.values.end(), from.values.begin(), from.values.end());
      from.values = {};
    }
    const std::size_t values =
        plan_.lists.empty() ? 0 : block.lists[plan_.lists.front()].values.size();
    block.offsets.push_back(static_cast<std::int64_t>(values));
  }
}

void Groups::evaluate(Work& work, std::size_t first, std::size_t last) {
  work.clear();
  fill_block(work, first, last);
  const bool has_columns = work.evaluate_block();
  const BlockEvaluator& block = work.columns;
  std::vector<std::string> keys;
  for (std::size_t g = first; g < last && !work.is_stopped; ++g) {
    const std::size_t row = g - first;
    const auto& [key, group] = *in_order_[g];
    split_line(key, Escape::kBackslash, keys);
    const auto append = [&](auto&& value) {
      work.append_row(
          0,
          [&](std::size_t to, std::size_t column) {
            const auto at = std::ranges::find(plan_.keys, column) - plan_.keys.begin();
            work.append_cell(to, column, keys[static_cast<std::size_t>(at)]);
          },
          value);
      work.end_row();
    };
    if (has_columns && block.is_special[row] == 0) {
      append([&](std::size_t column) { return work.block_value(column, row); });
      ++work.rows;
      continue;
    }
    for (std::size_t i = 0; i < plan_.keys.size(); ++i) {
      const std::size_t column = plan_.keys[i];
      work.evaluator.values[column] = value_of_cell(keys[i], plan_.formats[column]);
    }
    for (std::size_t i = 0; i < plan_.lists.size(); ++i) {
      const auto from = static_cast<std::size_t>(block.offsets[row]);
      const auto size = static_cast<std::size_t>(block.offsets[row + 1]) - from;
      const std::vector<double>& values = block.lists[plan_.lists[i]].values;
      work.evaluator.lists[plan_.lists[i]] = {std::span(values).subspan(from, size),
                                              group.lists[i].is_date};
    }
    work.subject = plan_.keys.empty() ? "" : fmt::format("{}: ", fmt::join(keys, ", "));
    if (!work.is_kept(work.evaluate(group.line, group.message))) continue;
    append([&](std::size_t column) { return work.evaluator.values[column]; });
  }
}

// Why a value does not belong in a list, whose values are all dates or all numbers.
std::string Groups::list_error(const GroupList& list, std::size_t column,
                               const Value& value) const {
  std::string_view allowed = "a number or a date (YYYY-MM-DD)";
  if (!value.is_text()) {
    allowed = list.is_date ? "a date (YYYY-MM-DD), as in the rows above"
                           : "a number, as in the rows above";
  }
  return fmt::format("{} is {}: must be {}", plan_.shape.names[column], format_for_message(value),
                     allowed);
}

void Groups::add(const Record& record) {
  key_.clear();
  for (std::size_t i = 0; i < plan_.keys.size(); ++i) {
    if (i > 0) key_ += '\t';
    if (plan_.keys[i] < record.cells.size()) {
      append_escaped(key_, trim(record.cells[plan_.keys[i]]));
    }
  }
  const auto [found, is_new] = groups_.try_emplace(key_);
  Group& group = found->second;
  const std::uint64_t line = lines_ + record.line;
  if (is_new) {
    group.line = line;
    group.lists.resize(plan_.lists.size());
    in_order_.push_back(&*found);
  }
  std::string message = record_error(plan_, record);
  const bool is_valid = message.empty();
  for (std::size_t i = 0; i < plan_.lists.size(); ++i) {
    const std::size_t column = plan_.lists[i];
    const Value value =
        is_valid ? value_of_cell(record.cells[column], plan_.formats[column]) : Value{};
    GroupList& list = group.lists[i];
    list.values.push_back(value.number);
    if (!value.is_text() && std::isnan(value.number)) continue;
    const bool fits = !value.is_text() && (!list.has_kind || list.is_date == value.is_date());
    if (!fits && message.empty()) message = list_error(list, column, value);
    if (!fits) continue;
    list.has_kind = true;
    list.is_date = value.is_date();
  }
  if (message.empty() || !group.message.empty()) return;
  group.message = std::move(message);
  group.line = line;
}

}  // namespace cli
