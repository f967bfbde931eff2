// The plan of a job on a table, made after its header is read.
#pragma once

#include <string>
#include <vector>

#include "hosts/cli/expression/expression.h"
#include "hosts/cli/io/cell_format.h"
#include "hosts/cli/table/table.h"

namespace cli {

// Shared by all threads. The columns that expressions can use are numbered: those of the table,
// then the counters, then the results.
struct Plan {
  const vxkernel::Kernel& kernel;
  const TableJob& job;
  const Shape& shape;
  std::vector<CellFormat> formats{};  // by column of the table
  std::vector<std::size_t> keys{};    // columns that the rows are grouped by
  std::vector<std::size_t> lists{};   // columns that are used as lists
  std::vector<std::size_t> cells{};   // columns that are used as values
  std::vector<Counter> counters{};
  std::vector<Expression> expressions{};
  std::vector<std::size_t> output{};        // the columns of the output
  std::vector<std::string> output_names{};  // with the column of error messages, if it is wanted
  std::vector<char> output_is_number{};     // in NDJSON
  std::string date_form{};  // the pattern of --dates, for error messages; empty: YYYY-MM-DD
  bool is_grouped = false;
  bool copies_records = false;  // a row of the output starts with the text of the record

  [[nodiscard]] std::size_t width() const noexcept { return shape.names.size(); }
  [[nodiscard]] std::size_t first_result() const noexcept { return width() + counters.size(); }
  [[nodiscard]] std::size_t columns() const noexcept { return first_result() + expressions.size(); }
};

// Throws std::runtime_error when an expression, a key or a format is invalid.
Plan plan_of(const vxkernel::Kernel& kernel, const TableJob& job, const Shape& shape);

// The error message of a record with a wrong number of cells or an open quote; empty for a valid
// record.
std::string record_error(const Plan& plan, const Record& record);

}  // namespace cli
