#include <fmt/format.h>

#include <algorithm>
#include <array>

#include "hosts/call/nearest.h"
#include "hosts/cli/expression/expression.h"
#include "hosts/cli/expression/functions.h"
#include "hosts/cli/expression/lexer.h"

namespace cli {
namespace {

// The limit of nesting: every parenthesis needs a stack frame of the parser.
constexpr int kDeepest = 200;

class Parser {
 public:
  Parser(std::string_view text, const Columns& columns, std::size_t& calls)
      : text_(text), columns_(columns), calls_(calls), tokens_(tokens_of(text)) {}

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
    result.root = value();
    if (token().kind != kEnd) {
      if (tokens_[at_ - 1].kind == kName) refuse_unquoted(tokens_[at_ - 1]);
      refuse_word_operator();
      refuse("expected an operator");
    }
    if (!is_named) result.name = source_from(from);
    demand_new(result.name, is_named ? tokens_[0].length : text_.size());
    result.values = std::move(values_);
    result.lists = std::move(lists_);
    result.dates = std::move(dates_);
    result.computes_dates = computes_dates_;
    result.numbers = std::move(numbers_);
    return result;
  }

  Counter counter() {
    using enum Token::Kind;
    Counter result;
    if ((token().kind != kName && token().kind != kQuotedName) || !tokens_[1].is("=")) {
      refuse("expected NAME = FROM..TO [step STEP]");
    }
    result.name = token().text;
    demand_new(result.name, token().length);
    at_ += 2;
    is_counter_ = true;
    result.first = value();
    expect("..");
    result.last = value();
    if (token().kind == kName && token().text == "step") {
      ++at_;
      result.step = value();
    }
    if (token().kind != kEnd) refuse("expected an operator");
    result.values = std::move(values_);
    return result;
  }

 private:
  using NodePointer = std::unique_ptr<Node>;
  using OperandPointer = std::unique_ptr<Operand>;

  void demand_new(const std::string& name, std::size_t length) const {
    const auto& names = columns_.names();
    if (std::ranges::find(names, name) == names.end()) return;
    throw SyntaxError(fmt::format("column {} already exists: choose another name", name), 0,
                      length);
  }

  [[nodiscard]] const Token& token() const noexcept { return tokens_[at_]; }

  bool take(std::string_view symbol) noexcept {
    if (!token().is(symbol)) return false;
    ++at_;
    return true;
  }

  [[noreturn]] void refuse(const std::string& message) const {
    throw SyntaxError(message, token().at, std::max<std::size_t>(token().length, 1));
  }

  void expect(std::string_view symbol) {
    if (!take(symbol)) refuse(fmt::format("expected '{}'", symbol));
  }

  // The source from a position to the end of the last token taken.
  [[nodiscard]] std::string_view source_from(std::size_t from) const {
    const Token& last = tokens_[at_ - 1];
    return text_.substr(from, last.at + last.length - from);
  }

  void deepen() {
    if (++depth_ > kDeepest) refuse("the expression is nested too deeply: 200 levels are allowed");
  }

  // The value of a whole expression, or of what is in parentheses: a sum, or a comparison of sums.
  NodePointer value() {
    deepen();
    const std::size_t from = token().at;
    NodePointer left = sum();
    if (const auto comparison = comparison_of(token())) {
      ++at_;
      if (token().is("=")) refuse("write = instead of ==");
      if (token().is(">")) refuse("write != instead of <>");
      NodePointer right = sum();
      if (comparison_of(token())) refuse("a comparison cannot be compared: use parentheses");
      left = cli::comparison(source_from(from), *comparison, std::move(left), std::move(right));
    }
    --depth_;
    return left;
  }

  static std::optional<Comparison> comparison_of(const Token& token) {
    using enum Comparison;
    constexpr std::array<std::pair<std::string_view, Comparison>, 6> kSymbols = {
        {{"=", kEqual},
         {"!=", kUnequal},
         {"<", kBelow},
         {"<=", kAtMost},
         {">", kAbove},
         {">=", kAtLeast}}};
    for (const auto& [symbol, comparison] : kSymbols) {
      if (token.is(symbol)) return comparison;
    }
    return std::nullopt;
  }

