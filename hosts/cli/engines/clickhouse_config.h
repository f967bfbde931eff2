// The definitions of the functions for engines, from the catalogue.
#pragma once

#include <string>

namespace cli {

// The XML configuration of executable functions for ClickHouse, which run the command as a filter.
// finance_price takes all arguments of its keyword. ClickHouse has no overloads: finance_price_6
// takes the first 6 arguments. A list is one argument, an array.
std::string clickhouse_config();

}  // namespace cli
