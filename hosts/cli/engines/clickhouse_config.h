// What an engine is told of the functions that a command offers, made from the catalogue.
#pragma once

#include <string>

namespace cli {

// Executable functions of ClickHouse: finance_price, finance_yield, ... as its XML configuration
// has them. Each takes all arguments of its keyword, lists as arrays, and runs the command as a
// filter.
std::string clickhouse_config();

}  // namespace cli
