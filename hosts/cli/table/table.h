// Evaluates expressions over the rows of a table, or over groups of its rows.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "hosts/cli/io/diagnostics.h"
#include "hosts/cli/io/output.h"
#include "hosts/cli/io/record_parser.h"
#include "kernel/vxkernel.hpp"

namespace cli {

struct TableJob {
  std::string input = "-";   // a file; - is standard input
  bool has_input = true;     // false: the table has one row and no columns
  std::string output = "-";  // a file; - is standard output
  std::string errors_file;   // a file for the errors of all rows; empty: none
  InputFormat from = InputFormat::kCsv;
  Format to = Format::kCsv;
  char delimiter = ',';
  std::vector<std::string> expressions;
  std::vector<std::string> keys;          // columns to group the rows by
  std::vector<std::string> counters;      // NAME = FROM..TO [step STEP]: a row becomes several rows
  std::vector<std::string> selected;      // the columns of the output; empty: all
  std::vector<std::string> numbers;       // columns that are numbers in NDJSON
  std::vector<std::string> date_formats;  // [COLUMN=]PATTERN
  std::vector<std::string> number_formats;  // [COLUMN=]EXAMPLE
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
