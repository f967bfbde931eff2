#include "hosts/cli/options.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <thread>

namespace cli {
namespace {

class Help : public CLI::Formatter {
 public:
  std::string make_usage(const CLI::App*, std::string) const override {
    return "Usage: finance [OPTIONS] KEYWORD [ARGUMENT...]\n"
           "  or:  finance [OPTIONS] [-i FILE] -e 'NAME = EXPRESSION'...\n"
           "  or:  finance [OPTIONS] --calls FILE\n"
           "  or:  finance [OPTIONS] --filter [KEYWORD]\n\n";
  }
  // Option and description, in lines of 100 characters.
  std::string make_option(const CLI::Option* option, bool is_positional) const override {
    constexpr std::size_t kIndent = 30;
    constexpr std::size_t kWidth = 100;
    std::string text = "  " + make_option_name(option, is_positional);
    if (!option->get_type_name().empty()) text += ' ' + option->get_type_name();
    if (text.size() + 2 > kIndent) text += '\n';
    std::size_t column = text.ends_with('\n') ? 0 : text.size();
    std::string_view rest = make_option_desc_view(option);
    while (!rest.empty()) {
      text.append(kIndent - column, ' ');
      std::size_t end = std::min(rest.size(), kWidth - kIndent);
      if (end < rest.size()) end = std::min(rest.rfind(' ', end), rest.size());
      text.append(rest.substr(0, end)) += '\n';
      rest.remove_prefix(std::min(end + 1, rest.size()));
      column = 0;
    }
    return text;
  }

