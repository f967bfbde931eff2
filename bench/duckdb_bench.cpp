// Measures the time per row in DuckDB, beside an expression, and beside the same calls of the
// kernel on the same values. Each time is the best of several runs; the time of a sum over a column
// is subtracted. usage: duckdb_bench EXTENSION [ROWS]
#include <duckdb.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "kernel/vxkernel.hpp"

namespace {

constexpr int kRuns = 5;
constexpr std::size_t kFlows = 10;  // of a group

double seconds_of(auto&& body) {
  double best = 1e9;
  for (int run = 0; run < kRuns; ++run) {
    const auto began = std::chrono::steady_clock::now();
    body();
    const auto spent = std::chrono::steady_clock::now() - began;
    best = std::min(best, std::chrono::duration<double>(spent).count());
  }
  return best;
}

class Database {
 public:
  explicit Database(const char* extension) {
    duckdb_config config = nullptr;
    duckdb_create_config(&config);
    duckdb_set_config(config, "allow_unsigned_extensions", "true");
    if (duckdb_open_ext(nullptr, &database_, config, nullptr) != DuckDBSuccess) std::exit(1);
    duckdb_connect(database_, &connection_);
    run("LOAD '" + std::string(extension) + "'");
  }
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;
  ~Database() {
    duckdb_disconnect(&connection_);
    duckdb_close(&database_);
  }

  void run(const std::string& statement) {
    duckdb_result result;
    if (duckdb_query(connection_, statement.c_str(), &result) != DuckDBSuccess) {
      std::fprintf(stderr, "%s\n", duckdb_result_error(&result));
      std::exit(1);
    }
    duckdb_destroy_result(&result);
  }
  // The seconds of a sum over an expression.
  double seconds(const std::string& expression, const std::string& table) {
    return seconds_of([&] { run("SELECT sum(" + expression + ") FROM " + table); });
  }

 private:
  duckdb_database database_ = nullptr;
  duckdb_connection connection_ = nullptr;
};

// The nanoseconds of a prepared call of the kernel. The arguments of all rows are one array.
double kernel_time(const vxkernel::Kernel& kernel, const char* keyword, std::size_t count,
                   const std::vector<double>& arguments) {
  const vxkernel::Call call = kernel.prepare(keyword, count);
  const std::size_t rows = arguments.size() / count;
  double sum = 0.0;
  const double seconds = seconds_of([&] {
    for (std::size_t row = 0; row < rows; ++row) {
      double result = 0.0;
      vxk_evaluate(call.get(), &arguments[row * count], &result, nullptr);
      sum += result;
    }
  });
  if (std::isnan(sum)) std::exit(1);
  return seconds / static_cast<double>(rows) * 1e9;
}

double list_time(const vxkernel::Kernel& kernel, std::size_t groups) {
  std::vector<double> amounts;
  std::vector<double> dates;
  std::vector<std::int64_t> offsets{0};
  for (std::size_t group = 0; group < groups; ++group) {
    for (std::size_t flow = 0; flow < kFlows; ++flow) {
      amounts.push_back(flow == 0 ? -900.0 * (kFlows - 1)
                                  : 1000.0 + static_cast<double>(group % 7));
      dates.push_back(23446.0 + 91.0 * static_cast<double>(flow));
    }
    offsets.push_back(static_cast<std::int64_t>(amounts.size()));
  }
  const vxk_column columns[] = {vxkernel::column(amounts.data(), true),
                                vxkernel::column(dates.data(), true)};
  std::vector<double> values(groups);
  vxk_results results{};
  results.size = sizeof results;
  results.values = values.data();
  vxk_options options{};
  options.size = sizeof options;
  options.date_list = 2;
  const double seconds =
      seconds_of([&] { kernel.evaluate_lists("XIRR", columns, offsets, results, &options); });
  return seconds / static_cast<double>(groups) * 1e9;
}

}  // namespace

