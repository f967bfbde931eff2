// The nodes of a parsed expression, and what they are evaluated on: one row at a time, or many rows
// by columns, which is quicker and leaves the rows that are not plain to the other way.
#pragma once

#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "hosts/call/checked_call.h"

namespace cli {

using namespace host;  // what every host knows of values and calls

// The calls of expressions, bound for one thread. Each call of an expression has a number.
class BoundCalls {
 public:
  explicit BoundCalls(const vxkernel::Kernel& kernel) : kernel_(kernel) {}

  CheckedCall& get(std::size_t number, const catalog::Keyword& keyword, std::size_t count);

 private:
  const vxkernel::Kernel& kernel_;
  std::vector<std::optional<CheckedCall>> calls_;
};

// What an expression works on, row by row, and what came of it. One for each thread.
struct Evaluator {
  BoundCalls& calls;
  std::vector<Value> values{};               // a row's, by column; those in use must be there
  std::vector<std::vector<double>> lists{};  // a group's, by column; those in use must be there

  // Sticky: set by the first failure, after which no call is made.
  bool failed = false;
  bool wants_message = false;
  std::string message{};

  std::vector<Value> stack{};  // arguments of the calls under way

  // Before each evaluation.
  void begin(bool needs_message) noexcept {
    failed = false;
    wants_message = needs_message;
    if (!message.empty()) message.clear();
  }

  void fail(const auto& make_message) {
    if (!failed && wants_message) message = make_message();
    failed = true;
  }
};

// The values of a column over a block of rows.
struct BlockColumn {
  enum class Kind : std::uint8_t {
    kNumber,
    kDate,
    kBasis,  // names of bases, as their codes
  };
  Kind kind = Kind::kNumber;
  bool is_constant = false;     // the first number is that of all rows
  std::vector<double> numbers;  // NaN: missing

  [[nodiscard]] double at(std::size_t row) const noexcept { return numbers[is_constant ? 0 : row]; }
};

// What expressions work on, block by block. One for each thread.
struct BlockEvaluator {
  BoundCalls& calls;
  std::size_t rows = 0;
  std::vector<BlockColumn> columns{};  // by column; those in use must be there
  std::vector<char> is_special{};      // rows to be evaluated one by one, such as those that fail
  std::deque<BlockColumn> temporaries{};  // results of nodes
  std::size_t used_temporaries = 0;

  BlockColumn& temporary();
};

// What can be among the arguments of a call.
class Operand {
 public:
  explicit Operand(std::string_view text) : source(text) {}
  Operand(const Operand&) = delete;
  Operand& operator=(const Operand&) = delete;
  virtual ~Operand() = default;

  // Puts the arguments that it means on the stack.
  virtual void push(Evaluator& in) const = 0;
  // Adds the columns that it means; false if it has none, and rows are to be evaluated one by one.
  virtual bool add_columns(BlockEvaluator& in, std::vector<const BlockColumn*>& to) const = 0;

  std::string_view source;  // as it was written
};

// An operand with one value.
class Node : public Operand {
 public:
  using Operand::Operand;

  // When the evaluator says that it failed, the value means nothing.
  virtual Value evaluate(Evaluator& in) const = 0;
  // The column of values; null if it has none.
  virtual const BlockColumn* evaluate(BlockEvaluator& in) const = 0;

  void push(Evaluator& in) const final { in.stack.push_back(evaluate(in)); }
  bool add_columns(BlockEvaluator& in, std::vector<const BlockColumn*>& to) const final {
    to.push_back(evaluate(in));
    return to.back() != nullptr;
  }
};

// The nodes. A constant's text is a number, a date or a full stop, or, as is_text says, any text.
std::unique_ptr<Node> constant(std::string_view text, bool is_text);
std::unique_ptr<Node> column(std::string_view name, std::size_t index);
std::unique_ptr<Operand> column_range(std::string_view text, std::size_t first, std::size_t last);
std::unique_ptr<Operand> column_list(std::string_view name, std::size_t index);
std::unique_ptr<Node> negation(std::string_view text, std::unique_ptr<Node> operand);
std::unique_ptr<Node> arithmetic(std::string_view text, char operation, std::unique_ptr<Node> left,
                                 std::unique_ptr<Node> right);
// Without a count, the number of arguments depends on the lists of a group.
std::unique_ptr<Node> call(std::string_view text, const catalog::Keyword& keyword,
                           std::vector<std::unique_ptr<Operand>> arguments,
                           std::optional<std::size_t> count, std::size_t number);

}  // namespace cli
