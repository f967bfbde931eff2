// A keyword that is evaluated for many groups of values, such as the cash flows of many funds, by
// the kernel's lists.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "hosts/call/checked_call.h"

namespace host {

// The values of one argument: one per group, or a list of values for each group.
struct ListArgument {
  const double* values = nullptr;  // NaN is a missing value
  bool is_list = false;
  bool is_constant = false;  // one value for all groups
  bool is_date = false;      // the values are known to be dates
};

class ListCall {
 public:
  // Whether the arguments are lists exactly where the keyword takes lists, so that a ListCall can
  // evaluate them.
  static bool fits(const catalog::Keyword& keyword, std::span<const ListArgument> arguments);

  // The arguments must fit.
  ListCall(const vxkernel::Kernel& kernel, const catalog::Keyword& keyword,
           std::span<const ListArgument> arguments);

  // Evaluates groups + 1 offsets. Group g has the values from offsets[g] to offsets[g + 1] of each
  // list. Flows with dates are sorted by date, and the flows of one date are added up. A result is
  // NaN when the group fails, has no values or lacks a value that is not in a list. Flows without
  // an amount are skipped. Throws std::bad_alloc.
  void run(std::span<const std::int64_t> offsets, std::span<double> results) const;

  // The error message of a group that failed: "argument 1 (rate) is -1: must be greater than -1".
  [[nodiscard]] std::string error_message(std::span<const std::int64_t> offsets,
                                          std::size_t group) const;

 private:
  [[nodiscard]] const catalog::Argument& parameter(std::size_t argument) const {
    return keyword_.arguments()[argument];
  }
  [[nodiscard]] bool is_valid(std::span<const std::int64_t> offsets, std::size_t group) const;

  const vxkernel::Kernel& kernel_;
  const catalog::Keyword& keyword_;
  std::vector<ListArgument> arguments_;
  std::int32_t date_list_ = 0;  // from 1; 0: none
};

}  // namespace host
