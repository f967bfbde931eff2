// Evaluates a call for each row of columns or for each group of lists, with any number of threads.
#include <pthread.h>
#include <signal.h>

#include <atomic>
#include <bit>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <limits>
#include <mutex>
#include <numeric>
#include <span>
#include <thread>

#include "kernel/compensated_sum.h"
#include "kernel/internal.h"

namespace vxkernel {
namespace {

constexpr std::int64_t kRowsAtOnce = 256;  // rows that are read into buffers before evaluation
// A thread takes this many rows or groups at a time. Both are multiples of 64, so that threads
// never write to the same byte of a bitmap.
constexpr std::int64_t kRowsPerChunk = 4096;
constexpr std::int64_t kGroupsPerChunk = 64;
constexpr double kDayZeroOfDate32 = 3653;   // 1 January 1970
constexpr double kDaysOfCalendar = 700000;  // dates this close to 1960 have years of four digits
constexpr std::int64_t kMaxThreads = 256;
// Calls with fewer flows than this end soon, even if they search for a rate.
constexpr std::size_t kFlowsToWatch = 20'000;
constexpr std::int64_t kMaxSlots = std::numeric_limits<std::int32_t>::max() - 1;

bool is_missing(double value) noexcept { return value != value; }

// ---- Reading columns ---------------------------------------------------------------------------

template <class T>
void convert(const std::byte* from, std::int64_t stride, std::int64_t count, double plus,
             double* to) noexcept {
  const auto at = [from](std::int64_t distance) {
    T value;
    std::memcpy(&value, from + distance, sizeof value);
    return static_cast<double>(value);
  };
  if (stride == sizeof(T)) {  // the compiler vectorises this loop
    constexpr auto kSize = static_cast<std::int64_t>(sizeof(T));
    for (std::int64_t i = 0; i < count; ++i) to[i] = at(i * kSize) + plus;
  } else {
    for (std::int64_t i = 0; i < count; ++i) to[i] = at(i * stride) + plus;
  }
}

bool has_bit(const std::uint8_t* bits, std::int64_t i) noexcept {
  return bits == nullptr || (bits[i / 8] >> (i % 8) & 1) != 0;
}

// Reads rows as doubles; missing values become NaN. Returns the buffer, or a pointer into the
// column if its values can be used without a copy.
const double* read(const vxk_column& column, std::int64_t row, std::int64_t count,
                   double* buffer) noexcept {
  const std::int64_t first = column.stride == 0 ? 0 : column.offset + row;
  const auto* const from = static_cast<const std::byte*>(column.values) + first * column.stride;
  const bool is_aligned = reinterpret_cast<std::uintptr_t>(from) % alignof(double) == 0;
  if (column.type == VXK_FLOAT64 && column.stride == sizeof(double) && column.validity == nullptr &&
      is_aligned) {
    return reinterpret_cast<const double*>(from);
  }
  switch (column.type) {
    case VXK_FLOAT64:
      convert<double>(from, column.stride, count, -0.0, buffer);
      break;
    case VXK_FLOAT32:
      convert<float>(from, column.stride, count, -0.0, buffer);
      break;
    case VXK_INT64:
      convert<std::int64_t>(from, column.stride, count, 0.0, buffer);
      break;
    case VXK_INT32:
      convert<std::int32_t>(from, column.stride, count, 0.0, buffer);
      break;
    default:
      convert<std::int32_t>(from, column.stride, count, kDayZeroOfDate32, buffer);
      break;
  }
  if (column.validity != nullptr) {
    const std::int64_t step = column.stride == 0 ? 0 : 1;
    const std::int64_t first_bit = column.offset + step * row;
    for (std::int64_t i = 0; i < count; ++i) {
      if (!has_bit(column.validity, first_bit + step * i)) buffer[i] = vxfnc::MISSING;
    }
  }
  return buffer;
}

// Copies the caller's array of columns. The caller's structures may be shorter or longer than ours,
// but must all have the same size. Returns an empty vector if a size is wrong.
std::vector<vxk_column> columns_of(const vxk_column* columns, std::size_t count) {
  std::vector<vxk_column> own;
  constexpr std::size_t kMinSize = offsetof(vxk_column, is_list);
  if (count > 0 && (columns == nullptr || columns->size < kMinSize || columns->size % 8 != 0)) {
    return own;
  }
  const auto* at = reinterpret_cast<const std::byte*>(columns);
  for (std::size_t i = 0; i < count; ++i) {
    own.push_back(sized(reinterpret_cast<const vxk_column*>(at)));
    if (own.back().size != columns->size) return {};
    at += columns->size;
  }
  return own;
}

bool is_readable(const vxk_column& column) noexcept {
  return column.values != nullptr && column.type >= VXK_FLOAT64 && column.type <= VXK_DATE32 &&
         column.offset >= 0;
}

// ---- Results -----------------------------------------------------------------------------------

struct Failure {
  std::int64_t row = std::numeric_limits<std::int64_t>::max();
  int status = VXK_OK;
  std::int32_t argument = 0;
};

struct Tally {
  std::int64_t failed = 0;
  std::int64_t missing = 0;
  Failure first;

