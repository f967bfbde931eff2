#include "table.h"

#include <fmt/format.h>

#include <algorithm>
#include <deque>
#include <stdexcept>
#include <unordered_map>

#include "expression.h"
#include "in_order.h"
#include "lines.h"
#include "progress.h"
#include "records.h"

namespace cli {
namespace {

// A row that fails where none may.
struct Stopped {};

// What all threads share, once the header is read.
struct Plan {
  const vxkernel::Kernel& kernel;
  const TableJob& job;
  std::vector<std::string> header;
  std::vector<std::size_t> keys{};   // columns that make groups
  std::vector<std::size_t> lists{};  // columns that groups keep in full
  std::vector<std::size_t> cells{};  // columns that rows are read for as values
  std::vector<Expression> expressions{};
  bool is_grouped = false;
};

// The rows or groups that one thread has in hand, and what came of them.
struct Work {
  Work(const Plan& what, const RowFormat& shape)
      : plan(what), format(shape), evaluator{.kernel = what.kernel} {
    evaluator.values.resize(plan.header.size() + plan.expressions.size());
    evaluator.lists.resize(plan.header.size());
    errors.resize(plan.expressions.size());
  }

  void clear() {
    out.clear();
    complaints.clear();
    lines = rows = failed_rows = 0;
    is_stopped = false;
  }

  // Keeps a complaint about a line, one of the first. It names the expression where there are more.
  void complain(std::uint64_t line, std::string_view complaint,
                const Expression* expression = nullptr) {
    if (complaint.empty() || complaints.size() >= Complaints::kMost) return;
    const bool is_named = expression != nullptr && plan.expressions.size() > 1;
    complaints.emplace_back(
        line, fmt::format("{}{}{}", subject, is_named ? expression->name + ": " : "", complaint));
  }

  // Evaluates the expressions on the evaluator's values and lists; all fail if the complaint says
  // why they must. False when one failed.
  bool evaluate(std::uint64_t line, std::string_view complaint = {}) {
    bool all_well = true;
    if (!complaint.empty()) complain(line, complaint);
    for (std::size_t i = 0; i < plan.expressions.size(); ++i) {
      Value& result = evaluator.values[plan.header.size() + i];
      if (complaint.empty()) {
        evaluator.begin(plan.job.on_error == OnError::kText ||
                        complaints.size() < Complaints::kMost);
        result = plan.expressions[i].root->evaluate(evaluator);
        if (!evaluator.failed) continue;
        complain(line, evaluator.complaint, &plan.expressions[i]);
        errors[i].swap(evaluator.complaint);
      } else {
        errors[i] = complaint;
      }
      all_well = false;
      result = {.kind = Value::Kind::kFailed};
    }
    ++rows;
    failed_rows += all_well ? 0 : 1;
    return all_well;
  }

  // Whether what was evaluated is to be written.
  bool is_kept(bool all_well) {
    is_stopped = !all_well && plan.job.on_error == OnError::kFail;
    return all_well || (!is_stopped && plan.job.on_error != OnError::kSkip);
  }

  void append_results(std::size_t column) {
    for (std::size_t i = 0; i < plan.expressions.size(); ++i) {
      Value value = evaluator.values[plan.header.size() + i];
      if (value.is_failed() && plan.job.on_error == OnError::kText && !errors[i].empty()) {
        value = {.word = errors[i], .kind = Value::Kind::kText};
      }
      format.value(out, column + i, value);
    }
  }

  const Plan& plan;
  const RowFormat& format;
  Block block;
  Evaluator evaluator;
  std::string subject;              // of the complaints: the keys of a group
  std::vector<std::string> errors;  // by expression
  std::string out;
  std::vector<std::pair<std::uint64_t, std::string>> complaints;  // with their lines
  std::uint64_t lines = 0;
  std::uint64_t rows = 0;
  std::uint64_t failed_rows = 0;
  bool is_stopped = false;
};

// Takes what came of each block in turn: rows to the output, complaints to standard error.
class Report {
 public:
  Report(const TableJob& job, std::uint64_t first_line, OutputFile& output, Progress& progress)
      : job_(job), line_(first_line), output_(output), progress_(progress) {}

  void add(const Work& work) {
    output_.write(work.out);
    complaints_.count(work.rows, work.failed_rows);
    if (!work.complaints.empty() && !complaints_.are_enough()) progress_.clear();
    for (const auto& [line, complaint] : work.complaints) {
      complaints_.tell(fmt::format("{}:{}: {}", job_.input, line_ + line, complaint));
    }
    line_ += work.lines;
    if (work.is_stopped) throw Stopped();
  }

