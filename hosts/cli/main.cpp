// The command `finance`: evaluates single calls, tables, and the rows of engines. Results go to
// standard output, everything else to standard error.
#include <fcntl.h>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <fstream>
#include <iostream>
#include <memory>
#include <span>
#include <stdexcept>
#include <thread>

#include "catalog/page.h"
#include "hosts/cli/engines/clickhouse_config.h"
#include "hosts/cli/engines/filter.h"
#include "hosts/cli/single_call.h"
#include "hosts/cli/table/table.h"

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

class Help : public CLI::Formatter {
 public:
  std::string make_usage(const CLI::App*, std::string) const override {
    return "Usage: finance [OPTIONS] KEYWORD [ARGUMENT...]\n"
           "  or:  finance [OPTIONS] [-i FILE] -e EXPRESSION...\n"
           "  or:  finance [OPTIONS] --calls FILE\n"
           "  or:  finance [OPTIONS] --filter [KEYWORD]\n\n";
  }
};

constexpr const char* kFooter =
    "Arguments of a call:\n"
    "  A number, a date (YYYY-MM-DD), a text, or a full stop for a missing value. A number for a\n"
    "  date counts days from 1960-01-01. Write options before the keyword: after it, -5 is a "
    "number.\n"
    "\n"
    "Expressions:\n"
    "  'price = PRICE(settle, maturity, coupon/100, yield/100, 100, 2)' adds the column price. An\n"
    "  expression can use keywords as functions, columns (in double quotes where the name is not "
    "a\n"
    "  plain word), numbers, dates, 'text', a full stop for a missing value, + - * / and\n"
    "  parentheses. As arguments of a function, cf0..cf12 means the columns from cf0 to cf12, and\n"
    "  amount[] means all values of the column amount in a group of rows. The output then has one\n"
    "  row per group.\n"
    "\n"
    "Examples:\n"
    "  finance SLN 10000 1000 5        prints 1800, the depreciation per year\n"
    "  finance --describe PRICE        prints the reference page of PRICE\n\n"
    "  finance -i bonds.csv -e 'price = PRICE(settle, maturity, coupon/100, yield/100, 100, 2)'\n\n"
    "  finance -i flows.csv --by fund -e 'rate = XIRR(amount[], date[])'\n"
    "\n"
    "Exit status:\n"
    "  0  success\n"
    "  1  the calculation failed, or a row failed with --errors fail\n"
    "  2  the command line is invalid, or a file cannot be read or written\n"
    "  3  some rows or calls failed";

struct Options {
  std::string calls;        // the file of --calls
  std::string module;       // the file of --module
  std::string described;    // the keyword of --describe
  std::string definitions;  // the engine of --definitions
  bool lists = false;
  bool as_json = false;
  int decimals = cli::kAllDigits;
  unsigned workers = std::max(std::thread::hardware_concurrency(), 1U);
  cli::OnError on_error = cli::OnError::kNull;
  cli::TableJob table;
  cli::FilterJob filter;
};

// Prints one line per call, also for a call that failed: a full stop, or the error as JSON.
void print(const cli::SingleResult& result, const std::vector<std::string>& words,
           const std::string& place, const Options& options) {
  if (!result.ok) std::cerr << "finance: " << place << result.text << '\n';
  const std::string text = result.ok ? result.text : std::string(cli::kMissingWord);
  std::cout << (options.as_json ? json_of(result, words) : text) << '\n';
}

// Skips empty lines and comments.
cli::ExitCode evaluate_lines(const vxkernel::Kernel& kernel, std::istream& lines,
                             const Options& options) {
  cli::ExitCode exit_code = cli::kAllWell;
  const std::string place = options.calls == "-" ? "standard input" : options.calls;
  std::string line;
  for (std::size_t number = 1; std::getline(lines, line); ++number) {
    if (number == 1 && line.starts_with(kByteOrderMark)) line.erase(0, kByteOrderMark.size());
    cli::SingleResult result{};
    std::vector<std::string> words;
    try {
      words = cli::words_of(line);
      if (words.empty()) continue;
      result = cli::evaluate(kernel, words, options.decimals);
    } catch (const std::invalid_argument& error) {
      result.text = error.what();
    }
    print(result, words, place + ':' + std::to_string(number) + ": ", options);
    if (!result.ok) exit_code = cli::kSomeFailed;
  }
  if (lines.bad()) throw std::runtime_error("cannot read " + options.calls);
  return exit_code;
}

