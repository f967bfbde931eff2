// How far a long job has come, on standard error when that is a terminal.
#pragma once

#include <chrono>
#include <cstdint>

namespace cli {

class Progress {
 public:
  // Of bytes in all, 0 if that is not known. Rows that go to standard output may share the
  // terminal: then nothing is shown.
  Progress(std::uint64_t bytes_in_all, bool shares_terminal);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void advance(std::uint64_t rows, std::uint64_t bytes_so_far);

  // Takes the line away, so that something else can be written.
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
