// The functions of the DuckDB extension.
#pragma once

#include <stdexcept>

#include "catalog/catalog.h"
#include "hosts/duckdb/duckdb_api.h"

namespace finance_duckdb {

// What a function does when a call fails: it raises an error, returns NULL, or returns the error
// message.
enum class OnError : int { kRaise, kNull, kMessage };

struct Function {
  const catalog::Keyword* keyword;  // null: the keyword is the first argument
  OnError on_error;
};

// The error of a row, which ends the statement.
struct RowError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Evaluate a function for the rows of a chunk. Throw RowError, std::bad_alloc and vxkernel::Error.
void evaluate(const Function& function, duckdb_data_chunk chunk, duckdb_vector result);
void evaluate_lists(const Function& function, duckdb_data_chunk chunk, duckdb_vector result);

}  // namespace finance_duckdb
