// The rows or groups that one thread evaluates, and their results.
#pragma once

#include <fmt/format.h>

#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "hosts/cli/io/output.h"
#include "hosts/cli/table/plan.h"

namespace cli {

// Why a row, or one of its expressions, failed.
struct Failure {
  std::uint64_t line;
  std::string subject;           // the keys of the group
  const Expression* expression;  // null: all of them
  RowError error;
};

class Work {
 public:
  Work(const Plan& what, const RowFormat& shape);

  const Plan& plan;
  Block block;
  BoundCalls calls;
  Evaluator evaluator{.calls = calls};     // for single rows or groups
  BlockEvaluator columns{.calls = calls};  // for blocks of rows or groups
  std::string subject;                     // the keys of the group, for messages
  std::string out;
  std::vector<Failure> failures;
  std::uint64_t lines = 0;
  std::uint64_t rows = 0;
  std::uint64_t failed_rows = 0;
  bool is_stopped = false;

  void clear();

  // Before a block: its rows are not special, and its columns have no values.
  void begin_block(std::size_t most_rows);
  // Puts a value into a column of the block. The first value of a column sets the kind of the
  // column. A row with a value of another kind is special.
  void store(std::size_t index, std::size_t row, const Value& value) {
    using Kind = BlockColumn::Kind;
    BlockColumn& column = columns.columns[index];
    double number = value.number;
    Kind kind = kind_of(value);
    if (value.is_text()) {
      const auto code = catalog::basis_of(value.word);
      kind = Kind::kBasis;
      number = code ? *code : std::nan("");
      if (!code) columns.is_special[row] = 1;
    }
    column.numbers[row] = number;
    if (std::isnan(number)) return;
    if (kinds_known_[index] == 0) column.kind = kind;
    kinds_known_[index] = 1;
    if (column.kind != kind) columns.is_special[row] = 1;
  }
  // Evaluates the expressions by columns. False when rows must be evaluated one by one.
  bool evaluate_block();
  // The value of a result in a block.
  [[nodiscard]] Value block_value(std::size_t column, std::size_t row) const;

  // Evaluates the expressions on the values and lists of the evaluator. With a message, all of them
  // fail with it. Returns false when an expression failed.
  bool evaluate(std::uint64_t line, const std::string& message = {});
  // Whether the row or group is written.
  bool is_kept(bool all_well);

  // Appends a row of the output. cell(column) appends the cell of a column of the table.
  void append_row(std::size_t first, auto&& cell, auto&& value) {
    for (std::size_t i = first; i < plan.output.size(); ++i) {
      const std::size_t column = plan.output[i];
      if (column < plan.width()) {
        cell(i, column);
      } else {
        format.value(out, i, value(column));
      }
    }
    if (plan.job.on_error == OnError::kText) format.cell(out, plan.output.size(), row_message_);
    row_message_.clear();
  }
  // Appends a cell of a column of the table, with its JSON if it has one.
  void append_cell(std::size_t to, std::size_t column, std::string_view text,
                   std::string_view json = {});
  void end_row() { format.end(out); }

  const RowFormat& format;

 private:
  [[nodiscard]] std::string with_date_form(std::string message) const;
  void add_failure(std::uint64_t line, const RowError& error, const Expression* expression);

  std::vector<char> kinds_known_;  // by column of the block
  std::string row_message_;        // of the row that is being evaluated
};

}  // namespace cli
