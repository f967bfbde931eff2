#include "hosts/cli/expression/nodes.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "hosts/call/columns.h"
#include "hosts/call/list_call.h"

namespace cli {
namespace {

using Kind = BlockColumn::Kind;

constexpr double kMissing = std::numeric_limits<double>::quiet_NaN();

class Constant : public Node {
 public:
  Constant(std::string_view text, bool is_text) : Node(text) {
    value_ = is_text ? Value{.word = source, .kind = Value::Kind::kText} : value_of(source);
    column_.is_constant = true;
    column_.numbers = {value_.number};
    column_.kind = kind_of(value_);
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
  [[nodiscard]] std::vector<std::size_t> columns() const override { return {index_}; }

  // A value computed from a failed result fails without a message: the result has one.
  static Value value_of_column(Evaluator& in, std::size_t index) {
    if (in.values[index].is_failed()) in.fail([] { return RowError(); });
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
  [[nodiscard]] std::vector<std::size_t> columns() const override {
    std::vector<std::size_t> all;
    for (std::size_t i = first_; i <= last_; ++i) all.push_back(i);
    return all;
  }

 private:
  std::size_t first_;
  std::size_t last_;
};

class ColumnList : public Operand {
 public:
  ColumnList(std::string_view name, std::size_t index) : Operand(name), index_(index) {}
  void push(Evaluator& in) const override {
    const List& list = in.lists[index_];
    const auto kind = list.is_date ? Value::Kind::kDate : Value::Kind::kNumber;
    for (const double number : list.values) in.stack.push_back({.number = number, .kind = kind});
  }
  bool add_columns(BlockEvaluator&, std::vector<const BlockColumn*>&) const override {
    return false;
  }
  [[nodiscard]] std::vector<std::size_t> columns() const override { return {index_}; }
  [[nodiscard]] std::optional<std::size_t> list_column() const override { return index_; }

 private:
  std::size_t index_;
};

RowError not_a_number(const Operand& operand, const Value& value) {
  return {.message =
              fmt::format("{} is {}: must be a number", operand.source, format_for_message(value))};
}

RowError not_finite(const Operand& operand) {
  return {.message = fmt::format("{}: the result is infinite or not a number", operand.source)};
}

RowError not_in_calendar(const Operand& operand) {
  return {.message =
              fmt::format("{}: the date is before 0000-01-01 or after 9999-12-31", operand.source)};
}

double number_operand(const Node& node, Evaluator& in, Value& value) {
  value = node.evaluate(in);
  if (value.is_text()) in.fail([&] { return not_a_number(node, value); });
  return value.number;
}

class Negation : public Node {
 public:
  Negation(std::string_view text, std::unique_ptr<Node> operand)
      : Node(text), operand_(std::move(operand)) {}
  Value evaluate(Evaluator& in) const override {
    Value value;
    return {.number = -number_operand(*operand_, in, value)};
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

// Two operands: the evaluation by blocks is the same for all.
class Binary : public Node {
 public:
  Binary(std::string_view text, std::unique_ptr<Node> left, std::unique_ptr<Node> right)
      : Node(text), left_(std::move(left)), right_(std::move(right)) {}

 protected:
  // Null when rows must be evaluated one by one.
  BlockColumn* evaluate_block(BlockEvaluator& in, const auto& compute, const auto& kind) const {
    const BlockColumn* const left = left_->evaluate(in);
    const BlockColumn* const right = right_->evaluate(in);
    if (left == nullptr || right == nullptr || left->kind == Kind::kBasis ||
        right->kind == Kind::kBasis) {
      return nullptr;
    }
    BlockColumn& to = in.temporary();
    to.kind = kind(left->kind, right->kind);
    to.numbers.resize(in.rows);
    for (std::size_t i = 0; i < in.rows; ++i) {
      const double a = left->at(i);
      const double b = right->at(i);
      to.numbers[i] = compute(a, b);
      // Missing operands give a missing result. Any other result that is not finite fails, and so
      // does a date outside the calendar.
      if (!std::isfinite(to.numbers[i]) && !std::isnan(a) && !std::isnan(b)) in.is_special[i] = 1;
      if (to.kind == Kind::kDate && is_beyond_calendar(to.numbers[i])) in.is_special[i] = 1;
    }
    return &to;
  }

  std::unique_ptr<Node> left_;
  std::unique_ptr<Node> right_;
};

class Arithmetic : public Binary {
 public:
  Arithmetic(std::string_view text, char operation, std::unique_ptr<Node> left,
             std::unique_ptr<Node> right)
      : Binary(text, std::move(left), std::move(right)), operation_(operation) {}

  Value evaluate(Evaluator& in) const override {
    Value left;
    Value right;
    number_operand(*left_, in, left);
    number_operand(*right_, in, right);
    if (operation_ == '/' && right.number == 0.0 && !std::isnan(left.number)) {
      in.fail([this] { return RowError{fmt::format("{}: division by zero", source)}; });
    }
    const double result = computed(left.number, right.number);
    if (!std::isfinite(result) && !std::isnan(left.number) && !std::isnan(right.number)) {
      in.fail([this] { return not_finite(*this); });
    }
    const bool is_day = is_date(left.is_date(), right.is_date());
    if (is_day && is_beyond_calendar(result)) in.fail([this] { return not_in_calendar(*this); });
    return {.number = result, .kind = is_day ? Value::Kind::kDate : Value::Kind::kNumber};
  }

  const BlockColumn* evaluate(BlockEvaluator& in) const override {
    const auto kind = [this](Kind left, Kind right) {
      return is_date(left == Kind::kDate, right == Kind::kDate) ? Kind::kDate : Kind::kNumber;
    };
    switch (operation_) {
      case '+':
        return evaluate_block(in, std::plus<>(), kind);
      case '-':
        return evaluate_block(in, std::minus<>(), kind);
      case '*':
        return evaluate_block(in, std::multiplies<>(), kind);
      default:
        return evaluate_block(
            in, [this](double a, double b) { return computed(a, b); }, kind);
    }
  }

 private:
  [[nodiscard]] double computed(double left, double right) const noexcept {
    switch (operation_) {
      case '+':
        return left + right;
      case '-':
        return left - right;
      case '*':
        return left * right;
      case '^':
        // pow(1, missing) and pow(missing, 0) are 1.
        return std::isnan(left) || std::isnan(right) ? kMissing : std::pow(left, right);
      default:
        return left / right;
    }
  }

  // A date plus or minus a number of days is a date.
  [[nodiscard]] bool is_date(bool left, bool right) const noexcept {
    return left != right && (operation_ == '+' || (operation_ == '-' && left));
  }

  char operation_;
};

// 1 if the comparison holds, 0 if it does not. Texts can be equal or not. A text is compared with
// the source text of a number, such as 0012 of a cell.
class Compared : public Binary {
 public:
  Compared(std::string_view text, Comparison comparison, std::unique_ptr<Node> left,
           std::unique_ptr<Node> right)
      : Binary(text, std::move(left), std::move(right)), comparison_(comparison) {}

  Value evaluate(Evaluator& in) const override {
    const Value left = left_->evaluate(in);
    const Value right = right_->evaluate(in);
    const bool is_equality =
        comparison_ == Comparison::kEqual || comparison_ == Comparison::kUnequal;
    double result = 0.0;
    if (left.is_missing() || right.is_missing()) {
      result = kMissing;
    } else if (is_equality && (left.is_text() || right.is_text())) {
      const auto has_word = [](const Value& value) {
        return value.is_text() || !value.word.empty();
      };
      const bool is_equal = has_word(left) && has_word(right) && left.word == right.word;
      result = is_equal == (comparison_ == Comparison::kEqual) ? 1.0 : 0.0;
    } else {
      if (left.is_text()) in.fail([&] { return not_a_number(*left_, left); });
      if (right.is_text()) in.fail([&] { return not_a_number(*right_, right); });
      result = compared(left.number, right.number);
    }
    return {.number = result, .kind = Value::Kind::kCount};
  }

  const BlockColumn* evaluate(BlockEvaluator& in) const override {
    return evaluate_block(
        in, [this](double a, double b) { return compared(a, b); },
        [](Kind, Kind) { return Kind::kCount; });
  }

 private:
  [[nodiscard]] double compared(double left, double right) const noexcept {
    if (std::isnan(left) || std::isnan(right)) return kMissing;
    const auto holds = [&] {
      switch (comparison_) {
        case Comparison::kEqual:
          return left == right;
        case Comparison::kUnequal:
          return left != right;
        case Comparison::kBelow:
          return left < right;
        case Comparison::kAtMost:
          return left <= right;
        case Comparison::kAbove:
          return left > right;
        default:
          return left >= right;
      }
    };
    return holds() ? 1.0 : 0.0;
  }

  Comparison comparison_;
};

// if(condition, value, otherwise) and ifmissing(value, otherwise). A row evaluates only the operand
// that is chosen.
class Choice : public Node {
 public:
  Choice(std::string_view text, Function function, std::vector<std::unique_ptr<Node>> operands)
      : Node(text), is_if_(function == Function::kIf), operands_(std::move(operands)) {}

  Value evaluate(Evaluator& in) const override {
    const Value first = operands_[0]->evaluate(in);
    if (in.failed) return {};
    if (!is_if_) return first.is_missing() ? operands_[1]->evaluate(in) : first;
    if (first.is_text()) in.fail([&] { return not_a_number(*operands_[0], first); });
    if (in.failed || first.is_missing()) return {};
    return operands_[first.number != 0.0 ? 1 : 2]->evaluate(in);
  }

  const BlockColumn* evaluate(BlockEvaluator& in) const override {
    std::vector<const BlockColumn*> columns;
    for (const auto& operand : operands_) {
      columns.push_back(operand->evaluate(in));
      if (columns.back() == nullptr || columns.back()->kind == Kind::kBasis) return nullptr;
    }
    const BlockColumn& value = *columns[columns.size() - 2];
    const BlockColumn& otherwise = *columns.back();
    BlockColumn& to = in.temporary();
    if (value.kind != otherwise.kind) return nullptr;
    to.kind = value.kind;
    to.numbers.resize(in.rows);
    for (std::size_t i = 0; i < in.rows; ++i) {
      const double first = columns[0]->at(i);
      if (is_if_) {
        to.numbers[i] = std::isnan(first) ? kMissing : first != 0.0 ? value.at(i) : otherwise.at(i);
      } else {
        to.numbers[i] = std::isnan(first) ? otherwise.at(i) : first;
      }
    }
    return &to;
  }

 private:
  bool is_if_;
  std::vector<std::unique_ptr<Node>> operands_;
};

// A function of numbers. min and max of dates are dates.
class Applied : public Node {
 public:
  Applied(std::string_view text, Function function, std::vector<std::unique_ptr<Operand>> operands)
      : Node(text), function_(function), operands_(std::move(operands)) {}

  Value evaluate(Evaluator& in) const override {
    const std::size_t base = in.stack.size();
    std::vector<double> numbers;
    bool are_dates = true;
    for (const auto& operand : operands_) {
      const std::size_t first = in.stack.size();
      operand->push(in);
      for (const Value& value : std::span(in.stack).subspan(first)) {
        if (value.is_text()) in.fail([&] { return not_a_number(*operand, value); });
        numbers.push_back(value.number);
        are_dates &= value.is_date() || value.is_missing();
      }
    }
    in.stack.resize(base);
    if (in.failed) return {};
    const double result = evaluate_function(function_, numbers);
    if (std::isinf(result)) in.fail([this] { return not_finite(*this); });
    return {.number = result, .kind = kind_of(kind_of_result(are_dates))};
  }

  const BlockColumn* evaluate(BlockEvaluator& in) const override {
    std::vector<Source> sources;
    bool has_dates = false;
    bool has_numbers = false;
    // A column whose values are all missing has neither.
    const auto add_kind = [&](bool is_date, bool has_values) {
      has_dates |= is_date;
      has_numbers |= !is_date && has_values;
    };
    const auto is_number = [](double x) { return !std::isnan(x); };
    for (const auto& operand : operands_) {
      if (const auto list = operand->list_column()) {
        const BlockList& from = in.lists[*list];
        sources.push_back({nullptr, from.values.data()});
        add_kind(from.is_date, std::ranges::any_of(from.values, is_number));
        continue;
      }
      std::vector<const BlockColumn*> columns;
      if (!operand->add_columns(in, columns)) return nullptr;
      for (const BlockColumn* const column : columns) {
        if (column->kind == Kind::kBasis) return nullptr;
        sources.push_back({column, nullptr});
        bool has_values = false;
        for (std::size_t i = 0; i < in.rows && !has_values; ++i) {
          has_values = in.is_special[i] == 0 && is_number(column->at(i));
        }
        add_kind(column->kind == Kind::kDate, has_values);
      }
    }
    if (has_dates && has_numbers) return nullptr;  // each row has its own kind
    BlockColumn& to = in.temporary();
    to.kind = kind_of_result(has_dates);
    to.numbers.resize(in.rows);
    std::vector<double> numbers;
    for (std::size_t i = 0; i < in.rows; ++i) {
      numbers.clear();
      for (const Source& each : sources) {
        if (each.column != nullptr) {
          numbers.push_back(each.column->at(i));
        } else {
          numbers.insert(numbers.end(), each.list + in.offsets[i], each.list + in.offsets[i + 1]);
        }
      }
      to.numbers[i] = evaluate_function(function_, numbers);
      if (std::isinf(to.numbers[i])) in.is_special[i] = 1;
    }
    return &to;
  }

 private:
  struct Source {
    const BlockColumn* column;  // or, if it is null,
    const double* list;         // the values of all groups
  };

  [[nodiscard]] Kind kind_of_result(bool are_dates) const noexcept {
    if (function_ == Function::kCount) return Kind::kCount;
    const bool is_choice = function_ == Function::kMin || function_ == Function::kMax;
    return is_choice && are_dates ? Kind::kDate : Kind::kNumber;
  }

  Function function_;
  std::vector<std::unique_ptr<Operand>> operands_;
};

// A call of a keyword whose arguments are lists exactly where the keyword takes lists is evaluated
// by the kernel's lists. In any other call, the values of lists are arguments as they are.
class Call : public Node {
 public:
  Call(std::string_view text, const catalog::Keyword& keyword,
       std::vector<std::unique_ptr<Operand>> arguments, std::optional<std::size_t> count,
       std::size_t number)
      : Node(text),
        keyword_(keyword),
        arguments_(std::move(arguments)),
        count_(count),
        number_(number) {
    std::vector<ListArgument> shape;
    bool has_range = false;
    for (const auto& argument : arguments_) {
      shape.push_back({.is_list = argument->list_column().has_value()});
      has_range |= argument->columns().size() > 1;
    }
    takes_lists_ = !count_ && !has_range && ListCall::fits(keyword_, shape);
  }

  Value evaluate(Evaluator& in) const override {
    const std::size_t base = in.stack.size();
    if (takes_lists_) {
      std::vector<ListArgument> lists;
      if (add_lists(in, lists)) {
        const Value result = in.failed ? Value{} : evaluate_lists(lists, in);
        in.stack.resize(base);
        return result;
      }
      in.stack.resize(base);
    }
    for (const auto& argument : arguments_) argument->push(in);
    const Value result = in.failed ? Value{} : evaluate(std::span(in.stack).subspan(base), in);
    in.stack.resize(base);
    return result;
  }

  const BlockColumn* evaluate(BlockEvaluator& in) const override {
    return takes_lists_ ? evaluate_lists(in) : evaluate_columns(in);
  }

 private:
  const BlockColumn* evaluate_columns(BlockEvaluator& in) const {
    std::vector<const BlockColumn*> arguments;
    for (const auto& argument : arguments_) {
      if (!argument->add_columns(in, arguments)) return nullptr;
    }
    CheckedCall& call = in.calls.get(number_, keyword_, arguments.size());
    std::vector<ColumnArgument> columns;
    bool has_dates = false;  // in a list of dates
    bool has_numbers = false;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
      const BlockColumn& from = *arguments[i];
      const catalog::Argument& parameter = call.parameter(i + 1);
      const bool takes_basis = parameter.kind == catalog::ArgumentKind::kBasis;
      if (from.kind == Kind::kBasis && !takes_basis) return nullptr;
      if (from.kind == Kind::kDate && !parameter.is_date()) return nullptr;
      if (parameter.is_date() && parameter.presence == catalog::Presence::kRepeated) {
        (from.kind == Kind::kDate ? has_dates : has_numbers) = true;
        if (has_dates && has_numbers) return nullptr;
      }
      columns.push_back({from.is_constant ? vxkernel::constant(from.numbers.data())
                                          : vxkernel::column(from.numbers.data())});
    }
    BlockColumn& to = in.temporary();
    to.kind = kind_of(call.value_of(0.0));
    to.numbers.resize(in.rows);
    std::vector<std::uint8_t> failures((in.rows + 7) / 8);
    host::evaluate_columns(call, columns, static_cast<std::int64_t>(in.rows), to.numbers.data(),
                           failures.data());
    // A row that is missing a value or fails is evaluated again by itself.
    for (std::size_t i = 0; i < in.rows; ++i) {
      if (std::isnan(to.numbers[i])) in.is_special[i] = 1;
    }
    return &to;
  }

  const BlockColumn* evaluate_lists(BlockEvaluator& in) const {
    std::vector<ListArgument> arguments;
    for (const auto& operand : arguments_) {
      if (const auto list = operand->list_column()) {
        const BlockList& values = in.lists[*list];
        arguments.push_back(
            {.values = values.values.data(), .is_list = true, .is_date = values.is_date});
        for (std::size_t group = 0; group < in.rows; ++group) {
          const auto has_missing = std::any_of(values.values.begin() + in.offsets[group],
                                               values.values.begin() + in.offsets[group + 1],
                                               [](double x) { return std::isnan(x); });
          if (has_missing) in.is_special[group] = 1;
        }
        continue;
      }
      std::vector<const BlockColumn*> column;
      if (!operand->add_columns(in, column) || column[0]->kind == Kind::kBasis) return nullptr;
      arguments.push_back({.values = column[0]->numbers.data(),
                           .is_constant = column[0]->is_constant,
                           .is_date = column[0]->kind == Kind::kDate});
    }
    BlockColumn& to = in.temporary();
    to.numbers.resize(in.rows);
    ListCall(in.calls.kernel(), keyword_, arguments)
        .run(std::span(in.offsets).first(in.rows + 1), to.numbers);
    for (std::size_t i = 0; i < in.rows; ++i) {
      if (std::isnan(to.numbers[i])) in.is_special[i] = 1;
    }
    return &to;
  }

  // The arguments of a group. Values that are not in a list are on the stack. False when one of
  // them is a text or missing.
  bool add_lists(Evaluator& in, std::vector<ListArgument>& arguments) const {
    const std::size_t base = in.stack.size();
    for (const auto& operand : arguments_) {
      if (!operand->list_column()) operand->push(in);
    }
    // The stack does not grow from here on, so that addresses in it stay valid.
    const Value* scalar = in.stack.data() + base;
    for (const auto& operand : arguments_) {
      if (const auto index = operand->list_column()) {
        const List& list = in.lists[*index];
        const auto missing =
            std::ranges::count_if(list.values, [](double x) { return std::isnan(x); });
        if (missing > 0) {
          in.fail([&] {
            return RowError{fmt::format("{}: {} is missing in {} of {} rows", keyword_.word,
                                        operand->source, missing, list.values.size()),
                            std::string(keyword_.word), std::string(operand->source)};
          });
        }
        arguments.push_back({list.values.data(), true, false, list.is_date});
        continue;
      }
      const Value& value = *scalar++;
      if (value.is_text() || value.is_missing()) return false;
      arguments.push_back({&value.number, false, true, value.is_date()});
    }
    return true;
  }

  Value evaluate_lists(const std::vector<ListArgument>& arguments, Evaluator& in) const {
    ListCall call(in.calls.kernel(), keyword_, arguments);
    std::size_t size = 0;
    for (const auto& operand : arguments_) {
      if (const auto list = operand->list_column()) size = in.lists[*list].values.size();
    }
    const std::int64_t offsets[] = {0, static_cast<std::int64_t>(size)};
    double result = kMissing;
    call.run(offsets, std::span(&result, 1));
    if (std::isnan(result)) {
      in.fail([&] {
        return RowError{
            fmt::format("{}: {}", keyword_.word, call.error(offsets, 0).message(keyword_)),
            std::string(keyword_.word)};
      });
    }
    return {.number = result};
  }

  Value evaluate(std::span<const Value> values, Evaluator& in) const {
    const std::string keyword(keyword_.word);
    if (!count_) {
      if (auto error = CheckedCall::arity_error(keyword_, values.size())) {
        in.fail([&] { return RowError{fmt::format("{}: {}", keyword, *error), keyword}; });
        return {};
      }
    }
    CheckedCall& call = in.calls.get(number_, keyword_, values.size());
    call.begin();
    for (std::size_t i = 0; i < values.size(); ++i) call.set(i + 1, values[i]);
    const CallResult result = call.run();
    if (!result.ok()) {
      in.fail([&] {
        RowError error{fmt::format("{}: {}", keyword, call.error_message(result, values)), keyword};
        if (result.position != 0) {
          error.argument = call.parameter(result.position).name;
          error.value = format_for_message(values[result.position - 1]);
        }
        return error;
      });
    }
    return result.value;
  }

  const catalog::Keyword& keyword_;
  std::vector<std::unique_ptr<Operand>> arguments_;
  std::optional<std::size_t> count_;
  std::size_t number_;
  bool takes_lists_ = false;
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
std::unique_ptr<Node> comparison(std::string_view text, Comparison comparison,
                                 std::unique_ptr<Node> left, std::unique_ptr<Node> right) {
  return std::make_unique<Compared>(text, comparison, std::move(left), std::move(right));
}
std::unique_ptr<Node> choice(std::string_view text, Function function,
                             std::vector<std::unique_ptr<Node>> operands) {
  return std::make_unique<Choice>(text, function, std::move(operands));
}
std::unique_ptr<Node> function(std::string_view text, Function function,
                               std::vector<std::unique_ptr<Operand>> operands) {
  return std::make_unique<Applied>(text, function, std::move(operands));
}
std::unique_ptr<Node> call(std::string_view text, const catalog::Keyword& keyword,
                           std::vector<std::unique_ptr<Operand>> arguments,
                           std::optional<std::size_t> count, std::size_t number) {
  return std::make_unique<Call>(text, keyword, std::move(arguments), count, number);
}

}  // namespace cli
