// Expressions over the columns of a table: price = PRICE(settle, maturity, coupon/100, yld, 100, 2)
//
//   expression   [column =] value
//   counter      column = value..value [step value]
//   value        sum, or a comparison of sums: = != < <= > >=
//   sum          + - * / ^ and parentheses over primaries
//   primary      number, YYYY-MM-DD, 'text', . (missing), column, "column name",
//                KEYWORD(argument, ...) or function(argument, ...)
//   argument     value, from..to (the columns from one to another),
//                column[] (the values of the column in a group)
//
// A name before a parenthesis is a keyword or a function, whatever its case. The case of column
// names matters.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "hosts/cli/expression/columns.h"
#include "hosts/cli/expression/lexer.h"
#include "hosts/cli/expression/nodes.h"

namespace cli {

struct Expression {
  std::string name;  // of the column of the result
  std::unique_ptr<Node> root;
  std::vector<std::size_t> values;   // columns that are used as values
  std::vector<std::size_t> lists;    // columns that are used as lists
  std::vector<std::size_t> dates;    // columns that are arguments for dates
  bool computes_dates = false;       // an argument for a date is computed from columns
  std::vector<std::size_t> numbers;  // columns that are used as numbers
};

// A column that counts: NAME = FROM..TO [step STEP].
struct Counter {
  std::string name;
  std::unique_ptr<Node> first;
  std::unique_ptr<Node> last;
  std::unique_ptr<Node> step;       // null: 1
  std::vector<std::size_t> values;  // columns that are used as values
};

// The expression refers to the text. The calls in it are numbered from `calls`, which is advanced.
// Throws SyntaxError.
Expression parse(std::string_view text, const Columns& columns, std::size_t& calls);

// The same for a counter.
Counter parse_counter(std::string_view text, const Columns& columns, std::size_t& calls);

// Whether an expression uses a list such as amount[], so that rows must be grouped. Throws
// SyntaxError.
bool uses_lists(std::string_view text);

}  // namespace cli
