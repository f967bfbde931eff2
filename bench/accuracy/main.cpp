// Measures the errors of the loaded module: compares random calls of every keyword with an
// evaluation of the same formula in 256 bits. Prints tables in Markdown for docs/accuracy.md, and
// fails if the loss of a keyword exceeds its limit.

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <fstream>
#include <iostream>
#include <limits>
#include <thread>

#include "bench/accuracy/dates.h"
#include "bench/accuracy/elementary.h"
#include "bench/accuracy/keywords.h"
#include "bench/table.h"
#include "kernel/vxkernel.hpp"

namespace {

constexpr std::size_t kBlock = 500;         // calls per random generator
constexpr double kLowestRate = -0.9999999;  // the result of searches for lower rates

struct Sample {
  double error = -1;  // in units in the last place of the exact result
  Drawn call;
  double got = 0, wanted = 0;
};

// The results of some calls of one keyword. A loss is an error divided by 1 + the sensitivity of
// the call.
struct Findings {
  std::vector<double> errors, other_errors;  // other: with the other order of operations of the row
  Sample worst, lossiest;
  double loss = -1, other_loss = -1, residual = 0;
  std::size_t without_result = 0;

  void add(Findings more) {
    errors.insert(errors.end(), more.errors.begin(), more.errors.end());
    other_errors.insert(other_errors.end(), more.other_errors.begin(), more.other_errors.end());
    if (more.worst.error > worst.error) worst = std::move(more.worst);
    if (more.loss > loss) lossiest = std::move(more.lossiest);
    loss = std::max(loss, more.loss);
    other_loss = std::max(other_loss, more.other_loss);
    residual = std::max(residual, more.residual);
    without_result += more.without_result;
  }
};

// Finds the root near the start by the secant method.
Real root(const Row& row, const Values& values, const Real& start) {
  Real x = start, next = start == 0 ? Real(0x1p-40) : start * (1 + 0x1p-30);
  Real f = row.balance(x, values).sum;
  for (int i = 0; i < 30 && fabs(next - x) > fabs(x) * 0x1p-220 + 0x1p-300; ++i) {
    const Real g = row.balance(next, values).sum;
    if (f == g) break;
    const Real step = g * (next - x) / (g - f);
    x = next;
    f = g;
    next -= step;
  }
  return next;
}

Real exact(const Row& row, const Values& values, double near) {
  return row.exact ? row.exact(values) : root(row, values, near);
}

// Returns the unit of errors: the last place of the result, or of the first argument (an amount) if
// the result is 0.
Real unit_of(const Real& result, const Values& values) {
  return result == 0 ? last_place(Real(values[0])) : last_place(result);
}

double distance(double got, const Real& wanted, const Real& unit) {
  if (wanted == got) return 0;
  const double error = rounded(fabs(got - wanted) / unit);
  return std::isnan(error) ? std::numeric_limits<double>::infinity() : error;
}

// Returns how much the exact result changes if every argument that is not a whole number changes by
// half a unit in its last place. No order of operations can avoid an error of this size.
double sensitivity(const Row& row, const Values& values, double near) {
  const Real wanted = exact(row, values, near);
  Real sum;
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (values[i] == std::trunc(values[i])) continue;
    Values moved = values;
    moved[i] = std::nextafter(values[i], HUGE_VAL);
    sum += fabs(exact(row, moved, near) - wanted) / 2;
  }
  return rounded(sum / unit_of(wanted, values));
}

class Search {
 public:
  Search(std::uint64_t seed, std::size_t draws, std::size_t threads)
      : seed_(seed), draws_(draws), threads_(threads) {}

  // The findings do not depend on the number of threads.
  Findings run(const Row& row) const {
    const auto number = static_cast<std::uint64_t>(&row - rows().data());
    const std::size_t draws = row.balance ? draws_ / 5 : draws_;
    std::vector<Findings> parts(draws / kBlock + 1);
    std::atomic<std::size_t> next{0};
    const auto work = [&] {
      for (std::size_t i; (i = next++) < parts.size();) {
        Draw draw(seed_, number, i);
        const std::size_t most = std::min(kBlock, draws - i * kBlock);
        for (std::size_t k = 0; k < most; ++k) measure(row, draw.arguments(row.ranges), parts[i]);
      }
      mpfr_free_cache();
    };
    {
      std::vector<std::jthread> workers;
      for (std::size_t i = 0; i < threads_; ++i) workers.emplace_back(work);
    }
    Findings all;
    for (Findings& part : parts) all.add(std::move(part));
    return all;
  }

 private:
  void measure(const Row& row, Drawn call, Findings& findings) const {
    if (row.finish) row.finish(call.values);
    const Values& values = call.values;
    const std::vector<vxkernel::Argument> arguments(values.begin(), values.end());
    const auto result = kernel_.evaluate("FINANCE", row.keyword, arguments);
    const bool is_bound = row.balance && result.value == kLowestRate;  // kLowestRate is not a root
    if (!result.ok() || !std::isfinite(result.value) || is_bound) {
      ++findings.without_result;
      return;
    }
    const Real wanted = exact(row, values, result.value), unit = unit_of(wanted, values);
    const Sample sample{distance(result.value, wanted, unit), call, result.value, rounded(wanted)};
    findings.errors.push_back(sample.error);
    if (sample.error > findings.worst.error) findings.worst = sample;
    if (row.balance) {
      const auto [sum, largest] = row.balance(result.value, values);
      findings.residual = std::max(findings.residual, rounded(fabs(sum) / largest));
    }
    double other_error = -1;
    if (!row.order.empty()) {
      other_error = distance(row.plain(values), wanted, unit);
      findings.other_errors.push_back(other_error);
    }
    // A loss is at most the error, so the sensitivity is computed for few calls only.
    if (sample.error <= findings.loss && other_error <= findings.other_loss) return;
    const double scale = 1 + sensitivity(row, values, result.value);
    findings.other_loss = std::max(findings.other_loss, other_error / scale);
    if (sample.error / scale <= findings.loss) return;
    findings.loss = sample.error / scale;
    findings.lossiest = sample;
  }