  NodePointer sum() {
    const std::size_t from = token().at;
    NodePointer left = product();
    while (token().is("+") || token().is("-"))
      left = operation(std::move(left), from, &Parser::product);
    return left;
  }

  NodePointer product() {
    const std::size_t from = token().at;
    NodePointer left = signed_power();
    while (token().is("*") || token().is("/"))
      left = operation(std::move(left), from, &Parser::signed_power);
    return left;
  }

  NodePointer operation(NodePointer left, std::size_t from, NodePointer (Parser::*operand)()) {
    const char symbol = token().text[0];
    ++at_;
    use_number(*left);
    NodePointer right = (this->*operand)();
    use_number(*right);
    return arithmetic(source_from(from), symbol, std::move(left), std::move(right));
  }

  // A sign binds less than a power: -2^2 is -4.
  NodePointer signed_power() {
    const std::size_t from = token().at;
    bool is_negative = false;
    while (token().is("+") || token().is("-")) {
      is_negative ^= token().is("-");
      ++at_;
    }
    const std::size_t base = token().at;
    NodePointer operand = primary();
    if (token().is("^")) {
      deepen();
      operand = operation(std::move(operand), base, &Parser::signed_power);
      --depth_;
    }
    if (!is_negative) return operand;
    use_number(*operand);
    return negation(source_from(from), std::move(operand));
  }

  NodePointer primary() {
    using enum Token::Kind;
    const Token first = token();
    switch (first.kind) {
      case kValue:
        if (value_of(first.text).is_text()) refuse("invalid number");
        ++at_;
        return constant(first.text, false);
      case kText:
        ++at_;
        return constant(first.text, true);
      case kName:
        if (tokens_[at_ + 1].is("(")) {
          const FunctionInfo* const function = find_function(first.text);
          return function == nullptr ? call() : function_call(*function);
        }
        [[fallthrough]];
      case kQuotedName: {
        if ((tokens_[at_ + 1].is("..") && !is_counter_) || tokens_[at_ + 1].is("[]")) {
          ++at_;
          refuse("a list is only allowed as an argument of a function");
        }
        const std::size_t index = column();
        use_value(index, first);
        return cli::column(first.text, index);
      }
      default:
        break;
    }
    if (!take("(")) refuse("expected a value");
    NodePointer inner = value();
    expect(")");
    return inner;
  }

  // if and ifmissing choose one of their operands, each of which has one value. The other functions
  // take all their operands.
  NodePointer function_call(const FunctionInfo& function) {
    const std::size_t from = token().at;
    at_ += 2;
    std::vector<OperandPointer> operands;
    std::vector<NodePointer> choices;
    std::size_t lists = 0;
    const bool chooses =
        function.function == Function::kIf || function.function == Function::kIfMissing;
    if (!token().is(")")) {
      do {
        const bool is_list = tokens_[at_ + 1].is("[]");
        if (is_list && !function.takes_lists)
          refuse(fmt::format("{} does not take a list", function.name));
        lists += is_list ? 1 : 0;
        std::size_t ignored = 0;
        if (chooses) {
          choices.push_back(value());
        } else {
          operands.push_back(argument(ignored));
          use_number(*operands.back());
        }
      } while (take(","));
    }
    expect(")");
    const std::string_view source = source_from(from);
    const std::size_t count = operands.size() + choices.size();
    const bool needs_lists = function.function == Function::kWeightedMean;
    if (count < function.min_operands || count > function.max_operands ||
        (needs_lists && lists != count)) {
      throw SyntaxError(fmt::format("expected {}", function.signature), from, source.size());
    }
    if (chooses) return choice(source, function.function, std::move(choices));
    return cli::function(source, function.function, std::move(operands));
  }