  void fail(const Failure& failure) noexcept {
    ++failed;
    if (failure.row < first.row) first = failure;
  }
  void add(const Tally& other) noexcept {
    failed += other.failed;
    missing += other.missing;
    if (other.first.row < first.row) first = other.first;
  }
};

// Writes the bits of consecutive rows, 64 rows at a time.
class Bitmap {
 public:
  Bitmap(std::uint8_t* bytes, std::int64_t row) noexcept : at_(bytes), bit_(0) {
    if (at_ != nullptr) at_ += row / 8;
  }
  void add(bool is_set) noexcept {
    bits_ |= std::uint64_t{is_set} << bit_;
    if (++bit_ == 64) write();
  }
  void write() noexcept {
    static_assert(std::endian::native == std::endian::little);
    const auto bytes = static_cast<std::size_t>((bit_ + 7) / 8);
    if (at_ != nullptr) at_ = static_cast<std::uint8_t*>(std::memcpy(at_, &bits_, bytes)) + bytes;
    bits_ = 0;
    bit_ = 0;
  }

 private:
  std::uint8_t* at_;
  std::uint64_t bits_ = 0;
  int bit_;
};

struct CallResult {
  int status = VXK_OK;
  double value = 0.0;
  std::int32_t argument = 0;

  // Fills the result in place: a copy would add a tenth to the time of a short call.
  void run(vxk_call& call) noexcept { status = call.run(&value, &argument); }
};

// Stores the results of one chunk of rows and counts its missing and failed rows.
class Output {
 public:
  Output(const vxk_results& results, std::int64_t row, Tally& tally) noexcept
      : values_(results.values),
        has_bits_(results.validity != nullptr || results.failures != nullptr),
        validity_(results.validity, row),
        failures_(results.failures, row),
        tally_(tally) {}

  void store(std::int64_t row, double value) noexcept {
    values_[row] = value;
    if (has_bits_) add_bits(true, false);
  }
  void miss(std::int64_t row) noexcept {
    values_[row] = vxfnc::MISSING;
    ++tally_.missing;
    if (has_bits_) add_bits(false, false);
  }
  void fail(const Failure& failure) noexcept {
    values_[failure.row] = vxfnc::MISSING;
    tally_.fail(failure);
    if (has_bits_) add_bits(false, true);
  }
  // Stores the result or the failure of a call. Returns false if the call failed.
  bool store(std::int64_t row, const CallResult& result, auto&& column_of) noexcept {
    const auto& [status, value, argument] = result;
    if (status == VXK_OK && std::isfinite(value)) [[likely]] {
      store(row, value);
      return true;
    }
    fail(status == VXK_OK ? Failure{row, VXK_NOT_FINITE, 0}
                          : Failure{row, status, column_of(argument)});
    return false;
  }
  void finish() noexcept {
    validity_.write();
    failures_.write();
  }

