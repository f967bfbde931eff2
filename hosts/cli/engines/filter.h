// The protocol of streaming engines: rows of arguments in, one result a row out.
#pragma once

#include <string>

#include "hosts/call/value.h"
#include "hosts/cli/io/diagnostics.h"
#include "hosts/cli/io/tsv.h"
#include "kernel/vxkernel.hpp"

namespace cli {

using namespace host;  // what every host knows of values and calls

struct FilterJob {
  std::string keyword;  // empty: each row begins with one
  Escape escape = Escape::kBackslash;
  std::size_t kept = 0;  // the first cells of a row stand before its answer, and are no arguments
  bool has_chunk_headers = false;  // a line with the number of its rows stands before each chunk
  int decimals = kAllDigits;
  OnError on_error = OnError::kNull;  // not kSkip
};

// Reads rows of cells separated by tabs from standard input until its end; writes a line for each,
// in order, and all of them before it waits for more. \N is the missing value on both sides; a cell
// [1,2] stands for as many arguments. Rows that fail are told on standard error, and do not count
// in the exit code, by which engines would drop the good ones. Throws std::runtime_error.
ExitCode filter(const vxkernel::Kernel& kernel, const FilterJob& job);

}  // namespace cli
