#include "hosts/cli/io/progress.h"

#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>

#include "hosts/cli/io/diagnostics.h"

namespace cli {
namespace {

// "12.3 M"
std::string rounded(double count) {
  if (count >= 1e6) return fmt::format("{:.1f} M", count / 1e6);
  if (count >= 1e4) return fmt::format("{:.0f} k", count / 1e3);
  return fmt::format("{:.0f}", count);
}

}  // namespace

Progress::Progress(std::uint64_t bytes_in_all, bool shares_terminal)
    : bytes_in_all_(bytes_in_all),
      is_wanted_(::isatty(STDERR_FILENO) != 0 &&
                 !(shares_terminal && ::isatty(STDOUT_FILENO) != 0)) {}

Progress::~Progress() { clear(); }

void Progress::clear() {
  if (is_shown_) say("\r\033[K");
  is_shown_ = false;
}

void Progress::advance(std::uint64_t rows, std::uint64_t bytes_so_far) {
  rows_ += rows;
  if (!is_wanted_ || Clock::now() < next_) return;
  const auto now = Clock::now();
  next_ = now + std::chrono::milliseconds(200);
  is_shown_ = true;
  const double seconds = std::chrono::duration<double>(now - started_).count();
  const auto rows_read = static_cast<double>(rows_);
  std::string line =
      fmt::format("{} rows, {} rows/s", rounded(rows_read), rounded(rows_read / seconds));
  if (bytes_in_all_ > 0 && bytes_so_far > 0) {
    constexpr int kWidth = 30;
    const double share =
        std::min(1.0, static_cast<double>(bytes_so_far) / static_cast<double>(bytes_in_all_));
    const int filled = static_cast<int>(share * kWidth);
    const auto left = static_cast<long>(seconds / share - seconds);
    line = fmt::format("[{:=<{}}{: <{}}] {:3.0f} %, {}, {}:{:02} left", "", filled, "",
                       kWidth - filled, 100 * share, line, left / 60, left % 60);
  }
  winsize window{};  // a wrapped line could not be erased
  if (::ioctl(STDERR_FILENO, TIOCGWINSZ, &window) == 0 && window.ws_col > 0) {
    line.resize(std::min<std::size_t>(line.size(), window.ws_col - 1U));
  }
  say(fmt::format("\r{}\033[K", line));
}

}  // namespace cli