int main(int argc, char** argv) try {
  if (argc < 2) return 2;
  const std::size_t rows = argc > 2 ? std::strtoul(argv[2], nullptr, 10) : 4'000'000;
  const std::size_t groups = rows / 20;
  Database database(argv[1]);
  database.run("SET threads = 1");
  database.run(
      "CREATE TABLE assets AS SELECT i::DOUBLE AS cost, i / 10.0::DOUBLE AS salvage, (5 + i % "
      "7)::DOUBLE AS "
      "life, DATE '2024-03-11' AS settlement, DATE '2033-11-15' + (i % 31)::INTEGER AS maturity, "
      "0.0725::DOUBLE "
      "AS rate, (0.05 + i % 100 / 1e4)::DOUBLE AS yld FROM range(" +
      std::to_string(rows) + ") AS t(i)");
  database.run(
      "CREATE TABLE funds AS SELECT list_transform(range(10), j -> if(j = 0, -8100, 1000.0 + i % "
      "7)::DOUBLE) AS "
      "amounts, list_transform(range(10), j -> DATE '2024-03-11' + (91 * j)::INTEGER) AS dates "
      "FROM range(" +
      std::to_string(groups) + ") AS t(i)");
  const vxkernel::Kernel kernel;  // finds the module beside the program
  std::vector<double> assets;
  std::vector<double> bonds;
  for (std::size_t i = 0; i < rows; ++i) {
    const auto row = static_cast<double>(i);
    assets.insert(assets.end(), {row, row / 10.0, 5.0 + std::fmod(row, 7.0)});
    bonds.insert(bonds.end(), {23446.0, 26982.0 + std::fmod(row, 31.0), 0.0725,
                               0.05 + std::fmod(row, 100.0) / 1e4, 100.0, 2.0});
  }
  const double sln = kernel_time(kernel, "SLN", 3, assets);
  const double price = kernel_time(kernel, "PRICE", 6, bonds);
  const double xirr = list_time(kernel, groups);

  std::printf(
      "| DuckDB, one thread | ns per row | ns of the kernel | ratio |\n|---|---:|---:|---:|\n");
  const double scan = database.seconds("cost", "assets");
  const auto print = [&](const char* title, const std::string& expression, double least) {
    const double time =
        (database.seconds(expression, "assets") - scan) / static_cast<double>(rows) * 1e9;
    if (least == 0.0) {
      std::printf("| %s | %.1f | | |\n", title, time);
    } else {
      std::printf("| %s | %.1f | %.1f | %.2f |\n", title, time, least, time / least);
    }
    return time;
  };
  print("`(cost - salvage) / life`", "(cost - salvage) / life", 0.0);
  print("`finance_sln(...)` (limit 14 ns)", "finance_sln(cost, salvage, life)", sln);
  print("`finance('SLN', ...)`", "finance('SLN', cost, salvage, life)", sln);
  const std::string bond = "(settlement, maturity, rate, yld, 100, 2)";
  const double alone =
      print("`finance_price(...)`, 10 years (limit 1.15)", "finance_price" + bond, price);
  const double list_seconds = database.seconds("finance_xirr(amounts, dates)", "funds") -
                              database.seconds("len(amounts)", "funds");
  const double list = list_seconds / static_cast<double>(groups) * 1e9;
  std::printf("| `finance_xirr(amounts, dates)`, 10 flows (limit 1.3) | %.0f | %.0f | %.2f |\n",
              list, xirr, list / xirr);
  database.run("SET threads = 2");
  const double both =
      (database.seconds("finance_price" + bond, "assets")) / static_cast<double>(rows) * 1e9;
  std::printf("\nTwo threads evaluate `finance_price` %.2f times as fast as one.\n",
              (alone + scan / static_cast<double>(rows) * 1e9) / both);
} catch (const std::exception& error) {
  std::fprintf(stderr, "duckdb_bench: %s\n", error.what());
  return 1;
}
