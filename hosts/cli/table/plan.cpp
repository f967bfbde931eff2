#include "hosts/cli/table/plan.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>
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

// The column that an option names.
std::size_t find(const Columns& columns, std::string_view option, const std::string& name) {
  try {
    return columns.find(name);
  } catch (const std::invalid_argument& error) {
    throw std::runtime_error(fmt::format("{}: {}", option, error.what()));
  }
}

// The columns that an option names: a list with commas, as a row of CSV. A name with a comma is in
// double quotes, unless it is the only name.
std::vector<std::size_t> find_all(const Columns& columns, std::string_view option,
                                  const std::vector<std::string>& lists) {
  std::vector<std::size_t> found;
  for (const std::string& list : lists) {
    const auto& names = columns.names();
    std::vector<std::string> wanted;
    if (std::ranges::find(names, list) != names.end()) {
      wanted.push_back(list);
    } else {
      CsvParser parser(list, ',');
      if (parser.next()) {
        for (const auto cell : parser.record().cells) wanted.emplace_back(trim(cell));
      }
    }
    for (const std::string& name : wanted) found.push_back(find(columns, option, name));
  }
  if (each_once(found).size() < found.size()) {
    throw std::runtime_error(fmt::format("{}: a column is given twice", option));
  }
  return found;
}

struct Assignment {
  std::optional<std::size_t> column;  // none: all columns
  std::string format;
};

// [COLUMN=]FORMAT
Assignment assignment_of(const Columns& columns, std::string_view option, const std::string& text) {
  const std::size_t at = text.rfind('=');
  if (at == text.npos) return {std::nullopt, text};
  return {find(columns, option, text.substr(0, at)), text.substr(at + 1)};
}

// Sets the formats of the columns. A format without a column is for all columns. But dates that are
// numbers, such as the days of a spreadsheet, are dates only in columns that an expression uses as
// dates.
void set_formats(Plan& plan, const Columns& columns) {
  plan.formats.resize(plan.width());
  std::vector<std::size_t> dates;
  for (const Expression& expression : plan.expressions) {
    dates.insert(dates.end(), expression.dates.begin(), expression.dates.end());
  }
  const auto apply = [&](const Assignment& to, bool only_dates, auto&& set) {
    for (std::size_t i = 0; i < plan.width(); ++i) {
      const bool is_meant =
          to.column ? *to.column == i : !only_dates || std::ranges::find(dates, i) != dates.end();
      if (is_meant) set(plan.formats[i]);
    }
  };
  const auto by_scope = [](const std::string& text) { return text.find('=') != text.npos; };
  auto date_formats = plan.job.date_formats;  // a format of one column wins
  auto number_formats = plan.job.number_formats;
  std::ranges::stable_sort(date_formats, {}, by_scope);
  std::ranges::stable_sort(number_formats, {}, by_scope);
  try {
    for (const std::string& text : date_formats) {
      const Assignment to = assignment_of(columns, "--dates", text);
      if (to.format != kExcelDates) plan.date_form = to.format;
      const bool are_numbers = writes_dates_as_numbers(to.format) && !to.column;
      if (are_numbers && std::ranges::any_of(plan.expressions, &Expression::computes_dates)) {
        throw std::runtime_error(
            fmt::format("--dates {0}: a date is computed from columns: name the columns that have "
                        "dates, as in --dates settle={0}",
                        to.format));
      }
      apply(to, are_numbers, [&](CellFormat& format) {
        format.is_default = false;
        format.dates = to.format;
        format.accepts_iso = !to.column && !to.format.starts_with("%Y");
      });
    }
    for (const std::string& text : number_formats) {
      const Assignment to = assignment_of(columns, "--numbers", text);
      const NumberFormat numbers = number_format_of(to.format);
      apply(to, false, [&](CellFormat& format) {
        format.is_default = false;
        format.has_numbers = true;
        format.numbers = numbers;
      });
    }
  } catch (const std::invalid_argument& error) {
    throw std::runtime_error(error.what());
  }
}

