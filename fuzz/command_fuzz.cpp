// Passes texts to the parsers of the command: as words, numbers and dates, as calls, as tables and
// as expressions. Numbers that are written must be read back as the same value, and cells as the
// same text. A parser may throw only its own exceptions, whose position must be inside the text. A
// result or an error message must be one line without control characters.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>

#include "hosts/cli/expression/expression.h"
#include "hosts/cli/io/cell_format.h"
#include "hosts/cli/io/output.h"
#include "hosts/cli/io/record_parser.h"
#include "hosts/cli/io/records.h"
#include "hosts/cli/io/tsv.h"
#include "hosts/cli/single_call.h"

namespace {

void demand(bool holds) { holds ? void() : std::abort(); }

bool same(double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); }

bool is_one_line(const std::string& text) {
  return std::ranges::none_of(text, [](unsigned char c) { return c < ' ' || c == 127; });
}

void try_call(const vxkernel::Kernel& kernel, const std::string& line) {
  std::vector<std::string> words;
  try {
    words = cli::words_of(line);
  } catch (const std::invalid_argument&) {
    demand(line.find_first_of("'\"") != line.npos);
  }
  for (const std::string& word : words) {
    const cli::Value value = cli::value_of(word);
    std::string text;
    append_value(text, value);
    demand(value.is_text() ? text == word : same(host::value_of_cell(text).number, value.number));
  }
  if (words.empty()) return;
  const cli::SingleResult outcome = cli::evaluate(kernel, words);
  demand(json_of(outcome, words).starts_with("{\"keyword\":"));
  demand(!outcome.text.empty() && is_one_line(outcome.text));
}

// The cells of each record, written as CSV and as TSV, must be read back as one record with the
// same cells.
void try_table(const std::string& text) {
  std::string tsv;
  std::vector<std::string> back;
  std::size_t end = 0;
  cli::CsvParser parser(text, ',');
  while (parser.next()) {
    const cli::Record& record = parser.record();
    demand(record.end > end && record.end <= text.size());
    end = record.end;
    const cli::RowFormat format(cli::Format::kCsv, ',', cli::kAllDigits,
                                std::vector<std::string>(record.cells.size()), {});
    std::string row;
    tsv.clear();
    for (std::size_t i = 0; i < record.cells.size(); ++i) {
      format.cell(row, i, record.cells[i]);
      if (i > 0) tsv += '\t';
      cli::append_escaped(tsv, record.cells[i]);
    }
    format.end(row);
    cli::CsvParser again(row, ',');
    demand(again.next() && again.is_complete() && again.record().cells == record.cells);
    demand(!again.next());
    split_line(tsv, cli::Escape::kBackslash, back);
    demand(std::ranges::equal(back, record.cells));
  }
}

// Reads the text as a cell in other formats, as a JSON object and as a counter.
void try_formats(const std::string& text) {
  cli::CellFormat format{.dates = "%d/%m/%Y", .is_default = false};
  const cli::Value date = formatted_value(text, format);
  demand(!date.is_date() || !cli::is_beyond_calendar(date.number));
  format = {.dates = std::string(cli::kExcelDates), .has_numbers = true, .is_default = false};
  format.numbers = {'.', ','};
  formatted_value(text, format);
  try {
    cli::Shape shape{cli::InputFormat::kNdjson, ',', cli::member_names(text)};
    cli::RecordParser parser(text, shape);
    while (parser.next()) demand(parser.record().cells.size() == shape.names.size());
  } catch (const std::invalid_argument&) {  // not a JSON object
  }
  try {
    std::size_t count = 0;
    cli::parse_counter(text, cli::Columns({"a", "b"}), count);
  } catch (const cli::SyntaxError& error) {
    demand(error.at <= text.size() && error.length > 0);
  }
}

const std::vector<double> kAmounts = {-100, 60, 60};
const std::vector<double> kDates = {26067, 25000, 26067};

void try_expression(const vxkernel::Kernel& kernel, const std::string& text) {
  try {
    cli::BoundCalls calls(kernel);
    std::size_t count = 0;
    cli::Evaluator evaluator{.calls = calls,
                             .values = {{.number = 2.5}, cli::value_of("2031-05-15")},
                             .lists = {{kAmounts, false}, {kDates, true}}};
    const cli::Expression expression = parse(text, cli::Columns({"a", "b"}), count);
    evaluator.begin(true);
    expression.root->evaluate(evaluator);
    demand(evaluator.failed || evaluator.error.message.empty());
    // If columns are evaluated, a row that is not special must have the same result.
    cli::BlockEvaluator block{.calls = calls, .rows = 2};
    block.columns = {{.numbers = {2.5, 2.5}}, {.numbers = {26067, 26067}}};
    block.columns[1].kind = cli::BlockColumn::Kind::kDate;
    block.lists.resize(2);
    for (int group = 0; group < 2; ++group) {
      block.lists[0].values.insert(block.lists[0].values.end(), kAmounts.begin(), kAmounts.end());
      block.lists[1].values.insert(block.lists[1].values.end(), kDates.begin(), kDates.end());
    }
    block.lists[1].is_date = true;
    block.offsets = {0, 3, 6};
    block.is_special = {0, 0};
    evaluator.begin(false);
    const cli::Value alone = expression.root->evaluate(evaluator);
    const cli::BlockColumn* const column = expression.root->evaluate(block);
    if (column == nullptr || block.is_special[1] != 0) return;
    if (std::isnan(column->at(1)) && alone.is_missing() && !evaluator.failed) return;
    demand(!evaluator.failed && same(column->at(1), alone.number) &&
           (column->kind == cli::BlockColumn::Kind::kDate) == alone.is_date());
  } catch (const cli::SyntaxError& error) {
    demand(error.at <= text.size() && error.length > 0);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const vxkernel::Kernel kernel(VXFNC_MODULE);
  const std::string text(data, data + size);
  try_call(kernel, text);
  try_table(text);
  try_formats(text);
  try_expression(kernel, text);
  return 0;
}
