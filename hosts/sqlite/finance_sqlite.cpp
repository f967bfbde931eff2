// The SQLite extension: the functions finance and finance_try, the aggregates of cash flows, and
// the table of keywords. Error messages are part of the interface.
//
//   .load finance_sqlite
//   SELECT finance('PRICE', settle, maturity, coupon, yld, 100, 2, 'ACTUAL') FROM bonds;
#include <sqlite3ext.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <string>
#include <vector>

#include "hosts/call/module_loader.h"
#include "hosts/sql/flow_aggregates.h"
#include "hosts/sql/sql_call.h"
#include "hosts/sqlite/keywords_table.h"

SQLITE_EXTENSION_INIT1

namespace {

constexpr int kOldestSqlite = 3031000;  // the first version with innocuous functions

using host::Flow;
using host::FlowAggregate;
using host::SqlCall;
using host::Value;

// Calls a body that may throw: no exception leaves the extension.
void guarded(sqlite3_context* context, auto&& body) noexcept {
  try {
    body();
  } catch (const std::bad_alloc&) {
    sqlite3_result_error_nomem(context);
  } catch (const std::exception& error) {
    sqlite3_result_error(context, error.what(), -1);
  }
}

std::string_view text_of(sqlite3_value* value) noexcept {
  const auto* const text = reinterpret_cast<const char*>(sqlite3_value_text(value));
  return text == nullptr
             ? std::string_view()
             : std::string_view(text, static_cast<std::size_t>(sqlite3_value_bytes(value)));
}

Value value_of(sqlite3_value* value, catalog::ArgumentKind kind) noexcept {
  switch (sqlite3_value_type(value)) {
    case SQLITE_NULL:
      return {};
    case SQLITE_INTEGER:
    case SQLITE_FLOAT:
      return {.number = sqlite3_value_double(value)};
    case SQLITE_TEXT:
      return host::value_of_sql_text(text_of(value), kind);
    default:
      return {.word = "a blob", .kind = Value::Kind::kText};
  }
}

void set_result(sqlite3_context* context, const Value& result) {
  std::string date;
  if (result.is_date() && host::append_date(date, result.number)) {
    return sqlite3_result_text(context, date.data(), static_cast<int>(date.size()),
                               SQLITE_TRANSIENT);
  }
  sqlite3_result_double(context, result.number);  // NaN is NULL
}

// ---- finance, finance_try ----------------------------------------------------------------------

// The message is made only if it is reported.
void fail(sqlite3_context* context, auto&& make_message) {
  const bool null_on_error = sqlite3_user_data(context) != nullptr;
  if (null_on_error) return sqlite3_result_null(context);
  const std::string message = make_message();
  sqlite3_result_error(context, message.data(), static_cast<int>(message.size()));
}

void set_argument(SqlCall& call, std::size_t position, sqlite3_value* value) noexcept {
  switch (sqlite3_value_type(value)) {
    case SQLITE_NULL:
      return call.set_missing();
    case SQLITE_INTEGER:
    case SQLITE_FLOAT:
      return call.set_number(position, sqlite3_value_double(value));
    case SQLITE_TEXT:
      return call.set_text(position, text_of(value));
    default:
      return call.set_wrong_type(position);
  }
}

void evaluate(sqlite3_context* context, SqlCall& call, sqlite3_value** argv) {
  call.begin();
  for (std::size_t i = 1; i <= call.size(); ++i) set_argument(call, i, argv[i]);
  const host::CallResult result = call.run();
  if (result.ok()) return set_result(context, result.value);
  if (result.status == host::Status::kOutOfMemory) return sqlite3_result_error_nomem(context);
  fail(context, [&] {
    return call.error_message(result, [argv](std::size_t i, catalog::ArgumentKind kind) {
      return value_of(argv[i], kind);
    });
  });
}

void finance(sqlite3_context* context, int argc, sqlite3_value** argv) noexcept {
  guarded(context, [&] {
    if (argc > 0 && sqlite3_value_type(argv[0]) == SQLITE_NULL) return;  // NULL
    if (argc == 0) {
      return fail(context, [] { return "finance: the keyword is missing"; });
    }
    // SQLite keeps the auxiliary data of the keyword only if the keyword is a constant.
    if (auto* const known = static_cast<SqlCall*>(sqlite3_get_auxdata(context, 0))) {
      return evaluate(context, *known, argv);
    }
    const auto count = static_cast<std::size_t>(argc) - 1;
    const std::string_view word = text_of(argv[0]);
    if (const auto error = SqlCall::keyword_error(word, count)) {
      return fail(context, [&error] { return *error; });
    }
    auto call = std::make_unique<SqlCall>(host::loaded_module(), *catalog::find(word), count);
    evaluate(context, *call, argv);
    sqlite3_set_auxdata(context, 0, call.release(),
                        [](void* old) { delete static_cast<SqlCall*>(old); });
  });
}

// ---- Aggregates --------------------------------------------------------------------------------

struct Group {
  std::vector<Flow> flows;
  std::size_t bad = 0;  // number of invalid rows
};

const FlowAggregate& aggregate_of(sqlite3_context* context) noexcept {
  return *static_cast<const FlowAggregate*>(sqlite3_user_data(context));
}

// SQLite provides zeroed memory for a pointer; the group is created at the first row.
Group* group_of(sqlite3_context* context, bool make) {
  auto** const place =
      static_cast<Group**>(sqlite3_aggregate_context(context, make ? sizeof(void*) : 0));
  if (place == nullptr) {
    if (make) throw std::bad_alloc();
    return nullptr;
  }
  if (*place == nullptr && make) *place = new Group;
  return *place;
}

// The flow of a row, if it has one. An invalid row is counted and has no flow.
std::optional<Flow> flow_of(sqlite3_context* context, sqlite3_value** argv, std::size_t& bad) {
  using enum catalog::ArgumentKind;
  const FlowAggregate& aggregate = aggregate_of(context);
  const std::size_t count = aggregate.has_rate ? 3 : 2;
  Value values[3];
  for (std::size_t i = 0; i < count; ++i) {
    values[i] = value_of(argv[i], aggregate.is_dated && i + 1 == count ? kDate : kNumber);
  }
  host::FlowError error;
  const auto flow = host::flow_of(aggregate, {values, count}, error);
  if (!error.ok()) {
    ++bad;
    if (!aggregate.null_on_error) sqlite3_result_error(context, error.message.c_str(), -1);
  }
  return flow;
}

void step(sqlite3_context* context, int, sqlite3_value** argv) noexcept {
  guarded(context, [&] {
    Group& group = *group_of(context, true);
    if (const auto flow = flow_of(context, argv, group.bad)) group.flows.push_back(*flow);
  });
}

void inverse(sqlite3_context* context, int, sqlite3_value** argv) noexcept {
  guarded(context, [&] {
    Group& group = *group_of(context, true);
    std::size_t bad = 0;
    if (const auto flow = flow_of(context, argv, bad)) {
      const auto gone = std::ranges::find(group.flows, *flow);
      if (gone != group.flows.end()) group.flows.erase(gone);
    }
    group.bad -= std::min(bad, group.bad);
  });
}

void value(sqlite3_context* context) noexcept {
  guarded(context, [&] {
    const FlowAggregate& aggregate = aggregate_of(context);
    const Group* const group = group_of(context, false);
    if (group == nullptr || group->bad > 0) return;  // NULL
    host::FlowError error;
    const Value result = value_of_flows(aggregate, host::loaded_module(), group->flows, error);
    if (error.ok()) return set_result(context, result);
    if (!aggregate.null_on_error) sqlite3_result_error(context, error.message.c_str(), -1);
  });
}

void finalize(sqlite3_context* context) noexcept {
  value(context);
  auto** const place = static_cast<Group**>(sqlite3_aggregate_context(context, 0));
  if (place != nullptr) delete *place;
}

// ---- Registration ------------------------------------------------------------------------------

void version(sqlite3_context* context, int, sqlite3_value**) noexcept {
  guarded(context, [&] {
    const std::string text = host::versions(VXFNC_VERSION);
    sqlite3_result_text(context, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
  });
}

// Whether the connection already has these functions. SQLite does not replace functions while a
// statement runs.
bool is_registered(sqlite3* database) {
  sqlite3_stmt* statement = nullptr;
  sqlite3_prepare_v2(database, "SELECT finance_version()", -1, &statement, nullptr);
  const bool has_row = statement != nullptr && sqlite3_step(statement) == SQLITE_ROW;
  const bool same =
      has_row && text_of(sqlite3_column_value(statement, 0)) == host::versions(VXFNC_VERSION);
  sqlite3_finalize(statement);
  return same;
}

int register_all(sqlite3* database) {
  constexpr int kPure = SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS;
  static char gives_null;  // fail() returns NULL if the user data is not null
  const auto scalar = [&](const char* name, int arguments, void* data, auto* function) {
    return sqlite3_create_function_v2(database, name, arguments, kPure, data, function, nullptr,
                                      nullptr, nullptr);
  };
  int status = scalar("finance", -1, nullptr, finance);
  if (status == SQLITE_OK) status = scalar("finance_try", -1, &gives_null, finance);
  for (const FlowAggregate& aggregate : host::kFlowAggregates) {
    if (status != SQLITE_OK) break;
    status = sqlite3_create_window_function(
        database, aggregate.name.data(), aggregate.has_rate ? 3 : 2, kPure,
        const_cast<FlowAggregate*>(&aggregate), step, finalize, value, inverse, nullptr);
  }
  if (status == SQLITE_OK) status = register_keywords_table(database);
  if (status != SQLITE_OK) return status;
  // Registered last: a connection that has it has all functions. It is not deterministic, so that
  // no index can use it.
  return sqlite3_create_function_v2(database, "finance_version", 0, SQLITE_UTF8 | SQLITE_INNOCUOUS,
                                    nullptr, version, nullptr, nullptr, nullptr);
}

int load(sqlite3* database, char** error, const sqlite3_api_routines* api) {
  const auto fail_to_load = [&](const char* message) {
    *error = api->mprintf("finance: %s", message);
    return SQLITE_ERROR;
  };
  if (api->libversion_number() < kOldestSqlite)
    return fail_to_load("SQLite 3.31 or newer is required");
  try {
    host::loaded_module();
    // Written once per process, because other connections may already call the functions.
    static std::once_flag first;
    std::call_once(first, [&] { SQLITE_EXTENSION_INIT2(api); });
    if (sqlite3_api != api)
      return fail_to_load("another copy of SQLite in this process already uses the extension");
    const int status = register_all(database);
    if (status == SQLITE_OK) return status;
    const std::string message = sqlite3_errmsg(database);
    if (status == SQLITE_BUSY && is_registered(database)) return SQLITE_OK;
    return fail_to_load(message.c_str());
  } catch (const std::exception& reason) {
    return fail_to_load(reason.what());
  }
}

}  // namespace

#define EXPORTED extern "C" [[gnu::visibility("default")]]

// The entry point, which SQLite finds for every file name. SQLite loads extensions with global
// symbols, so a call of this name could reach another extension.
EXPORTED int sqlite3_extension_init(sqlite3* database, char** error,
                                    const sqlite3_api_routines* api) {
  return load(database, error, api);
}

// The entry point that registers the functions for this and all later connections of the process.
EXPORTED int sqlite3_finance_everywhere_init(sqlite3* database, char** error,
                                             const sqlite3_api_routines* api) {
  int status = load(database, error, api);
  if (status == SQLITE_OK) {
    status = sqlite3_auto_extension(reinterpret_cast<void (*)()>(load));
  }
  return status == SQLITE_OK ? SQLITE_OK_LOAD_PERMANENTLY : status;
}
