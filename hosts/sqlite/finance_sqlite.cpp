// A loadable extension of SQLite: the host function as SQL functions, aggregates and a table of the
// keywords. Error texts are part of the interface.
//
//   .load finance_sqlite
//   SELECT finance('PRICE', settle, maturity, coupon, yld, 100, 2, 'ACTUAL') FROM bonds;
#include <dlfcn.h>
#include <sqlite3ext.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <vector>

#include "callee.h"
#include "keywords_table.h"
#include "sql_values.h"

SQLITE_EXTENSION_INIT1

namespace {

using host::Callee;
using host::Value;

// The module beside this extension. Loaded once for the process; throws vxkernel::LoadError.
const vxkernel::Kernel& kernel() {
  static const vxkernel::Kernel loaded([] {
    Dl_info self{};
    ::dladdr(reinterpret_cast<const void*>(&kernel), &self);
    const auto folder = std::filesystem::absolute(self.dli_fname).parent_path();
    return (folder / "vxfnc.so").string();
  }());
  return loaded;
}

// Calls a body in which storage may run out: no exception leaves the extension.
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
  if (std::isnan(result.number)) return sqlite3_result_null(context);
  std::string date;
  if (result.is_date() && host::append_date(date, result.number)) {
    return sqlite3_result_text(context, date.data(), static_cast<int>(date.size()),
                               SQLITE_TRANSIENT);
  }
  sqlite3_result_double(context, result.number);
}

// ---- finance, finance_try ----------------------------------------------------------------------

// A call that a statement makes again and again.
struct Prepared {
  Callee callee;
  std::vector<Value> values;
  std::vector<vxkernel::Argument> arguments;
};

enum class OnError : bool { kFail, kNull };

OnError on_error(sqlite3_context* context) noexcept {
  return sqlite3_user_data(context) == nullptr ? OnError::kFail : OnError::kNull;
}

void fail(sqlite3_context* context, const std::string& complaint) {
  if (on_error(context) == OnError::kNull) return sqlite3_result_null(context);
  sqlite3_result_error(context, complaint.data(), static_cast<int>(complaint.size()));
}

// "finance(PRICE): " and what is wrong with the call.
void fail(sqlite3_context* context, const catalog::Keyword& keyword, const std::string& complaint) {
  fail(context, "finance(" + std::string(keyword.word) + "): " + complaint);
}

void evaluate(sqlite3_context* context, Prepared& call, sqlite3_value** argv) {
  const std::size_t count = call.callee.size();
  for (std::size_t i = 0; i < count; ++i) {
    call.values[i] = value_of(argv[i], call.callee.described(i + 1).kind);
    call.arguments[i] = call.values[i].argument();
    if (host::fits(call.values[i], call.callee.described(i + 1).kind)) continue;
    // Earlier values are converted, later ones are not looked at.
    return fail(context, call.callee.keyword(), call.callee.complaint_of_kind(i + 1, call.values));
  }
  const vxkernel::Evaluation answer = call.callee.evaluate(kernel(), call.arguments);
  if (!answer.ok()) {
    return fail(context, call.callee.keyword(), call.callee.complaint(answer, call.values));
  }
  set_result(context, call.callee.result(answer));
}

void finance(sqlite3_context* context, int argc, sqlite3_value** argv) noexcept {
  guarded(context, [&] {
    if (argc == 0) return fail(context, "finance: the keyword is missing");
    const auto count = static_cast<std::size_t>(argc) - 1;
    // The auxiliary data of the keyword lives as long as it is the same in all rows.
    if (auto* const known = static_cast<Prepared*>(sqlite3_get_auxdata(context, 0))) {
      return evaluate(context, *known, argv + 1);
    }
    const std::string_view word = text_of(argv[0]);
    const catalog::Keyword* const keyword = catalog::find(word);
    if (keyword == nullptr) return fail(context, "finance: " + host::no_such_keyword(word));
    if (const auto complaint = Callee::complaint_of_count(*keyword, count)) {
      return fail(context, *keyword, *complaint);
    }
    auto call = std::make_unique<Prepared>(
        Prepared{Callee(*keyword, count), std::vector<Value>(count),
                 std::vector<vxkernel::Argument>(count, vxkernel::Argument::missing())});
    evaluate(context, *call, argv + 1);
    sqlite3_set_auxdata(context, 0, call.release(),
                        [](void* old) { delete static_cast<Prepared*>(old); });
  });
}