cli::ExitCode evaluate_calls(const vxkernel::Kernel& kernel, const Options& options) {
  if (options.calls == "-") return evaluate_lines(kernel, std::cin, options);
  std::ifstream file(options.calls);
  if (!file) throw std::runtime_error("cannot read " + options.calls);
  return evaluate_lines(kernel, file, options);
}

// A single call that fails prints only its error message, unless JSON is asked for.
cli::ExitCode evaluate_call(const vxkernel::Kernel& kernel, const std::vector<std::string>& words,
                            const Options& options) {
  const cli::SingleResult result = cli::evaluate(kernel, words, options.decimals);
  if (result.ok || options.as_json) {
    print(result, words, "", options);
  } else {
    std::cerr << "finance: " << result.text << '\n';
  }
  return result.ok ? cli::kAllWell : cli::kCalculationFailed;
}

std::string described(const std::string& word) {
  const catalog::Keyword* const keyword = catalog::find(word);
  if (keyword == nullptr) throw std::runtime_error(cli::unknown_keyword(word));
  return page_of(*keyword);
}

// A delimiter must not be a part of a quoted cell, a line end or a number.
char delimiter_of(const std::string& word) {
  if (word == "tab" || word == "\\t") return '\t';
  const auto is_part_of_values = [](char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 ||
           std::string_view("\"\r\n+-.").find(c) != std::string_view::npos;
  };
  if (word.size() != 1 || is_part_of_values(word[0])) {
    throw CLI::ValidationError(
        "-d",
        "must be one character or the word tab; a letter, a digit, a quote, +, - or . is not "
        "allowed");
  }
  return word[0];
}

// A whole number from one bound to the other.
CLI::Validator in_range(int least, int most) {
  const auto check = [least, most](const std::string& word) -> std::string {
    int number = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    const bool is_whole = error == std::errc() && end == word.data() + word.size();
    if (is_whole && number >= least && number <= most) return {};
    return fmt::format("{} is invalid: must be from {} to {}", word, least, most);
  };
  return {check, ""};
}

// "csv, tsv or ndjson"
std::string words_of(std::span<const std::string> words) {
  if (words.size() == 1) return words[0];
  return fmt::format("{} or {}", fmt::join(words.first(words.size() - 1), ", "), words.back());
}

// One of some words.
CLI::Validator one_of(const std::vector<std::string>& words) {
  const auto check = [words](const std::string& word) -> std::string {
    if (std::ranges::find(words, word) != words.end()) return {};
    return fmt::format("{} is invalid: must be {}", word, words_of(words));
  };
  return {check, ""};
}

void add_general_options(CLI::App& app, Options& options) {
  app.add_option("--calls", options.calls,
                 "Evaluate the calls in FILE, one per line; - is standard input")
      ->type_name("FILE");
  app.add_option("--module", options.module, "Load the module FILE instead of the installed one")
      ->type_name("FILE");
  app.add_flag("--json", options.as_json, "Print each result or error as a line of JSON");
  app.add_option("--digits", options.decimals, "Round results to N decimals; default: all digits")
      ->type_name("N")
      ->check(in_range(0, 17));
  app.add_flag("--list", options.lists, "List all keywords");
  app.add_option("--describe", options.described, "Print the reference page of a keyword")
      ->type_name("KEYWORD");
  app.set_version_flag("--version", "finance " VXFNC_VERSION);

  const std::map<std::string, cli::OnError> on_error = {{"null", cli::OnError::kNull},
                                                        {"text", cli::OnError::kText},
                                                        {"skip", cli::OnError::kSkip},
                                                        {"fail", cli::OnError::kFail}};
  app.add_option_function<std::string>(
         "--errors",
         [&options, on_error](const std::string& word) { options.on_error = on_error.at(word); },
         "For a row that fails: null (default) leaves its result empty, text writes the error "
         "message "
         "there, skip leaves out the row, fail stops")
      ->type_name("HOW")
      ->check(one_of({"null", "text", "skip", "fail"}));
}

