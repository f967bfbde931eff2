// A keyword with a number of arguments, bound once for many rows: values in, a result or an error
// out. The error message is made when it is asked for.
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
  kInvalidArgument,  // the argument at the position is out of its range, or missing
  kWrongType,        // the argument at the position is of another kind than its parameter
  kNoResult,         // the calculation has no result
  kOutOfMemory,
};

struct CallResult {
  Status status = Status::kOk;
  std::size_t position = 0;  // of the argument that the error names, from 1; 0: none
  Value value{};             // of a call that succeeds

  [[nodiscard]] bool ok() const noexcept { return status == Status::kOk; }
};

// Positions count arguments from 1. Messages do not name the keyword: a host says how it was
// called. One call serves one thread.
class CheckedCall {
 public:
  // What is wrong with a number of arguments: "takes 6 or 7 arguments, not 2".
  static std::optional<std::string> arity_error(const catalog::Keyword& keyword, std::size_t count);

  // The count must be one for which arity_error has no message. Throws std::bad_alloc, and
  // vxkernel::Error for a module without the keyword.
  CheckedCall(const vxkernel::Kernel& kernel, const catalog::Keyword& keyword, std::size_t count);

  [[nodiscard]] std::size_t size() const noexcept { return parameters_.size(); }
  [[nodiscard]] const catalog::Keyword& keyword() const noexcept { return *keyword_; }
  [[nodiscard]] const catalog::Argument& parameter(std::size_t position) const noexcept {
    return *parameters_[position - 1];
  }

  // A row: begin, all its arguments in any order, run.
  void begin() noexcept { wrong_type_ = 0; }
  // A number, days of a date, or NaN for the missing value.
  void set_number(std::size_t position, double number) noexcept { call_[position] = number; }
  // A text where only numbers and dates are read has the wrong type; a basis by its name is a
  // number.
  void set_text(std::size_t position, std::string_view text) noexcept;
  void set(std::size_t position, const Value& value) noexcept {
    if (value.is_text()) return set_text(position, value.word);
    set_number(position, value.number);
  }
  // The argument has a type that a host knows to be wrong.
  void set_wrong_type(std::size_t position) noexcept {
    if (wrong_type_ == 0 || position < wrong_type_) wrong_type_ = position;
  }
  // Wrong types and frequencies that make no schedule are errors before the module is called.
  CallResult run() noexcept;

  // The bound call, for columns, whose values are not checked.
  [[nodiscard]] vxkernel::Call& bound() noexcept { return call_; }
  // The position of the frequency, which the bound call does not check; 0: the keyword has none.
  [[nodiscard]] std::size_t frequency_position() const noexcept { return frequency_; }
  // A number that the module returned, as a date or a number.
  [[nodiscard]] Value value_of(double number) const noexcept {
    return {.number = number, .kind = is_date_ ? Value::Kind::kDate : Value::Kind::kNumber};
  }

  // Why a call with these values failed: "argument 3 (rate) is -0.05: must be greater than 0".
  [[nodiscard]] std::string error_message(const CallResult& result,
                                          std::span<const Value> values) const;

 private:
  [[nodiscard]] std::string argument_error(std::size_t position, std::span<const Value> values,
                                           std::string_view reason) const;
  [[nodiscard]] double value_of(std::string_view name, std::span<const Value> values) const;
  [[nodiscard]] const catalog::Bound* broken_bound(std::size_t position,
                                                   std::span<const Value> values) const;
  [[nodiscard]] std::string range_error(std::size_t position, std::span<const Value> values) const;

  const catalog::Keyword* keyword_;
  std::vector<const catalog::Argument*> parameters_;  // by position, from 0
  vxkernel::Call call_;
  std::size_t wrong_type_ = 0;  // the first position with a wrong type; 0: none
  std::size_t frequency_ = 0;   // the position of a frequency; 0: none
  bool is_date_;
};

// What is wrong with a word that names no keyword.
std::string unknown_keyword(std::string_view word);

}  // namespace host