  ExitCode finish(std::string_view what) {
    progress_.clear();
    return complaints_.finish(job_.input, what);
  }

 private:
  const TableJob& job_;
  std::uint64_t line_;  // where the next block begins
  OutputFile& output_;
  Progress& progress_;
  Complaints complaints_;
};

// What is wrong with a record as a whole; nothing where it can be evaluated.
std::string complaint_of(const Plan& plan, const Record& record) {
  if (record.is_open) return "a quote that opens here is not closed";
  if (record.cells.size() == plan.header.size()) return {};
  return fmt::format("has {} cell{}, the header has {}", record.cells.size(),
                     record.cells.size() == 1 ? "" : "s", plan.header.size());
}

// Evaluates the records of the work's block, each with its own results.
void evaluate_rows(Work& work) {
  const Plan& plan = work.plan;
  const std::size_t width = plan.header.size();
  work.clear();
  CsvParser parser(work.block.text, plan.job.delimiter);
  while (!work.is_stopped && parser.next()) {
    const Record& record = parser.record();
    const auto& cells = record.cells;
    const std::string complaint = complaint_of(plan, record);
    if (complaint.empty()) {
      for (const std::size_t i : plan.cells) work.evaluator.values[i] = value_of_cell(cells[i]);
    }
    if (!work.is_kept(work.evaluate(record.line, complaint))) continue;
    if (complaint.empty() && plan.job.format == Format::kCsv) {
      work.out += record.text;
    } else {
      for (std::size_t i = 0; i < width; ++i) {
        work.format.cell(work.out, i, i < cells.size() ? cells[i] : std::string_view());
      }
    }
    work.append_results(width);
    for (std::size_t i = width; i < cells.size(); ++i) {  // what has no column is not lost
      work.format.cell(work.out, i + plan.expressions.size(), cells[i]);
    }
    work.format.end(work.out);
  }
  work.lines = parser.lines();
}

// Rows that agree in their keys.
struct Group {
  std::vector<std::vector<double>> lists;  // as Plan::lists
  std::string complaint;                   // of the first row that cannot be used
  std::uint64_t line;                      // of that row, or the first one
};

class Groups {
 public:
  explicit Groups(const Plan& plan) : plan_(plan) {}

  [[nodiscard]] std::size_t size() const noexcept { return in_order_.size(); }

  // Adds the records of a block, and says how many they are.
  std::uint64_t add(const Block& block) {
    std::uint64_t rows = 0;
    CsvParser parser(block.text, plan_.job.delimiter);
    for (; parser.next(); ++rows) add(parser.record());
    lines_ += parser.lines();
    return rows;
  }

  // Evaluates a range of groups, in the order in which they appeared.
  void evaluate(Work& work, std::size_t first, std::size_t last) {
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
      if (!work.is_kept(work.evaluate(group.line, group.complaint))) continue;
      for (std::size_t i = 0; i < plan_.keys.size(); ++i) {
        work.format.cell(work.out, i, keys[i]);
      }
      work.append_results(plan_.keys.size());
      work.format.end(work.out);
    }
  }