void set_output(Plan& plan, const Columns& columns) {
  const TableJob& job = plan.job;
  if (!job.selected.empty()) {
    plan.output = find_all(columns, "--select", job.selected);
    for (const std::size_t i : plan.output) {
      if (columns.has_one_value(i)) continue;
      throw std::runtime_error(
          fmt::format("--select: {} has several values in a group", columns.names()[i]));
    }
  } else {
    if (plan.is_grouped) plan.output = plan.keys;
    for (std::size_t i = plan.is_grouped ? plan.width() : 0; i < plan.columns(); ++i) {
      plan.output.push_back(i);
    }
  }
  std::vector<std::size_t> numbers = find_all(columns, "--number", job.numbers);
  for (const Expression& expression : plan.expressions) {
    numbers.insert(numbers.end(), expression.numbers.begin(), expression.numbers.end());
  }
  for (const std::size_t i : plan.output) {
    plan.output_names.push_back(columns.names()[i]);
    const bool is_number = std::ranges::find(numbers, i) != numbers.end();
    const bool has_format = i < plan.width() && plan.formats[i].has_numbers;
    if (has_format) plan.formats[i].writes_numbers = is_number;
    plan.output_is_number.push_back(is_number && !has_format ? 1 : 0);
  }
  if (job.on_error == OnError::kText) {
    constexpr const char* kErrorColumn = "error";
    if (std::ranges::find(plan.output_names, kErrorColumn) != plan.output_names.end()) {
      throw std::runtime_error("--errors text adds the column error, which already exists");
    }
    plan.output_names.emplace_back(kErrorColumn);
    plan.output_is_number.push_back(0);
  }
  plan.copies_records = !plan.is_grouped && job.selected.empty() && plan.width() > 0 &&
                        job.from == InputFormat::kCsv && job.to == Format::kCsv;
}

}  // namespace

Plan plan_of(const vxkernel::Kernel& kernel, const TableJob& job, const Shape& shape) {
  Plan plan{.kernel = kernel, .job = job, .shape = shape};
  Columns columns(shape.names);
  plan.keys = find_all(columns, "--by", job.keys);
  plan.is_grouped = !job.keys.empty();
  for (const std::string& text : job.expressions) plan.is_grouped |= explained(text, uses_lists);
  if (plan.is_grouped) columns.group_by(plan.keys);
  if (plan.is_grouped && !job.counters.empty()) {
    throw std::runtime_error("--rows cannot be combined with --by or lists");
  }
  const auto use_cells = [&](const std::vector<std::size_t>& values) {
    std::ranges::copy_if(values, std::back_inserter(plan.cells),
                         [&](std::size_t i) { return columns.is_in_table(i); });
  };
  std::size_t calls = 0;
  for (const std::string& text : job.counters) {
    plan.counters.push_back(explained(
        text, [&](const std::string& line) { return parse_counter(line, columns, calls); }));
    columns.add_result(plan.counters.back().name);
    use_cells(plan.counters.back().values);
  }
  for (const std::string& text : job.expressions) {
    plan.expressions.push_back(
        explained(text, [&](const std::string& line) { return parse(line, columns, calls); }));
    const Expression& expression = plan.expressions.back();
    columns.add_result(expression.name);
    use_cells(expression.values);
    plan.lists.insert(plan.lists.end(), expression.lists.begin(), expression.lists.end());
  }
  plan.cells = each_once(std::move(plan.cells));
  plan.lists = each_once(std::move(plan.lists));
  set_formats(plan, columns);
  set_output(plan, columns);
  return plan;
}

std::string record_error(const Plan& plan, const Record& record) {
  if (!record.error.empty()) return std::string(record.error);
  if (record.cells.size() == plan.width()) return {};
  return fmt::format("the row has {} cell{}, the header has {}", record.cells.size(),
                     record.cells.size() == 1 ? "" : "s", plan.width());
}

}  // namespace cli
