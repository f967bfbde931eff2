// The SQLite extension, loaded by SQLite itself: a transcript of statements, a comparison of all
// keywords with the kernel, and the ways to load the extension.
#define SQLITE_CORE 1  // this program is linked with SQLite
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sqlite3ext.h>

#include <bit>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "tests/arguments.h"

namespace {

class Database {
 public:
  explicit Database(const char* entry_point = nullptr) {
    sqlite3_open(":memory:", &handle_);
    sqlite3_enable_load_extension(handle_, 1);
    if (entry_point == kNone) return;
    char* error = nullptr;
    if (sqlite3_load_extension(handle_, VXFNC_SQLITE, entry_point, &error) != SQLITE_OK) {
      ADD_FAILURE() << error;
    }
    sqlite3_free(error);
  }
  ~Database() { EXPECT_EQ(sqlite3_close(handle_), SQLITE_OK); }
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  // Returns one line per row, with | between columns, or the error message.
  std::string run(const std::string& sql) {
    std::string text;
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(handle_, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
      return std::string("Error: ") + sqlite3_errmsg(handle_) + '\n';
    }
    int status = sqlite3_step(statement);
    for (; status == SQLITE_ROW; status = sqlite3_step(statement)) {
      for (int i = 0; i < sqlite3_column_count(statement); ++i) {
        const auto* const cell = reinterpret_cast<const char*>(sqlite3_column_text(statement, i));
        text.append(i > 0 ? "|" : "").append(cell == nullptr ? "NULL" : cell);
      }
      text += '\n';
    }
    if (status != SQLITE_DONE) text += std::string("Error: ") + sqlite3_errmsg(handle_) + '\n';
    sqlite3_finalize(statement);
    return text;
  }

  double number(const std::string& sql) {
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v2(handle_, sql.c_str(), -1, &statement, nullptr);
    const bool has_row = sqlite3_step(statement) == SQLITE_ROW;
    const double value = has_row ? sqlite3_column_double(statement, 0) : 0.0;
    sqlite3_finalize(statement);
    return value;
  }

  [[nodiscard]] sqlite3* handle() const { return handle_; }

  static constexpr const char* kNone = "";

 private:
  sqlite3* handle_ = nullptr;
};

TEST(Sqlite, MatchesTheTranscript) {
  std::ifstream file(VXFNC_SQLITE_TRANSCRIPT);
  std::ostringstream expected;
  expected << file.rdbuf();
  Database database;
  std::string got;
  std::istringstream lines(expected.str());
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("--")) got += line + '\n';
    if (line.starts_with("> ")) got += line + '\n' + database.run(line.substr(2));
  }
  EXPECT_TRUE(got == expected.str()) << "compare sqlite.txt with sqlite.got";
  if (got != expected.str()) std::ofstream("sqlite.got") << got;
}

// Returns "SELECT finance('PRICE', '2008-02-15', ...)" for the first part "finance('PRICE', ".
std::string call_of(const std::string& first, const std::vector<std::string>& words) {
  std::string sql = "SELECT " + first;
  for (const std::string& word : words) {
    const cli::Value value = cli::value_of(word);
    sql += (value.is_text() || value.is_date() ? '\'' + word + '\'' : word) + ", ";
  }
  return sql.replace(sql.size() - 2, 2, ")");
}

TEST(Sqlite, EveryKeywordReturnsTheResultOfTheKernel) {
  const vxkernel::Kernel kernel(VXFNC_MODULE);
  const auto compare = [&kernel] {
    Database database;
    EXPECT_EQ(database.number("SELECT count(*) FROM finance_keywords"), catalog::keywords().size());
    for (const catalog::Keyword& keyword : catalog::keywords()) {
      const auto words = cli::words_of(keyword.description.example);
      std::vector<vxkernel::Argument> arguments;
      for (const std::string& word : words) arguments.push_back(argument_of(word));
      const double wanted = kernel.evaluate("FINANCE", keyword.word, arguments).value;
      const std::string call = call_of("finance('" + std::string(keyword.word) + "', ", words);
      if (std::ranges::none_of(keyword.arguments(), &catalog::Argument::is_list)) {
        EXPECT_EQ(database.run(call_of(keyword.function_name() + '(', words)), database.run(call));
      }
      if (keyword.result == catalog::ResultKind::kDate) {
        EXPECT_EQ(database.run(call), std::string(keyword.description.value) + '\n');
      } else {
        EXPECT_EQ(std::bit_cast<std::uint64_t>(database.number(call)),
                  std::bit_cast<std::uint64_t>(wanted))
            << call;
      }
    }
  };
  std::vector<std::jthread> threads(4);
  for (std::jthread& thread : threads) thread = std::jthread(compare);
}

