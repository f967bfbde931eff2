// The protocol of streaming engines: rows of arguments in, one result per row out.
#pragma once

#include <string>

#include "hosts/call/value.h"
#include "hosts/cli/io/diagnostics.h"
#include "hosts/cli/io/tsv.h"
#include "kernel/vxkernel.hpp"

namespace cli {

using namespace host;  // values and checked calls

struct FilterJob {
  std::string keyword;  // empty: the first cell of each row is the keyword
  Escape escape = Escape::kBackslash;
  std::size_t kept = 0;            // the number of cells to copy at the start of a row
  bool has_chunk_headers = false;  // each chunk starts with a line that has its number of rows
  int decimals = kAllDigits;
  OnError on_error = OnError::kNull;  // not kSkip
};

// Reads rows of cells separated by tabs from standard input and writes one line per row, in order.
// Writes all results of the rows that were read before it waits for more. \N is a missing value in
// the input and in the output. A cell [1,2] has one argument per element. Reports rows that fail on
// standard error. They do not change the exit code, because an engine would then drop the results
// of all rows. Throws std::runtime_error.
ExitCode filter(const vxkernel::Kernel& kernel, const FilterJob& job);

}  // namespace cli
