#include "hosts/cli/table/table.h"

#include <fmt/format.h>

#include <algorithm>
#include <deque>

#include "hosts/cli/io/progress.h"
#include "hosts/cli/table/groups.h"
#include "hosts/cli/table/header.h"
#include "hosts/cli/table/ordered_pipeline.h"
#include "hosts/cli/table/rows.h"

namespace cli {
namespace {

// Thrown after a row failed, with --errors fail.
struct Stopped {};

// Receives the finished blocks in order: writes their rows, and reports their errors.
class Report {
 public:
  Report(const InputFile& input, std::uint64_t first_line, OutputFile& output, Progress& progress)
      : input_(input), line_(first_line), output_(output), progress_(progress) {}

  void add(const Work& work) {
    output_.write(work.out);
    diagnostics_.count(work.rows, work.failed_rows);
    if (!work.diagnostics.empty() && !diagnostics_.limit_reached()) progress_.clear();
    for (const auto& [line, message] : work.diagnostics) {
      diagnostics_.report(fmt::format("{}:{}: {}", input_.name(), line_ + line, message));
    }
    line_ += work.lines;
    if (work.is_stopped) throw Stopped();
  }

  ExitCode finish(std::string_view what) {
    progress_.clear();
    return diagnostics_.finish(input_.name(), what);
  }

 private:
  const InputFile& input_;
  std::uint64_t line_;  // the line of the start of the next block
  OutputFile& output_;
  Progress& progress_;
  Diagnostics diagnostics_;
};

}  // namespace

ExitCode evaluate_table(const vxkernel::Kernel& kernel, const TableJob& job) {
  InputFile input(job.input);
  BlockReader reader(input, Framing::kCsv, job.delimiter);
  const auto [names, lines] = read_header(input, reader, job.delimiter);
  const Plan plan = plan_of(kernel, job, names);
  const RowFormat format(job.format, job.delimiter, job.decimals, output_names(plan));
  OutputFile output(job.output);
  Progress progress(input.size(), job.output == "-");
  Report report(input, lines + 1, output, progress);

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
      ordered_pipeline(works, read, evaluate_rows, write, [&input] { input.interrupt(); });
    }
  } catch (const Stopped&) {
    progress.clear();
    return kCalculationFailed;
  }
  output.commit();
  return report.finish(plan.is_grouped ? "groups" : "rows");
}

}  // namespace cli