  NodePointer call() {
    const Token word = token();
    const catalog::Keyword* const keyword = catalog::find(word.text);
    if (keyword == nullptr) refuse(unknown_function(word.text));
    at_ += 2;
    std::vector<OperandPointer> arguments;
    std::vector<bool> uses_columns;  // by argument
    std::size_t count = 0;
    bool has_lists = false;
    std::vector<std::pair<std::size_t, Token>> texts;  // with their positions
    if (!token().is(")")) {
      do {
        has_lists |= tokens_[at_ + 1].is("[]");
        const Token first = token();
        const std::size_t values = values_.size();
        arguments.push_back(argument(count));
        uses_columns.push_back(values_.size() > values);
        const bool is_whole = token().is(",") || token().is(")");
        if (first.kind == Token::Kind::kText && is_whole) texts.emplace_back(count, first);
      } while (take(","));
    }
    expect(")");
    const std::string_view source = source_from(word.at);
    for (std::size_t i = 0, position = 1; i < arguments.size(); ++i) {
      const catalog::Argument* const parameter =
          has_lists ? (i < keyword->arguments().size() ? &keyword->arguments()[i] : nullptr)
                    : keyword->argument_at(position, count);
      const auto columns = arguments[i]->columns();
      position += std::max<std::size_t>(columns.size(), 1);
      if (parameter == nullptr || parameter->kind == catalog::ArgumentKind::kBasis) continue;
      auto& uses = parameter->is_date() ? dates_ : numbers_;
      uses.insert(uses.end(), columns.begin(), columns.end());
      const bool is_computed =
          columns.empty() ? uses_columns[i] : !columns_.is_in_table(columns.front());
      computes_dates_ |= parameter->is_date() && is_computed;
    }
    if (!has_lists) {
      if (const auto error = CheckedCall::arity_error(*keyword, count)) {
        throw SyntaxError(fmt::format("{}: {}", keyword->word, *error), word.at, source.size());
      }
      for (const auto& [position, text] : texts) check_text(*keyword, position, count, text);
    }
    return cli::call(source, *keyword, std::move(arguments),
                     has_lists ? std::nullopt : std::optional(count), calls_++);
  }

  static std::string unknown_function(std::string_view word) {
    std::vector<std::string> names;
    for (const catalog::Keyword& each : catalog::keywords()) names.emplace_back(each.word);
    for (const FunctionInfo& each : functions()) names.emplace_back(each.name);
    // Names that other programs have for the same functions.
    constexpr std::array<std::pair<std::string_view, std::string_view>, 4> kOtherNames = {
        {{"avg", "mean"}, {"average", "mean"}, {"coalesce", "ifmissing"}, {"ifnull", "ifmissing"}}};
    for (const auto& [other, name] : kOtherNames) {
      if (word == other) return fmt::format("unknown function {}; did you mean {}?", word, name);
    }
    return fmt::format("unknown function {}{}", word, did_you_mean(word, names));
  }

  // A text in quotes is valid for a basis only.
  static void check_text(const catalog::Keyword& keyword, std::size_t position, std::size_t count,
                         const Token& text) {
    const catalog::Argument& parameter = *keyword.argument_at(position, count);
    if (parameter.kind == catalog::ArgumentKind::kBasis) return;
    const bool is_valid_without = !value_of(text.text).is_text();
    throw SyntaxError(
        fmt::format("{}: argument {} ({}) is a text: {}{}", keyword.word, position, parameter.name,
                    type_error(parameter.kind), is_valid_without ? ", without quotes" : ""),
        text.at, text.length);
  }

  // Adds the number of arguments that the operand gives to the count.
  OperandPointer argument(std::size_t& count) {
    const Token first = token();
    const bool is_name = first.kind == Token::Kind::kName || first.kind == Token::Kind::kQuotedName;
    ++count;
    if (is_name && tokens_[at_ + 1].is("[]")) {
      const std::size_t index = column();
      ++at_;
      if (!columns_.is_in_table(index)) {
        throw SyntaxError("a result has one value per group: only columns of the input are lists",
                          first.at, first.length);
      }
      lists_.push_back(index);
      return column_list(first.text, index);
    }
    if (is_name && tokens_[at_ + 1].is("..")) return range(count);
    return value();
  }