 private:
  void add_bits(bool is_valid, bool is_failure) noexcept {
    validity_.add(is_valid);
    failures_.add(is_failure);
  }

  double* values_;
  bool has_bits_;
  Bitmap validity_;
  Bitmap failures_;
  Tally& tally_;
};

// ---- Many threads ------------------------------------------------------------------------------

bool is_set(const volatile std::int32_t* flag) noexcept {
  return flag != nullptr && __atomic_load_n(flag, __ATOMIC_RELAXED) != 0;
}

// Blocks all signals of the calling thread. A thread that is created meanwhile starts with all
// signals blocked, so that the signals of a program, for example a database server, go to its own
// threads.
class SignalsBlocked {
 public:
  SignalsBlocked() noexcept {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;

 private:
  sigset_t before_;
};

// Evaluates a call on a thread of its own, and reads the flag until the call ends. When the flag is
// set, the memory of the call is overwritten, which ends a search at its next step. This is
// repeated, because a call may still be filling its memory. Returns false if the flag was set; the
// result then has no meaning.
bool run_until_cancelled(vxk_call& call, const volatile std::int32_t* cancel, CallResult& result) {
  constexpr std::chrono::milliseconds kInterval{10};
  CallMemory memory;
  std::mutex mutex;
  std::condition_variable end;
  bool has_ended = false;
  std::jthread thread;
  try {
    const SignalsBlocked blocked;
    thread = std::jthread([&] {
      call_memory = &memory;
      result.run(call);
      const std::lock_guard lock(mutex);
      has_ended = true;
      end.notify_one();
    });
  } catch (const std::exception&) {  // continue without a thread
    result.run(call);
    return true;
  }
  bool is_cancelled = false;
  std::unique_lock lock(mutex);
  while (!end.wait_for(lock, kInterval, [&has_ended] { return has_ended; })) {
    is_cancelled = is_cancelled || is_set(cancel);
    if (is_cancelled) memory.overwrite();
  }
  return !is_cancelled;
}

// Distributes chunks of rows to the workers, each of which runs in its own thread.
// worker.evaluate(first, last, tally) evaluates one chunk; it returns false if the evaluation was
// cancelled. Returns the status of the whole evaluation.
template <class Worker>
int run(std::vector<Worker>& workers, std::int64_t rows, std::int64_t chunk,
        const vxk_options& options, Tally& total) {
  std::atomic<std::int64_t> next{0};
  std::atomic<std::int64_t> end{rows};  // no new chunk begins at or after this row
  std::atomic<bool> cancelled{false};
  std::vector<Tally> tallies(workers.size());
  const auto work = [&](std::size_t i) {
    for (;;) {
      const std::int64_t first = next.fetch_add(chunk, std::memory_order_relaxed);
      if (first >= end.load(std::memory_order_relaxed)) return;
      if (!workers[i].evaluate(first, std::min(first + chunk, rows), tallies[i])) {
        cancelled = true;
        end = 0;
      } else if (options.stop_at_failure != 0 && tallies[i].failed > 0) {
        // Other threads may still be evaluating earlier rows, and must complete them: the report
        // contains the first row that fails. Rows after this failure need not be evaluated.
        std::int64_t known = end;
        while (tallies[i].first.row < known &&
               !end.compare_exchange_weak(known, tallies[i].first.row)) {
        }
        return;
      }
    }
  };
  {
    std::vector<std::jthread> threads;
    try {
      const SignalsBlocked blocked;
      for (std::size_t i = 1; i < workers.size(); ++i) threads.emplace_back(work, i);
    } catch (const std::exception&) {  // continue with the threads that exist
    }
    work(0);
  }
  for (const Tally& tally : tallies) total.add(tally);
  if (cancelled) return VXK_CANCELLED;
  return options.stop_at_failure != 0 && total.failed > 0 ? VXK_FAILED : VXK_OK;
}

std::size_t thread_count(const vxk_options& options, std::int64_t rows, std::int64_t chunk) {
  const std::int64_t useful = std::max<std::int64_t>((rows + chunk - 1) / chunk, 1);
  return static_cast<std::size_t>(
      std::clamp<std::int64_t>(options.threads, 1, std::min(useful, kMaxThreads)));
}

// ---- Columns -----------------------------------------------------------------------------------

class ColumnWorker {
 public:
  // The first worker uses the caller's call. Each other worker makes its own copy.
  ColumnWorker(vxk_call& call, const std::vector<vxk_column>& columns, const vxk_results& results,
               const vxk_options& options, bool is_first)
      : own_(is_first ? nullptr : std::make_unique<vxk_call>(call)),
        call_(is_first ? &call : own_.get()),
        results_(&results),
        options_(&options) {
    for (std::size_t i = 0; i < columns.size(); ++i) {
      if (columns[i].values == nullptr) {
        is_always_missing_ |= call_->texts[i] == nullptr && is_missing(call_->numbers[i]);
        continue;
      }
      if (columns[i].stride == 0) {
        double value = 0.0;
        call_->set_number(i, *read(columns[i], 0, 1, &value));
        is_always_missing_ |= is_missing(call_->numbers[i]);
      } else {
        call_->set_number(i, 0.0);
        inputs_.push_back({&columns[i], i});
      }
    }
    buffers_.resize(inputs_.size() * kRowsAtOnce);
  }