TEST(Sqlite, InterruptsTheSearchOfALargeGroup) {
  Database database;
  database.run(
      "CREATE TABLE flows AS WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n LIMIT "
      "200000) SELECT date('1960-01-01', i || ' days') AS day, iif(i BETWEEN 30000 AND 70000, 250, "
      "-100) AS amount FROM n");
  const auto end_second_call = [](void* handle) {  // during the statement that looks for interrupts
    static int calls = 0;
    sqlite3_stmt* const newest = sqlite3_next_stmt(static_cast<sqlite3*>(handle), nullptr);
    if (std::string_view(sqlite3_sql(newest)).starts_with("WITH")) ++calls;
    return calls == 2 ? 1 : 0;
  };
  sqlite3_progress_handler(database.handle(), 1000, end_second_call, database.handle());
  EXPECT_EQ(database.run("SELECT finance_try_xirr(amount, day) FROM flows"),
            "Error: interrupted\n");
}

TEST(Sqlite, LoadsForAllConnectionsOfTheProcess) {
  EXPECT_TRUE(Database(Database::kNone).run("SELECT finance_version()").starts_with("Error"));
  Database first("sqlite3_finance_everywhere_init");
  EXPECT_EQ(Database(Database::kNone).run("SELECT finance('SLN', 9, 0, 3)"), "3.0\n");
  const std::string again = "SELECT load_extension('" VXFNC_SQLITE "')";  // in a running statement
  EXPECT_EQ(first.run(again), "NULL\n");
  sqlite3_reset_auto_extension();
}

TEST(Sqlite, FindsTheModuleInItsFolderAndThroughLinks) {
  namespace fs = std::filesystem;
  const fs::path folder = fs::temp_directory_path() / ("sqlite." + std::to_string(::getpid()));
  fs::create_directories(folder / "lib");
  fs::copy_file(VXFNC_SQLITE, folder / "alone.so");
  fs::copy_file(VXFNC_SQLITE, folder / "lib/finance_sqlite.so");
  fs::create_symlink(VXFNC_MODULE, folder / "lib/vxfnc.so");
  fs::create_symlink("lib/finance_sqlite.so", folder / "link.so");
  Database database(Database::kNone);
  const auto load = [&](const std::string& arguments) {
    return database.run("SELECT load_extension('" + folder.string() + arguments + ")");
  };
  const std::string error = "Error: error during initialization: finance: cannot load module";
  EXPECT_EQ(load("/alone.so'").find(error), 0U);
  EXPECT_EQ(load("/alone.so', 'sqlite3_finance_everywhere_init'").find(error), 0U);
  EXPECT_EQ(load("/link.so'"), "NULL\n");
  EXPECT_EQ(database.run("SELECT finance('SLN', 9, 0, 3)"), "3.0\n");
  fs::remove_all(folder);
}

TEST(Sqlite, RejectsOldVersionsAndOtherCopiesOfSqlite) {
  const Database loaded;
  sqlite3_api_routines copy{};
  copy.mprintf = sqlite3_mprintf;
  const auto expect_error = [&copy](int (*version)(), std::string_view wanted) {
    copy.libversion_number = version;
    void* const entry = ::dlsym(::dlopen(VXFNC_SQLITE, RTLD_NOW), "sqlite3_extension_init");
    char* error = nullptr;
    EXPECT_EQ(reinterpret_cast<sqlite3_loadext_entry>(entry)(nullptr, &error, &copy), SQLITE_ERROR);
    EXPECT_EQ(error, wanted);
    sqlite3_free(error);
  };
  expect_error([] { return 3030999; }, "finance: SQLite 3.31 or newer is required");
  expect_error([] { return 3031000; },
               "finance: another copy of SQLite in this process already uses the extension");
}

}  // namespace
