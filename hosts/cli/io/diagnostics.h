// The reports on standard error about rows that fail: the first failures, then their number.
#pragma once

#include <fmt/format.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

namespace cli {

enum ExitCode : int { kAllWell = 0, kCalculationFailed = 1, kUsage = 2, kSomeFailed = 3 };

// Writes to standard error. A failure to write is ignored, because the data can still be written.
inline void say(std::string_view text) noexcept {
  std::fwrite(text.data(), 1, text.size(), stderr);
}

// The message without control characters, which could change the state of a terminal. Line feeds
// stay.
std::string printable(std::string_view message);

class Diagnostics {
 public:
  static constexpr std::size_t kLimit = 5;

  [[nodiscard]] bool limit_reached() const noexcept { return reported_ >= kLimit; }

  void report(std::string_view message) {
    if (limit_reached()) return;
    say(fmt::format("finance: {}\n", printable(message)));
    ++reported_;
  }

  void count(std::uint64_t rows, std::uint64_t failed_rows) noexcept {
    rows_ += rows;
    failed_rows_ += failed_rows;
  }

  // Reports the number of failures, if any.
  ExitCode finish(std::string_view input, std::string_view what) const {
    if (failed_rows_ == 0) return kAllWell;
    say(fmt::format("finance: {}: {} of {} {} failed\n", input, failed_rows_, rows_, what));
    return kSomeFailed;
  }

 private:
  std::size_t reported_ = 0;
  std::uint64_t rows_ = 0;
  std::uint64_t failed_rows_ = 0;
};

// What happens to a row that fails.
enum class OnError : std::uint8_t {
  kNull,  // its failed results are empty
  kText,  // its failed results are the error message
  kSkip,  // it is left out
  kFail,  // the output ends before it
};

}  // namespace cli
