// A call that an SQL database makes for each row, with the database's own values.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "hosts/call/checked_call.h"
#include "hosts/sql/sql_text.h"

namespace host {

// A keyword with a fixed number of arguments, for many rows. Positions start at 1.
class SqlCall {
 public:
  // The error of an unknown keyword or a wrong number of arguments: "finance: unknown keyword X".
  static std::optional<std::string> keyword_error(std::string_view word, std::size_t count);

  // The keyword and count must be ones for which keyword_error has no message.
  SqlCall(const vxkernel::Kernel& kernel, const catalog::Keyword& keyword, std::size_t count);

  [[nodiscard]] const catalog::Keyword& keyword() const noexcept { return call_.keyword(); }
  [[nodiscard]] const catalog::Argument& parameter(std::size_t position) const noexcept {
    return call_.parameter(position);
  }
  [[nodiscard]] std::size_t size() const noexcept { return call_.size(); }

  // For each row: begin, set all arguments, run. set_number does not accept a number as a date, and
  // set_date does not accept a date as a number. If an argument is missing, as NULL and NaN are,
  // the result is missing.
  void begin() noexcept {
    call_.begin();
    is_missing_ = false;
  }
  void set_missing() noexcept { is_missing_ = true; }
  void set_number(std::size_t position, double number) noexcept {
    call_.set_number(position, number);
    if (takes_date_[position - 1]) call_.set_wrong_type(position);
    if (std::isnan(number)) set_missing();
  }
  void set_number_or_day(std::size_t position, double number) noexcept {
    call_.set_number(position, number);
    if (std::isnan(number)) set_missing();
  }
  void set_date(std::size_t position, double days) noexcept {
    call_.set_number(position, days);
    if (!takes_date_[position - 1]) call_.set_wrong_type(position);
  }
  void set_text(std::size_t position, std::string_view text) noexcept {
    call_.set(position, value_of_sql_text(text, parameter(position).kind));
  }
  void set_wrong_type(std::size_t position) noexcept { call_.set_wrong_type(position); }
  CallResult run() noexcept { return is_missing_ ? CallResult{} : call_.run(); }

  // The error message: "finance(PRICE): argument 3 (rate) is -0.05: must be greater than 0". The
  // function returns the row's value at a position, for a kind of argument.
  template <class Function>
  [[nodiscard]] std::string error_message(const CallResult& result, Function value_at) const {
    std::vector<Value> values;
    values.reserve(size());
    for (std::size_t i = 1; i <= size(); ++i) values.push_back(value_at(i, parameter(i).kind));
    return error_message(result, std::span<const Value>(values));
  }

 private:
  [[nodiscard]] std::string error_message(const CallResult& result,
                                          std::span<const Value> values) const;

  CheckedCall call_;
  std::vector<char> takes_date_;
  bool is_missing_ = false;
};

}  // namespace host
