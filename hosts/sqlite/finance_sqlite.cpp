// The SQLite extension: the functions finance, finance_try and finance_error, the functions of
// single keywords, the aggregates of cash flows, and the table of keywords. Error messages are part
// of the interface.
//
//   .load finance_sqlite
//   SELECT finance('PRICE', settle, maturity, coupon, yld, 100, 2, 'ACTUAL') FROM bonds;
#include <sqlite3ext.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "hosts/call/module_loader.h"
#include "hosts/sql/flow_aggregates.h"
#include "hosts/sql/sql_call.h"
#include "hosts/sqlite/aggregates.h"
#include "hosts/sqlite/keywords_table.h"
#include "hosts/sqlite/sqlite_values.h"

SQLITE_EXTENSION_INIT1

using namespace finance_sqlite;

namespace {

constexpr int kOldestSqlite = 3031000;  // the first version with innocuous functions

using host::SqlCall;

// What a function does when a call fails: it raises an error, returns NULL, or returns the error
// message.
enum class OnError : std::uint8_t { kRaise, kNull, kMessage };

// The message is made only if it is read.
void fail(sqlite3_context* context, OnError on_error, auto&& make_message) {
  if (on_error == OnError::kNull) return;
  const std::string message = make_message();
  if (on_error == OnError::kMessage) return set_text(context, message);
  set_error(context, message);
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

void evaluate(sqlite3_context* context, SqlCall& call, sqlite3_value** arguments,
              OnError on_error) {
  call.begin();
  for (std::size_t i = 1; i <= call.size(); ++i) set_argument(call, i, arguments[i - 1]);
  const host::CallResult result = call.run();
  if (result.ok()) {
    if (on_error != OnError::kMessage) set_result(context, result.value);
    return;
  }
  if (result.status == host::Status::kOutOfMemory) return sqlite3_result_error_nomem(context);
  fail(context, on_error, [&] {
    return call.error_message(result, [arguments](std::size_t i, catalog::ArgumentKind kind) {
      return value_of(arguments[i - 1], kind);
    });
  });
}

// ---- finance, finance_try, finance_error -------------------------------------------------------

struct AnyFunction {
  const char* name;
  OnError on_error;
};

constexpr AnyFunction kAnyFunctions[] = {{"finance", OnError::kRaise},
                                         {"finance_try", OnError::kNull},
                                         {"finance_error", OnError::kMessage}};

void evaluate_any(sqlite3_context* context, int argc, sqlite3_value** argv) noexcept {
  guarded(context, [&] {
    const OnError on_error = static_cast<const AnyFunction*>(sqlite3_user_data(context))->on_error;
    // SQLite keeps the auxiliary data of the keyword only if the keyword is a constant.
    if (auto* const known = static_cast<SqlCall*>(sqlite3_get_auxdata(context, 0))) {
      return evaluate(context, *known, argv + 1, on_error);
    }
    if (argc == 0) {
      return fail(context, on_error, [] { return "finance: the keyword is missing"; });
    }
    if (sqlite3_value_type(argv[0]) == SQLITE_NULL) return;  // NULL
    const auto count = static_cast<std::size_t>(argc) - 1;
    const std::string_view word = text_of(argv[0]);
    const catalog::Keyword* const keyword = catalog::find(word);
    if (keyword == nullptr || !keyword->accepts(count)) {
      return fail(context, on_error, [&] { return *SqlCall::keyword_error(word, count); });
    }
    auto call = std::make_unique<SqlCall>(host::loaded_module(), *keyword, count);
    evaluate(context, *call, argv + 1, on_error);
    sqlite3_set_auxdata(context, 0, call.release(),
                        [](void* old) { delete static_cast<SqlCall*>(old); });
  });
}

// ---- Functions of one keyword ------------------------------------------------------------------

// A function of a connection. One thread at a time uses it, and a call that is an argument of
// another call ends before the other call begins.
struct KeywordFunction {
  const catalog::Keyword* keyword;
  OnError on_error;
  std::vector<std::unique_ptr<SqlCall>> calls{};  // by number of arguments; null until used
};

void evaluate_keyword(sqlite3_context* context, int argc, sqlite3_value** argv) noexcept {
  guarded(context, [&] {
    auto& function = *static_cast<KeywordFunction*>(sqlite3_user_data(context));
    const catalog::Keyword& keyword = *function.keyword;
    auto& calls = function.calls;
    const auto count = static_cast<std::size_t>(argc);
    if (count >= calls.size() || calls[count] == nullptr) {
      if (!keyword.accepts(count)) {
        return fail(context, function.on_error,
                    [&] { return *SqlCall::keyword_error(keyword.word, count); });
      }
      calls.resize(keyword.max_args() + 1);
      calls[count] = std::make_unique<SqlCall>(host::loaded_module(), keyword, count);
    }
    evaluate(context, *calls[count], argv, function.on_error);
  });
}

// ---- Registration ------------------------------------------------------------------------------

void version(sqlite3_context* context, int, sqlite3_value**) noexcept {
  guarded(context, [&] { set_text(context, host::versions(VXFNC_VERSION)); });
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

int register_functions(sqlite3* database) {
  constexpr int kPure = SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS;
  for (const AnyFunction& function : kAnyFunctions) {
    const int status = sqlite3_create_function_v2(database, function.name, -1, kPure,
                                                  const_cast<AnyFunction*>(&function), evaluate_any,
                                                  nullptr, nullptr, nullptr);
    if (status != SQLITE_OK) return status;
  }
  for (const catalog::Keyword& keyword : catalog::keywords()) {
    if (std::ranges::any_of(keyword.arguments(), &catalog::Argument::is_list)) continue;
    for (const OnError on_error : {OnError::kRaise, OnError::kNull}) {
      std::string name = keyword.function_name();
      if (on_error == OnError::kNull) name = host::try_name(name);
      // SQLite frees the function also if the registration fails.
      const int status = sqlite3_create_function_v2(
          database, name.c_str(), -1, kPure, new KeywordFunction{&keyword, on_error},
          evaluate_keyword, nullptr, nullptr,
          [](void* function) { delete static_cast<KeywordFunction*>(function); });
      if (status != SQLITE_OK) return status;
    }
  }
  return SQLITE_OK;
}

int register_all(sqlite3* database) {
  int status = register_functions(database);
  if (status == SQLITE_OK) status = register_aggregates(database);
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
