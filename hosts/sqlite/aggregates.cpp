#include "hosts/sqlite/aggregates.h"

#include <pthread.h>
#include <signal.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <future>
#include <system_error>

#include "hosts/call/module_loader.h"
#include "hosts/sql/flow_aggregates.h"
#include "hosts/sqlite/sqlite_values.h"

using namespace finance_sqlite;

namespace {

using host::Flow;
using host::FlowAggregate;
using host::FlowGroup;
using host::FlowSum;
using host::Value;

// An aggregate as an SQL function.
struct FlowFunction {
  const FlowAggregate* aggregate;
  bool null_on_error;
};

constexpr auto kFlowFunctions = [] {
  std::array<FlowFunction, 2 * host::kFlowAggregates.size()> functions{};
  for (std::size_t i = 0; i < functions.size(); ++i) {
    functions[i] = {&host::kFlowAggregates[i / 2], i % 2 == 1};
  }
  return functions;
}();

const FlowFunction& function_of(sqlite3_context* context) noexcept {
  return *static_cast<const FlowFunction*>(sqlite3_user_data(context));
}

void fail(sqlite3_context* context, const host::FlowError& error) {
  const FlowFunction& function = function_of(context);
  if (function.null_on_error) return;
  set_error(context, std::string(function.aggregate->name) + ": " + error.message);
}

// The group is the zeroed memory that SQLite provides.
FlowGroup& group_of(sqlite3_context* context) {
  void* const group = sqlite3_aggregate_context(context, sizeof(FlowGroup));
  if (group == nullptr) throw std::bad_alloc();
  return *static_cast<FlowGroup*>(group);
}

// Null if the group has no rows.
FlowGroup* known_group_of(sqlite3_context* context) noexcept {
  return static_cast<FlowGroup*>(sqlite3_aggregate_context(context, 0));
}

void make_room(FlowGroup& group) {
  if (host::has_room(group, 1)) return;
  const std::uint64_t room = host::room_for(group, 1);
  auto* const sums = static_cast<FlowSum*>(sqlite3_malloc64(room * sizeof(FlowSum)));
  if (sums == nullptr) throw std::bad_alloc();
  FlowSum* const old = group.sums;
  host::move_to(group, sums, room);
  sqlite3_free(old);
}

// Returns false for a row without a flow, which is invalid if there is an error.
bool read_row(sqlite3_context* context, sqlite3_value** argv, Flow& flow, host::FlowError& error) {
  using enum catalog::ArgumentKind;
  const FlowAggregate& aggregate = *function_of(context).aggregate;
  const auto parameters = aggregate.parameters();
  std::array<Value, 4> values;
  for (std::size_t i = 0; i < parameters.size(); ++i) {
    const bool is_date = parameters[i].role == host::FlowParameter::Role::kDate;
    values[i] = value_of(argv[i], is_date ? kDate : kNumber);
  }
  return host::read_flow(aggregate, std::span(values).first(parameters.size()), flow, error);
}

void step(sqlite3_context* context, int, sqlite3_value** argv) noexcept {
  guarded(context, [&] {
    FlowGroup& group = group_of(context);
    Flow flow;
    host::FlowError error;
    if (read_row(context, argv, flow, error)) {
      make_room(group);
      host::add(group, flow);
    } else if (!error.ok()) {
      ++group.invalid;
      fail(context, error);
    }
  });
}

// Removes the row that leaves the frame of a window.
void inverse(sqlite3_context* context, int, sqlite3_value** argv) noexcept {
  guarded(context, [&] {
    FlowGroup& group = group_of(context);
    Flow flow;
    host::FlowError error;
    if (read_row(context, argv, flow, error)) {
      host::remove(group, flow);
    } else if (!error.ok()) {
      group.invalid -= std::min<std::uint64_t>(group.invalid, 1);
    }
  });
}

// ---- Interrupts --------------------------------------------------------------------------------

// Finds out whether the running statement of a connection was interrupted, by sqlite3_interrupt or
// by a progress handler: both also end another statement, which this class runs in steps. If the
// connection does not allow this statement, no interrupt is found.
class InterruptProbe {
 public:
  explicit InterruptProbe(sqlite3* database) {
    constexpr const char* kEndless =
        "WITH RECURSIVE probe(i) AS (SELECT 1 UNION ALL SELECT 1 FROM probe) SELECT i FROM probe";
    status_ = sqlite3_prepare_v2(database, kEndless, -1, &statement_, nullptr);
    if (status_ == SQLITE_NOMEM) throw std::bad_alloc();
  }
  ~InterruptProbe() { sqlite3_finalize(statement_); }
  InterruptProbe(const InterruptProbe&) = delete;
  InterruptProbe& operator=(const InterruptProbe&) = delete;

