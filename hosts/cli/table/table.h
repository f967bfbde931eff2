// Evaluates expressions over the rows of a table, or over groups of its rows.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "hosts/cli/io/diagnostics.h"
#include "hosts/cli/io/output.h"
#include "kernel/vxkernel.hpp"

namespace cli {

struct TableJob {
  std::string input = "-";   // a CSV file; - is standard input
  std::string output = "-";  // a file; - is standard output
  std::vector<std::string> expressions;
  std::vector<std::string> keys;  // columns to group the rows by
  char delimiter = ',';
  Format format = Format::kCsv;
  int decimals = kAllDigits;
  OnError on_error = OnError::kNull;
  unsigned workers = 1;
};

// Adds a column for each expression. With keys, or an expression that uses lists, writes one row
// per group instead: its keys and its results, in the order of the first rows of the groups.
// Reports the first failures and their number on standard error. Throws std::runtime_error when the
// job cannot start, or a file cannot be read or written.
ExitCode evaluate_table(const vxkernel::Kernel& kernel, const TableJob& job);

}  // namespace cli
