#include "expression.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace cli {
namespace {

// Deeper nesting is refused: every parenthesis takes a frame of the parser's stack.
constexpr int kDeepest = 200;

// So does every operator of the evaluation's stack.
constexpr std::size_t kMostTokens = 5000;

struct Token {
  enum class Kind : std::uint8_t { kEnd, kValue, kText, kName, kQuotedName, kSymbol };
  Kind kind;
  std::string_view text;  // without quotes
  std::size_t at;
  std::size_t length;

  [[nodiscard]] bool is(std::string_view symbol) const noexcept {
    return kind == Kind::kSymbol && text == symbol;
  }
};

bool is_letter(char c) noexcept {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || (c & 0x80) != 0;
}
bool is_digit(char c) noexcept { return c >= '0' && c <= '9'; }
bool is_blank(char c) noexcept { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

// The length of four digits, -, one or two digits, -, one or two digits; 0 for anything else.
std::size_t like_a_date(std::string_view text) noexcept {
  std::size_t at = 0;
  const auto digits = [&](std::size_t most) {
    std::size_t count = 0;
    while (count < most && at < text.size() && is_digit(text[at])) ++at, ++count;
    return count;
  };
  const auto dash = [&] { return at < text.size() && text[at] == '-' ? ++at, true : false; };
  constexpr std::size_t kYear = 4;
  return digits(kYear) == kYear && dash() && digits(2) > 0 && dash() && digits(2) > 0 ? at : 0;
}

std::vector<Token> tokens_of(std::string_view text) {
  using enum Token::Kind;
  std::vector<Token> tokens;
  const auto add = [&](Token::Kind kind, std::size_t at, std::size_t length) {
    tokens.push_back({kind, text.substr(at, length), at, length});
  };
  const auto run = [text](std::size_t at, auto belongs) {
    const auto* const end = std::find_if_not(text.begin() + at, text.end(), belongs);
    return static_cast<std::size_t>(end - text.begin()) - at;
  };
  const auto number = [&](std::size_t at) {  // an exponent's sign belongs to it
    std::size_t end = at;
    while (end < text.size() && (is_digit(text[end]) || is_letter(text[end]) || text[end] == '.' ||
                                 ((text[end] == '+' || text[end] == '-') && end > at &&
                                  (text[end - 1] == 'e' || text[end - 1] == 'E')))) {
      if (text.substr(end).starts_with("..")) break;
      ++end;
    }
    return end - at;
  };
  constexpr std::size_t kDateLength = 10;
  for (std::size_t at = 0; at < text.size(); at += tokens.back().length) {
    at += run(at, is_blank);
    if (at == text.size()) break;
    const char c = text[at];
    const bool begins_number =
        is_digit(c) || (c == '.' && at + 1 < text.size() && is_digit(text[at + 1]));
    if (c == '\'' || c == '"') {
      const std::size_t end = text.find(c, at + 1);
      if (end == text.npos) throw SyntaxError("a quotation is not closed", at, text.size() - at);
      add(c == '"' ? kQuotedName : kText, at, end + 1 - at);
      tokens.back().text = text.substr(at + 1, end - at - 1);
    } else if (value_of(text.substr(at, kDateLength)).is_date()) {
      add(kValue, at, kDateLength);
    } else if (const std::size_t length = like_a_date(text.substr(at)); length > 0) {
      throw SyntaxError("no such date (YYYY-MM-DD); to subtract, put blanks around -", at, length);
    } else if (begins_number) {
      add(kValue, at, number(at));
    } else if (is_letter(c)) {
      add(kName, at, run(at, [](char x) { return is_letter(x) || is_digit(x); }));
    } else if (text.substr(at).starts_with("..") || text.substr(at).starts_with("[]")) {
      add(kSymbol, at, 2);
    } else if (c == '.') {
      add(kValue, at, 1);
    } else if (std::string_view("+-*/(),=").find(c) != std::string_view::npos) {
      add(kSymbol, at, 1);
    } else {
      throw SyntaxError("this belongs to no expression", at, 1);
    }
  }
  if (tokens.size() > kMostTokens) throw SyntaxError("the expression is too long", 0, 1);
  add(kEnd, text.size(), 0);
  return tokens;
}

class Constant : public Node {
 public:
  Constant(std::string_view text, bool is_text) : Node(text) {
    value_ = is_text ? Value{.word = source, .kind = Value::Kind::kText} : value_of(source);
  }
  Value evaluate(Evaluator&) const override { return value_; }

 private:
  Value value_;
};

class Column : public Node {
 public:
  Column(std::string_view name, std::size_t column) : Node(name), column_(column) {}
  Value evaluate(Evaluator& in) const override { return value_of_column(in, column_); }

  // What is computed from a result that failed fails, too: its complaint has been made.
  static Value value_of_column(Evaluator& in, std::size_t column) {
    if (in.values[column].is_failed()) in.fail([] { return std::string(); });
    return in.values[column];
  }

 private:
  std::size_t column_;
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

 private:
  std::size_t first_;
  std::size_t last_;
};

class ColumnList : public Operand {
 public:
  ColumnList(std::string_view name, std::size_t column) : Operand(name), column_(column) {}
  void push(Evaluator& in) const override {
    for (const double number : in.lists[column_]) {
      in.stack.push_back({.number = number});
    }
  }

 private:
  std::size_t column_;
};

class Negation : public Node {
 public:
  Negation(std::string_view text, std::unique_ptr<Node> operand)
      : Node(text), operand_(std::move(operand)) {}
  Value evaluate(Evaluator& in) const override {
    const Value value = operand_->evaluate(in);
    if (value.is_text()) in.fail([&] { return not_a_number(*operand_, value); });
    return {.number = -value.number};
  }

  static std::string not_a_number(const Node& node, const Value& value) {
    return fmt::format("{} is {}: must be a number", node.source, shown(value));
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
    const bool one_date = left.is_date() != right.is_date();
    const auto moved = [](double days, bool is_date) {
      return Value{.number = days, .kind = is_date ? Value::Kind::kDate : Value::Kind::kNumber};
    };
    switch (operation_) {
      case '+':
        return moved(left.number + right.number, one_date);
      case '-':
        return moved(left.number - right.number, one_date && left.is_date());
      case '*':
        return {.number = left.number * right.number};
      default:
        if (right.number == 0.0) {
          in.fail([this] { return fmt::format("{}: division by zero", source); });
        }
        return {.number = left.number / right.number};
    }
  }

 private:
  static Value operand(const Node& node, Evaluator& in) {
    const Value value = node.evaluate(in);
    if (value.is_text()) in.fail([&] { return Negation::not_a_number(node, value); });
    return value;
  }

  char operation_;
  std::unique_ptr<Node> left_;
  std::unique_ptr<Node> right_;
};

class Call : public Node {
 public:
  // Without a count, it depends on the lists of a group.
  Call(std::string_view text, const catalog::Keyword& keyword,
       std::vector<std::unique_ptr<Operand>> arguments, std::optional<std::size_t> count)
      : Node(text), keyword_(keyword), arguments_(std::move(arguments)) {
    if (count) callee_.emplace(keyword, *count);
    for (const auto& argument : arguments_) {
      if (const auto* const node = dynamic_cast<const Node*>(argument.get())) {
        nodes_.push_back(node);
      }
    }
  }

  Value evaluate(Evaluator& in) const override {
    const std::size_t base = in.stack.size();
    if (nodes_.size() == arguments_.size()) {  // the quick way
      in.stack.resize(base + nodes_.size());
      for (std::size_t i = 0; i < nodes_.size(); ++i) {
        const Value value = nodes_[i]->evaluate(in);  // may move the stack
        in.stack[base + i] = value;
      }
    } else {
      for (const auto& argument : arguments_) argument->push(in);
    }
    const Value result = in.failed ? Value{} : call(std::span(in.stack).subspan(base), in);
    in.stack.resize(base);
    return result;
  }

 private:
  Value call(std::span<const Value> values, Evaluator& in) const {
    if (callee_) return call(*callee_, values, in);
    if (auto complaint = Callee::complaint_of_count(keyword_, values.size())) {
      in.fail([&] { return fmt::format("{}: {}", keyword_.word, *complaint); });
      return {};
    }
    return call(Callee(keyword_, values.size()), values, in);
  }

  static Value call(const Callee& callee, std::span<const Value> values, Evaluator& in) {
    in.arguments.resize(values.size(), vxkernel::Argument::missing());
    for (std::size_t i = 0; i < values.size(); ++i) in.arguments[i] = values[i].argument();
    const vxkernel::Evaluation answer = callee.evaluate(in.kernel, in.arguments);
    if (!answer.ok())
      in.fail([&] {
        return fmt::format("{}: {}", callee.keyword().word, callee.complaint(answer, values));
      });
    return callee.result(answer);
  }

  const catalog::Keyword& keyword_;
  std::vector<std::unique_ptr<Operand>> arguments_;
  std::vector<const Node*> nodes_;  // those of the arguments that have one value
  std::optional<Callee> callee_;
};

class Parser {
 public:
  Parser(std::string_view text, const Columns& columns)
      : text_(text), columns_(columns), tokens_(tokens_of(text)) {}

  Expression expression() {
    using enum Token::Kind;
    Expression result;
    const bool is_named =
        (token().kind == kName || token().kind == kQuotedName) && tokens_[1].is("=");
    if (is_named) {
      result.name = token().text;
      at_ += 2;
    }
    const std::size_t from = token().at;
    result.root = sum();
    if (token().kind != kEnd) refuse("no operator stands before this");
    if (!is_named) result.name = source_from(from);
    const auto& names = columns_.names();
    if (std::ranges::find(names, result.name) != names.end()) {
      throw SyntaxError(fmt::format("there is a column {} already", result.name), 0,
                        is_named ? tokens_[0].length : text_.size());
    }
    result.values = std::move(values_);
    result.lists = std::move(lists_);
    return result;
  }

 private:
  using NodePointer = std::unique_ptr<Node>;
  using OperandPointer = std::unique_ptr<Operand>;

  [[nodiscard]] const Token& token() const noexcept { return tokens_[at_]; }

  bool take(std::string_view symbol) noexcept {
    if (!token().is(symbol)) return false;
    ++at_;
    return true;
  }

  [[noreturn]] void refuse(const std::string& complaint) const {
    throw SyntaxError(complaint, token().at, std::max<std::size_t>(token().length, 1));
  }

  void expect(std::string_view symbol) {
    if (!take(symbol)) refuse(fmt::format("{} is missing here", symbol));
  }

  // What was written from a place up to the last token taken.
  [[nodiscard]] std::string_view source_from(std::size_t from) const {
    const Token& last = tokens_[at_ - 1];
    return text_.substr(from, last.at + last.length - from);
  }

  NodePointer sum() {
    if (++depth_ > kDeepest) refuse("nested too deeply");
    const std::size_t from = token().at;
    NodePointer left = product();
    while (token().is("+") || token().is("-"))
      left = operation(std::move(left), from, &Parser::product);
    --depth_;
    return left;
  }

  NodePointer product() {
    const std::size_t from = token().at;
    NodePointer left = signed_primary();
    while (token().is("*") || token().is("/"))
      left = operation(std::move(left), from, &Parser::signed_primary);
    return left;
  }

  NodePointer operation(NodePointer left, std::size_t from, NodePointer (Parser::*operand)()) {
    const char symbol = token().text[0];
    ++at_;
    NodePointer right = (this->*operand)();
    return std::make_unique<Arithmetic>(source_from(from), symbol, std::move(left),
                                        std::move(right));
  }

  NodePointer signed_primary() {
    const std::size_t from = token().at;
    bool is_negative = false;
    while (token().is("+") || token().is("-")) {
      is_negative ^= token().is("-");
      ++at_;
    }
    NodePointer operand = primary();
    if (!is_negative) return operand;
    return std::make_unique<Negation>(source_from(from), std::move(operand));
  }

  NodePointer primary() {
    using enum Token::Kind;
    const Token first = token();
    switch (first.kind) {
      case kValue:
        if (value_of(first.text).is_text()) refuse("this is no number");
        ++at_;
        return std::make_unique<Constant>(first.text, false);
      case kText:
        ++at_;
        return std::make_unique<Constant>(first.text, true);
      case kName:
        if (tokens_[at_ + 1].is("(")) return call();
        [[fallthrough]];
      case kQuotedName: {
        if (tokens_[at_ + 1].is("..") || tokens_[at_ + 1].is("[]")) {
          ++at_;
          refuse("a list can stand among the arguments of a call alone");
        }
        const std::size_t index = column();
        use_value(index, first);
        return std::make_unique<Column>(first.text, index);
      }
      default:
        break;
    }
    if (!take("("))
      refuse(first.kind == kEnd ? "the expression ends too early" : "a value is missing here");
    NodePointer inner = sum();
    expect(")");
    return inner;
  }

  NodePointer call() {
    const Token word = token();
    const catalog::Keyword* const keyword = catalog::find(word.text);
    if (keyword == nullptr) refuse("no such keyword; `finance --list` shows all");
    at_ += 2;
    std::vector<OperandPointer> arguments;
    std::size_t count = 0;
    bool has_lists = false;
    if (!token().is(")")) {
      do {
        has_lists |= tokens_[at_ + 1].is("[]");
        arguments.push_back(argument(count));
      } while (take(","));
    }
    expect(")");
    const std::string_view source = source_from(word.at);
    if (!has_lists) {
      if (const auto complaint = Callee::complaint_of_count(*keyword, count)) {
        throw SyntaxError(fmt::format("{}: {}", keyword->word, *complaint), word.at, source.size());
      }
    }
    return std::make_unique<Call>(source, *keyword, std::move(arguments),
                                  has_lists ? std::nullopt : std::optional(count));
  }

  // Counts what it stands for among the arguments of the call.
  OperandPointer argument(std::size_t& count) {
    const Token first = token();
    const bool is_name = first.kind == Token::Kind::kName || first.kind == Token::Kind::kQuotedName;
    ++count;
    if (is_name && tokens_[at_ + 1].is("[]")) {
      const std::size_t index = column();
      ++at_;
      if (!columns_.is_in_table(index)) {
        throw SyntaxError("a result has one value a group, and no list", first.at, first.length);
      }
      lists_.push_back(index);
      return std::make_unique<ColumnList>(first.text, index);
    }
    if (is_name && tokens_[at_ + 1].is("..")) return range(count);
    return sum();
  }

  OperandPointer range(std::size_t& count) {
    const Token first = token();
    const std::size_t from = column();
    ++at_;
    const Token last = token();
    if (last.kind != Token::Kind::kName && last.kind != Token::Kind::kQuotedName) {
      refuse("a column is missing here");
    }
    const std::size_t to = column();
    const Token whole{first.kind, source_from(first.at), first.at,
                      last.at + last.length - first.at};
    const auto refuse_range = [&whole](const std::string& complaint) {
      throw SyntaxError(complaint, whole.at, whole.length);
    };
    if (to < from) refuse_range(fmt::format("column {} stands before {}", last.text, first.text));
    // Numbered columns must stand in the order of their numbers: sorted as text, they do not.
    const auto start = numbered(first.text);
    for (std::size_t i = from; i <= to; ++i) {
      const auto here = numbered(columns_.names()[i]);
      if (start && numbered(last.text) &&
          (!here || here->stem != start->stem || here->number != start->number + (i - from))) {
        refuse_range(fmt::format("column {} stands in this range", columns_.names()[i]));
      }
      use_value(i, whole);
    }
    count += to - from;
    return std::make_unique<ColumnRange>(whole.text, from, to);
  }

  struct Numbered {
    std::string_view stem;
    std::uint64_t number;
  };

  // A name that ends in a number, such as cf12.
  static std::optional<Numbered> numbered(std::string_view name) {
    std::size_t digits = 0;
    while (digits < name.size() && is_digit(name[name.size() - 1 - digits])) ++digits;
    constexpr std::size_t kMostDigits = 9;
    if (digits == 0 || digits > kMostDigits) return {};
    std::uint64_t number = 0;
    for (const char c : name.substr(name.size() - digits)) {
      number = 10 * number + static_cast<std::uint64_t>(c - '0');
    }
    return Numbered{name.substr(0, name.size() - digits), number};
  }

  // Takes the name of a column.
  std::size_t column() {
    try {
      const std::size_t index = columns_.find(token().text);
      ++at_;
      return index;
    } catch (const std::invalid_argument& error) {
      refuse(error.what());
    }
  }

  void use_value(std::size_t index, const Token& name) {
    if (!columns_.has_one_value(index)) {
      throw SyntaxError(fmt::format("{0} has many values in a group: write {0}[] in a call that "
                                    "takes a list, or --by {0}",
                                    columns_.names()[index]),
                        name.at, name.length);
    }
    values_.push_back(index);
  }

  std::string_view text_;
  const Columns& columns_;
  std::vector<Token> tokens_;
  std::size_t at_ = 0;
  int depth_ = 0;
  std::vector<std::size_t> values_;
  std::vector<std::size_t> lists_;
};

}  // namespace

bool Columns::has_one_value(std::size_t column) const noexcept {
  return !is_grouped_ || !is_in_table(column) || std::ranges::find(keys_, column) != keys_.end();
}

std::size_t Columns::find(std::string_view name) const {
  const auto found = std::ranges::find(names_, name);
  if (found == names_.end()) {
    constexpr std::size_t kMostNamed = 20;
    std::vector<std::string> shown_names;
    for (const std::string& each : names_) {
      if (shown_names.size() == kMostNamed) break;
      const bool is_plain =
          !each.empty() && is_letter(each[0]) &&
          std::ranges::all_of(each, [](char c) { return is_letter(c) || is_digit(c); });
      shown_names.push_back(is_plain ? each : '"' + each + '"');
    }
    throw std::invalid_argument(fmt::format("no column {}; there are {}{}", name,
                                            fmt::join(shown_names, ", "),
                                            shown_names.size() < names_.size() ? ", ..." : ""));
  }
  if (std::find(found + 1, names_.end(), name) != names_.end()) {
    throw std::invalid_argument(fmt::format("there are two columns {}", name));
  }
  return static_cast<std::size_t>(found - names_.begin());
}

Expression parse(std::string_view text, const Columns& columns) {
  return Parser(text, columns).expression();
}

bool uses_lists(std::string_view text) {
  return std::ranges::any_of(tokens_of(text), [](const Token& token) { return token.is("[]"); });
}

}  // namespace cli