void add_table_options(CLI::App& app, Options& options) {
  constexpr const char* kTables = "Tables";
  cli::TableJob& table = options.table;
  app.add_option("-e,--expression", table.expressions, "Add a column; can be given several times")
      ->type_name("'NAME = EXPRESSION'")
      ->allow_extra_args(false)
      ->group(kTables);
  app.add_option("-i,--input", table.input, "Read CSV from FILE; default: standard input")
      ->type_name("FILE")
      ->group(kTables);
  app.add_option("-o,--output", table.output,
                 "Write to FILE, which is replaced only when all rows are written; default: "
                 "standard output")
      ->type_name("FILE")
      ->check([](const std::string& file) { return file.empty() ? "must name a file" : ""; })
      ->group(kTables);
  const std::map<std::string, cli::Format> formats = {
      {"csv", cli::Format::kCsv}, {"tsv", cli::Format::kTsv}, {"ndjson", cli::Format::kNdjson}};
  app.add_option_function<std::string>(
         "-t,--to", [&table, formats](const std::string& word) { table.format = formats.at(word); },
         "Output format: csv (default), tsv or ndjson")
      ->type_name("TYPE")
      ->check(one_of({"csv", "tsv", "ndjson"}))
      ->group(kTables);
  app.add_option_function<std::string>(
         "-d,--delimiter",
         [&table](const std::string& word) { table.delimiter = delimiter_of(word); },
         "Delimiter of CSV; default: a comma; tab for a tab")
      ->type_name("CHARACTER")
      ->group(kTables);
  app.add_option("--by", table.keys, "Group rows by COLUMN and write one row per group")
      ->type_name("COLUMN")
      ->delimiter(',')
      ->allow_extra_args(false)
      ->group(kTables);
  app.add_option("-j,--jobs", options.workers, "Number of threads; default: one per processor")
      ->type_name("N")
      ->check(in_range(1, 1024))
      ->group(kTables);
}

void add_engine_options(CLI::App& app, Options& options) {
  constexpr const char* kEngines = "Engines";
  app.add_option(
         "--filter", options.filter.keyword,
         "Read rows of arguments separated by tabs and write one result per row; without KEYWORD, "
         "the first cell of each row is the keyword")
      ->type_name("[KEYWORD]")
      ->expected(0, 1)
      ->group(kEngines);
  app.add_option_function<std::string>(
         "--escape",
         [&options](const std::string& word) {
           options.filter.escape = word == "none" ? cli::Escape::kNone : cli::Escape::kBackslash;
         },
         "Escape sequences in the rows of a filter: backslash (default) or none")
      ->type_name("HOW")
      ->check(one_of({"backslash", "none"}))
      ->group(kEngines);
  app.add_option("--keep", options.filter.kept,
                 "Copy the first N cells of each row to the output; the arguments follow them")
      ->type_name("N")
      ->check(in_range(0, 1000))
      ->group(kEngines);
  app.add_flag("--chunk-header", options.filter.has_chunk_headers,
               "Each chunk of rows starts with a line that has the number of its rows")
      ->group(kEngines);
  app.add_option("--definitions", options.definitions,
                 "Print the function definitions for an engine: clickhouse")
      ->type_name("ENGINE")
      ->check(one_of({"clickhouse"}))
      ->group(kEngines);
}

// Rejects options that the job does not use.
void demand_fitting_options(const CLI::App& app) {
  const auto is_given = [&app](const char* option) { return app.count(option) > 0; };
  const auto demand = [&](const char* option, bool fits, const char* job) {
    if (is_given(option) && !fits) throw CLI::RequiresError(option, job);
  };
  for (const char* const option : {"-i", "-o", "-t", "-d", "--by", "-j"}) {
    demand(option, is_given("-e"), "-e");
  }
  for (const char* const option : {"--escape", "--keep", "--chunk-header"}) {
    demand(option, is_given("--filter"), "--filter");
  }
  demand("--errors", is_given("-e") || is_given("--filter"), "-e or --filter");
  demand("--json", !is_given("-e") && !is_given("--filter"), "a call, or --calls");
}

