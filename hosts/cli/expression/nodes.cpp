#include "hosts/cli/expression/nodes.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <span>

namespace cli {
namespace {

using Kind = BlockColumn::Kind;

class Constant : public Node {
 public:
  Constant(std::string_view text, bool is_text) : Node(text) {
    value_ = is_text ? Value{.word = source, .kind = Value::Kind::kText} : value_of(source);
    column_.is_constant = true;
    column_.numbers = {value_.number};
    if (value_.is_date()) column_.kind = Kind::kDate;
    if (const auto code = is_text ? catalog::basis_of(text) : std::nullopt) {
      column_.kind = Kind::kBasis;
      column_.numbers = {static_cast<double>(*code)};
    }
  }
  Value evaluate(Evaluator&) const override { return value_; }
  const BlockColumn* evaluate(BlockEvaluator&) const override {
    return value_.is_text() && column_.kind != Kind::kBasis ? nullptr : &column_;
  }

 private:
  Value value_;
  BlockColumn column_;
};

class Column : public Node {
 public:
  Column(std::string_view name, std::size_t index) : Node(name), index_(index) {}
  Value evaluate(Evaluator& in) const override { return value_of_column(in, index_); }
  const BlockColumn* evaluate(BlockEvaluator& in) const override { return &in.columns[index_]; }

  // A value computed from a failed result fails without a message: the result has one.
  static Value value_of_column(Evaluator& in, std::size_t index) {
    if (in.values[index].is_failed()) in.fail([] { return std::string(); });
    return in.values[index];
  }

 private:
  std::size_t index_;
};

class ColumnRange : public Operand {
 public:
  ColumnRange(std::string_view text, std::size_t first, std::size_t last)
      : Operand(text), first_(first), last_(last) {}
  void push(Evaluator& in) const override {
    for (std::size_t i = first_; i <= last_; ++i) {
      in.stack.push_back(Column::value_of_column(in, i));
    }
  }
  bool add_columns(BlockEvaluator& in, std::vector<const BlockColumn*>& to) const override {
    for (std::size_t i = first_; i <= last_; ++i) to.push_back(&in.columns[i]);
    return true;
  }

 private:
  std::size_t first_;
  std::size_t last_;
};

class ColumnList : public Operand {
 public:
  ColumnList(std::string_view name, std::size_t index) : Operand(name), index_(index) {}
  void push(Evaluator& in) const override {
    for (const double number : in.lists[index_]) {
      in.stack.push_back({.number = number});
    }
  }
  bool add_columns(BlockEvaluator&, std::vector<const BlockColumn*>&) const override {
    return false;
  }

 private:
  std::size_t index_;
};

std::string not_a_number(const Node& node, const Value& value) {
  return fmt::format("{} is {}: must be a number", node.source, format_for_message(value));
}

class Negation : public Node {
 public:
  Negation(std::string_view text, std::unique_ptr<Node> operand)
      : Node(text), operand_(std::move(operand)) {}
  Value evaluate(Evaluator& in) const override {
    const Value value = operand_->evaluate(in);
    if (value.is_text()) in.fail([&] { return not_a_number(*operand_, value); });
    return {.number = -value.number};
  }
  const BlockColumn* evaluate(BlockEvaluator& in) const override {
    const BlockColumn* const from = operand_->evaluate(in);
    if (from == nullptr || from->kind == Kind::kBasis) return nullptr;
    BlockColumn& to = in.temporary();
    to.is_constant = from->is_constant;
    to.numbers.resize(from->is_constant ? 1 : in.rows);
    std::ranges::transform(std::span(from->numbers).first(to.numbers.size()), to.numbers.begin(),
                           std::negate<>());
    return &to;
  }

 private:
  std::unique_ptr<Node> operand_;
};

class Arithmetic : public Node {
 public:
  Arithmetic(std::string_view text, char operation, std::unique_ptr<Node> left,
             std::unique_ptr<Node> right)
      : Node(text), operation_(operation), left_(std::move(left)), right_(std::move(right)) {}

  Value evaluate(Evaluator& in) const override {
    const Value left = operand(*left_, in);
    const Value right = operand(*right_, in);
    if (operation_ == '/' && right.number == 0.0) {
      in.fail([this] { return fmt::format("{}: division by zero", source); });
    }
    return {.number = computed(left.number, right.number),
            .kind = is_date(left.is_date(), right.is_date()) ? Value::Kind::kDate
                                                             : Value::Kind::kNumber};
  }

  const BlockColumn* evaluate(BlockEvaluator& in) const override {
    const BlockColumn* const left = left_->evaluate(in);
    const BlockColumn* const right = right_->evaluate(in);
    if (left == nullptr || right == nullptr || left->kind == Kind::kBasis ||
        right->kind == Kind::kBasis) {
      return nullptr;
    }
    BlockColumn& to = in.temporary();
    to.kind = is_date(left->kind == Kind::kDate, right->kind == Kind::kDate) ? Kind::kDate
                                                                             : Kind::kNumber;
    to.numbers.resize(in.rows);
    for (std::size_t i = 0; i < in.rows; ++i) {
      to.numbers[i] = computed(left->at(i), right->at(i));
    }
    if (operation_ == '/') {
      for (std::size_t i = 0; i < in.rows; ++i) {
        if (right->at(i) == 0.0) in.is_special[i] = 1;
      }
    }
    return &to;
  }

 private:
  static Value operand(const Node& node, Evaluator& in) {
    const Value value = node.evaluate(in);
    if (value.is_text()) in.fail([&] { return not_a_number(node, value); });
    return value;
  }

