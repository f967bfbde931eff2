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

  // "argument 1 (rate) is -1: must be greater than -1"
  [[nodiscard]] std::string message(const catalog::Keyword& keyword) const;
};

struct ListOptions {
  bool sort = true;  // sort flows with dates by date, and add up the flows of one date
  int threads = 1;
  const volatile std::int32_t* cancel = nullptr;
};

// What became of the groups.
struct ListReport {
  bool is_cancelled = false;  // the flag was set before the end; there are no results
  std::int64_t failed = 0;
  std::int64_t missing = 0;  // groups without a result, because values are missing
};

class ListCall {
 public:
  // Whether the arguments are lists exactly where the keyword takes lists, so that a ListCall can
  // evaluate them.
  static bool fits(const catalog::Keyword& keyword, std::span<const ListArgument> arguments);

  // The arguments must fit.
  ListCall(const vxkernel::Kernel& kernel, const catalog::Keyword& keyword,
           std::span<const ListArgument> arguments);

  // The error of an argument whose list has another length than the list of amounts, for hosts in
  // which each list has its own length.
  static ListError length_error(std::size_t argument, std::uint64_t length, std::uint64_t amounts);

  // There are groups + 1 offsets. Group g has the values from offsets[g] to offsets[g + 1] of each
  // list.

  // Whether the result of a group is missing because a value that is not in a list is missing,
  // because fewer than min_flows flows have an amount, or because any flow has no amount and the
  // keyword takes no dates: the order of the flows counts then, so that none can be skipped. Reads
  // only the list of amounts.
  [[nodiscard]] bool is_missing(std::span<const std::int64_t> offsets, std::size_t group) const;

  // Evaluates all groups. A result is NaN when it is missing and when the group fails. Flows with a
  // date and without an amount are skipped. A group with an amount that has no date fails.
  // `failures` is null or has one bit per group, which becomes 1 when the group fails; see
  // has_failed. The results do not depend on the number of threads. Throws std::bad_alloc.
  ListReport run(std::span<const std::int64_t> offsets, std::span<double> results,
                 std::uint8_t* failures = nullptr, const ListOptions& options = {});

  // The error of a group that has no result after run.
  [[nodiscard]] ListError error(std::span<const std::int64_t> offsets, std::size_t group) const;

 private:
  // A group that failed in the last run.
  struct Failed {
    std::size_t group = std::numeric_limits<std::size_t>::max();
    Status status = Status::kNoResult;
  };

  [[nodiscard]] const catalog::Argument& parameter(std::size_t argument) const {
    return keyword_.arguments()[argument];
  }
  [[nodiscard]] bool is_evaluated(std::span<const std::int64_t> offsets, std::size_t group) const;
  [[nodiscard]] std::vector<double> screened(std::span<const std::int64_t> offsets) const;
  [[nodiscard]] CallResult result_of(CheckedCall& call, std::size_t group,
                                     std::span<const Value> values) const;

  const vxkernel::Kernel& kernel_;
  const catalog::Keyword& keyword_;
  std::vector<ListArgument> arguments_;
  std::size_t amounts_;         // the index of the list of amounts
  std::int32_t date_list_ = 0;  // from 1; 0: none
  bool is_sorted_ = true;       // in the last run
  Failed without_result_;       // no argument is invalid
  Failed without_rate_;
};

}  // namespace host
