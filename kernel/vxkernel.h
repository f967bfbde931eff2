// A minimal host kernel that any program can embed: it loads an extension module, registers the
// module's functions and evaluates calls of them.
//
//   vxkernel::Kernel kernel("build/release/lib/vxfnc.so");
//   const vxkernel::Argument arguments[] = {10000.0, 1000.0, 5.0};
//   const auto answer = kernel.evaluate("FINANCE", "SLN", arguments);  // answer.value is 1800
//
// Any number of threads may evaluate at once on one kernel. Load and destroy kernels while no
// other thread evaluates: loading hands the module of the whole process its kernel handle.
#pragma once

#include <compare>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

namespace vxkernel {

// One argument: a number, the missing value or UTF-8 text. A date is a number: days from
// 1 January 1960. Any NaN counts as missing. Text is not copied and must outlive the call.
struct Argument {
  enum class Kind : std::uint8_t { kNumber, kText };

  // Implicit, so that a list of plain values is a list of arguments.
  Argument(double value) noexcept : number(value) {}                             // NOLINT
  Argument(std::string_view value) noexcept : kind(Kind::kText), text(value) {}  // NOLINT
  static Argument missing() noexcept;

  Kind kind = Kind::kNumber;
  double number = 0.0;
  std::string_view text;
};

enum Status : int {
  kSuccess = 0,
  kRefused = 120836,      // an argument was refused, or the calculation cannot be carried out
  kUnknownFunction = -1,  // no loaded module has this function
  kTextTooLong = -2,      // the texts of the call exceed kLongestText; the argument is marked
  kOutOfStorage = -3,     // no storage for a call of more than 16 arguments, or for the module
};

struct Evaluation {
  int status;    // a Status
  double value;  // NaN unless the status is kSuccess
  int marked;    // index of the refused argument, 0 for the keyword, 1 for the first; -1: none

  [[nodiscard]] bool ok() const noexcept { return status == kSuccess; }
};

// Bytes that the texts of one call, its keyword included, may have together.
inline constexpr std::size_t kLongestText = 4096;

// A module that is missing, is no module, is broken, or speaks another version of the interface.
class LoadError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct Version {
  int major;
  int minor;
  int release;
  friend auto operator<=>(const Version&, const Version&) = default;
};

// Takes each line that the module reports, on the thread that reports it and cut at 511 bytes.
// What it throws is swallowed.
using JournalSink = std::function<void(std::string_view line)>;

class Kernel {
 public:
  // Loads a module and creates its instance. Throws LoadError with the reason.
  explicit Kernel(const std::string& module_path, JournalSink sink = {});
  // Destroys the instance, its journal and its pool in this order, then unloads the module.
  ~Kernel();
  // A kernel that was moved from may only be assigned to or destroyed.
  Kernel(Kernel&&) noexcept;
  Kernel& operator=(Kernel&&) noexcept;

  // The version that the module's instance offers.
  [[nodiscard]] Version version() const noexcept;
  // The module's name, version and time of build; empty when it does not say.
  [[nodiscard]] std::string_view build() const noexcept;
  // Names of the functions that the module contributes, in its order.
  [[nodiscard]] std::span<const std::string> functions() const noexcept;

  // Evaluates one call. A function whose name ends in # takes its texts as bytes, any other as
  // wide characters; for texts in ASCII the answers are the same. A text where a number belongs
  // counts as a missing value. For up to 16 arguments the kernel allocates nothing.
  [[nodiscard]] Evaluation evaluate(std::string_view function, std::string_view keyword,
                                    std::span<const Argument> arguments) const noexcept;

  // The option VX_NAME_YEARCUTOFF: the first of the hundred years that two-digit years stand for,
  // 1950 unless set. A module has one kernel handle, so the option holds for the whole process.
  static void set_year_cutoff(int first_year) noexcept;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace vxkernel
