// The extension in a process with several databases and threads.
#include <duckdb.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

namespace {

class Database {
 public:
  Database() {
    duckdb_config config = nullptr;
    duckdb_create_config(&config);
    duckdb_set_config(config, "allow_unsigned_extensions", "true");
    EXPECT_EQ(duckdb_open_ext(nullptr, &database_, config, nullptr), DuckDBSuccess);
    duckdb_destroy_config(&config);
    EXPECT_EQ(duckdb_connect(database_, &connection_), DuckDBSuccess);
    EXPECT_EQ(query("LOAD '" VXFNC_DUCKDB_EXTENSION "'"), "");
  }
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;
  ~Database() {
    duckdb_disconnect(&connection_);
    duckdb_close(&database_);
  }
  [[nodiscard]] duckdb_database get() const { return database_; }
  [[nodiscard]] duckdb_connection connection() const { return connection_; }
  [[nodiscard]] std::string query(const std::string& statement) const {
    return query(connection_, statement);
  }
  // The first value of the result, or the error message.
  static std::string query(duckdb_connection connection, const std::string& statement) {
    duckdb_result result;
    std::string text;
    if (duckdb_query(connection, statement.c_str(), &result) != DuckDBSuccess) {
      text = duckdb_result_error(&result);
    } else if (char* const value = duckdb_value_varchar(&result, 0, 0); value != nullptr) {
      text = value;
      duckdb_free(value);
    }
    duckdb_destroy_result(&result);
    return text;
  }

 private:
  duckdb_database database_ = nullptr;
  duckdb_connection connection_ = nullptr;
};

std::size_t resident_bytes() {
  std::size_t total = 0;
  std::size_t resident = 0;
  std::ifstream("/proc/self/statm") >> total >> resident;
  return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

constexpr const char* kMixed =
    "SELECT sum(finance(word, 9000.0, 1000, 5, 1)) || count(finance_error(word, i)) FROM "
    "(SELECT i, CASE i % 3 WHEN 0 THEN 'SYD' WHEN 1 THEN 'DDB' ELSE 'DB' END AS word FROM "
    "range(30000) AS t(i))";

}  // namespace

TEST(DuckDb, LoadsTwiceInTwoDatabasesOnEightThreads) {
  const Database first;
  const Database second;
  EXPECT_EQ(first.query("LOAD '" VXFNC_DUCKDB_EXTENSION "'"), "");
  const std::string expected = first.query(kMixed);
  EXPECT_EQ(expected.substr(0, 8), "94706666");
  std::vector<std::jthread> threads;
  std::vector<std::string> results(8);
  for (std::size_t i = 0; i < results.size(); ++i) {
    threads.emplace_back([&, i] {
      duckdb_connection own = nullptr;
      duckdb_connect(i % 2 == 0 ? first.get() : second.get(), &own);
      results[i] = Database::query(own, kMixed);
      duckdb_disconnect(&own);
    });
  }
  threads.clear();
  for (const std::string& result : results) EXPECT_EQ(result, expected);
}

TEST(DuckDb, AnInterruptEndsAStatement) {
  const Database database;
  std::jthread interrupter([&](const std::stop_token& stop) {
    while (!stop.stop_requested()) {
      duckdb_interrupt(database.connection());
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
  });
  const std::string error = database.query(
      "SELECT sum(finance_price(DATE '2024-03-11', DATE '2033-11-15', 0.07, i / 1e10, 100, 2)) "
      "FROM range(1000000000) AS t(i)");
  interrupter.request_stop();
  EXPECT_NE(error.find("INTERRUPT"), std::string::npos) << error;
}

TEST(DuckDb, MemoryDoesNotGrowWithTheRows) {
  const Database database;
  const auto run = [&](const char* rows) {
    return database.query(
        "SELECT count(finance('SLN', i, 0, 5)) + count(finance_try_sln(i, 0, i % 3)) FROM range(" +
        std::string(rows) + ") AS t(i)");
  };
  EXPECT_EQ(run("1000000"), "1666666");
  const std::size_t before = resident_bytes();
  EXPECT_EQ(run("50000000"), "83333333");
  EXPECT_LT(resident_bytes(), before + 20'000'000);
}
