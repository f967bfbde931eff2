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
#include <string>
#include <string_view>
#include <vector>

#include "hosts/cli/expression/columns.h"
#include "hosts/cli/expression/lexer.h"
#include "hosts/cli/expression/nodes.h"

namespace cli {

struct Expression {
  std::string name;  // of the result's column
  std::unique_ptr<Node> root;
  std::vector<std::size_t> values;  // columns in use, one value a row or group
  std::vector<std::size_t> lists;   // columns in use as lists
};

// Refers to the text. Counts the calls of keywords, which are numbered. Throws SyntaxError.
Expression parse(std::string_view text, const Columns& columns, std::size_t& calls);

// Whether an expression speaks of lists, as in amount[]: then rows stand in groups. Throws
// SyntaxError.
bool uses_lists(std::string_view text);

}  // namespace cli