  bool evaluate(std::int64_t first, std::int64_t last, Tally& tally) noexcept {
    Output output(*results_, first, tally);
    bool is_done = true;
    while (first < last && is_done) {
      const std::int64_t end = std::min(first + kRowsAtOnce, last);
      is_done = evaluate_block(first, end, output);
      if (options_->stop_at_failure != 0 && tally.failed > 0) break;
      first = end;
    }
    output.finish();
    return is_done;
  }

 private:
  struct Input {
    const vxk_column* column;
    std::size_t index;               // of the argument
    const double* values = nullptr;  // of the current block
  };

  // Returns false if the evaluation was cancelled.
  bool evaluate_block(std::int64_t first, std::int64_t last, Output& output) noexcept {
    // A constant number of columns saves a tenth of the time of a short call.
    switch (inputs_.size()) {
      case 1:
        return evaluate_block(first, last, output, std::integral_constant<std::size_t, 1>());
      case 2:
        return evaluate_block(first, last, output, std::integral_constant<std::size_t, 2>());
      case 3:
        return evaluate_block(first, last, output, std::integral_constant<std::size_t, 3>());
      default:
        return evaluate_block(first, last, output, inputs_.size());
    }
  }

  bool evaluate_block(std::int64_t first, std::int64_t last, Output& output, auto count) noexcept {
    for (std::size_t k = 0; k < inputs_.size(); ++k) {
      inputs_[k].values = read(*inputs_[k].column, first, last - first, &buffers_[k * kRowsAtOnce]);
    }
    // Copies of members, which the compiler would read again after each call of the module.
    double* const numbers = call_->numbers.data();
    const std::span<const Input> inputs = inputs_;
    const volatile std::int32_t* const cancel = options_->cancel;
    const bool is_always_missing = is_always_missing_;
    for (std::int64_t i = 0; i < last - first; ++i) {
      if (is_set(cancel)) return false;
      bool has_missing = is_always_missing;
      // This loop also looks for missing values: it has to wait for memory anyway, so the test
      // costs little.
      for (std::size_t k = 0; k < count; ++k) {
        const double value = inputs[k].values[i];
        numbers[inputs[k].index] = value;
        has_missing |= is_missing(value);
      }
      if (has_missing) [[unlikely]] {
        output.miss(first + i);
        continue;
      }
      CallResult result;
      result.run(*call_);
      const bool is_good = output.store(first + i, result, [](std::int32_t at) { return at; });
      if (!is_good && options_->stop_at_failure != 0) break;
    }
    return true;
  }

