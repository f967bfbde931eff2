#include "hosts/cli/table/plan.h"

#include <fmt/format.h>

#include <algorithm>
#include <stdexcept>

namespace cli {
namespace {

// Calls read(text). Marks the place of a syntax error in the text.
auto explained(const std::string& text, auto&& read) {
  try {
    return read(text);
  } catch (const SyntaxError& error) {
    // A line end would separate the text from the mark.
    std::string line = text;
    std::ranges::replace_if(
        line, [](unsigned char c) { return c < ' ' || c == 127; }, ' ');
    const auto marked = line.begin() + static_cast<std::ptrdiff_t>(std::min(error.at, line.size()));
    const auto is_character = [](char c) { return (c & 0xC0) != 0x80; };
    const auto before = std::count_if(line.begin(), marked, is_character);
    const auto end = marked + std::min<std::ptrdiff_t>(static_cast<std::ptrdiff_t>(error.length),
                                                       line.end() - marked);
    const auto under = std::max<std::ptrdiff_t>(std::count_if(marked, end, is_character), 1);
    throw std::runtime_error(
        fmt::format("{}\n  {}\n  {:{}}^{:~<{}}", error.what(), line, "", before, "", under - 1));
  }
}

// Sorted, without duplicates.
std::vector<std::size_t> each_once(std::vector<std::size_t> indices) {
  std::ranges::sort(indices);
  indices.erase(std::unique(indices.begin(), indices.end()), indices.end());
  return indices;
}

}  // namespace

Plan plan_of(const vxkernel::Kernel& kernel, const TableJob& job, std::vector<std::string> header) {
  Plan plan{.kernel = kernel, .job = job, .header = std::move(header)};
  Columns columns(plan.header);
  const auto find = [&columns](const std::string& name) {
    try {
      return columns.find(name);
    } catch (const std::invalid_argument& error) {
      throw std::runtime_error(fmt::format("--by {}: {}", name, error.what()));
    }
  };
  std::ranges::transform(job.keys, std::back_inserter(plan.keys), find);
  if (each_once(plan.keys).size() < plan.keys.size()) {
    throw std::runtime_error("--by: a column is given twice");
  }
  plan.is_grouped = !job.keys.empty();
  for (const std::string& text : job.expressions) plan.is_grouped |= explained(text, uses_lists);
  if (plan.is_grouped) columns.group_by(plan.keys);
  std::size_t calls = 0;
  for (const std::string& text : job.expressions) {
    Expression expression = explained(
        text, [&columns, &calls](const std::string& line) { return parse(line, columns, calls); });
    columns.add_result(expression.name);
    for (const std::size_t i : expression.values) {
      if (columns.is_in_table(i)) plan.cells.push_back(i);
    }
    plan.lists.insert(plan.lists.end(), expression.lists.begin(), expression.lists.end());
    plan.expressions.push_back(std::move(expression));
  }
  plan.cells = each_once(std::move(plan.cells));
  plan.lists = each_once(std::move(plan.lists));
  return plan;
}

std::vector<std::string> output_names(const Plan& plan) {
  std::vector<std::string> names = plan.is_grouped ? std::vector<std::string>() : plan.header;
  if (plan.is_grouped) {
    for (const std::size_t i : plan.keys) names.push_back(plan.header[i]);
  }
  for (const Expression& expression : plan.expressions) names.push_back(expression.name);
  return names;
}

std::string record_error(const Plan& plan, const Record& record) {
  if (record.is_open) return "the quote that opens in this line is not closed";
  if (record.cells.size() == plan.header.size()) return {};
  return fmt::format("the row has {} cell{}, the header has {}", record.cells.size(),
                     record.cells.size() == 1 ? "" : "s", plan.header.size());
}

}  // namespace cli
