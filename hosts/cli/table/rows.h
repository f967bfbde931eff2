// The evaluation of rows, one result per row and expression.
#pragma once

#include "hosts/cli/table/work.h"

namespace cli {

// Evaluates the records of the work's block.
void evaluate_rows(Work& work);

}  // namespace cli
