#include "hosts/cli/table/rows.h"

#include <cmath>

#include "hosts/cli/table/expansion.h"

namespace cli {
namespace {

constexpr std::size_t kRowsAtOnce = 256;

// Rows that are evaluated together, by columns where that is possible.
class Batch {
 public:
  explicit Batch(Work& work) : work_(work), expansion_(work) {}

  // Reads the next rows. Returns false at the end.
  bool read(RecordParser& parser) {
    rows_.clear();
    errors_.clear();
    counters_.clear();
    work_.begin_block(kRowsAtOnce + 1);  // one more for an error
    if (expansion_.is_at_row()) work_.evaluator.values = suspended_;
    while (rows_.size() < kRowsAtOnce) {
      if (expansion_.is_at_row()) {
        add_expanded(parser.record());
      } else if (parser.next()) {
        add(parser.record());
      } else {
        break;
      }
    }
    if (expansion_.is_at_row()) suspended_ = work_.evaluator.values;
    work_.columns.rows = rows_.size();
    return !rows_.empty();
  }

  // Evaluates the rows and appends them to the output.
  void evaluate() {
    const bool has_columns = work_.evaluate_block();
    for (std::size_t row = 0; row < rows_.size() && !work_.is_stopped; ++row) {
      if (has_columns && work_.columns.is_special[row] == 0) {
        append_row(row);
      } else {
        evaluate_row(row);
      }
    }
  }

 private:
  static constexpr std::size_t kNoError = SIZE_MAX;
  struct Row {
    std::string_view text;
    std::uint64_t line;
    std::size_t error;  // in errors_
  };

  void add(const Record& record) {
    std::string error = record_error(work_.plan, record);
    if (!work_.plan.counters.empty() && error.empty()) {
      for (const std::size_t i : work_.plan.cells) {
        work_.evaluator.values[i] = value_of_cell(record.cells[i], work_.plan.formats[i]);
      }
      error = expansion_.start();
      if (error.empty()) return;
    }
    if (!error.empty()) return add_error(record, std::move(error));
    const std::size_t row = add_row(record);
    for (const std::size_t i : work_.plan.cells) {
      const CellFormat& format = work_.plan.formats[i];
      work_.store(i, row, value_of_cell(record.cells[i], format));
    }
  }

  // Adds the row that the expansion of the record is at.
  void add_expanded(const Record& record) {
    const std::size_t row = add_row(record);
    for (const std::size_t i : work_.plan.cells) work_.store(i, row, work_.evaluator.values[i]);
    for (std::size_t c = 0; c < work_.plan.counters.size(); ++c) {
      counters_.push_back(expansion_.value(c));
      work_.store(work_.plan.width() + c, row, expansion_.value(c));
    }
    if (std::string error = expansion_.next(); !error.empty()) add_error(record, std::move(error));
  }

  std::size_t add_row(const Record& record) {
    rows_.push_back({record.text, record.line, kNoError});
    return rows_.size() - 1;
  }

  void add_error(const Record& record, std::string error) {
    const std::size_t row = add_row(record);
    work_.columns.is_special[row] = 1;
    rows_[row].error = errors_.size();
    errors_.push_back(std::move(error));
    counters_.resize(rows_.size() * work_.plan.counters.size());
  }

  [[nodiscard]] Value counter(std::size_t row, std::size_t column) const {
    const std::size_t count = work_.plan.counters.size();
    return counters_[row * count + column - work_.plan.width()];
  }

  // Appends a row whose results are in the block.
  void append_row(std::size_t row) {
    append(row, nullptr, [this, row](std::size_t column) {
      return column < work_.plan.first_result() ? counter(row, column)
                                                : work_.block_value(column, row);
    });
    ++work_.rows;
  }

  // Evaluates a row by itself. A row that fails gets its error message.
  void evaluate_row(std::size_t row) {
    const Plan& plan = work_.plan;
    RecordParser parser(rows_[row].text, plan.shape);
    parser.next();
    const Record& record = parser.record();
    const std::size_t error = rows_[row].error;
    if (error == kNoError) {
      for (const std::size_t i : plan.cells) {
        work_.evaluator.values[i] = value_of_cell(record.cells[i], plan.formats[i]);
      }
    }
    for (std::size_t i = plan.width(); i < plan.first_result(); ++i) {
      work_.evaluator.values[i] = counter(row, i);
    }
    const bool all_well =
        work_.evaluate(rows_[row].line, error == kNoError ? std::string() : errors_[error]);
    if (!work_.is_kept(all_well)) return;
    append(row, &record, [this](std::size_t column) { return work_.evaluator.values[column]; });
  }

  // Appends the row to the output: the cells of the record, and value(column) for other columns.
  // Without a record, the row is valid, and its record is parsed only if it is not copied.
  void append(std::size_t row, const Record* record, auto&& value) {
    const Plan& plan = work_.plan;
    const bool is_valid = record == nullptr || record->cells.size() == plan.width();
    const bool is_copied =
        plan.copies_records && is_valid && (record == nullptr || record->error.empty());
    if (is_copied) {
      work_.out += rows_[row].text;
      work_.append_row(
          plan.width(), [](std::size_t, std::size_t) {}, value);
      return work_.end_row();
    }
    RecordParser parser(rows_[row].text, plan.shape);
    parser.next();
    const Record& cells = parser.record();
    work_.append_row(
        0,
        [&](std::size_t to, std::size_t column) {
          const bool is_there = column < cells.cells.size();
          const bool has_token = column < cells.tokens.size();
          work_.append_cell(to, column, is_there ? cells.cells[column] : std::string_view(),
                            has_token ? cells.tokens[column] : std::string_view());
        },
        value);
    if (plan.job.selected.empty()) {  // cells without a column are kept
      for (std::size_t i = plan.width(); i < cells.cells.size(); ++i) {
        work_.format.cell(work_.out, i + plan.output_names.size(), cells.cells[i]);
      }
    }
    work_.end_row();
  }

  Work& work_;
  Expansion expansion_;
  std::vector<Row> rows_;
  std::vector<std::string> errors_;
  std::vector<Value> counters_;   // by row
  std::vector<Value> suspended_;  // of the evaluator, for the record that is being expanded
};

}  // namespace

void evaluate_rows(Work& work) {
  work.clear();
  RecordParser parser(work.block.text, work.plan.shape);
  Batch batch(work);
  while (!work.is_stopped && batch.read(parser)) batch.evaluate();
  work.lines = parser.lines();
}

}  // namespace cli
