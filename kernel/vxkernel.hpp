// A C++17 wrapper of vxkernel.h: the same functions with owning classes, spans and string views.
//
//   vxkernel::Kernel kernel;  // finds the module; or Kernel kernel("path/to/vxfnc.so")
//   vxkernel::Call sln = kernel.prepare("SLN", 3);
//   sln[1] = 10000, sln[2] = 1000, sln[3] = 5;
//   double depreciation = sln.run().value;  // 1800
//
// Evaluating never throws. Opening, preparing, copying and setting arguments may throw. vxkernel.h
// documents what the functions do, and the ranges and units of their parameters.
#ifndef VXKERNEL_HPP
#define VXKERNEL_HPP

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "vxkernel.h"

namespace vxkernel {

// A view of contiguous values: of an array, a std::vector or a std::span.
template <class T>
class Span {
 public:
  constexpr Span() noexcept = default;
  constexpr Span(const T* values, std::size_t count) noexcept : values_(values), count_(count) {}
  template <std::size_t N>
  constexpr Span(const T (&values)[N]) noexcept : values_(values), count_(N) {}  // NOLINT
  template <class Container,
            class = decltype(std::declval<const Container&>().data() -
                             static_cast<const T*>(nullptr))>
  constexpr Span(const Container& values) noexcept  // NOLINT
      : values_(values.data()), count_(values.size()) {}

  [[nodiscard]] constexpr const T* data() const noexcept { return values_; }
  [[nodiscard]] constexpr std::size_t size() const noexcept { return count_; }
  [[nodiscard]] constexpr const T& operator[](std::size_t i) const noexcept { return values_[i]; }

 private:
  const T* values_ = nullptr;
  std::size_t count_ = 0;
};

// An argument: a number, the missing value or a UTF-8 text. Texts are not copied. The constructors
// are implicit, so that a list of values is a list of arguments.
struct Argument : vxk_value {
  Argument(double value) noexcept : vxk_value{value, nullptr, 0} {}  // NOLINT
  Argument(std::string_view value) noexcept
      : vxk_value{0.0, value.data() == nullptr ? "" : value.data(), value.size()} {}
  Argument(const std::string& value) noexcept : Argument(std::string_view(value)) {}  // NOLINT
  Argument(const char* value) noexcept : Argument(std::string_view(value)) {}         // NOLINT
  static Argument missing() noexcept { return std::numeric_limits<double>::quiet_NaN(); }
};

// The result of a call.
struct Result {
  int status = VXK_OK;
  double value = std::numeric_limits<double>::quiet_NaN();
  std::int32_t argument = 0;  // the argument that is invalid or missing, from 1; 0 if none

  [[nodiscard]] bool ok() const noexcept { return status == VXK_OK; }
};

// A vxk_error as an exception.
class Error : public std::runtime_error {
 public:
  explicit Error(const vxk_error& error)
      : std::runtime_error(error.message), status(error.status) {}
  int status;
};

struct Version {
  int major, minor, release;
};

// Owns a vxk_call.
class Call {
 public:
  explicit Call(vxk_call* call) noexcept : call_(call), numbers_(vxk_arguments(call)) {}

  // The numeric value of an argument. Arguments are numbered from 1.
  double& operator[](std::size_t argument) noexcept { return numbers_[argument - 1]; }

  void set_text(std::int32_t argument, std::string_view text) {
    const int status = vxk_set_text(call_.get(), argument, text.data(), text.size());
    if (status == VXK_OUT_OF_MEMORY) throw std::bad_alloc();
    if (status != VXK_OK)
      throw std::invalid_argument("the argument does not exist, or the text is too long");
  }
  void set_number(std::int32_t argument, double number) {
    if (vxk_set_number(call_.get(), argument, number) != VXK_OK) {
      throw std::invalid_argument("the argument does not exist");
    }
  }
  Result run() noexcept {
    Result result;
    result.status = vxk_run(call_.get(), &result.value, &result.argument);
    return result;
  }
  // vxk_evaluate_columns: columns has one column per argument.
  int run(Span<vxk_column> columns, std::int64_t rows, const vxk_results& results,
          const vxk_options* options = nullptr, vxk_report* report = nullptr) noexcept {
    return vxk_evaluate_columns(call_.get(), columns.data(), rows, &results, options, report);
  }
  [[nodiscard]] Call copy() const {
    vxk_call* other = nullptr;
    if (vxk_copy(call_.get(), &other) != VXK_OK) throw std::bad_alloc();
    return Call(other);
  }
  [[nodiscard]] vxk_call* get() const noexcept { return call_.get(); }