  std::unique_ptr<vxk_call> own_;
  vxk_call* call_;
  const vxk_results* results_;
  const vxk_options* options_;
  std::vector<Input> inputs_;  // the columns whose values differ from row to row
  std::vector<double> buffers_;
  bool is_always_missing_ = false;
};

// ---- Lists -------------------------------------------------------------------------------------

// Thrown when the flag is set while the flows of a group are sorted.
struct Cancelled {};

class ListWorker {
 public:
  ListWorker(const vxk_call& call, const std::vector<vxk_column>& columns,
             const std::int64_t* offsets, const vxk_results& results, const vxk_options& options)
      : call_(std::make_unique<vxk_call>(call)),
        columns_(&columns),
        offsets_(offsets),
        results_(&results),
        options_(&options),
        values_(columns.size()) {
    for (std::size_t k = 0; k < columns.size(); ++k) {
      if (columns[k].is_list != 0) lists_.push_back(k);
    }
  }

  bool evaluate(std::int64_t first, std::int64_t last, Tally& tally) noexcept {
    Output output(*results_, first, tally);
    bool is_done = true;
    for (std::int64_t group = first; group < last; ++group) {
      is_done = !is_set(options_->cancel);
      if (!is_done) break;
      try {
        is_done = evaluate_group(group, output);
      } catch (const std::bad_alloc&) {
        output.fail({group, VXK_OUT_OF_MEMORY, 0});
      } catch (const Cancelled&) {
        is_done = false;
      }
      if (!is_done) break;
      if (options_->stop_at_failure != 0 && tally.failed > 0) break;
    }
    output.finish();
    return is_done;
  }

 private:
  // Returns false if the evaluation was cancelled.
  bool evaluate_group(std::int64_t group, Output& output) {
    const std::size_t count = prepare(group, output);
    if (count == 0) return true;
    CallResult result;
    if (count < kFlowsToWatch || options_->cancel == nullptr) {
      result.run(*call_);
    } else if (!run_until_cancelled(*call_, options_->cancel, result)) {
      return false;
    }
    output.store(group, result, [&](std::int32_t argument) -> std::int32_t {
      auto at = static_cast<std::size_t>(argument);
      for (std::size_t k = 0; k < columns_->size() && at > 0; ++k) {
        const std::size_t width = (*columns_)[k].is_list != 0 ? count : 1;
        if (at <= width) return static_cast<std::int32_t>(k + 1);
        at -= width;
      }
      return 0;
    });
    return true;
  }

  // Fills the call with the arguments of a group. Returns how many flows it has, or 0 if the group
  // is missing or fails without a call.
  std::size_t prepare(std::int64_t group, Output& output) {
    const auto miss = [&] { return output.miss(group), std::size_t{0}; };
    const auto fail = [&](int status, std::int32_t column) {
      return output.fail({group, status, column}), std::size_t{0};
    };
    const std::vector<vxk_column>& columns = *columns_;
    const std::int64_t first = offsets_[group];
    const auto flows = static_cast<std::size_t>(offsets_[group + 1] - first);
    if (flows > static_cast<std::size_t>(kMaxSlots)) return fail(VXK_OUT_OF_MEMORY, 0);
    for (std::size_t k = 0; k < columns.size(); ++k) {
      const bool is_list = columns[k].is_list != 0;
      values_[k].resize(is_list ? flows : 1);
      const auto count = static_cast<std::int64_t>(values_[k].size());
      const double* const from =
          read(columns[k], is_list ? first : group, count, values_[k].data());
      if (from != values_[k].data()) std::copy_n(from, count, values_[k].data());
      if (!is_list && is_missing(values_[k][0])) return miss();
    }
    std::int32_t incomplete = 0;
    const std::size_t present = drop_missing(flows, incomplete);
    if (incomplete > 0) return fail(VXK_FAILED, incomplete);
    const auto least = static_cast<std::size_t>(std::max(options_->min_flows, 1));
    if (present < least) return miss();
    const std::size_t count = options_->date_list > 0 ? sort_and_add(present) : present;

    const std::size_t arguments = lists_.size() * count + columns.size() - lists_.size();
    if (arguments > static_cast<std::size_t>(kMaxSlots)) return fail(VXK_OUT_OF_MEMORY, 0);
    if (arguments > call_->size()) call_->resize(std::max(arguments, 2 * call_->size()));
    call_->record()->count = static_cast<std::int32_t>(arguments + 1);
    double* to = call_->numbers.data();
    for (std::size_t k = 0; k < columns.size(); ++k) {
      to = std::copy_n(values_[k].data(), columns[k].is_list != 0 ? count : 1, to);
    }
    return count;
  }

