// The command `finance`: evaluates single calls, tables, and the rows of engines. Results go to
// standard output, everything else to standard error.
#include <fcntl.h>
#include <unistd.h>

#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "catalog/page.h"
#include "hosts/cli/engines/clickhouse_config.h"
#include "hosts/cli/options.h"
#include "hosts/cli/single_call.h"

namespace {

using cli::Job;
using cli::Options;

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

void report(std::string_view message) { cli::say("finance: " + cli::printable(message) + '\n'); }

// Prints one line per call, also for a call that failed: a full stop, or the error as JSON.
void print(const cli::SingleResult& result, const std::vector<std::string>& words,
           const std::string& place, const Options& options) {
  if (!result.ok) report(place + result.text);
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
cli::ExitCode evaluate_call(const vxkernel::Kernel& kernel, const Options& options) {
  const cli::SingleResult result = cli::evaluate(kernel, options.words, options.decimals);
  if (result.ok || options.as_json) {
    print(result, options.words, "", options);
  } else {
    report(result.text);
  }
  return result.ok ? cli::kAllWell : cli::kCalculationFailed;
}

std::string described(const std::string& word) {
  const catalog::Keyword* const keyword = catalog::find(word);
  if (keyword == nullptr) throw std::runtime_error(cli::unknown_keyword(word));
  return page_of(*keyword);
}

std::string listed(bool as_json) {
  if (!as_json) return catalog::list_by_task();
  std::string lines;
  for (const catalog::Keyword& keyword : catalog::keywords()) {
    const nlohmann::ordered_json line = {
        {"keyword", keyword.word},
        {"task", catalog::task_titles()[static_cast<std::size_t>(keyword.task)]},
        {"title", keyword.description.title},
        {"signature", signature_of(keyword)}};
    lines += line.dump() + '\n';
  }
  return lines;
}

cli::ExitCode run(const Options& options) {
  switch (options.job) {
    case Job::kHelp:
      return std::cout << options.text, cli::kAllWell;
    case Job::kList:
      return std::cout << listed(options.as_json), cli::kAllWell;
    case Job::kDescribe:
      return std::cout << described(options.described), cli::kAllWell;
    case Job::kDefinitions:
      return std::cout << cli::clickhouse_config(), cli::kAllWell;
    default:
      break;
  }
  const vxkernel::Kernel kernel(options.module);
  switch (options.job) {
    case Job::kCalls:
      return evaluate_calls(kernel, options);
    case Job::kTable:
      return evaluate_table(kernel, options.table);
    case Job::kFilter:
      return filter(kernel, options.filter);
    default:
      return evaluate_call(kernel, options);
  }
}

}  // namespace

int main(int argc, char** argv) {
  // If a standard stream is closed, the next file would get its number and its text.
  int null = 0;
  while (null >= 0 && null <= STDERR_FILENO) null = ::open("/dev/null", O_RDWR);
  if (null >= 0) ::close(null);
  std::ios::sync_with_stdio(false);
  try {
    const Options options = cli::options_of(argc, argv);
    const cli::ExitCode exit_code = run(options);
    if (!std::cout.flush()) throw std::runtime_error("cannot write standard output");
    return exit_code;
  } catch (const std::invalid_argument& error) {
    report(error.what());
    cli::say("Run `finance --help` for usage.\n");
    return cli::kUsage;
  } catch (const std::bad_alloc&) {
    report("out of memory");
    return cli::kUsage;
  } catch (const std::exception& error) {
    report(error.what());
    return cli::kUsage;
  }
}