 private:
  struct Releaser {
    void operator()(vxk_call* call) const noexcept { vxk_release(call); }
  };
  std::unique_ptr<vxk_call, Releaser> call_;
  double* numbers_;
};

// Owns a vxk_kernel.
class Kernel {
 public:
  // Receives each line that the module reports. Exceptions that it throws are ignored.
  using Journal = std::function<void(std::string_view line)>;

  // Loads the module. If the path is empty, vxk_open looks for the module. Throws Error.
  explicit Kernel(const std::string& module_path = {}, Journal journal = {})
      : journal_(journal ? std::make_unique<Journal>(std::move(journal)) : nullptr) {
    vxk_open_options options{};
    options.size = sizeof options;
    if (journal_ != nullptr) {
      options.journal = report;
      options.journal_context = journal_.get();
    }
    vxk_kernel* kernel = nullptr;
    vxk_error error = no_error();
    const char* const path = module_path.empty() ? nullptr : module_path.c_str();
    if (vxk_open(path, &options, &kernel, &error) != VXK_OK) throw Error(error);
    kernel_.reset(kernel);
  }

  [[nodiscard]] Version version() const noexcept {
    std::int32_t version[3];
    vxk_module_version(kernel_.get(), version);
    return {version[0], version[1], version[2]};
  }
  [[nodiscard]] std::string_view build() const noexcept { return vxk_module_build(kernel_.get()); }
  [[nodiscard]] std::vector<std::string> functions() const {
    std::vector<std::string> names;
    for (std::int32_t i = 0; i < vxk_function_count(kernel_.get()); ++i) {
      names.emplace_back(vxk_function_name(kernel_.get(), i));
    }
    return names;
  }

  // Throws Error if the keyword or the function is unknown.
  [[nodiscard]] Call prepare(const std::string& keyword, std::size_t arguments,
                             const char* function = nullptr) const {
    vxk_call* call = nullptr;
    vxk_error error = no_error();
    const auto count =
        static_cast<std::int32_t>(arguments > 0x7FFFFFFF ? std::size_t{0x7FFFFFFF} : arguments);
    if (vxk_prepare(kernel_.get(), function, keyword.c_str(), count, &call, &error) != VXK_OK) {
      throw Error(error);
    }
    return Call(call);
  }

  // Evaluates one call without preparing it.
  [[nodiscard]] Result evaluate(const char* function, std::string_view keyword,
                                Span<Argument> arguments) const noexcept {
    Result result;
    const std::size_t most = 0x7FFFFFFF;
    result.status = vxk_evaluate_values(
        kernel_.get(), function, keyword.data(), keyword.size(), arguments.data(),
        static_cast<std::int32_t>(arguments.size() > most ? most : arguments.size()), &result.value,
        &result.argument);
    return result;
  }

  // vxk_evaluate_lists: offsets has one element more than there are groups.
  int evaluate_lists(const std::string& keyword, Span<vxk_column> columns,
                     Span<std::int64_t> offsets, const vxk_results& results,
                     const vxk_options* options = nullptr, vxk_report* report = nullptr) const {
    return vxk_evaluate_lists(kernel_.get(), nullptr, keyword.c_str(), columns.data(),
                              static_cast<std::int32_t>(columns.size()), offsets.data(),
                              static_cast<std::int64_t>(offsets.size()) - 1, &results, options,
                              report);
  }

  [[nodiscard]] const vxk_kernel* get() const noexcept { return kernel_.get(); }

 private:
  static vxk_error no_error() noexcept {
    vxk_error error{};
    error.size = sizeof error;
    return error;
  }
  static void report(void* journal, const char* line, std::size_t length) {
    try {
      (*static_cast<Journal*>(journal))(std::string_view(line, length));
    } catch (...) {  // an exception must not pass through the module
    }
  }

  struct Closer {
    void operator()(vxk_kernel* kernel) const noexcept { vxk_close(kernel); }
  };
  std::unique_ptr<Journal> journal_;  // outlives the kernel
  std::unique_ptr<vxk_kernel, Closer> kernel_;
};
static_assert(sizeof(Argument) == sizeof(vxk_value),
              "an array of Argument is also an array of vxk_value");

// A column of contiguous doubles.
inline vxk_column column(const double* values, bool is_list = false) noexcept {
  vxk_column column{};
  column.size = sizeof column;
  column.type = VXK_FLOAT64;
  column.values = values;
  column.stride = sizeof(double);
  column.is_list = is_list ? 1 : 0;
  return column;
}

// A column in which all rows have the same value.
inline vxk_column constant(const double* value) noexcept {
  vxk_column same = column(value);
  same.stride = 0;
  return same;
}

}  // namespace vxkernel

#endif