 private:
  void add(const Record& record) {
    key_.clear();
    for (std::size_t i = 0; i < plan_.keys.size(); ++i) {
      if (i > 0) key_ += '\t';
      if (plan_.keys[i] < record.cells.size()) {
        append_escaped(key_, without_blanks(record.cells[plan_.keys[i]]));
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
    std::string complaint = complaint_of(plan_, record);
    for (std::size_t i = 0; i < plan_.lists.size() && complaint.empty(); ++i) {
      const Value value = value_of_cell(record.cells[plan_.lists[i]]);
      group.lists[i].push_back(value.number);
      if (!value.is_text()) continue;
      complaint = fmt::format("{} is {}: must be a number or a date", plan_.header[plan_.lists[i]],
                              shown(value));
    }
    if (complaint.empty() || !group.complaint.empty()) return;
    group.complaint = std::move(complaint);
    group.line = line;
  }

  const Plan& plan_;
  std::uint64_t lines_ = 0;  // so far
  std::string key_;          // cells separated by tabs, with escapes
  std::unordered_map<std::string, Group> groups_;
  std::vector<std::pair<const std::string, Group>*> in_order_;
};

struct Header {
  std::vector<std::string> names;
  std::uint64_t lines = 0;  // up to its end
};

// The first record that is not empty.
Header read_header(const InputFile& input, BlockReader& reader, const TableJob& job) {
  Header header;
  Block block;
  while (header.names.empty() && reader.next_record(block)) {
    if (block.text.starts_with("\xFF\xFE") || block.text.starts_with("\xFE\xFF")) {
      throw std::runtime_error(input.name() +
                               " is UTF-16; make it UTF-8 first: iconv -f UTF-16 -t UTF-8");
    }
    if (block.text.starts_with("\x1F\x8B")) {
      throw std::runtime_error(input.name() + " is compressed; read it through zcat");
    }
    CsvParser parser(block.text, job.delimiter);
    while (parser.next()) {
      const Record& record = parser.record();
      if (record.is_open) {
        throw std::runtime_error(input.name() +
                                 ": a quote in the line of column names is not closed");
      }
      header.names.clear();
      for (const std::string_view cell : record.cells) {
        header.names.emplace_back(without_blanks(cell));
      }
    }
    header.lines += parser.lines();
  }
  if (header.names.empty()) {
    throw std::runtime_error(input.name() + " is empty: it needs a line of column names");
  }
  return header;
}

// Calls read(text), and says where in the text a syntax error stands.
auto explained(const std::string& text, auto&& read) {
  try {
    return read(text);
  } catch (const SyntaxError& error) {
    // A line end would tear text and mark apart.
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

// Sorts and leaves each once.
std::vector<std::size_t> each_once(std::vector<std::size_t> indices) {
  std::ranges::sort(indices);
  indices.erase(std::unique(indices.begin(), indices.end()), indices.end());
  return indices;
}

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
    throw std::runtime_error("--by names a column twice");
  }
  plan.is_grouped = !job.keys.empty();
  for (const std::string& text : job.expressions) plan.is_grouped |= explained(text, uses_lists);
  if (plan.is_grouped) columns.group_by(plan.keys);
  for (const std::string& text : job.expressions) {
    Expression expression =
        explained(text, [&columns](const std::string& line) { return parse(line, columns); });
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

// The columns of the output.
std::vector<std::string> output_names(const Plan& plan) {
  std::vector<std::string> names = plan.is_grouped ? std::vector<std::string>() : plan.header;
  if (plan.is_grouped) {
    for (const std::size_t i : plan.keys) names.push_back(plan.header[i]);
  }
  for (const Expression& expression : plan.expressions) names.push_back(expression.name);
  return names;
}

}  // namespace

ExitCode evaluate_table(const vxkernel::Kernel& kernel, const TableJob& job) {
  InputFile input(job.input);
  BlockReader reader(input, Framing::kCsv, job.delimiter);
  const auto [names, lines] = read_header(input, reader, job);
  const Plan plan = plan_of(kernel, job, names);
  const RowFormat format(job.format, job.delimiter, job.decimals, output_names(plan));
  OutputFile output(job.output);
  Progress progress(input.size(), job.output == "-");
  Report report(job, lines + 1, output, progress);

  std::string header;
  format.header(header);
  output.write(header);

  std::deque<Work> works;
  for (unsigned i = 0; i < std::max(job.workers, 1U); ++i) works.emplace_back(plan, format);
  const auto read = [&reader](Work& work) { return reader.next(work.block); };
  try {
    if (plan.is_grouped) {
      Groups groups(plan);
      for (Work& work = works.front(); read(work);) {
        progress.advance(groups.add(work.block), work.block.end);
      }
      constexpr std::size_t kGroupsAtOnce = 64;
      struct Batch {
        std::size_t first = 0;
        std::size_t last = 0;
        Work* work;
      };
      std::vector<Batch> batches;
      for (Work& work : works) batches.push_back({.work = &work});
      std::size_t next = 0;
      in_order(
          batches,
          [&](Batch& batch) {
            batch.first = next;
            batch.last = next = std::min(next + kGroupsAtOnce, groups.size());
            return batch.first < batch.last;
          },
          [&groups](Batch& batch) { groups.evaluate(*batch.work, batch.first, batch.last); },
          [&report](const Batch& batch) { report.add(*batch.work); }, [] {});
    } else {
      const auto write = [&](const Work& work) {
        report.add(work);
        progress.advance(work.rows, work.block.end);
      };
      in_order(works, read, evaluate_rows, write, [&input] { input.interrupt(); });
    }
  } catch (const Stopped&) {
    progress.clear();
    return kCalculationFailed;
  }
  output.commit();
  return report.finish(plan.is_grouped ? "groups" : "rows");
}

}  // namespace cli
