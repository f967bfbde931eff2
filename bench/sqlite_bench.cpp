// Measures the time per row in SQLite: of finance('SLN', ...), of finance_sln(...), and of a C
// function of three arguments that computes only this. All read the same table in the same run.
// usage: sqlite_bench EXTENSION
#include <sqlite3.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr int kRows = 1'000'000;

void plain_sln(sqlite3_context* context, int, sqlite3_value** argv) {
  sqlite3_result_double(context, (sqlite3_value_double(argv[0]) - sqlite3_value_double(argv[1])) /
                                     sqlite3_value_double(argv[2]));
}

void run(sqlite3* database, const char* sql) {
  if (sqlite3_exec(database, sql, nullptr, nullptr, nullptr) == SQLITE_OK) return;
  std::fprintf(stderr, "%s\n", sqlite3_errmsg(database));
  std::exit(1);
}

double nanoseconds_per_row(sqlite3* database, const char* sql) {
  const auto began = std::chrono::steady_clock::now();
  run(database, sql);
  const auto spent = std::chrono::steady_clock::now() - began;
  return std::chrono::duration<double, std::nano>(spent).count() / kRows;
}

}  // namespace

int main(int, char** argv) {
  sqlite3* database = nullptr;
  sqlite3_open(":memory:", &database);
  sqlite3_db_config(database, SQLITE_DBCONFIG_ENABLE_LOAD_EXTENSION, 1, nullptr);
  if (sqlite3_load_extension(database, argv[1], nullptr, nullptr) != SQLITE_OK) return 1;
  sqlite3_create_function(database, "plain_sln", 3, SQLITE_UTF8 | SQLITE_DETERMINISTIC, nullptr,
                          plain_sln, nullptr, nullptr);
  run(database,
      "CREATE TABLE assets(cost REAL, salvage REAL, life REAL);"
      "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n LIMIT 1000000)"
      "INSERT INTO assets SELECT i, i / 10.0, 5 + i % 7 FROM n");
  const char* const queries[] = {"SELECT sum(plain_sln(cost, salvage, life)) FROM assets",
                                 "SELECT sum(finance('SLN', cost, salvage, life)) FROM assets",
                                 "SELECT sum(finance_sln(cost, salvage, life)) FROM assets"};
  double best[] = {1e9, 1e9, 1e9};
  for (int run = 0; run < 7; ++run) {
    for (int i = 0; i < 3; ++i) {
      best[i] = std::min(best[i], nanoseconds_per_row(database, queries[i]));
    }
  }
  std::printf("| SQLite | ns per row | more than the C function (limit 30) |\n|---|---:|---:|\n");
  std::printf("| C function with three arguments | %.0f | |\n", best[0]);
  std::printf("| `finance('SLN', ...)` | %.0f | %.0f |\n", best[1], best[1] - best[0]);
  std::printf("| `finance_sln(...)` | %.0f | %.0f |\n", best[2], best[2] - best[0]);
  sqlite3_close(database);
}