  OperandPointer range(std::size_t& count) {
    const Token first = token();
    const std::size_t from = column();
    ++at_;
    const Token last = token();
    if (last.kind != Token::Kind::kName && last.kind != Token::Kind::kQuotedName) {
      refuse("expected a column");
    }
    const std::size_t to = column();
    const Token whole{first.kind, source_from(first.at), first.at,
                      last.at + last.length - first.at};
    const auto refuse_range = [&whole](const std::string& message) {
      throw SyntaxError(message, whole.at, whole.length);
    };
    if (to < from)
      refuse_range(
          fmt::format("column {} comes before column {} in the input", last.text, first.text));
    // Numbered columns must be in the order of their numbers. Columns sorted as text are not.
    const auto start = numbered(first.text);
    for (std::size_t i = from; i <= to; ++i) {
      const auto here = numbered(columns_.names()[i]);
      if (start && numbered(last.text) &&
          (!here || here->stem != start->stem || here->number != start->number + (i - from))) {
        refuse_range(fmt::format("the range includes column {}, which is out of order",
                                 columns_.names()[i]));
      }
      use_value(i, whole);
    }
    count += to - from;
    return column_range(whole.text, from, to);
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
      refuse_unquoted(token());
      refuse(error.what());
    }
  }

  // Reports the words that other languages have for operators.
  void refuse_word_operator() const {
    if (token().text == "and") refuse("write a * b instead of a and b");
    if (token().text == "or") refuse("write a + b > 0 instead of a or b");
  }

  // Reports a name of a column, or of a basis, whose quotes are missing.
  void refuse_unquoted(const Token& name) const {
    const std::string_view rest = text_.substr(name.at);
    std::string_view longest = name.text;
    for (const std::string& each : columns_.names()) {
      if (each.size() > longest.size() && rest.starts_with(each)) longest = each;
    }
    if (longest.size() > name.text.size()) {
      throw SyntaxError(
          fmt::format("write the name of this column in double quotes: \"{}\"", longest), name.at,
          longest.size());
    }
    for (const std::string_view basis : catalog::kBasisNames) {
      const std::string_view text = rest.substr(0, basis.size());
      if (text.size() < basis.size() || !catalog::basis_of(text)) continue;
      throw SyntaxError(fmt::format("write a text in single quotes: '{}'", text), name.at,
                        text.size());
    }
  }

  void use_number(const Operand& operand) {
    const auto columns = operand.columns();
    numbers_.insert(numbers_.end(), columns.begin(), columns.end());
  }

  void use_value(std::size_t index, const Token& name) {
    if (!columns_.has_one_value(index)) {
      throw SyntaxError(
          fmt::format("{0} has several values in a group: write {0}[] as an argument of "
                      "a function that takes a list, or add --by {0}",
                      columns_.names()[index]),
          name.at, name.length);
    }
    values_.push_back(index);
  }

  std::string_view text_;
  const Columns& columns_;
  std::size_t& calls_;
  std::vector<Token> tokens_;
  std::size_t at_ = 0;
  int depth_ = 0;
  bool is_counter_ = false;  // two dots are between its bounds
  std::vector<std::size_t> values_;
  std::vector<std::size_t> lists_;
  std::vector<std::size_t> dates_;
  bool computes_dates_ = false;
  std::vector<std::size_t> numbers_;
};

}  // namespace

Expression parse(std::string_view text, const Columns& columns, std::size_t& calls) {
  return Parser(text, columns, calls).expression();
}

Counter parse_counter(std::string_view text, const Columns& columns, std::size_t& calls) {
  return Parser(text, columns, calls).counter();
}

bool uses_lists(std::string_view text) {
  return std::ranges::any_of(tokens_of(text), [](const Token& token) { return token.is("[]"); });
}

}  // namespace cli
