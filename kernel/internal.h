// What the files of the kernel share: a loaded module, and a bound call.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "abi/kernel_records.h"
#include "kernel/services.h"
#include "kernel/vxkernel.h"

namespace vxkernel {

struct Function {
  std::string name;
  vxfnc::Dispatcher* dispatcher;
  bool takes_bytes;
};

// A text as a module takes it: its descriptor, and its characters in one of the two widths.
class Text {
 public:
  Text(std::string_view utf8, bool as_bytes);
  Text(const Text&) = delete;
  Text& operator=(const Text&) = delete;
  [[nodiscard]] const vxfnc::StringValue* value() const noexcept { return &value_; }
  [[nodiscard]] const std::string& utf8() const noexcept { return bytes_; }

 private:
  std::string bytes_;
  std::u32string wide_;
  vxfnc::StringValue value_{};
};

// Decodes UTF-8 into `to`, which has room for one character per byte. Each byte that does not
// belong to a well-formed sequence becomes U+FFFD. Returns the end.
char32_t* decode_utf8(std::string_view text, char32_t* to) noexcept;

// What a call that failed reports: takes its marks away again. Returns a vxk_status.
int report_failure(vxfnc::FinanceCall* record, double* result, int32_t* argument) noexcept;

// Calls a dispatcher on a filled record. Returns a vxk_status. *argument becomes the argument that
// is invalid, 0 for none.
inline int dispatch(vxfnc::Dispatcher* dispatcher, vxfnc::FinanceCall* record, double* result,
                    int32_t* argument) noexcept {
  was_refused = false;
  *result = vxfnc::MISSING;
  if (dispatcher(record, result, &call_environment) != 0) [[unlikely]] {
    return report_failure(record, result, argument);
  }
  if (argument != nullptr) *argument = 0;
  return VXK_OK;
}

// Fills an error, as far as its size says. A null pointer is allowed. The message is formatted as
// by printf.
[[gnu::format(printf, 5, 6)]] void set_error(vxk_error* error, int status, int64_t row,
                                             int32_t argument, const char* format, ...) noexcept;

// Copies a structure that begins with its size into one of a caller, whose size may be another.
template <class Record>
void copy_sized(Record* to, Record from) noexcept {
  if (to == nullptr) return;
  from.size = to->size;
  const auto* const bytes = reinterpret_cast<const std::byte*>(&from);
  std::copy_n(bytes, std::min<std::size_t>(to->size, sizeof from),
              reinterpret_cast<std::byte*>(to));
}

// The structure of a caller, its missing members zero. A null pointer gives zeros.
template <class Record>
Record sized(const Record* from) noexcept {
  Record record{};
  if (from != nullptr) {
    const auto* const bytes = reinterpret_cast<const std::byte*>(from);
    std::copy_n(bytes, std::min<std::size_t>(from->size, sizeof record),
                reinterpret_cast<std::byte*>(&record));
  }
  return record;
}

}  // namespace vxkernel

struct vxk_kernel {
  [[nodiscard]] const vxkernel::Function* find(const char* name) const noexcept;

  vxk_open_options options{};  // outlives the instance, whose journal writes by it
  vxkernel::InstanceServices services{options};
  std::unique_ptr<void, int (*)(void*)> library{nullptr, nullptr};
  std::unique_ptr<vxfnc::ModuleInstance, std::int64_t (*)(vxfnc::ModuleInstance*)> instance{
      nullptr, nullptr};  // destroyed before the library is closed
  std::int32_t version[3] = {};
  std::string build;
  std::vector<vxkernel::Function> functions;
};

// The record is in storage with room for its slots, which point into the numbers and texts.
struct vxk_call {
  vxk_call(const vxkernel::Function& function, std::string_view keyword, std::size_t count);
  vxk_call(const vxk_call& other);
  vxk_call& operator=(const vxk_call&) = delete;

  // Takes so many arguments from here on. Those that are new are missing.
  void resize(std::size_t count);
  void set_text(std::size_t index, std::string_view text);
  void set_number(std::size_t index, double number) noexcept;
  [[nodiscard]] std::size_t size() const noexcept { return numbers.size(); }
  [[nodiscard]] vxfnc::FinanceCall* record() noexcept {
    return reinterpret_cast<vxfnc::FinanceCall*>(storage.data());
  }
  int run(double* result, int32_t* argument) noexcept {
    return vxkernel::dispatch(dispatcher, record(), result, argument);
  }

  const vxkernel::Function* function;
  vxfnc::Dispatcher* dispatcher;  // the function's
  vxkernel::Text keyword;
  std::vector<std::uint64_t> storage;
  std::vector<double> numbers;
  std::vector<std::unique_ptr<vxkernel::Text>> texts;  // by index; null for a number
};
