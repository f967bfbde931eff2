#include "hosts/python/evaluation.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <exception>
#include <limits>
#include <mutex>
#include <system_error>
#include <thread>

#include "hosts/call/module_loader.h"
#include "hosts/python/python.h"

namespace finance_python {
namespace {

constexpr std::int64_t kBlockRows = 4096;  // a multiple of 8, so that no two blocks share a byte

double days_of(std::int64_t time, std::int64_t units_per_day) noexcept {
  constexpr std::int64_t kNotATime = std::numeric_limits<std::int64_t>::min();
  if (time == kNotATime) return std::numeric_limits<double>::quiet_NaN();
  const auto rest = static_cast<double>(time % units_per_day);
  const double midnight = static_cast<double>(time / units_per_day) + host::kUnixEpoch;
  if (rest == 0.0) return midnight;
  const double days = midnight + rest / static_cast<double>(units_per_day);
  // A time a few nanoseconds from midnight must not become midnight: it may be on the day before.
  if (days != std::trunc(days)) return days;
  return std::nextafter(days, midnight + std::copysign(0.5, rest));
}

// One argument of a block of rows.
class BlockColumn {
 public:
  explicit BlockColumn(const Column& column) : column_(column) {
    if (column.is_time()) days_.resize(kBlockRows);
  }

  [[nodiscard]] host::ColumnArgument read(std::int64_t first, std::int64_t rows) noexcept {
    host::ColumnArgument argument{column_.numbers};
    vxk_column& numbers = argument.column;
    const bool is_constant = numbers.stride == 0;
    const auto* const at = static_cast<const std::byte*>(numbers.values) + first * numbers.stride;
    numbers.values = at;
    if (!column_.is_time()) return argument;
    argument.is_in_calendar = convert_to_days(
        reinterpret_cast<const std::int64_t*>(at), numbers.stride, column_.units_per_day,
        std::span(days_).first(is_constant ? 1 : static_cast<std::size_t>(rows)));
    argument.column =
        is_constant ? vxkernel::constant(days_.data()) : vxkernel::column(days_.data());
    return argument;
  }

 private:
  const Column& column_;
  std::vector<double> days_;
};

}  // namespace

bool convert_to_days(const std::int64_t* times, std::int64_t stride, std::int64_t units_per_day,
                     std::span<double> days) noexcept {
  const auto* at = reinterpret_cast<const std::byte*>(times);
  constexpr auto kFirst = static_cast<std::int64_t>(host::kFirstDay) - host::kUnixEpoch;
  constexpr auto kLast = static_cast<std::int64_t>(host::kLastDay) - host::kUnixEpoch;
  bool is_in_calendar = true;
  const auto convert = [&](auto step, auto units) {
    for (double& day : days) {
      const std::int64_t time = *reinterpret_cast<const std::int64_t*>(at);
      if (units == 1 && time >= kFirst && time <= kLast) [[likely]] {
        day = static_cast<double>(time) + host::kUnixEpoch;
      } else {
        day = days_of(time, units);
        is_in_calendar &= !host::is_beyond_calendar(day);
      }
      at += step;
    }
  };
  constexpr std::int64_t kNanoseconds = 86'400'000'000'000;
  constexpr std::integral_constant<std::int64_t, sizeof(std::int64_t)> kNext;
  if (stride == kNext && units_per_day == 1) {
    convert(kNext, std::integral_constant<std::int64_t, 1>());
  } else if (stride == kNext && units_per_day == kNanoseconds) {
    convert(kNext, std::integral_constant<std::int64_t, kNanoseconds>());
  } else {
    convert(stride, units_per_day);
  }
  return is_in_calendar;
}

bool run_in_threads(int threads,
                    const std::function<void(const volatile std::int32_t*)>& function) {
  std::int32_t cancel = 0;
  std::mutex mutex;
  std::condition_variable ended;
  int running = 0;
  std::exception_ptr thrown;
  const auto run = [&] {
    std::exception_ptr own;
    try {
      function(&cancel);
    } catch (...) {
      own = std::current_exception();
    }
    const std::lock_guard lock(mutex);
    if (own != nullptr) thrown = own;
    --running;
    ended.notify_one();
  };
  std::vector<std::jthread> workers;
  workers.reserve(static_cast<std::size_t>(threads));
  for (int i = 0; i < threads; ++i) {
    {
      const std::lock_guard lock(mutex);
      ++running;
    }
    try {
      workers.emplace_back(run);
    } catch (const std::system_error&) {  // the system has no more threads
      if (workers.empty()) {
        run();
      } else {
        const std::lock_guard lock(mutex);
        --running;
      }
      break;
    }
  }
  bool is_interrupted = false;
  std::unique_lock lock(mutex);
  constexpr std::chrono::milliseconds kBetweenChecks(20);
  while (!ended.wait_for(lock, kBetweenChecks, [&] { return running == 0; })) {
    if (is_interrupted) continue;
    lock.unlock();
    const PyGILState_STATE state = take_lock(PyGILState_Ensure);
    is_interrupted = PyErr_CheckSignals() != 0;
    PyGILState_Release(state);
    if (is_interrupted) std::atomic_ref(cancel).store(1);
    lock.lock();
  }
  if (thrown != nullptr && !is_interrupted) std::rethrow_exception(thrown);
  return !is_interrupted;
}

host::ColumnReport evaluate(const catalog::Keyword& keyword, std::span<const Column> columns,
                            std::int64_t rows, double* results, std::uint8_t* failures,
                            int threads) {
  std::atomic<std::int64_t> next_block = 0;
  std::mutex mutex;
  host::ColumnReport all;
  const auto run = [&](const volatile std::int32_t* cancel) {
    host::CheckedCall call(host::loaded_module(), keyword, columns.size());
    std::vector<BlockColumn> blocks(columns.begin(), columns.end());
    std::vector<host::ColumnArgument> arguments(columns.size());
    host::ColumnReport own;
    while (!own.is_cancelled) {
      const std::int64_t first = kBlockRows * next_block.fetch_add(1);
      if (first >= rows) break;
      const std::int64_t count = std::min(kBlockRows, rows - first);
      std::ranges::transform(blocks, arguments.begin(),
                             [=](BlockColumn& block) { return block.read(first, count); });
      const host::ColumnReport block = host::evaluate_columns(
          call, arguments, count, results + first, failures + first / 8, 1, cancel);
      own.is_cancelled = block.is_cancelled;
      own.failed += block.failed;
      own.missing += block.missing;
    }
    const std::lock_guard lock(mutex);
    all.is_cancelled |= own.is_cancelled;
    all.failed += own.failed;
    all.missing += own.missing;
  };
  if (rows <= kBlockRows / 2) {
    run(nullptr);
    return all;
  }
  const std::int64_t blocks = (rows + kBlockRows - 1) / kBlockRows;
  const auto most = static_cast<int>(std::min<std::int64_t>(threads, blocks));
  if (!run_in_threads(std::max(most, 1), run)) all.is_cancelled = true;
  return all;
}

Explainer::Explainer(const catalog::Keyword& keyword, std::span<const Column> columns)
    : call_(host::loaded_module(), keyword, columns.size()), columns_(columns) {}

host::CheckedCall::Reason Explainer::reason(std::int64_t row) {
  std::vector<BlockColumn> blocks(columns_.begin(), columns_.end());
  std::vector<host::ColumnArgument> arguments;
  for (BlockColumn& block : blocks) arguments.push_back(block.read(row, 1));
  const std::vector<host::Value> values = host::values_at(call_, arguments, 0);
  return call_.reason(call_.run(values), values);
}

}  // namespace finance_python
