// The plan of a job on a table, made after its header is read.
#pragma once

#include <string>
#include <vector>

#include "hosts/cli/expression/expression.h"
#include "hosts/cli/io/records.h"
#include "hosts/cli/table/table.h"

namespace cli {

// Shared by all threads.
struct Plan {
  const vxkernel::Kernel& kernel;
  const TableJob& job;
  std::vector<std::string> header;
  std::vector<std::size_t> keys{};   // columns that the rows are grouped by
  std::vector<std::size_t> lists{};  // columns that are used as lists
  std::vector<std::size_t> cells{};  // columns that are used as values
  std::vector<Expression> expressions{};
  bool is_grouped = false;
};

// Throws std::runtime_error when an expression or a key is invalid.
Plan plan_of(const vxkernel::Kernel& kernel, const TableJob& job, std::vector<std::string> header);

// The columns of the output.
std::vector<std::string> output_names(const Plan& plan);

// The error message of a record with a wrong number of cells or an open quote; empty for a valid
// record.
std::string record_error(const Plan& plan, const Record& record);

}  // namespace cli
