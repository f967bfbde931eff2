// A shell for the tests: loads the extension into a database in memory, executes the statements of
// standard input, one per line, and prints each statement and its rows or its error.
// usage: duckdb_shell EXTENSION
#include <duckdb.h>

#include <iostream>
#include <string>

namespace {

void print(duckdb_connection connection, const std::string& statement) {
  duckdb_result result;
  if (duckdb_query(connection, statement.c_str(), &result) != DuckDBSuccess) {
    const std::string error = duckdb_result_error(&result);
    std::cout << error.substr(0, error.find('\n')) << '\n';
  }
  const idx_t columns = duckdb_column_count(&result);
  for (idx_t row = 0; row < duckdb_row_count(&result); ++row) {
    for (idx_t column = 0; column < columns; ++column) {
      char* const text = duckdb_value_varchar(&result, column, row);
      std::cout << (column > 0 ? "|" : "") << (text == nullptr ? "NULL" : text);
      duckdb_free(text);
    }
    std::cout << '\n';
  }
  duckdb_destroy_result(&result);
}

}  // namespace

int main(int argc, char** argv) {
  duckdb_config config = nullptr;
  duckdb_database database = nullptr;
  duckdb_connection connection = nullptr;
  char* error = nullptr;
  duckdb_create_config(&config);
  duckdb_set_config(config, "allow_unsigned_extensions", "true");
  if (argc < 2 || duckdb_open_ext(nullptr, &database, config, &error) != DuckDBSuccess ||
      duckdb_connect(database, &connection) != DuckDBSuccess) {
    std::cerr << "cannot open the database: " << (error == nullptr ? "" : error) << '\n';
    return 1;
  }
  print(connection, "LOAD '" + std::string(argv[1]) + "'");
  for (std::string statement; std::getline(std::cin, statement);) {
    std::cout << "> " << statement << '\n';
    print(connection, statement);
  }
  duckdb_disconnect(&connection);
  duckdb_close(&database);
  duckdb_destroy_config(&config);
}