  vxkernel::Kernel kernel_{VXFNC_MODULE};
  std::uint64_t seed_;
  std::size_t draws_, threads_;
};

std::string figure(double x) {
  if (x == 0) return "0";
  return x < 100   ? fmt::format("{:.2f}", x)
         : x < 1e6 ? fmt::format("{:.0f}", x)
                   : fmt::format("{:.1e}", x);
}

double median(std::vector<double> errors) {
  if (errors.empty()) return 0;
  const auto middle = errors.begin() + static_cast<std::ptrdiff_t>(errors.size() / 2);
  std::nth_element(errors.begin(), middle, errors.end());
  return *middle;
}

// Returns the call in the syntax of the command.
std::string line(const Row& row, const Drawn& call) {
  std::string text = row.keyword;
  for (std::size_t i = 0; i < call.values.size(); ++i) {
    const dates::Date day = dates::date(call.values[i]);
    text += call.is_day[i] ? fmt::format(" {:04}-{:02}-{:02}", int{day.year()},
                                         unsigned{day.month()}, unsigned{day.day()})
                           : fmt::format(" {}", call.values[i]);
  }
  return text;
}

std::string described(const Row& row, const char* what, const Sample& sample) {
  return fmt::format("  {}: finance {}\n    returns {}, exactly {}\n", what, line(row, sample.call),
                     sample.got, sample.wanted);
}

std::string name(const Row& row) {
  return row.what.empty() ? row.keyword : row.keyword + ", " + row.what;
}

}  // namespace

int main(int argc, char** argv) try {
  std::uint64_t seed = 19600101;
  std::size_t draws = 100000;
  std::size_t threads = std::max(1U, std::thread::hardware_concurrency());
  std::string only, calls_file;
  CLI::App app("Measures the error of every keyword against a computation with 256 bits");
  app.add_option("--seed", seed, "Seed of the random arguments")->capture_default_str();
  app.add_option("--draws", draws,
                 "Calls of each keyword; a keyword that searches gets a fifth of them")
      ->capture_default_str();
  app.add_option("--threads", threads, "Number of threads")->capture_default_str();
  app.add_option("--only", only, "Measure only this keyword");
  app.add_option("--calls", calls_file, "File to write the ranges and the worst calls to");
  CLI11_PARSE(app, argc, argv);

  const Search search(seed, draws, threads);
  Table figures({"keyword", "calls", "median", "worst", "arguments", "loss", "limit", "residual"},
                1);
  Table orders({"keyword", "median", "loss", "other median", "other loss", "other order"}, 1);
  std::string calls;
  bool is_held = true;
  for (const Row& row : rows()) {
    if (!only.empty() && row.keyword != only) continue;
    const Findings found = search.run(row);
    if (found.errors.empty())
      throw std::runtime_error(row.keyword + ": no random call has a result");
    const Sample& worst = found.worst;
    figures.add({name(row), std::to_string(found.errors.size()), figure(median(found.errors)),
                 figure(worst.error), figure(sensitivity(row, worst.call.values, worst.got)),
                 figure(found.loss), fmt::format("{}", row.limit),
                 row.balance ? fmt::format("{:.1e}", found.residual) : ""});
    if (!row.order.empty()) {
      orders.add({name(row), figure(median(found.errors)), figure(found.loss),
                  figure(median(found.other_errors)), figure(found.other_loss), row.order});
    }
    calls += fmt::format("{}\n  {}\n", name(row), row.ranges);
    if (found.without_result > 0)
      calls += fmt::format("  without a result: {}\n", found.without_result);
    if (worst.error > 0) calls += described(row, "worst", worst);
    if (found.lossiest.call.values != worst.call.values)
      calls += described(row, "loss", found.lossiest);
    if (found.loss > row.limit) {
      std::cerr << fmt::format("{}: the loss is {}, above the limit of {}: finance {}\n",
                               row.keyword, found.loss, row.limit, line(row, found.lossiest.call));
      is_held = false;
    }
  }
  const std::string title = heading() + fmt::format("\n{} draws, seed {}", draws, seed);
  std::cout << title << ".\n\n" << figures.text();
  std::cout << "\n### Another order\n\n" << orders.text();
  if (only.empty()) {
    std::string elementary;
    is_held = report_elementary(seed, 4 * draws, threads, elementary) && is_held;
    std::cout << "\n### Elementary functions\n\n" << elementary;
  }
  if (!calls_file.empty()) std::ofstream(calls_file) << title << ".\n\n" << calls;
  return is_held ? 0 : 1;
} catch (const std::exception& error) {
  std::cerr << error.what() << '\n';
  return 2;
}
