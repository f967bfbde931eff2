// Expressions evaluated over the rows of a table, or over its groups of rows.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "hosts/cli/io/diagnostics.h"
#include "hosts/cli/io/output.h"
#include "kernel/vxkernel.hpp"

namespace cli {

struct TableJob {
  std::string input = "-";   // a file of CSV; - is standard input
  std::string output = "-";  // a file; - is standard output
  std::vector<std::string> expressions;
  std::vector<std::string> keys;  // columns; rows that agree in all of them are a group
  char delimiter = ',';
  Format format = Format::kCsv;
  int decimals = kAllDigits;
  OnError on_error = OnError::kNull;
  unsigned workers = 1;
};

// Appends a column for each expression to each row. Where there are keys or an expression speaks of
// lists, writes one row for each group instead, in the order in which they first appear, with its
// keys and its results. The first failures are told on standard error, then their number. Throws
// std::runtime_error where nothing can be done at all.
ExitCode evaluate_table(const vxkernel::Kernel& kernel, const TableJob& job);

}  // namespace cli
