// A keyword that is evaluated for many groups of values, such as the cash flows of many funds, by
// the kernel's lists.
#pragma once

#include <cstdint>
#include <limits>
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

// With fewer flows than this, a group has no result: a rate needs two flows.
constexpr std::size_t min_flows(const catalog::Keyword& keyword) noexcept {
  return keyword.result == catalog::ResultKind::kRate ? 2 : 1;
}

// The error of a group.
struct ListError {
  Status status = Status::kNoResult;
  std::size_t argument = 0;  // the parameter of the keyword that is invalid, from 1; 0: none
  std::size_t element = 0;   // the element of its list, from 1; 0: it is not a list
  bool is_missing = false;   // the argument or element is missing
  std::string reason;        // "is -1: must be greater than -1"
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
  // an amount are skipped. Returns false, and no results, if the flag is set before the end. Throws
  // std::bad_alloc.
  bool run(std::span<const std::int64_t> offsets, std::span<double> results,
           const volatile std::int32_t* cancel = nullptr);

  // The error of a group that failed.
  [[nodiscard]] ListError error(std::span<const std::int64_t> offsets, std::size_t group) const;
  // Its message: "argument 1 (rate) is -1: must be greater than -1".
  [[nodiscard]] std::string error_message(std::span<const std::int64_t> offsets,
                                          std::size_t group) const;

 private:
  // A group that failed in the last run.
  struct Failed {
    std::size_t group = std::numeric_limits<std::size_t>::max();
    Status status = Status::kNoResult;
  };

  [[nodiscard]] const catalog::Argument& parameter(std::size_t argument) const {
    return keyword_.arguments()[argument];
  }
  [[nodiscard]] bool is_valid(std::span<const std::int64_t> offsets, std::size_t group) const;
  [[nodiscard]] CallResult result_of(CheckedCall& call, std::size_t group,
                                     std::span<const Value> values) const;

  const vxkernel::Kernel& kernel_;
  const catalog::Keyword& keyword_;
  std::vector<ListArgument> arguments_;
  std::int32_t date_list_ = 0;  // from 1; 0: none
  Failed without_result_;       // no argument is invalid
  Failed without_rate_;
};

}  // namespace host
