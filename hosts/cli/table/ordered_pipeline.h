// Many threads work on blocks. Results are in the order of the blocks.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace cli {

// Each thread has an item and repeats three steps. read(item): one thread at a time, until it
// returns false. work(item): all threads at once. write(item): one thread at a time, in the order
// of the reads. So there is one item in memory per thread, and no result waits for more input. The
// first exception stops all threads and is rethrown. If read threw it, the items that were read
// before are written first. After any other exception, stop() must make a read that is waiting
// return. Runs on fewer threads when the system has no more.
void ordered_pipeline(auto& items, auto&& read, auto&& work, auto&& write, auto&& stop) {
  std::mutex reading;
  std::mutex writing;
  std::condition_variable turn;
  std::uint64_t blocks_read = 0;
  std::uint64_t blocks_written = 0;
  std::atomic<bool> at_end = false;
  bool stopped = false;  // guarded by writing
  std::exception_ptr read_error;
  std::exception_ptr error;

  const auto worker_loop = [&](auto& item) {
    for (;;) {
      std::uint64_t number = 0;
      {
        const std::lock_guard lock(reading);
        if (at_end) return;
        try {
          if (!read(item)) at_end = true;
        } catch (...) {
          read_error = std::current_exception();
          at_end = true;
        }
        if (at_end) return;
        number = blocks_read++;
      }
      std::exception_ptr failure;
      try {
        work(item);
      } catch (...) {
        failure = std::current_exception();
      }
      std::unique_lock lock(writing);
      turn.wait(lock, [&] { return stopped || blocks_written == number; });
      if (stopped) return;
      try {
        if (failure) std::rethrow_exception(failure);
        write(item);
      } catch (...) {
        error = std::current_exception();
        stopped = at_end = true;
        stop();
      }
      ++blocks_written;
      lock.unlock();
      turn.notify_all();
    }
  };

  std::vector<std::jthread> threads;
  try {
    for (std::size_t i = 1; i < items.size(); ++i) {
      threads.emplace_back([&, i] { worker_loop(items[i]); });
    }
  } catch (const std::system_error&) {  // the threads that have started do the work
  }
  worker_loop(items.front());
  threads.clear();
  if (error) std::rethrow_exception(error);
  if (read_error) std::rethrow_exception(read_error);
}

}  // namespace cli
