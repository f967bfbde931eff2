// The progress of a long job, on standard error when it is a terminal.
#pragma once

#include <chrono>
#include <cstdint>

namespace cli {

class Progress {
 public:
  // bytes_in_all is the size of the input, or 0 when the size is not known. Shows nothing when
  // standard output shares the terminal.
  Progress(std::uint64_t bytes_in_all, bool shares_terminal);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void advance(std::uint64_t rows, std::uint64_t bytes_so_far);

  // Erases the line, so that another text can be written.
  void clear();

 private:
  using Clock = std::chrono::steady_clock;
  std::uint64_t bytes_in_all_;
  std::uint64_t rows_ = 0;
  bool is_wanted_;
  bool is_shown_ = false;
  Clock::time_point started_ = Clock::now();
  Clock::time_point next_ = started_ + std::chrono::seconds(1);
};

}  // namespace cli