// ---- Aggregates --------------------------------------------------------------------------------

struct Flow {
  double place;  // date or period, by which flows are sorted
  double amount;
  friend auto operator<=>(const Flow&, const Flow&) = default;
};

// What an aggregate evaluates, and how its arguments stand in a row.
struct Aggregate {
  const char* name;
  std::string_view keyword;
  bool has_rate;       // before amount and place
  bool passes_places;  // dates behind the amounts
  std::size_t fewest;  // rows; with fewer the result is NULL
};

constexpr Aggregate kAggregates[] = {
    {"finance_irr", "IRR", false, false, 2},
    {"finance_npv", "NPV", true, false, 1},
    {"finance_xirr", "XIRR", false, true, 2},
    {"finance_xnpv", "XNPV", true, true, 1},
};

struct Group {
  std::vector<Flow> flows;
  double rate = 0.0;
};

const Aggregate& aggregate_of(sqlite3_context* context) noexcept {
  return *static_cast<const Aggregate*>(sqlite3_user_data(context));
}

// SQLite hands out zeroed storage, in which a group is made at the first row.
Group* group_of(sqlite3_context* context, bool make) {
  auto** const place =
      static_cast<Group**>(sqlite3_aggregate_context(context, make ? sizeof(Group*) : 0));
  if (place == nullptr) {
    if (make) throw std::bad_alloc();
    return nullptr;
  }
  if (*place == nullptr && make) *place = new Group;
  return *place;
}

// A row as a flow. A row of nothing but NULL is none, as an outer join makes it.
struct Row {
  bool is_none = true;
  double rate = 0.0;
  Flow flow{};
};

Row row_of(sqlite3_context* context, sqlite3_value** argv) {
  using enum catalog::ArgumentKind;
  const Aggregate& aggregate = aggregate_of(context);
  const catalog::ArgumentKind place_kind = aggregate.passes_places ? kDate : kNumber;
  const std::string_view names[] = {"rate", "amount", aggregate.passes_places ? "date" : "period"};
  const std::size_t first = aggregate.has_rate ? 0 : 1;
  double numbers[3] = {};
  std::size_t missing = 0;
  Row row;
  for (std::size_t i = first; i < 3; ++i) {
    const catalog::ArgumentKind kind = i == 2 ? place_kind : kNumber;
    const Value value = value_of(argv[i - first], kind);
    numbers[i] = value.number;
    if (std::isnan(value.number) && !value.is_text()) missing += i > 0 ? 1 : 0;
    if (!host::fits(value, kind)) {
      throw std::invalid_argument(std::string(aggregate.name) + ": argument " +
                                  std::to_string(i - first + 1) + " (" + std::string(names[i]) +
                                  ") is " + shown(value) + ": must be a " +
                                  (kind == kDate ? "date (YYYY-MM-DD)" : "number"));
    }
  }
  if (missing == 2) return row;
  for (std::size_t i = first; i < 3; ++i) {
    if (!std::isnan(numbers[i])) continue;
    throw std::invalid_argument(std::string(aggregate.name) + ": argument " +
                                std::to_string(i - first + 1) + " (" + std::string(names[i]) +
                                ") is missing");
  }
  return {false, numbers[0], {numbers[2], numbers[1]}};
}

void step(sqlite3_context* context, int, sqlite3_value** argv) noexcept {
  guarded(context, [&] {
    const Row row = row_of(context, argv);
    if (row.is_none) return;
    Group& group = *group_of(context, true);
    if (!group.flows.empty() && row.rate != group.rate) {
      throw std::invalid_argument(std::string(aggregate_of(context).name) +
                                  ": argument 1 (rate) must be the same in all rows");
    }
    group.rate = row.rate;
    group.flows.push_back(row.flow);
  });
}

