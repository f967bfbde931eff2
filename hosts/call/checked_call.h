// A call that is bound once and evaluated for many rows: values in, a result or an error out. The
// error message is made only when it is asked for.
#pragma once

#include <cmath>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "catalog/catalog.h"
#include "hosts/call/value.h"
#include "kernel/vxkernel.hpp"

namespace host {

enum class Status : std::uint8_t {
  kOk,
  kInvalidArgument,  // the argument at the position is out of range, or missing
  kWrongType,        // the argument at the position has the wrong type
  kNoResult,         // the calculation has no result
  kNotFinite,        // the result is infinite or not a number
  kNoRate,           // the search for a rate ended at its lowest point
  kOutOfMemory,
  kCancelled,
};

struct CallResult {
  Status status = Status::kOk;
  std::size_t position = 0;  // of the invalid argument, from 1; 0: none
  Value value{};             // the result, on success

  [[nodiscard]] bool ok() const noexcept { return status == Status::kOk; }
};

// Positions count arguments from 1. Messages do not name the keyword: a host adds it in its own
// form. One object serves one thread.
class CheckedCall {
 public:
  // The error message of a wrong number of arguments: "takes 3 arguments, not 2: SLN(...)".
  static std::optional<std::string> arity_error(const catalog::Keyword& keyword, std::size_t count);

  // The count must be valid: see arity_error. Throws std::bad_alloc, and vxkernel::Error when the
  // module does not have the keyword.
  CheckedCall(const vxkernel::Kernel& kernel, const catalog::Keyword& keyword, std::size_t count);

  [[nodiscard]] std::size_t size() const noexcept { return parameters_.size(); }
  [[nodiscard]] const catalog::Keyword& keyword() const noexcept { return *keyword_; }
  [[nodiscard]] const catalog::Argument& parameter(std::size_t position) const noexcept {
    return *parameters_[position - 1];
  }

  // For each row: begin, set all arguments in any order, run.
  void begin() noexcept { wrong_type_ = date_in_list_ = number_in_dates_ = 0; }
  // A number, the days of a date, or NaN for a missing value.
  void set_number(std::size_t position, double number) noexcept { call_[position] = number; }
  // A text is valid for a basis only.
  void set_text(std::size_t position, std::string_view text) noexcept;
  // Rejects a date where a number belongs, and a missing basis, unless it is written as a full
  // stop.
  void set(std::size_t position, const Value& value) noexcept;
  // Rejects the argument because of its type.
  void set_wrong_type(std::size_t position) noexcept {
    if (wrong_type_ == 0 || position < wrong_type_) wrong_type_ = position;
  }
  // Checks types, dates and frequencies before it calls the module, and the result after it. A
  // result is missing only if an argument is.
  CallResult run() noexcept;

  // The same for all values of a row.
  CallResult run(std::span<const Value> values) noexcept {
    begin();
    for (std::size_t i = 0; i < values.size(); ++i) set(i + 1, values[i]);
    return run();
  }

  // The bound call, for columns. It does not check types, dates and frequencies.
  [[nodiscard]] vxkernel::Call& bound() noexcept { return call_; }
  // A result of the module as a value: a number, a count or a date.
  [[nodiscard]] Value value_of(double number) const noexcept {
    return {.number = number, .kind = result_kind_};
  }

  // The message of a failed call: "argument 3 (rate) is -0.05: must be greater than 0".
  [[nodiscard]] std::string error_message(const CallResult& result,
                                          std::span<const Value> values) const;
  // The same message in two parts, for hosts that number arguments in their own way: the position
  // of the invalid argument and "is -0.05: must be greater than 0". Position 0: no argument is
  // named.
  struct Reason {
    std::size_t position = 0;
    std::string text;
  };
  [[nodiscard]] Reason reason(const CallResult& result, std::span<const Value> values) const;

 private:
  [[nodiscard]] std::string unpaired_error(std::span<const Value> values) const;
  [[nodiscard]] Reason argument_error(std::size_t position, std::span<const Value> values,
                                      std::string_view allowed) const;
  [[nodiscard]] const catalog::Bound* broken_bound(std::size_t position, auto&& value_at) const;
  [[nodiscard]] std::size_t invalid_before(std::size_t position) noexcept;
  [[nodiscard]] std::size_t invalid_instead_of(std::size_t position) noexcept;
  [[nodiscard]] std::string range_error(std::size_t position, std::span<const Value> values) const;

  const catalog::Keyword* keyword_;
  std::vector<const catalog::Argument*> parameters_;  // by position, from 0
  vxkernel::Call call_;
  std::size_t wrong_type_ = 0;       // the first argument with a wrong type; 0: none
  std::size_t frequency_ = 0;        // the position of the frequency; 0: none
  std::vector<std::size_t> dates_;   // the positions of dates
  std::size_t date_in_list_ = 0;     // the first date in a list of dates; 0: none
  std::size_t number_in_dates_ = 0;  // the first number in a list of dates; 0: none
  Value::Kind result_kind_ = Value::Kind::kNumber;
};

// What an argument must be: "must be a number".
std::string type_error(catalog::ArgumentKind kind);

// The error message of an unknown keyword, with suggestions.
std::string unknown_keyword(std::string_view word);

}  // namespace host
