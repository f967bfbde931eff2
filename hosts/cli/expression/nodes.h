// The nodes of a parsed expression. A node is evaluated for one row, or for a block of rows by
// columns. The second way is faster. It marks the rows that the first way must evaluate, such as
// rows that fail.
#pragma once

#include <deque>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "hosts/call/checked_call.h"
#include "hosts/cli/expression/functions.h"

namespace cli {

using namespace host;  // values and checked calls

// The bound calls of all expressions, for one thread. Each call in an expression has a number.
class BoundCalls {
 public:
  explicit BoundCalls(const vxkernel::Kernel& kernel) : kernel_(kernel) {}

  [[nodiscard]] const vxkernel::Kernel& kernel() const noexcept { return kernel_; }
  CheckedCall& get(std::size_t number, const catalog::Keyword& keyword, std::size_t count);

 private:
  const vxkernel::Kernel& kernel_;
  std::vector<std::optional<CheckedCall>> calls_;
};

// Why a row or a group fails. Only the message is always there.
struct RowError {
  std::string message{};
  std::string keyword{};
  std::string argument{};  // the name of the invalid argument
  std::string value{};     // of that argument
};

// A column of a group, as a list.
struct List {
  std::span<const double> values{};  // NaN is a missing value
  bool is_date = false;
};

// The values that expressions are evaluated on, for one row or group, and the outcome. One per
// thread.
struct Evaluator {
  BoundCalls& calls;
  std::vector<Value> values{};  // by column; the columns in use must be set
  std::vector<List> lists{};    // of a group, by column; the columns in use must be set

  // Set by the first failure. No call is made after it.
  bool failed = false;
  bool wants_message = false;
  RowError error{};

  std::vector<Value> stack{};  // arguments of the calls that are being evaluated

  // Before each evaluation.
  void begin(bool needs_message) noexcept {
    failed = false;
    wants_message = needs_message;
    error = {};
  }

  void fail(const auto& make_error) {
    if (!failed && wants_message) error = make_error();
    failed = true;
  }
};

// The values of a column over a block of rows.
struct BlockColumn {
  enum class Kind : std::uint8_t {
    kNumber,
    kCount,
    kDate,
    kBasis,  // codes of bases, from their names
  };
  Kind kind = Kind::kNumber;
  bool is_constant = false;     // numbers[0] is the value of all rows
  std::vector<double> numbers;  // NaN is a missing value

  [[nodiscard]] double at(std::size_t row) const noexcept { return numbers[is_constant ? 0 : row]; }
};

inline BlockColumn::Kind kind_of(const Value& value) noexcept {
  switch (value.kind) {
    case Value::Kind::kDate:
      return BlockColumn::Kind::kDate;
    case Value::Kind::kCount:
      return BlockColumn::Kind::kCount;
    default:
      return BlockColumn::Kind::kNumber;
  }
}

inline Value::Kind kind_of(BlockColumn::Kind kind) noexcept {
  switch (kind) {
    case BlockColumn::Kind::kDate:
      return Value::Kind::kDate;
    case BlockColumn::Kind::kCount:
      return Value::Kind::kCount;
    default:
      return Value::Kind::kNumber;
  }
}

// A column of a block of groups, as lists.
struct BlockList {
  std::vector<double> values;  // of all groups
  bool is_date = false;
};

// The columns that expressions are evaluated on, for a block of rows or groups. One per thread.
struct BlockEvaluator {
  BoundCalls& calls;
  std::size_t rows = 0;
  std::vector<BlockColumn> columns{};     // by column; the columns in use must be set
  std::vector<BlockList> lists{};         // of groups, by column; the columns in use must be set
  std::vector<std::int64_t> offsets{};    // of groups: group g has values from offsets[g] on
  std::vector<char> is_special{};         // rows to evaluate one by one, such as rows that fail
  std::deque<BlockColumn> temporaries{};  // results of nodes
  std::size_t used_temporaries = 0;

  BlockColumn& temporary();
};

// An operand of a call: it gives one argument or several.
class Operand {
 public:
  explicit Operand(std::string_view text) : source(text) {}
  Operand(const Operand&) = delete;
  Operand& operator=(const Operand&) = delete;
  virtual ~Operand() = default;

  // Pushes its arguments on the stack.
  virtual void push(Evaluator& in) const = 0;
  // Adds the columns of its arguments. Returns false when rows must be evaluated one by one.
  virtual bool add_columns(BlockEvaluator& in, std::vector<const BlockColumn*>& to) const = 0;
  // The columns that it names, if it is nothing more than a column, a range or a list.
  [[nodiscard]] virtual std::vector<std::size_t> columns() const { return {}; }
  // The column of which it is a list.
  [[nodiscard]] virtual std::optional<std::size_t> list_column() const { return std::nullopt; }

  std::string_view source;  // the source text
};

// An operand with one value.
class Node : public Operand {
 public:
  using Operand::Operand;

  // The value is undefined when the evaluator has failed.
  virtual Value evaluate(Evaluator& in) const = 0;
  // The column of values; null when rows must be evaluated one by one.
  virtual const BlockColumn* evaluate(BlockEvaluator& in) const = 0;

  void push(Evaluator& in) const final { in.stack.push_back(evaluate(in)); }
  bool add_columns(BlockEvaluator& in, std::vector<const BlockColumn*>& to) const final {
    to.push_back(evaluate(in));
    return to.back() != nullptr;
  }
};

// Makers of the nodes. A constant is a number, a date or a full stop, or any text if is_text is
// set.
std::unique_ptr<Node> constant(std::string_view text, bool is_text);
std::unique_ptr<Node> column(std::string_view name, std::size_t index);
std::unique_ptr<Operand> column_range(std::string_view text, std::size_t first, std::size_t last);
std::unique_ptr<Operand> column_list(std::string_view name, std::size_t index);
std::unique_ptr<Node> negation(std::string_view text, std::unique_ptr<Node> operand);
std::unique_ptr<Node> arithmetic(std::string_view text, char operation, std::unique_ptr<Node> left,
                                 std::unique_ptr<Node> right);
enum class Comparison : std::uint8_t { kEqual, kUnequal, kBelow, kAtMost, kAbove, kAtLeast };
std::unique_ptr<Node> comparison(std::string_view text, Comparison comparison,
                                 std::unique_ptr<Node> left, std::unique_ptr<Node> right);
// if and ifmissing; the other functions.
std::unique_ptr<Node> choice(std::string_view text, Function function,
                             std::vector<std::unique_ptr<Node>> operands);
std::unique_ptr<Node> function(std::string_view text, Function function,
                               std::vector<std::unique_ptr<Operand>> operands);
// The count is absent when the number of arguments depends on the lists of a group.
std::unique_ptr<Node> call(std::string_view text, const catalog::Keyword& keyword,
                           std::vector<std::unique_ptr<Operand>> arguments,
                           std::optional<std::size_t> count, std::size_t number);

}  // namespace cli