  // Removes the flows whose value in the first list is missing. Returns how many flows remain. If a
  // remaining flow lacks a value in another list, `incomplete` becomes the number of that column,
  // from 1.
  std::size_t drop_missing(std::size_t flows, std::int32_t& incomplete) noexcept {
    std::size_t kept = 0;
    for (std::size_t i = 0; i < flows; ++i) {
      if (is_missing(values_[lists_[0]][i])) continue;
      for (const std::size_t k : lists_) {
        values_[k][kept] = values_[k][i];
        if (is_missing(values_[k][i]) && incomplete == 0) {
          incomplete = static_cast<std::int32_t>(k + 1);
        }
      }
      ++kept;
    }
    return kept;
  }

  // Sorts the flows by date and adds up the flows of each date. Returns how many flows remain.
  std::size_t sort_and_add(std::size_t count) {
    const auto by = static_cast<std::size_t>(options_->date_list) - 1;
    std::vector<double>& dates = values_[by];
    const auto is_out_of_order = [&dates](std::size_t i) { return !(dates[i - 1] < dates[i]); };
    std::size_t first = 1;
    while (first < count && !is_out_of_order(first)) ++first;
    if (first >= count) return count;

    sort_by(dates, count);
    const auto is_last_of_date = [&](std::size_t i) {
      return i + 1 == count || dates[order_[i]] != dates[order_[i + 1]];
    };
    sorted_.resize(count);
    for (const std::size_t k : lists_) {
      if (k == by) continue;
      std::size_t sums = 0;
      CompensatedSum sum;
      for_each_flow(count, [&](std::size_t i) {
        sum.add(values_[k][order_[i]]);
        if (!is_last_of_date(i)) return;
        sorted_[sums++] = sum.value();
        sum = {};
      });
      std::copy_n(sorted_.data(), sums, values_[k].data());
    }
    std::size_t days = 0;
    for_each_flow(count, [&](std::size_t i) {
      if (is_last_of_date(i)) sorted_[days++] = dates[order_[i]];
    });
    std::copy_n(sorted_.data(), days, dates.data());
    return days;
  }

