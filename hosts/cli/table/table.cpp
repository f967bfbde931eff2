#include "hosts/cli/table/table.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <deque>
#include <optional>
#include <utility>

#include "hosts/cli/io/progress.h"
#include "hosts/cli/table/groups.h"
#include "hosts/cli/table/header.h"
#include "hosts/cli/table/ordered_pipeline.h"
#include "hosts/cli/table/rows.h"

namespace cli {
namespace {

// Thrown after a row failed, with --errors fail.
struct Stopped {};

// The file of errors: one row per failure.
class ErrorsFile {
 public:
  explicit ErrorsFile(const std::string& path)
      : format_(Format::kCsv, ',', kAllDigits,
                {"line", "column", "keyword", "argument", "value", "message"}, {}) {
    if (path.empty()) return;
    file_.emplace(path);
    std::string header;
    format_.header(header);
    file_->write(header);
  }

  void add(std::uint64_t line, const Failure& failure) {
    if (!file_) return;
    const RowError& error = failure.error;
    const std::string cells[] = {
        std::to_string(line), failure.expression == nullptr ? "" : failure.expression->name,
        error.keyword,        error.argument,
        error.value,          failure.subject + error.message};
    std::string row;
    for (std::size_t i = 0; i < std::size(cells); ++i) format_.cell(row, i, cells[i]);
    format_.end(row);
    file_->write(row);
  }

  void commit() {
    if (file_) file_->commit();
  }

 private:
  RowFormat format_;
  std::optional<OutputFile> file_;
};

// Receives the finished blocks in order: writes their rows, and reports their errors.
class Report {
 public:
  Report(const std::string& input, std::uint64_t first_line, OutputFile& output, ErrorsFile& errors,
         Progress& progress)
      : input_(input), line_(first_line), output_(output), errors_(errors), progress_(progress) {}

  void add(const Work& work) {
    output_.write(work.out);
    diagnostics_.count(work.rows, work.failed_rows);
    if (!work.failures.empty() && !diagnostics_.limit_reached()) progress_.clear();
    for (const Failure& failure : work.failures) {
      const std::uint64_t line = line_ + failure.line;
      errors_.add(line, failure);
      const bool is_named = failure.expression != nullptr && work.plan.expressions.size() > 1;
      if (diagnostics_.limit_reached()) continue;
      diagnostics_.report(fmt::format("{}:{}: {}{}{}", input_, line, failure.subject,
                                      is_named ? failure.expression->name + ": " : "",
                                      failure.error.message));
    }
    line_ += work.lines;
    if (work.is_stopped) throw Stopped();
  }

  ExitCode finish(std::string_view what) {
    progress_.clear();
    return diagnostics_.finish(input_, what);
  }

 private:
  const std::string& input_;
  std::uint64_t line_;  // the line of the start of the next block
  OutputFile& output_;
  ErrorsFile& errors_;
  Progress& progress_;
  Diagnostics diagnostics_;
};

// Gives the blocks of the input.
class Source {
 public:
  explicit Source(const TableJob& job)
      : shape_{job.has_input ? job.from : InputFormat::kNone, job.delimiter, {}},
        input_(job.has_input ? job.input : "/dev/null",
               job.counters.empty() ? InputFile::kReadSize : kReadSizeToRepeat),
        reader_(input_, shape_.framing(), job.delimiter) {
    name_ = job.has_input ? input_.name() : "no input";
    if (!job.has_input) return;
    Header header = read_header(input_, reader_, shape_);
    shape_.names = std::move(header.names);
    lines_ = header.lines;
  }

  [[nodiscard]] const Shape& shape() const noexcept { return shape_; }
  [[nodiscard]] const std::string& name() const noexcept { return name_; }
  [[nodiscard]] std::uint64_t size() const noexcept { return input_.size(); }
  [[nodiscard]] std::uint64_t header_lines() const noexcept { return lines_; }

  bool next(Block& block) {
    if (shape_.format != InputFormat::kNone) return reader_.next(block);
    block.text = "\n";
    return !std::exchange(is_at_end_, true);
  }
  void interrupt() noexcept { input_.interrupt(); }

 private:
  // The rows of a block are in memory together. Counters make many rows of one.
  static constexpr std::size_t kReadSizeToRepeat = std::size_t{4} << 10;

  Shape shape_;
  InputFile input_;
  BlockReader reader_;
  std::string name_;
  std::uint64_t lines_ = 0;
  bool is_at_end_ = false;
};

}  // namespace

ExitCode evaluate_table(const vxkernel::Kernel& kernel, const TableJob& job) {
  if (job.has_input && job.input == "-" && ::isatty(STDIN_FILENO) != 0) {
    say("finance: reading the table from standard input; -i FILE reads a file\n");
  }
  Source source(job);
  const Plan plan = plan_of(kernel, job, source.shape());
  const RowFormat format(job.to, job.delimiter, job.decimals, plan.output_names,
                         plan.output_is_number);
  OutputFile output(job.output, job.to == Format::kTable);
  ErrorsFile errors(job.errors_file);
  Progress progress(source.size(), job.output == "-");
  Report report(source.name(), source.header_lines() + 1, output, errors, progress);

  std::string header;
  format.header(header);
  output.write(header);

  std::deque<Work> works;
  for (unsigned i = 0; i < std::max(job.workers, 1U); ++i) works.emplace_back(plan, format);
  const auto read = [&source](Work& work) { return source.next(work.block); };
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
      ordered_pipeline(
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
      ordered_pipeline(works, read, evaluate_rows, write, [&source] { source.interrupt(); });
    }
  } catch (const Stopped&) {
    progress.clear();
    output.finish_rows();
    errors.commit();
    return kCalculationFailed;
  }
  output.commit();
  errors.commit();
  return report.finish(plan.is_grouped ? "groups" : "rows");
}

}  // namespace cli
