// The definitions of the functions for engines, from the catalogue.
#pragma once

#include <string>

namespace cli {

// The XML configuration of executable functions for ClickHouse: finance_price, finance_yield, ...
// Each function takes all arguments of its keyword, lists as arrays, and runs the command as a
// filter.
std::string clickhouse_config();

}  // namespace cli