void inverse(sqlite3_context* context, int, sqlite3_value** argv) noexcept {
  guarded(context, [&] {
    const Row row = row_of(context, argv);
    Group* const group = group_of(context, false);
    if (row.is_none || group == nullptr) return;
    const auto gone = std::ranges::find(group->flows, row.flow);
    if (gone != group->flows.end()) group->flows.erase(gone);
  });
}

void value(sqlite3_context* context) noexcept {
  guarded(context, [&] {
    const Aggregate& aggregate = aggregate_of(context);
    const Group* const group = group_of(context, false);
    if (group == nullptr || group->flows.size() < aggregate.fewest) return;  // NULL
    std::vector<Flow> flows = group->flows;
    std::ranges::sort(flows);  // whatever the order of rows, the same additions
    std::vector<Value> values;
    if (aggregate.has_rate) values.push_back({.number = group->rate});
    for (const Flow& flow : flows) values.push_back({.number = flow.amount});
    if (aggregate.passes_places) {
      for (const Flow& flow : flows) values.push_back({flow.place, {}, Value::Kind::kDate});
    }
    std::vector<vxkernel::Argument> arguments;
    for (const Value& each : values) arguments.push_back(each.argument());
    const Callee callee(*catalog::find(aggregate.keyword), values.size());
    const vxkernel::Evaluation answer = callee.evaluate(kernel(), arguments);
    if (!answer.ok()) {
      throw std::invalid_argument(std::string(aggregate.name) + ": " +
                                  callee.complaint(answer, values));
    }
    set_result(context, callee.result(answer));
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
    const vxkernel::Version offered = kernel().version();
    const std::string text = "vxfnc " VXFNC_VERSION ", interface " + std::to_string(offered.major) +
                             '.' + std::to_string(offered.minor) + ", adapter " VXFNC_VERSION;
    sqlite3_result_text(context, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
  });
}

int register_all(sqlite3* database) {
  constexpr int kPure = SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS;
  static char gives_null;  // any address says so
  const auto scalar = [&](const char* name, int arguments, void* data, auto* function) {
    return sqlite3_create_function_v2(database, name, arguments, kPure, data, function, nullptr,
                                      nullptr, nullptr);
  };
  int status = scalar("finance", -1, nullptr, finance);
  if (status == SQLITE_OK) status = scalar("finance_try", -1, &gives_null, finance);
  if (status == SQLITE_OK) status = scalar("finance_version", 0, nullptr, version);
  for (const Aggregate& aggregate : kAggregates) {
    if (status != SQLITE_OK) break;
    status = sqlite3_create_window_function(database, aggregate.name, aggregate.has_rate ? 3 : 2,
                                            kPure, const_cast<Aggregate*>(&aggregate), step,
                                            finalize, value, inverse, nullptr);
  }
  if (status == SQLITE_OK) status = register_keywords_table(database);
  return status;
}

}  // namespace

#define EXPORTED extern "C" [[gnu::visibility("default")]]

// The entry point for a file of any name.
EXPORTED int sqlite3_extension_init(sqlite3* database, char** error,
                                    const sqlite3_api_routines* api) {
  // One write for the process: other connections may be calling by now.
  static std::once_flag first;
  std::call_once(first, [&] { SQLITE_EXTENSION_INIT2(api); });
  try {
    kernel();
    return register_all(database);
  } catch (const std::exception& reason) {
    *error = sqlite3_mprintf("finance: %s", reason.what());
    return SQLITE_ERROR;
  }
}

// The same, for this and all further connections of the process.
EXPORTED int sqlite3_finance_everywhere_init(sqlite3* database, char** error,
                                             const sqlite3_api_routines* api) {
  const int status = sqlite3_extension_init(database, error, api);
  if (status != SQLITE_OK) return status;
  sqlite3_auto_extension(reinterpret_cast<void (*)()>(sqlite3_extension_init));
  return SQLITE_OK_LOAD_PERMANENTLY;
}
