#include "hosts/cli/table/groups.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "hosts/cli/io/tsv.h"

namespace cli {

std::uint64_t Groups::add(const Block& block) {
  std::uint64_t rows = 0;
  CsvParser parser(block.text, plan_.job.delimiter);
  for (; parser.next(); ++rows) add(parser.record());
  lines_ += parser.lines();
  return rows;
}

void Groups::evaluate(Work& work, std::size_t first, std::size_t last) {
  work.clear();
  std::vector<std::string> keys;
  for (std::size_t g = first; g < last && !work.is_stopped; ++g) {
    auto& [key, group] = *in_order_[g];
    split_line(key, Escape::kBackslash, keys);
    for (std::size_t i = 0; i < plan_.keys.size(); ++i) {
      work.evaluator.values[plan_.keys[i]] = value_of_cell(keys[i]);
    }
    for (std::size_t i = 0; i < plan_.lists.size(); ++i) {
      work.evaluator.lists[plan_.lists[i]] = std::move(group.lists[i]);
    }
    work.subject = plan_.keys.empty() ? "" : fmt::format("{}: ", fmt::join(keys, ", "));
    if (!work.is_kept(work.evaluate(group.line, group.message))) continue;
    for (std::size_t i = 0; i < plan_.keys.size(); ++i) {
      work.format.cell(work.out, i, keys[i]);
    }
    work.append_results(plan_.keys.size());
    work.format.end(work.out);
  }
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
  for (std::size_t i = 0; i < plan_.lists.size() && message.empty(); ++i) {
    const Value value = value_of_cell(record.cells[plan_.lists[i]]);
    group.lists[i].push_back(value.number);
    if (!value.is_text()) continue;
    message = fmt::format("{} is {}: must be a number or a date", plan_.header[plan_.lists[i]],
                          format_for_message(value));
  }
  if (message.empty() || !group.message.empty()) return;
  group.message = std::move(message);
  group.line = line;
}

}  // namespace cli
