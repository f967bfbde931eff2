// The command line of `finance`.
#pragma once

#include <string>
#include <vector>

#include "hosts/cli/engines/filter.h"
#include "hosts/cli/table/table.h"

namespace cli {

// The one thing that the command line asks for.
enum class Job : std::uint8_t {
  kHelp,  // or the version: the text says it
  kCall,
  kCalls,
  kTable,
  kFilter,
  kList,
  kDescribe,
  kDefinitions,
};

struct Options {
  Job job = Job::kCall;
  std::string text;                // of kHelp
  std::vector<std::string> words;  // of kCall: a keyword and its arguments
  std::string calls;               // the file of --calls
  std::string module;              // the file of --module
  std::string described;           // the keyword of --describe
  bool as_json = false;
  int decimals = kAllDigits;
  OnError on_error = OnError::kNull;
  TableJob table;
  FilterJob filter;
};

// Throws std::invalid_argument when the command line is invalid.
Options options_of(int argc, char** argv);

}  // namespace cli
