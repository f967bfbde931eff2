// What is said on standard error of rows that fail: the first failures, then how many there are.
#pragma once

#include <fmt/format.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

namespace cli {

enum ExitCode : int { kAllWell = 0, kCalculationFailed = 1, kUsage = 2, kSomeFailed = 3 };

// Writes to standard error. Where that cannot be written, the data still can.
inline void say(std::string_view text) noexcept {
  std::fwrite(text.data(), 1, text.size(), stderr);
}

class Diagnostics {
 public:
  static constexpr std::size_t kLimit = 5;

  [[nodiscard]] bool limit_reached() const noexcept { return reported_ >= kLimit; }

  void report(std::string_view message) {
    if (limit_reached()) return;
    say(fmt::format("finance: {}\n", message));
    ++reported_;
  }

  void count(std::uint64_t rows, std::uint64_t failed_rows) noexcept {
    rows_ += rows;
    failed_rows_ += failed_rows;
  }

  // Says how many of what failed, if any.
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

// What a row that fails is to become.
enum class OnError : std::uint8_t {
  kNull,  // the results that failed are missing
  kText,  // they are the error's text
  kSkip,  // the row is left out
  kFail,  // the end: nothing of it and behind it is written
};

}  // namespace cli
