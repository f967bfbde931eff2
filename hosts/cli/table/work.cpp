#include "hosts/cli/table/work.h"

#include <cmath>

namespace cli {

using Kind = BlockColumn::Kind;

Work::Work(const Plan& what, const RowFormat& shape)
    : plan(what), calls(what.kernel), format(shape) {
  evaluator.values.resize(plan.columns());
  evaluator.lists.resize(plan.width());
  columns.columns.resize(plan.columns());
  columns.lists.resize(plan.width());
}

void Work::clear() {
  out.clear();
  failures.clear();
  lines = rows = failed_rows = 0;
  is_stopped = false;
}

void Work::begin_block(std::size_t most_rows) {
  columns.is_special.assign(most_rows, 0);
  columns.used_temporaries = 0;
  for (BlockColumn& column : columns.columns) {
    column.kind = Kind::kNumber;
    column.is_constant = false;
    column.numbers.resize(most_rows);
  }
  kinds_known_.assign(columns.columns.size(), 0);
}

bool Work::evaluate_block() {
  for (std::size_t i = 0; i < plan.expressions.size(); ++i) {
    const BlockColumn* const result = plan.expressions[i].root->evaluate(columns);
    if (result == nullptr || result->kind == Kind::kBasis) return false;
    columns.columns[plan.first_result() + i] = *result;
  }
  return true;
}

Value Work::block_value(std::size_t index, std::size_t row) const {
  const BlockColumn& column = columns.columns[index];
  return {.number = column.at(row), .kind = kind_of(column.kind)};
}

// Messages name the form of dates that the user has chosen.
std::string Work::with_date_form(std::string message) const {
  constexpr std::string_view kDefaultForm = "(YYYY-MM-DD)";
  const std::size_t at = message.find(kDefaultForm);
  if (plan.date_form.empty() || at == message.npos) return message;
  return message.replace(at, kDefaultForm.size(), '(' + plan.date_form + ')');
}

// Keeps the failures that are reported: the first ones, or all of them if a file takes them.
void Work::add_failure(std::uint64_t line, const RowError& error, const Expression* expression) {
  if (error.message.empty()) return;
  if (plan.job.on_error == OnError::kText) {
    row_message_ += (row_message_.empty() ? "" : "; ") + with_date_form(error.message);
  }
  if (plan.job.errors_file.empty() && failures.size() >= Diagnostics::kLimit) return;
  failures.push_back({line, subject, expression, error});
  failures.back().error.message = with_date_form(error.message);
}

bool Work::evaluate(std::uint64_t line, const std::string& message) {
  const bool needs_all = plan.job.on_error == OnError::kText || !plan.job.errors_file.empty();
  bool all_well = message.empty();
  row_message_.clear();
  add_failure(line, {.message = message}, nullptr);
  for (std::size_t i = 0; i < plan.expressions.size(); ++i) {
    Value& result = evaluator.values[plan.first_result() + i];
    if (message.empty()) {
      evaluator.begin(needs_all || failures.size() < Diagnostics::kLimit);
      result = plan.expressions[i].root->evaluate(evaluator);
      if (!evaluator.failed) continue;
      add_failure(line, evaluator.error, &plan.expressions[i]);
    }
    all_well = false;
    result = {.kind = Value::Kind::kFailed};
  }
  ++rows;
  failed_rows += all_well ? 0 : 1;
  return all_well;
}

// A number that is written in another form, such as 1.234,56, is not a number of JSON.
void Work::append_cell(std::size_t to, std::size_t column, std::string_view text,
                       std::string_view json) {
  std::string digits;
  if (json.empty() && plan.job.to == Format::kNdjson && plan.formats[column].writes_numbers) {
    const Value value = value_of_cell(text, plan.formats[column]);
    if (value.kind == Value::Kind::kNumber) append_digits(digits, value.number);
    json = digits;
  }
  format.cell(out, to, text, json);
}

bool Work::is_kept(bool all_well) {
  is_stopped = !all_well && plan.job.on_error == OnError::kFail;
  return all_well || (!is_stopped && plan.job.on_error != OnError::kSkip);
}

}  // namespace cli