  [[nodiscard]] double computed(double left, double right) const noexcept {
    switch (operation_) {
      case '+':
        return left + right;
      case '-':
        return left - right;
      case '*':
        return left * right;
      default:
        return left / right;
    }
  }

  // A date plus or minus a number of days is a date.
  [[nodiscard]] bool is_date(bool left, bool right) const noexcept {
    return left != right && (operation_ == '+' || (operation_ == '-' && left));
  }

  char operation_;
  std::unique_ptr<Node> left_;
  std::unique_ptr<Node> right_;
};

class Call : public Node {
 public:
  Call(std::string_view text, const catalog::Keyword& keyword,
       std::vector<std::unique_ptr<Operand>> arguments, std::optional<std::size_t> count,
       std::size_t number)
      : Node(text),
        keyword_(keyword),
        arguments_(std::move(arguments)),
        count_(count),
        number_(number) {}

  Value evaluate(Evaluator& in) const override {
    const std::size_t base = in.stack.size();
    for (const auto& argument : arguments_) argument->push(in);
    const Value result = in.failed ? Value{} : evaluate(std::span(in.stack).subspan(base), in);
    in.stack.resize(base);
    return result;
  }

  const BlockColumn* evaluate(BlockEvaluator& in) const override {
    std::vector<const BlockColumn*> arguments;
    for (const auto& argument : arguments_) {
      if (!argument->add_columns(in, arguments)) return nullptr;
    }
    CheckedCall& call = in.calls.get(number_, keyword_, arguments.size());
    std::vector<vxk_column> columns;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
      const BlockColumn& from = *arguments[i];
      const bool takes_basis = call.parameter(i + 1).kind == catalog::ArgumentKind::kBasis;
      if (from.kind == Kind::kBasis && !takes_basis) return nullptr;
      columns.push_back(from.is_constant ? vxkernel::constant(from.numbers.data())
                                         : vxkernel::column(from.numbers.data()));
    }
    if (const std::size_t position = call.frequency_position(); position != 0) {
      const BlockColumn& frequencies = *arguments[position - 1];
      for (std::size_t i = 0; i < in.rows; ++i) {
        if (!catalog::is_frequency(frequencies.at(i))) in.is_special[i] = 1;
      }
    }
    BlockColumn& to = in.temporary();
    to.kind = call.value_of(0.0).is_date() ? Kind::kDate : Kind::kNumber;
    to.numbers.resize(in.rows);
    vxk_results results{};
    results.size = sizeof results;
    results.values = to.numbers.data();
    const int status = call.bound().run(columns, static_cast<std::int64_t>(in.rows), results);
    if (status != VXK_OK) return nullptr;
    // A row that is missing a value or fails is evaluated again by itself.
    for (std::size_t i = 0; i < in.rows; ++i) {
      if (std::isnan(to.numbers[i])) in.is_special[i] = 1;
    }
    return &to;
  }

 private:
  Value evaluate(std::span<const Value> values, Evaluator& in) const {
    if (!count_) {
      if (auto error = CheckedCall::arity_error(keyword_, values.size())) {
        in.fail([&] { return fmt::format("{}: {}", keyword_.word, *error); });
        return {};
      }
    }
    CheckedCall& call = in.calls.get(number_, keyword_, values.size());
    call.begin();
    for (std::size_t i = 0; i < values.size(); ++i) call.set(i + 1, values[i]);
    const CallResult result = call.run();
    if (!result.ok()) {
      in.fail(
          [&] { return fmt::format("{}: {}", keyword_.word, call.error_message(result, values)); });
    }
    return result.value;
  }

  const catalog::Keyword& keyword_;
  std::vector<std::unique_ptr<Operand>> arguments_;
  std::optional<std::size_t> count_;
  std::size_t number_;
};

}  // namespace

CheckedCall& BoundCalls::get(std::size_t number, const catalog::Keyword& keyword,
                             std::size_t count) {
  if (number >= calls_.size()) calls_.resize(number + 1);
  std::optional<CheckedCall>& call = calls_[number];
  if (!call || call->size() != count) call.emplace(kernel_, keyword, count);
  return *call;
}

BlockColumn& BlockEvaluator::temporary() {
  if (used_temporaries == temporaries.size()) temporaries.emplace_back();
  BlockColumn& column = temporaries[used_temporaries++];
  column.kind = Kind::kNumber;
  column.is_constant = false;
  return column;
}

std::unique_ptr<Node> constant(std::string_view text, bool is_text) {
  return std::make_unique<Constant>(text, is_text);
}
std::unique_ptr<Node> column(std::string_view name, std::size_t index) {
  return std::make_unique<Column>(name, index);
}
std::unique_ptr<Operand> column_range(std::string_view text, std::size_t first, std::size_t last) {
  return std::make_unique<ColumnRange>(text, first, last);
}
std::unique_ptr<Operand> column_list(std::string_view name, std::size_t index) {
  return std::make_unique<ColumnList>(name, index);
}
std::unique_ptr<Node> negation(std::string_view text, std::unique_ptr<Node> operand) {
  return std::make_unique<Negation>(text, std::move(operand));
}
std::unique_ptr<Node> arithmetic(std::string_view text, char operation, std::unique_ptr<Node> left,
                                 std::unique_ptr<Node> right) {
  return std::make_unique<Arithmetic>(text, operation, std::move(left), std::move(right));
}
std::unique_ptr<Node> call(std::string_view text, const catalog::Keyword& keyword,
                           std::vector<std::unique_ptr<Operand>> arguments,
                           std::optional<std::size_t> count, std::size_t number) {
  return std::make_unique<Call>(text, keyword, std::move(arguments), count, number);
}

}  // namespace cli
