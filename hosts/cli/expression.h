// Expressions over the columns of a table: price = PRICE(settle, maturity, coupon/100, yld, 100, 2)
//
//   expression   [column =] sum
//   sum          + - * / and parentheses over
//   primary      number, YYYY-MM-DD, 'text', . (missing), column, "column name", KEYWORD(sum, ...)
//   in a call    from..to: the columns from one to another; column[]: its values in a group of rows
//
// A keyword is known by the parenthesis behind it; its case does not matter, a column's does.
#pragma once

#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "call.h"

namespace cli {

// What cannot be understood, and where it stands.
struct SyntaxError : std::runtime_error {
  SyntaxError(const std::string& complaint, std::size_t first, std::size_t size)
      : std::runtime_error(complaint), at(first), length(size) {}
  std::size_t at;
  std::size_t length;
};

// What an expression works on, and what came of it. One for each thread.
struct Evaluator {
  const vxkernel::Kernel& kernel;
  std::vector<Value> values{};               // a row's, by column; those in use need be there
  std::vector<std::vector<double>> lists{};  // a group's, by column; those in use need be there

  // Sticky: set by the first failure, after which no call is made.
  bool failed = false;
  bool wants_complaint = false;
  std::string complaint{};

  // Working storage of the calls under way.
  std::vector<Value> stack{};
  std::vector<vxkernel::Argument> arguments{};

  // Before each evaluation.
  void begin(bool needs_complaint) noexcept {
    failed = false;
    wants_complaint = needs_complaint;
    if (!complaint.empty()) complaint.clear();
  }

  void fail(const auto& words) {
    if (!failed && wants_complaint) complaint = words();
    failed = true;
  }
};

// The columns that expressions may name: the table's, then the results of earlier expressions.
class Columns {
 public:
  explicit Columns(std::vector<std::string> names)
      : names_(std::move(names)), in_table_(names_.size()) {}

  // From here on rows stand in groups, which have these columns of the table in common: others can
  // be named as lists alone.
  void group_by(std::vector<std::size_t> keys) {
    is_grouped_ = true;
    keys_ = std::move(keys);
  }
  void add_result(std::string name) { names_.push_back(std::move(name)); }

  [[nodiscard]] const std::vector<std::string>& names() const noexcept { return names_; }
  [[nodiscard]] bool is_grouped() const noexcept { return is_grouped_; }
  [[nodiscard]] bool is_in_table(std::size_t column) const noexcept { return column < in_table_; }
  [[nodiscard]] bool has_one_value(std::size_t column) const noexcept;

  // Throws std::invalid_argument when there is no such column, or more than one.
  [[nodiscard]] std::size_t find(std::string_view name) const;

 private:
  std::vector<std::string> names_;
  std::size_t in_table_;
  bool is_grouped_ = false;
  std::vector<std::size_t> keys_;
};

// What can stand among the arguments of a call.
class Operand {
 public:
  explicit Operand(std::string_view text) : source(text) {}
  Operand(const Operand&) = delete;
  Operand& operator=(const Operand&) = delete;
  virtual ~Operand() = default;

  // Puts the arguments that it stands for on the stack.
  virtual void push(Evaluator& in) const = 0;

  std::string_view source;  // as it was written
};

// An operand with one value.
class Node : public Operand {
 public:
  using Operand::Operand;

  // When the evaluator says that it failed, the value means nothing.
  virtual Value evaluate(Evaluator& in) const = 0;

  void push(Evaluator& in) const final { in.stack.push_back(evaluate(in)); }
};

struct Expression {
  std::string name;  // of the result's column
  std::unique_ptr<Node> root;
  std::vector<std::size_t> values;  // columns in use, one value a row or group
  std::vector<std::size_t> lists;   // columns in use as lists
};

// Refers to the text. Throws SyntaxError.
Expression parse(std::string_view text, const Columns& columns);

// Whether an expression speaks of lists, as in amount[]: then rows stand in groups. Throws
// SyntaxError.
bool uses_lists(std::string_view text);

}  // namespace cli
