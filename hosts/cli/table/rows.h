// The evaluation of rows, each with its own results.
#pragma once

#include "hosts/cli/table/work.h"

namespace cli {

// Evaluates the records of the work's block.
void evaluate_rows(Work& work);

}  // namespace cli