  // Fills order_ with the indices of the flows, sorted by date; flows of the same date keep their
  // order. If the dates are whole days within a short span, which is the usual case, a counting
  // sort is used.
  void sort_by(const std::vector<double>& dates, std::size_t count) {
    order_.resize(count);
    const auto [low, high] =
        std::minmax_element(dates.begin(), dates.begin() + static_cast<std::ptrdiff_t>(count));
    const double earliest = *low;
    const double span = *high - earliest;
    const auto all = std::span(dates).first(count);
    if (!(span <= 4.0 * static_cast<double>(count) + 1024.0) ||
        !std::ranges::all_of(all, [](double date) { return date == std::trunc(date); })) {
      std::iota(order_.begin(), order_.end(), std::size_t{0});
      std::size_t comparisons = 0;
      std::ranges::stable_sort(order_, [&](std::size_t i, std::size_t j) {
        if (++comparisons % kFlowsToWatch == 0) check_cancel();
        return dates[i] < dates[j];
      });
      return;
    }
    starts_.assign(static_cast<std::size_t>(span) + 2, 0);
    const auto day = [&](std::size_t i) { return static_cast<std::size_t>(dates[i] - earliest); };
    for_each_flow(count, [&](std::size_t i) { ++starts_[day(i) + 1]; });
    std::partial_sum(starts_.begin(), starts_.end(), starts_.begin());
    for_each_flow(count, [&](std::size_t i) { order_[starts_[day(i)]++] = i; });
  }

  void check_cancel() const {
    if (is_set(options_->cancel)) throw Cancelled();
  }
  // Calls the function for each index below the count, unless the evaluation is cancelled.
  void for_each_flow(std::size_t count, auto&& function) const {
    for (std::size_t next = 0; next < count;) {
      check_cancel();
      const std::size_t end = std::min(count, next + kFlowsToWatch);
      for (; next < end; ++next) function(next);
    }
  }

  std::unique_ptr<vxk_call> call_;
  const std::vector<vxk_column>* columns_;
  const std::int64_t* offsets_;
  const vxk_results* results_;
  const vxk_options* options_;
  std::vector<std::size_t> lists_;           // the indices of the columns that are lists
  std::vector<std::vector<double>> values_;  // of the current group, one vector per column
  std::vector<double> sorted_;
  std::vector<std::size_t> order_;
  std::vector<std::size_t> starts_;
};

// ---- Reports -----------------------------------------------------------------------------------

// Describes the value of a column in a row for an error message.
std::string shown(const vxk_column& column, std::int64_t row) {
  double value = 0.0;
  value = *read(column, row, 1, &value);
  if (is_missing(value)) return "missing";
  char text[64];
  if (column.type == VXK_DATE32 && std::fabs(value) < kDaysOfCalendar) {
    using namespace std::chrono;
    const year_month_day date{sys_days{days{static_cast<int>(value - kDayZeroOfDate32)}}};
    std::snprintf(text, sizeof text, "invalid: %04d-%02u-%02u", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()));
  } else {
    std::snprintf(text, sizeof text, "invalid: %.15g", value);
  }
  return text;
}

// Fills the report. The message shows the value of the argument at fault, unless that is in a list
// or in the call itself.
void report(vxk_report* to, const Tally& tally, int status, const char* keyword,
            const std::vector<vxk_column>& columns) {
  if (to == nullptr) return;
  vxk_report filled{};
  filled.failed = tally.failed;
  filled.missing = tally.missing;
  filled.first.size = sizeof filled.first;
  const std::int64_t row = tally.first.row;
  const int why = tally.first.status;
  const std::int32_t argument = tally.first.argument;
  const auto set = [&](const char* format, auto... values) {
    set_error(&filled.first, why, row, argument, format, keyword, values...);
  };
  if (status == VXK_OUT_OF_MEMORY || status == VXK_BAD_PARAMETER) {
    const char* const text =
        status == VXK_OUT_OF_MEMORY ? "out of memory" : "a column, count or offset is invalid";
    set_error(&filled.first, status, 0, 0, "%s: %s", keyword, text);
  } else if (tally.failed > 0 && argument > 0) {
    const vxk_column& column = columns[static_cast<std::size_t>(argument) - 1];
    const std::string value =
        column.values == nullptr || column.is_list != 0 ? "invalid or missing" : shown(column, row);
    set("%s: argument %d is %s", argument, value.c_str());
  } else if (tally.failed > 0) {
    set(why == VXK_NOT_FINITE      ? "%s: the result is infinite or not a number"
        : why == VXK_OUT_OF_MEMORY ? "%s: out of memory"
                                   : "%s: the calculation has no result");
  }
  copy_sized(to, filled);
}

// Makes one worker per thread with make(), runs the workers and fills the report.
template <class Worker>
int evaluate(std::int64_t rows, std::int64_t chunk, const vxk_options* given, vxk_report* to,
             const char* keyword, const vxk_column* columns, std::size_t count, auto&& is_valid,
             auto&& make) noexcept {
  const vxk_options options = sized(given);
  Tally tally;
  int status = VXK_BAD_PARAMETER;
  std::vector<vxk_column> own;
  try {
    own = columns_of(columns, count);
    const bool is_sound = rows >= 0 && own.size() == count && options.threads >= 0 &&
                          options.date_list >= 0 && options.min_flows >= 0;
    if (is_sound && rows == 0) {
      status = VXK_OK;
    } else if (is_sound && is_valid(own, options)) {
      std::vector<Worker> workers;
      const std::size_t threads = thread_count(options, rows, chunk);
      workers.reserve(threads);
      for (std::size_t i = 0; i < threads; ++i) workers.push_back(make(own, options, i == 0));
      status = run(workers, rows, chunk, options, tally);
    }
    report(to, tally, status, keyword, own);
  } catch (const std::bad_alloc&) {
    status = VXK_OUT_OF_MEMORY;
    vxk_report filled{};
    filled.first = {sizeof filled.first, status, 0, 0, 0, "out of memory"};
    copy_sized(to, filled);
  }
  return status;
}

}  // namespace
}  // namespace vxkernel

