// What is to be done with a table, once its header is read.
#pragma once

#include <string>
#include <vector>

#include "hosts/cli/expression/expression.h"
#include "hosts/cli/io/records.h"
#include "hosts/cli/table/table.h"

namespace cli {

// All threads share it.
struct Plan {
  const vxkernel::Kernel& kernel;
  const TableJob& job;
  std::vector<std::string> header;
  std::vector<std::size_t> keys{};   // columns that make groups
  std::vector<std::size_t> lists{};  // columns that groups keep in full
  std::vector<std::size_t> cells{};  // columns that rows are read for as values
  std::vector<Expression> expressions{};
  bool is_grouped = false;
};

// Throws std::runtime_error where an expression or a key is wrong.
Plan plan_of(const vxkernel::Kernel& kernel, const TableJob& job, std::vector<std::string> header);

// The columns of the output.
std::vector<std::string> output_names(const Plan& plan);

// What is wrong with a record as a whole; empty where it can be evaluated.
std::string record_error(const Plan& plan, const Record& record);

}  // namespace cli
