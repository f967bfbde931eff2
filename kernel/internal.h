// The types that the files of the kernel share: a loaded module and a prepared call.
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

// A text in the form that a module reads: a descriptor, and the characters in one of the two
// widths.
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

// Decodes UTF-8 into `to`, which must have room for one character per byte of the text. Each byte
// that is not part of a well-formed sequence becomes U+FFFD. Returns the end of the decoded
// characters.
char32_t* decode_utf8(std::string_view text, char32_t* to) noexcept;

// Finds out why a call failed, and clears the error flags that the module set in the record.
// Returns a vxk_status.
int report_failure(vxfnc::FinanceCall* record, double* result, int32_t* argument) noexcept;

// Calls a dispatcher with a filled record. Returns a vxk_status. *argument becomes the number of
// the argument that is invalid or missing, or 0.
inline int dispatch(vxfnc::Dispatcher* dispatcher, vxfnc::FinanceCall* record, double* result,
                    int32_t* argument) noexcept {
  ran_out_of_memory = false;
  *result = vxfnc::MISSING;
  if (dispatcher(record, result, &call_environment) != 0) [[unlikely]] {
    return report_failure(record, result, argument);
  }
  if (argument != nullptr) *argument = 0;
  return VXK_OK;
}

// Fills an error; writes no more than its size covers. A null pointer is allowed. The message is
// formatted as by printf.
[[gnu::format(printf, 5, 6)]] void set_error(vxk_error* error, int status, int64_t row,
                                             int32_t argument, const char* format, ...) noexcept;

// Copies `from` to a caller's structure, which begins with its size, and writes no more than that
// size.
template <class Record>
void copy_sized(Record* to, Record from) noexcept {
  if (to == nullptr) return;
  from.size = to->size;
  const auto* const bytes = reinterpret_cast<const std::byte*>(&from);
  std::copy_n(bytes, std::min<std::size_t>(to->size, sizeof from),
              reinterpret_cast<std::byte*>(to));
}

// Returns a copy of a caller's structure. Members that the caller's structure does not have are 0.
// For a null pointer all members are 0.
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

  vxk_open_options options{};  // must outlive the instance, whose journal uses it
  vxkernel::InstanceServices services{options};
  std::unique_ptr<void, int (*)(void*)> library{nullptr, nullptr};
  std::unique_ptr<vxfnc::ModuleInstance, std::int64_t (*)(vxfnc::ModuleInstance*)> instance{
      nullptr, nullptr};  // destroyed before the library is closed
  std::int32_t version[3] = {};
  std::string build;
  std::vector<vxkernel::Function> functions;
};

// A prepared call. `storage` holds the record and its slots; the slots point into `numbers` and
// `texts`.
struct vxk_call {
  vxk_call(const vxkernel::Function& function, std::string_view keyword, std::size_t count);
  vxk_call(const vxk_call& other);
  vxk_call& operator=(const vxk_call&) = delete;

  // Changes the number of arguments. New arguments are missing.
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
  vxfnc::Dispatcher* dispatcher;  // function->dispatcher
  vxkernel::Text keyword;
  std::vector<std::uint64_t> storage;
  std::vector<double> numbers;
  std::vector<std::unique_ptr<vxkernel::Text>> texts;  // one per argument; null for a number
};