using namespace vxkernel;

int vxk_evaluate_columns(vxk_call* call, const vxk_column* columns, int64_t rows,
                         const vxk_results* results, const vxk_options* options, vxk_report* to) {
  const vxk_results where = sized(results);
  const auto is_valid = [&](const std::vector<vxk_column>& own, const vxk_options&) {
    return where.values != nullptr && std::ranges::all_of(own, [](const vxk_column& column) {
             return column.values == nullptr || is_readable(column);
           });
  };
  return evaluate<ColumnWorker>(rows, kRowsPerChunk, options, to, call->keyword.utf8().c_str(),
                                columns, call->size(), is_valid,
                                [&](const auto& own, const vxk_options& chosen, bool is_first) {
                                  return ColumnWorker(*call, own, where, chosen, is_first);
                                });
}

int vxk_evaluate_lists(const vxk_kernel* kernel, const char* function, const char* keyword,
                       const vxk_column* columns, int32_t column_count, const int64_t* offsets,
                       int64_t groups, const vxk_results* results, const vxk_options* options,
                       vxk_report* to) {
  vxk_report failed{};
  failed.first.size = sizeof failed.first;
  vxk_call* call = nullptr;
  const int status = vxk_prepare(kernel, function, keyword, 0, &call, &failed.first);
  if (status != VXK_OK) {
    copy_sized(to, failed);
    return status;
  }
  const std::unique_ptr<vxk_call> owner(call);
  const vxk_results where = sized(results);
  const auto count = static_cast<std::size_t>(std::max(column_count, 0));
  const auto is_valid = [&](const std::vector<vxk_column>& own, const vxk_options& chosen) {
    const auto by = static_cast<std::size_t>(std::max(chosen.date_list, 0));
    return where.values != nullptr && std::ranges::all_of(own, is_readable) && by <= own.size() &&
           std::ranges::any_of(own, [](const vxk_column& column) { return column.is_list != 0; }) &&
           (by == 0 || own[by - 1].is_list != 0) && offsets[0] >= 0 &&
           std::is_sorted(offsets, offsets + groups + 1);
  };
  return evaluate<ListWorker>(groups, kGroupsPerChunk, options, to, keyword, columns, count,
                              is_valid, [&](const auto& own, const vxk_options& chosen, bool) {
                                return ListWorker(*call, own, offsets, where, chosen);
                              });
}