// Runs the one job that the options ask for.
cli::ExitCode run(const CLI::App& app, Options& options) {
  std::vector<std::string> words = app.remaining();  // the keyword and its arguments
  if (!words.empty() && words[0] == "--") {
    words.erase(words.begin());
  } else if (!words.empty() && words[0].starts_with('-')) {
    throw CLI::ParseError("unknown option " + words[0], cli::kUsage);
  }
  const auto is_given = [&app](const char* option) { return app.count(option) > 0; };
  const auto jobs = (words.empty() ? 0 : 1) + (is_given("--calls") ? 1 : 0) +
                    (is_given("-e") ? 1 : 0) + (is_given("--filter") ? 1 : 0) +
                    (options.lists ? 1 : 0) + (is_given("--describe") ? 1 : 0) +
                    (is_given("--definitions") ? 1 : 0);
  demand_fitting_options(app);
  constexpr const char* kJobs =
      "a keyword, -e, --calls, --filter, --list, --describe or --definitions";
  if (jobs == 0) throw CLI::ParseError(std::string("nothing to do: give ") + kJobs, cli::kUsage);
  if (jobs > 1) {
    throw CLI::ParseError(std::string("give only one of ") + kJobs, cli::kUsage);
  }
  if (options.lists) return std::cout << catalog::list_by_task(), cli::kAllWell;
  if (is_given("--describe")) return std::cout << described(options.described), cli::kAllWell;
  if (is_given("--definitions")) return std::cout << cli::clickhouse_config(), cli::kAllWell;

  const vxkernel::Kernel kernel(options.module);
  if (is_given("--calls")) return evaluate_calls(kernel, options);
  if (is_given("-e")) {
    options.table.decimals = options.decimals;
    options.table.on_error = options.on_error;
    options.table.workers = options.workers;
    return evaluate_table(kernel, options.table);
  }
  if (is_given("--filter")) {
    if (options.on_error == cli::OnError::kSkip) {
      throw CLI::ValidationError(
          "--errors", "skip is not allowed with --filter, which writes one line per row");
    }
    options.filter.decimals = options.decimals;
    options.filter.on_error = options.on_error;
    return filter(kernel, options.filter);
  }
  return evaluate_call(kernel, words, options);
}

// The error message of an option that is given twice or has no value.
std::string mismatch_of(const CLI::App& app, std::string_view error) {
  for (const CLI::Option* const option : app.get_options()) {
    const auto most = static_cast<std::size_t>(option->get_items_expected_max());
    if (option->results().size() > most) return option->get_name() + " is given more than once";
  }
  return std::string(error.substr(0, error.find(':'))) + ": a value is missing";
}

int run(int argc, char** argv) {
  CLI::App app("Financial calculations: bonds, loans, cash flows, depreciation.", "finance");
  app.formatter(std::make_shared<Help>());
  app.footer(kFooter);
  app.prefix_command();
  Options options;
  add_general_options(app, options);
  add_table_options(app, options);
  add_engine_options(app, options);
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& help_or_version) {
    return app.exit(help_or_version);
  } catch (const CLI::ArgumentMismatch& error) {
    throw CLI::ParseError(mismatch_of(app, error.what()), cli::kUsage);
  }
  const cli::ExitCode exit_code = run(app, options);
  if (!std::cout.flush()) throw std::runtime_error("cannot write standard output");
  return exit_code;
}

}  // namespace

int main(int argc, char** argv) {
  // If a standard stream is closed, the next file would get its number and its text.
  int null = 0;
  while (null >= 0 && null <= STDERR_FILENO) null = ::open("/dev/null", O_RDWR);
  if (null >= 0) ::close(null);
  std::ios::sync_with_stdio(false);
  try {
    return run(argc, argv);
  } catch (const CLI::ParseError& error) {
    std::cerr << "finance: " << error.what() << "\nRun `finance --help` for usage.\n";
    return cli::kUsage;
  } catch (const std::bad_alloc&) {
    std::cerr << "finance: out of memory\n";
    return cli::kUsage;
  } catch (const std::exception& error) {
    std::cerr << "finance: " << error.what() << '\n';
    return cli::kUsage;
  }
}
