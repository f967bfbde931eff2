#include "hosts/cli/table/rows.h"

#include <cmath>

namespace cli {
namespace {

constexpr std::size_t kRowsAtOnce = 256;

// Rows that are evaluated together, by columns where that is possible.
class Batch {
 public:
  explicit Batch(Work& work) : work_(work), columns_(work.columns) {}

  // Reads the next records. Returns false at the end.
  bool read(CsvParser& parser) {
    records_.clear();
    columns_.is_special.assign(kRowsAtOnce, 0);
    columns_.used_temporaries = 0;
    for (const std::size_t i : work_.plan.cells) {
      columns_.columns[i].kind = BlockColumn::Kind::kNumber;
      columns_.columns[i].numbers.resize(kRowsAtOnce);
    }
    kinds_known_.assign(columns_.columns.size(), 0);
    while (records_.size() < kRowsAtOnce && parser.next()) add(parser.record());
    columns_.rows = records_.size();
    return !records_.empty();
  }

  // Evaluates the rows and appends them to the output.
  void evaluate() {
    const bool has_columns = evaluate_columns();
    for (std::size_t row = 0; row < records_.size() && !work_.is_stopped; ++row) {
      if (has_columns && columns_.is_special[row] == 0) {
        append_row(row);
      } else {
        evaluate_row(row);
      }
    }
  }

 private:
  struct Kept {
    std::string_view text;
    std::uint64_t line;
  };

  void add(const Record& record) {
    const std::size_t row = records_.size();
    records_.push_back({record.text, record.line});
    if (!record_error(work_.plan, record).empty()) {
      columns_.is_special[row] = 1;
      return;
    }
    for (const std::size_t i : work_.plan.cells) add_cell(i, row, record.cells[i]);
  }

  // The first value of a column sets the kind of the column. A row with a value of another kind is
  // special.
  void add_cell(std::size_t index, std::size_t row, std::string_view cell) {
    using Kind = BlockColumn::Kind;
    BlockColumn& column = columns_.columns[index];
    const Value value = value_of_cell(cell);
    Kind kind = value.is_date() ? Kind::kDate : Kind::kNumber;
    column.numbers[row] = value.number;
    if (value.is_text()) {
      const auto code = catalog::basis_of(value.word);
      kind = Kind::kBasis;
      column.numbers[row] = code ? *code : std::nan("");
      if (!code) columns_.is_special[row] = 1;
    }
    if (std::isnan(column.numbers[row])) return;
    if (kinds_known_[index] == 0) column.kind = kind;
    kinds_known_[index] = 1;
    if (column.kind != kind) columns_.is_special[row] = 1;
  }

  bool evaluate_columns() {
    const Plan& plan = work_.plan;
    for (std::size_t i = 0; i < plan.expressions.size(); ++i) {
      const BlockColumn* const result = plan.expressions[i].root->evaluate(columns_);
      if (result == nullptr || result->kind == BlockColumn::Kind::kBasis) return false;
      columns_.columns[plan.header.size() + i] = *result;
    }
    return true;
  }

  void append_row(std::size_t row) {
    const Plan& plan = work_.plan;
    const std::size_t width = plan.header.size();
    append_cells(row);
    for (std::size_t i = 0; i < plan.expressions.size(); ++i) {
      const BlockColumn& column = columns_.columns[width + i];
      const bool is_date = column.kind == BlockColumn::Kind::kDate;
      work_.format.value(
          work_.out, width + i,
          {.number = column.at(row), .kind = is_date ? Value::Kind::kDate : Value::Kind::kNumber});
    }
    work_.format.end(work_.out);
    ++work_.rows;
  }

  // Appends the cells of a record that has as many cells as the header.
  void append_cells(std::size_t row) {
    if (work_.plan.job.format == Format::kCsv) {
      work_.out += records_[row].text;
      return;
    }
    CsvParser parser(records_[row].text, work_.plan.job.delimiter);
    parser.next();
    for (std::size_t i = 0; i < work_.plan.header.size(); ++i) {
      work_.format.cell(work_.out, i, parser.record().cells[i]);
    }
  }

  // Evaluates a row by itself. A row that fails gets its error message.
  void evaluate_row(std::size_t row) {
    const Plan& plan = work_.plan;
    const std::size_t width = plan.header.size();
    CsvParser parser(records_[row].text, plan.job.delimiter);
    parser.next();
    const Record& record = parser.record();
    const auto& cells = record.cells;
    const std::string message = record_error(plan, record);
    if (message.empty()) {
      for (const std::size_t i : plan.cells) work_.evaluator.values[i] = value_of_cell(cells[i]);
    }
    if (!work_.is_kept(work_.evaluate(records_[row].line, message))) return;
    if (message.empty() && plan.job.format == Format::kCsv) {
      work_.out += record.text;
    } else {
      for (std::size_t i = 0; i < width; ++i) {
        work_.format.cell(work_.out, i, i < cells.size() ? cells[i] : std::string_view());
      }
    }
    work_.append_results(width);
    for (std::size_t i = width; i < cells.size(); ++i) {  // cells without a column are kept
      work_.format.cell(work_.out, i + plan.expressions.size(), cells[i]);
    }
    work_.format.end(work_.out);
  }

  Work& work_;
  BlockEvaluator& columns_;
  std::vector<Kept> records_;
  std::vector<char> kinds_known_;
};

}  // namespace

void evaluate_rows(Work& work) {
  work.clear();
  CsvParser parser(work.block.text, work.plan.job.delimiter);
  Batch batch(work);
  while (!work.is_stopped && batch.read(parser)) batch.evaluate();
  work.lines = parser.lines();
}

}  // namespace cli