  bool is_interrupted() noexcept {
    // A step is 15 instructions of SQLite. Progress handlers are called after a number of
    // instructions.
    constexpr int kSteps = 100;
    for (int i = 0; i < kSteps && (status_ == SQLITE_OK || status_ == SQLITE_ROW); ++i) {
      status_ = sqlite3_step(statement_);
    }
    return status_ == SQLITE_INTERRUPT;
  }

 private:
  sqlite3_stmt* statement_ = nullptr;
  int status_;
};

// Calls a function on a thread that receives no signals. Throws std::system_error.
auto call_on_thread(auto&& function) {
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  struct Restore {
    const sigset_t& mask;
    ~Restore() { pthread_sigmask(SIG_SETMASK, &mask, nullptr); }
  } const restore{before};
  return std::async(std::launch::async, function);
}

// The value of a group for which the calculation can take long. The statement can be interrupted
// meanwhile.
Value value_of_large_group(sqlite3_context* context, const FlowGroup& group,
                           host::FlowError& error) {
  constexpr std::chrono::milliseconds kInterval{20};
  InterruptProbe probe(sqlite3_context_db_handle(context));
  if (probe.is_interrupted()) {  // SQLite finalizes the aggregates of a statement that it ends
    error.status = host::Status::kCancelled;
    return {};
  }
  std::int32_t stop = 0;
  const FlowAggregate& aggregate = *function_of(context).aggregate;
  const auto calculate = [&] {
    return host::value_of_flows(aggregate, host::loaded_module(), group, &stop, error);
  };
  std::future<Value> value;
  try {
    value = call_on_thread(calculate);
  } catch (const std::system_error&) {  // continue without a thread
    return calculate();
  }
  while (value.wait_for(kInterval) != std::future_status::ready) {
    if (probe.is_interrupted()) __atomic_store_n(&stop, 1, __ATOMIC_RELAXED);
  }
  const Value result = value.get();
  if (stop != 0) error.status = host::Status::kCancelled;
  return result;
}

void value(sqlite3_context* context) noexcept {
  constexpr std::uint64_t kLarge = 20'000;  // sums; the calculation takes more than 10 ms
  guarded(context, [&] {
    const FlowGroup* const group = known_group_of(context);
    if (group == nullptr || group->invalid > 0) return;  // NULL
    host::FlowError error;
    const Value result = group->live > kLarge
                             ? value_of_large_group(context, *group, error)
                             : host::value_of_flows(*function_of(context).aggregate,
                                                    host::loaded_module(), *group, nullptr, error);
    if (error.status == host::Status::kOutOfMemory) throw std::bad_alloc();
    if (error.status == host::Status::kCancelled) {
      return sqlite3_result_error_code(context, SQLITE_INTERRUPT);
    }
    if (!error.ok()) return fail(context, error);
    set_result(context, result);
  });
}

void finalize(sqlite3_context* context) noexcept {
  value(context);
  if (const FlowGroup* const group = known_group_of(context)) sqlite3_free(group->sums);
}

}  // namespace

int register_aggregates(sqlite3* database) {
  constexpr int kPure = SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS;
  for (const FlowFunction& function : kFlowFunctions) {
    const FlowAggregate& aggregate = *function.aggregate;
    const std::string name =
        function.null_on_error ? host::try_name(aggregate.name) : std::string(aggregate.name);
    const int status = sqlite3_create_window_function(
        database, name.c_str(), static_cast<int>(aggregate.parameter_count), kPure,
        const_cast<FlowFunction*>(&function), step, finalize, value, inverse, nullptr);
    if (status != SQLITE_OK) return status;
  }
  return SQLITE_OK;
}
