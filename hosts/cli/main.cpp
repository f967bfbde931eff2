// The command `finance`: evaluates calls of the host function FINANCE.
// Results go to standard output, everything else to standard error.
#include <sys/auxv.h>

#include <CLI/CLI.hpp>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <stdexcept>

#include "call.h"
#include "page.h"

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

enum ExitCode : int { kAllWell = 0, kCalculationFailed = 1, kUsage = 2 };

class Help : public CLI::Formatter {
 public:
  std::string make_usage(const CLI::App*, std::string) const override {
    return "Usage: finance [OPTIONS] KEYWORD [ARGUMENT...]\n"
           "       finance [OPTIONS] --calls FILE\n\n";
  }
};

// The module beside this command: ../lib/vxfnc.so from the folder it stands in.
std::string default_module() {
  const auto command = reinterpret_cast<const char*>(getauxval(AT_EXECFN));
  return std::filesystem::canonical(command).parent_path().parent_path() / "lib" / "vxfnc.so";
}

// What the options ask for.
struct Options {
  std::string calls;  // the file of --calls
  int decimals = cli::kAllDigits;
  bool as_json = false;
};

// One result a call on standard output, so that results and calls stay side by side: a full stop,
// or the error as JSON, where it failed.
ExitCode print(const cli::Outcome& outcome, const std::vector<std::string>& words,
               const std::string& place, const Options& options) {
  if (!outcome.ok) std::cerr << "finance: " << place << outcome.text << '\n';
  const std::string text = outcome.ok ? outcome.text : ".";
  std::cout << (options.as_json ? json_of(outcome, words) : text) << '\n';
  return outcome.ok ? kAllWell : kCalculationFailed;
}

// Empty lines and comments are no calls.
ExitCode evaluate_lines(const vxkernel::Kernel& kernel, std::istream& lines,
                        const Options& options) {
  ExitCode exit_code = kAllWell;
  std::string line;
  for (std::size_t number = 1; std::getline(lines, line); ++number) {
    if (number == 1 && line.starts_with(kByteOrderMark)) line.erase(0, kByteOrderMark.size());
    cli::Outcome outcome{};
    std::vector<std::string> words;
    try {
      words = cli::words_of(line);
      if (words.empty()) continue;
      outcome = cli::evaluate(kernel, words, options.decimals);
    } catch (const std::invalid_argument& error) {
      outcome.text = error.what();
    }
    const std::string place = options.calls + ':' + std::to_string(number) + ": ";
    if (print(outcome, words, place, options) != kAllWell) exit_code = kCalculationFailed;
  }
  if (lines.bad()) throw std::runtime_error("cannot read " + options.calls);
  return exit_code;
}

ExitCode evaluate(const vxkernel::Kernel& kernel, const std::vector<std::string>& words,
                  const Options& options) {
  if (!words.empty()) {
    const cli::Outcome outcome = cli::evaluate(kernel, words, options.decimals);
    // A single call that fails prints nothing but its error, unless the result is asked for as
    // JSON.
    if (outcome.ok || options.as_json) return print(outcome, words, "", options);
    std::cerr << "finance: " << outcome.text << '\n';
    return kCalculationFailed;
  }
  if (options.calls == "-") return evaluate_lines(kernel, std::cin, options);
  std::ifstream file(options.calls);
  if (!file) throw std::runtime_error("cannot read " + options.calls);
  return evaluate_lines(kernel, file, options);
}

std::string described(const std::string& word) {
  const catalog::Keyword* const keyword = catalog::find(word);
  if (keyword == nullptr) throw std::runtime_error(word + ": no such keyword");
  return page_of(*keyword);
}

// The keyword and its arguments, which stand behind the options; none with --calls.
std::vector<std::string> call_of(const CLI::App& app) {
  std::vector<std::string> words = app.remaining();
  if (!words.empty() && words[0] == "--") {
    words.erase(words.begin());
  } else if (!words.empty() && words[0].starts_with('-')) {
    throw CLI::ExtrasError({words[0]});
  }
  if ((app.count("--calls") == 0) == words.empty()) {
    throw CLI::RequiredError("either a keyword or --calls FILE");
  }
  return words;
}

int run(int argc, char** argv) {
  CLI::App app("Financial calculations: bonds, loans, cash flows, depreciation.", "finance");
  app.formatter(std::make_shared<Help>());
  app.footer(
      "An argument is a number, a date (YYYY-MM-DD), a full stop for the missing value, or text.\n"
      "Options stand before the keyword, so that numbers may be negative.\n\n"
      "  finance SLN 10000 1000 5        the yearly depreciation, 1800\n\n"
      "Exit status: 0 all well, 1 a calculation failed, 2 the command line or a file is "
      "at\nfault.");
  app.prefix_command();
  Options options;
  std::string module = default_module();
  app.add_option("--calls", options.calls,
                 "Evaluate one call a line from FILE, - for standard input")
      ->type_name("FILE");
  app.add_option("--module", module, "Load this module instead of the one beside the command")
      ->type_name("FILE");
  app.add_flag("--json", options.as_json, "Print each result or error as a line of JSON");
  app.add_option("--digits", options.decimals,
                 "Print results with N decimals instead of all digits")
      ->type_name("N")
      ->check(CLI::Range(0, 17));
  std::string word;
  bool lists = false;
  app.add_flag("--list", lists, "Print every keyword and what it computes");
  const CLI::Option* const describe_option =
      app.add_option("--describe", word, "Print what there is to know of a keyword")
          ->type_name("KEYWORD");
  app.set_version_flag("--version", "finance " VXFNC_VERSION);

  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& help_or_version) {
    return app.exit(help_or_version);
  }
  ExitCode exit_code = kAllWell;
  if (lists || *describe_option) {
    std::cout << (lists ? catalog::list_by_task() : "")
              << (*describe_option ? described(word) : "");
  } else {
    exit_code = evaluate(vxkernel::Kernel(module), call_of(app), options);
  }
  if (!std::cout.flush()) throw std::runtime_error("cannot write standard output");
  return exit_code;
}

}  // namespace

int main(int argc, char** argv) {
  std::ios::sync_with_stdio(false);
  try {
    return run(argc, argv);
  } catch (const CLI::ParseError& error) {
    std::cerr << "finance: " << error.what() << "\nRun `finance --help` for what it takes.\n";
    return kUsage;
  } catch (const std::exception& error) {
    std::cerr << "finance: " << error.what() << '\n';
    return kUsage;
  }
}