 private:
  static std::string_view make_option_desc_view(const CLI::Option* option) {
    static thread_local std::string description;
    description = option->get_description();
    return description;
  }
};

constexpr const char* kFooter =
    "Arguments of a call:\n"
    "  A number, a date (YYYY-MM-DD), a text, or a full stop for a missing value. Where an\n"
    "  argument is a date, a number is the count of days since 1960-01-01. Write options before "
    "the\n"
    "  keyword: after it, -5 is a number.\n"
    "\n"
    "Expressions:\n"
    "  'price = PRICE(settle, maturity, coupon/100, yield/100, 100, 2)' adds the column price. An\n"
    "  expression can use keywords, columns (in double quotes where the name is not a plain "
    "word),\n"
    "  numbers, dates, 'text', a full stop for a missing value, + - * / ^, = != < <= > >= and\n"
    "  parentheses. As arguments, cf0..cf12 means the columns from cf0 to cf12, and amount[] "
    "means\n"
    "  all values of the column amount in a group of rows: the output then has one row per group.\n"
    "  Other functions: round(value, digits), abs, min, max, sum, mean, count, wmean(values[],\n"
    "  weights[]), if(condition, value, otherwise), ifmissing(value, otherwise).\n"
    "\n"
    "Examples:\n"
    "  finance SLN 10000 1000 5        prints 1800, the depreciation per year\n"
    "  finance --describe PRICE        prints the reference page of PRICE\n\n"
    "  finance -i bonds.csv -e 'price = PRICE(settle, maturity, coupon/100, yield/100, 100, 2)'\n\n"
    "  finance -i flows.csv --by fund -e 'rate = XIRR(amount[], date[])'\n\n"
    "  finance --no-input --rows 'month = 1..300' -e 'interest = IPMT(0.0035, month, 300, "
    "250000)'\n"
    "\n"
    "Exit status:\n"
    "  0  success\n"
    "  1  the calculation failed, or a row failed with --errors fail\n"
    "  2  the command line is invalid, or a file cannot be read or written\n"
    "  3  some rows or calls failed";

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

// Adds an option that takes one of some words.
template <class Value>
CLI::Option* add_choice(CLI::App& app, const std::string& name, Value& value,
                        const std::vector<std::pair<std::string, Value>>& choices,
                        const std::string& description) {
  const auto set = [&value, choices](const std::string& word) {
    for (const auto& [choice, meaning] : choices) {
      if (word == choice) value = meaning;
    }
  };
  const auto check = [choices](const std::string& word) -> std::string {
    std::vector<std::string> words;
    for (const auto& [choice, meaning] : choices) words.push_back(choice);
    if (std::ranges::find(words, word) != words.end()) return {};
    return fmt::format("{} is invalid: must be {}", word, words_of(words));
  };
  return app.add_option_function<std::string>(name, set, description)
      ->check(CLI::Validator(check, ""));
}

// A delimiter must not be a part of a quoted cell, a line end or a number.
char delimiter_of(const std::string& word) {
  if (word == "tab" || word == "\\t") return '\t';
  const auto is_part_of_values = [](char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 ||
           std::string_view("\"\r\n+-.").find(c) != std::string_view::npos;
  };
  if (word.size() != 1 || is_part_of_values(word[0])) {
    throw CLI::ValidationError("-d",
                               "must be one character or the word tab; a letter, a digit, a quote, "
                               "+, - or . is not allowed");
  }
  return word[0];
}

std::string demand_file_name(const std::string& file) {
  return file.empty() ? "must name a file" : "";
}

void add_general_options(CLI::App& app, Options& options) {
  app.add_option("--calls", options.calls,
                 "Evaluate the calls in FILE, one per line; - is standard input")
      ->type_name("FILE");
  app.add_option("--module", options.module, "Load the module FILE instead of the installed one")
      ->type_name("FILE");
  app.add_flag("--json", options.as_json,
               "Print each result or error, or each keyword of --list, as a line of JSON");
  app.add_option("--digits", options.decimals, "Round results to N decimals; default: all digits")
      ->type_name("N")
      ->check(in_range(0, 17));
  app.add_flag_callback(
      "--list", [] {}, "List all keywords");
  app.add_option("--describe", options.described, "Print the reference page of a keyword")
      ->type_name("KEYWORD");
  app.set_version_flag("--version", "finance " VXFNC_VERSION, "Print the version and exit");
  app.set_help_flag("-h,--help", "Print this help and exit");
  add_choice<OnError>(app, "--errors", options.on_error,
                      {{"null", OnError::kNull},
                       {"text", OnError::kText},
                       {"skip", OnError::kSkip},
                       {"fail", OnError::kFail}},
                      "For a row that fails: null (default) leaves its result empty, text adds a "
                      "column of error messages, skip leaves out the row, fail stops")
      ->type_name("HOW");
}

void add_table_options(CLI::App& app, TableJob& table) {
  constexpr const char* kTables = "Tables";
  const auto add_names = [&](const std::string& name, std::vector<std::string>& names,
                             const std::string& type, const std::string& description) {
    app.add_option(name, names, description)
        ->type_name(type)
        ->allow_extra_args(false)
        ->group(kTables);
  };
  add_names("-e,--expression", table.expressions, "'NAME = EXPRESSION'",
            "Add a column; can be given several times");
  app.add_option("-i,--input", table.input, "Read the table from FILE; default: standard input")
      ->type_name("FILE")
      ->group(kTables);
  app.add_flag_callback(
         "-n,--no-input", [&table] { table.has_input = false; },
         "Start with one row without columns instead of an input; see --rows")
      ->group(kTables);
  app.add_option("-o,--output", table.output,
                 "Write to FILE, which is replaced only when all rows are written; default: "
                 "standard output")
      ->type_name("FILE")
      ->check(CLI::Validator(demand_file_name, ""))
      ->group(kTables);
  add_choice<InputFormat>(
      app, "-f,--from", table.from,
      {{"csv", InputFormat::kCsv}, {"tsv", InputFormat::kTsv}, {"ndjson", InputFormat::kNdjson}},
      "Input format: csv (default), tsv with escape sequences, or ndjson")
      ->type_name("TYPE")
      ->group(kTables);
  add_choice<Format>(app, "-t,--to", table.to,
                     {{"csv", Format::kCsv},
                      {"tsv", Format::kTsv},
                      {"ndjson", Format::kNdjson},
                      {"table", Format::kTable}},
                     "Output format: csv (default), tsv, ndjson, or table with aligned columns")
      ->type_name("TYPE")
      ->group(kTables);
  app.add_option_function<std::string>(
         "-d,--delimiter",
         [&table](const std::string& word) { table.delimiter = delimiter_of(word); },
         "Delimiter of CSV; the word tab means a tab; default: a comma")
      ->type_name("CHARACTER")
      ->group(kTables);
  add_names("--by", table.keys, "COLUMN[,COLUMN...]",
            "Group rows by columns and write one row per group");
  add_names("--rows", table.counters, "'NAME = FROM..TO [step STEP]'",
            "Repeat each row for each value of a counter; several counters make all combinations");
  add_names("--select", table.selected, "COLUMN[,COLUMN...]",
            "Write these columns only, in this order");
  add_names("--dates", table.date_formats, "[COLUMN=]PATTERN",
            "Read dates as PATTERN, such as %d/%m/%Y, or as excel, the day numbers of a "
            "spreadsheet; default: YYYY-MM-DD");
  add_names("--numbers", table.number_formats, "[COLUMN=]EXAMPLE",
            "Read numbers written as EXAMPLE: 1,234.56 or 1.234,56 or 1234,56. A currency sign is "
            "skipped, a percent sign divides by 100, and parentheses make a number negative");
  add_names("--number", table.numbers, "COLUMN[,COLUMN...]",
            "Write columns of CSV or TSV as numbers in NDJSON. The other columns are texts, unless "
            "an expression uses them as numbers");
  app.add_option("--errors-file", table.errors_file, "Write the errors of all rows to FILE, as CSV")
      ->type_name("FILE")
      ->check(CLI::Validator(demand_file_name, ""))
      ->group(kTables);
  app.add_option("-j,--jobs", table.workers, "Number of threads; default: one per processor")
      ->type_name("N")
      ->check(in_range(1, 1024))
      ->group(kTables);
}

void add_engine_options(CLI::App& app, FilterJob& filter) {
  constexpr const char* kEngines = "Engines";
  app.add_option("--filter", filter.keyword,
                 "Read rows of arguments separated by tabs and write one result per row; without "
                 "KEYWORD, the first cell of each row is the keyword")
      ->type_name("[KEYWORD]")
      ->expected(0, 1)
      ->group(kEngines);
  add_choice<Escape>(app, "--escape", filter.escape,
                     {{"backslash", Escape::kBackslash}, {"none", Escape::kNone}},
                     "Escape sequences in the rows of a filter: backslash (default) or none")
      ->type_name("HOW")
      ->group(kEngines);
  app.add_option("--keep", filter.kept,
                 "Copy the first N cells of each row to the output; the arguments follow them")
      ->type_name("N")
      ->check(in_range(0, 1000))
      ->group(kEngines);
  app.add_flag("--chunk-header", filter.has_chunk_headers,
               "Read a line with the number of rows before each chunk of rows")
      ->group(kEngines);
  app.add_option("--definitions", "Print the function definitions for an engine: clickhouse")
      ->type_name("ENGINE")
      ->expected(1)
      ->check(CLI::Validator(
          [](const std::string& word) {
            return word == "clickhouse" ? "" : word + " is invalid: must be clickhouse";
          },
          ""))
      ->group(kEngines);
}

bool is_given(const CLI::App& app, const char* option) { return app.count(option) > 0; }

// Options after a word are not read: they are arguments of a call.
[[noreturn]] void refuse_word(const std::string& word) {
  throw CLI::ParseError(
      fmt::format("unexpected argument {}: write -e before each expression, and names of columns "
                  "with commas between",
                  word),
      kUsage);
}

// Rejects options that the job does not use.
void demand_fitting_options(const CLI::App& app, const Options& options) {
  const auto demand = [&](const char* option, bool fits, const char* job) {
    if (!is_given(app, option) || fits) return;
    if (std::ranges::find(options.words, job) != options.words.end()) refuse_word(options.words[0]);
    throw CLI::RequiresError(option, job);
  };
  for (const char* const option : {"-i", "-n", "-o", "-f", "-t", "-d", "--by", "--rows", "--select",
                                   "--dates", "--numbers", "--number", "--errors-file", "-j"}) {
    demand(option, is_given(app, "-e"), "-e");
  }
  for (const char* const option : {"--escape", "--keep", "--chunk-header"}) {
    demand(option, is_given(app, "--filter"), "--filter");
  }
  demand("--errors", is_given(app, "-e") || is_given(app, "--filter"), "-e or --filter");
  const bool prints_json =
      options.job == Job::kCall || options.job == Job::kCalls || options.job == Job::kList;
  demand("--json", prints_json, "a call, --calls or --list");
  if (is_given(app, "-i") && is_given(app, "-n")) {
    throw CLI::ParseError("give only one of -i and --no-input", kUsage);
  }
  if (options.job == Job::kFilter && options.on_error == OnError::kSkip) {
    throw CLI::ValidationError("--errors",
                               "skip is not allowed with --filter, which writes one line per row");
  }
}

constexpr const char* kJobs =
    "a keyword, -e, --calls, --filter, --list, --describe or --definitions";

// Sets the one job that the options ask for. Returns false when there is none.
bool set_job(const CLI::App& app, Options& options) {
  const std::vector<std::pair<const char*, Job>> kJobOptions = {
      {"--calls", Job::kCalls},       {"-e", Job::kTable},
      {"--filter", Job::kFilter},     {"--list", Job::kList},
      {"--describe", Job::kDescribe}, {"--definitions", Job::kDefinitions}};
  std::size_t count = options.words.empty() ? 0 : 1;
  for (const auto& [option, job] : kJobOptions) {
    if (!is_given(app, option)) continue;
    options.job = job;
    ++count;
  }
  if (count < 2) return count == 1;
  if (is_given(app, "-e") && !options.words.empty()) {
    refuse_word(options.words[0]);
  }
  throw CLI::ParseError(std::string("give only one of ") + kJobs, kUsage);
}

// The error message of an option that is given twice or has no value.
std::string mismatch_of(const CLI::App& app, std::string_view error) {
  for (const CLI::Option* const option : app.get_options()) {
    const auto most = static_cast<std::size_t>(option->get_items_expected_max());
    if (option->results().size() > most) return option->get_name() + " is given more than once";
  }
  return std::string(error.substr(0, error.find(':'))) + ": a value is missing";
}

Options parsed(int argc, char** argv) {
  CLI::App app("Calculates bonds, loans, cash flows and depreciation, in single calls or tables.",
               "finance");
  app.formatter(std::make_shared<Help>());
  app.footer(kFooter);
  app.prefix_command();
  Options options;
  options.table.workers = std::max(std::thread::hardware_concurrency(), 1U);
  add_general_options(app, options);
  add_table_options(app, options.table);
  add_engine_options(app, options.filter);
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    options.text = app.help();
  } catch (const CLI::CallForVersion& version) {
    options.text = std::string(version.what()) + '\n';
  } catch (const CLI::ArgumentMismatch& error) {
    throw CLI::ParseError(mismatch_of(app, error.what()), kUsage);
  }
  if (!options.text.empty()) {
    options.job = Job::kHelp;
    return options;
  }
  options.words = app.remaining();
  if (!options.words.empty() && options.words[0] == "--") {
    options.words.erase(options.words.begin());
  } else if (!options.words.empty() && options.words[0].starts_with('-')) {
    throw CLI::ParseError("unknown option " + options.words[0], kUsage);
  }
  const bool has_job = set_job(app, options);
  demand_fitting_options(app, options);
  if (!has_job) throw CLI::ParseError(std::string("nothing to do: give ") + kJobs, kUsage);
  options.table.decimals = options.filter.decimals = options.decimals;
  options.table.on_error = options.filter.on_error = options.on_error;
  return options;
}

}  // namespace

Options options_of(int argc, char** argv) {
  try {
    return parsed(argc, argv);
  } catch (const CLI::ParseError& error) {
    throw std::invalid_argument(error.what());
  }
}

}  // namespace cli
