// The extension of PostgreSQL. The server reports errors by jumping over frames, which C++ objects
// do not survive: whatever may raise an error of the server works on plain data, and whatever works
// on C++ objects neither calls the server nor lets an exception out.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>

#include "flows.h"
#include "own_kernel.h"
#include "page.h"
#include "sql_call.h"

extern "C" {
#include <postgres.h>
// The server's header comes first.
#include <catalog/pg_type.h>
#include <datatype/timestamp.h>
#include <fmgr.h>
#include <libpq/pqformat.h>
#include <mb/pg_wchar.h>
#include <miscadmin.h>
#include <utils/array.h>
#include <utils/builtins.h>
#include <utils/date.h>
#include <utils/lsyscache.h>
#include <utils/memutils.h>
#include <utils/timestamp.h>
}

#define EXPORTED extern "C" [[gnu::visibility("default")]]

extern "C" {
#pragma GCC visibility push(default)
PG_MODULE_MAGIC;
#pragma GCC visibility pop
}

namespace {

constexpr double kDateZero = 14610;  // 1 January 2000, the server's first day, from 1 January 1960

// An argument as plain data.
struct SqlValue {
  enum Kind : int { kNull, kNumber, kDate, kText, kRefused } kind;  // refused: the text says why
  double number;
  const char* text;
  std::size_t size;
};

// What came of a call, as plain data.
struct Outcome {
  enum Kind : int { kValue, kNull, kRefused, kBroken } kind;  // broken: no fault of the call's
  double value;
  bool is_date;
  int sql_state;
  char complaint[1000];
  char detail[1000];
};

using host::FlowAggregate;
using host::SqlCall;
using host::Value;

void fail(Outcome& outcome, int sql_state, std::string_view complaint,
          std::string_view detail) noexcept {
  const auto keep = [](char(&to)[1000], std::string_view text) {
    to[text.copy(to, sizeof to - 1)] = '\0';
  };
  outcome.kind = Outcome::kRefused;
  outcome.sql_state = sql_state;
  keep(outcome.complaint, complaint);
  keep(outcome.detail, detail);
}

constexpr const char* kDetailOfFlows =
    "Each row is a flow: an amount, and a date or period; a rate is the group's.";

// Calls a body that may throw or fail; logic errors are those of a group of flows. False when the
// outcome is a failure.
bool guarded(Outcome& outcome, auto&& body) noexcept {
  outcome.kind = Outcome::kNull;
  try {
    body();
    return outcome.kind != Outcome::kRefused;
  } catch (const std::out_of_range& error) {
    fail(outcome, ERRCODE_NUMERIC_VALUE_OUT_OF_RANGE, error.what(), kDetailOfFlows);
    return false;
  } catch (const std::invalid_argument& error) {
    fail(outcome, ERRCODE_INVALID_PARAMETER_VALUE, error.what(), kDetailOfFlows);
    return false;
  } catch (const std::bad_alloc&) {
    fail(outcome, ERRCODE_OUT_OF_MEMORY, "finance: out of memory", "");
  } catch (const std::exception& error) {
    fail(outcome, ERRCODE_EXTERNAL_ROUTINE_EXCEPTION, error.what(), "");
  }
  outcome.kind = Outcome::kBroken;
  return false;
}

// Whether the outcome is an error, where a function may answer NULL for refused calls.
bool is_reported(const Outcome& outcome, bool fails) noexcept {
  return outcome.kind == Outcome::kBroken || (outcome.kind == Outcome::kRefused && fails);
}

// Raises the error of the server.
[[noreturn]] void report(const Outcome& outcome) {
  ereport(ERROR, (errcode(outcome.sql_state), errmsg_internal("%s", outcome.complaint),
                  outcome.detail[0] == '\0' ? 0 : errdetail_internal("%s", outcome.detail)));
  pg_unreachable();
}

// ---- Calls -------------------------------------------------------------------------------------

// What a complaint does not say: how the keyword is called, or what the argument is.
std::string detail_of(const catalog::Keyword& keyword, const catalog::Argument* argument) {
  if (argument == nullptr) {
    return signature_of(keyword) + ": " + std::string(keyword.description.title) + '.';
  }
  const std::string range = catalog::range_of(*argument);
  return std::string(argument->name) + ": " + std::string(argument->meaning) +
         (range == "any" ? "" : "; " + range) + '.';
}

std::string detail_of_no_keyword() {
  std::string detail = "Keywords are";
  for (const catalog::Keyword& keyword : catalog::keywords()) {
    detail += (detail.back() == 'e' ? " " : ", ") + std::string(keyword.word);
  }
  return detail + '.';
}

// False, with the outcome, for a word that names no keyword, or one that takes other counts.
bool is_callable(std::string_view word, std::size_t count, Outcome& outcome) {
  const auto complaint = SqlCall::complaint_of(word, count);
  if (!complaint) return true;
  const catalog::Keyword* const keyword = catalog::find(word);
  fail(outcome, ERRCODE_UNDEFINED_FUNCTION, *complaint,
       keyword == nullptr ? detail_of_no_keyword() : detail_of(*keyword, nullptr));
  return false;
}

Value value_of(const SqlValue& value, catalog::ArgumentKind kind) noexcept {
  const std::string_view text(value.text, value.size);
  switch (value.kind) {
    case SqlValue::kNull:
      return {};
    case SqlValue::kNumber:
      return {.number = value.number};
    case SqlValue::kDate:
      return {value.number, {}, Value::Kind::kDate};
    case SqlValue::kText:
      return host::value_of_sql_text(text, kind);
    case SqlValue::kRefused:
      break;
  }
  return {.word = text, .kind = Value::Kind::kText};
}

int sql_state_of(const SqlValue& value, catalog::ArgumentKind kind) noexcept {
  if (value.kind == SqlValue::kRefused) return ERRCODE_DATATYPE_MISMATCH;
  const Value seen = value_of(value, kind);
  if (seen.is_text()) return ERRCODE_INVALID_PARAMETER_VALUE;
  return host::fits(seen, kind) ? ERRCODE_NUMERIC_VALUE_OUT_OF_RANGE : ERRCODE_DATATYPE_MISMATCH;
}

void evaluate(SqlCall& call, const SqlValue* arguments, Outcome& outcome) noexcept {
  guarded(outcome, [&] {
    const host::SqlAnswer answer =
        call.evaluate(host::own_kernel(), [arguments](std::size_t i, catalog::ArgumentKind kind) {
          return value_of(arguments[i - 1], kind);
        });
    if (answer.complaint.empty()) {
      outcome.kind = std::isnan(answer.value.number) ? Outcome::kNull : Outcome::kValue;
      outcome.value = answer.value.number;
      outcome.is_date = answer.value.is_date();
      return;
    }
    const catalog::Argument* const argument =
        answer.position == 0 ? nullptr : &call.callee().described(answer.position);
    fail(outcome,
         argument == nullptr ? ERRCODE_INVALID_PARAMETER_VALUE
                             : sql_state_of(arguments[answer.position - 1], argument->kind),
         answer.complaint, detail_of(call.callee().keyword(), argument));
  });
}

// What a call in a statement keeps from row to row, in the server's storage.
struct CallSite {
  SqlCall* call;     // of the last row; null at first
  Oid* types;        // of the arguments behind the keyword, domains resolved
  SqlValue* values;  // of the same
  MemoryContextCallback on_end;
};

void forget_call(void* site) noexcept {
  delete static_cast<CallSite*>(site)->call;
  static_cast<CallSite*>(site)->call = nullptr;
}

// Makes the site's call that of this keyword and count, unless it is.
bool prepare(CallSite& site, std::string_view word, std::size_t count, Outcome& outcome) noexcept {
  if (site.call != nullptr && site.call->callee().keyword().word == word &&
      site.call->callee().size() == count) {
    return true;
  }
  forget_call(&site);
  guarded(outcome, [&] {
    if (!is_callable(word, count, outcome)) return;
    site.call = std::make_unique<SqlCall>(*catalog::find(word), count).release();
  });
  return site.call != nullptr;
}

// ---- The server's values as plain data ---------------------------------------------------------

// A text of other letters than ASCII means nothing here, and messages shorten it as UTF-8: one of
// another encoding is cut before, at the end of a character.
SqlValue text_value(const char* text, std::size_t size) {
  constexpr std::size_t kShown = 57;
  const bool is_plain = std::all_of(text, text + size, [](char c) { return c >= 0; });
  if (!is_plain && size > kShown && GetDatabaseEncoding() != PG_UTF8) {
    size = static_cast<std::size_t>(pg_mbcliplen(text, static_cast<int>(size), kShown));
  }
  return {SqlValue::kText, 0.0, text, size};
}

SqlValue refused_value(const char* reason) {
  return {SqlValue::kRefused, 0.0, reason, std::char_traits<char>::length(reason)};
}

// The type is no domain. The value may refer to the datum.
SqlValue plain_value(Datum datum, Oid type) {
  const auto number = [](double value) { return SqlValue{SqlValue::kNumber, value, nullptr, 0}; };
  const auto date = [](double days) {
    return SqlValue{SqlValue::kDate, days + kDateZero, nullptr, 0};
  };
  switch (type) {
    case INT2OID:
      return number(DatumGetInt16(datum));
    case INT4OID:
      return number(DatumGetInt32(datum));
    case INT8OID:
      return number(static_cast<double>(DatumGetInt64(datum)));
    case FLOAT4OID:
      return number(static_cast<double>(DatumGetFloat4(datum)));
    case FLOAT8OID:
      return number(DatumGetFloat8(datum));
    case NUMERICOID:
      return number(DatumGetFloat8(DirectFunctionCall1(numeric_float8_no_overflow, datum)));
    case DATEOID:
      if (DATE_NOT_FINITE(DatumGetDateADT(datum))) break;
      return date(DatumGetDateADT(datum));
    case TIMESTAMPOID:
      if (TIMESTAMP_NOT_FINITE(DatumGetTimestamp(datum))) break;
      return date(static_cast<double>(DatumGetTimestamp(datum)) / USECS_PER_DAY);
    case UNKNOWNOID:
      return text_value(DatumGetCString(datum),
                        std::char_traits<char>::length(DatumGetCString(datum)));
    case TEXTOID:
    case VARCHAROID:
    case BPCHAROID: {
      const text* const characters = DatumGetTextPP(datum);
      return text_value(VARDATA_ANY(characters), VARSIZE_ANY_EXHDR(characters));
    }
    default:
      return refused_value(psprintf("of type %s", format_type_be(type)));
  }
  return refused_value("infinite");
}

struct SqlValues {
  const SqlValue* values;
  std::size_t count;
};

// The site of a call whose arguments begin at a position.
CallSite* site_of(FunctionCallInfo fcinfo, int first) {
  if (fcinfo->flinfo->fn_extra != nullptr) return static_cast<CallSite*>(fcinfo->flinfo->fn_extra);
  MemoryContext storage = fcinfo->flinfo->fn_mcxt;
  auto* const site = static_cast<CallSite*>(MemoryContextAllocZero(storage, sizeof(CallSite)));
  const auto room = static_cast<std::size_t>(PG_NARGS());
  site->types = static_cast<Oid*>(MemoryContextAllocZero(storage, room * sizeof(Oid)));
  site->values = static_cast<SqlValue*>(MemoryContextAllocZero(storage, room * sizeof(SqlValue)));
  for (int i = first; i < PG_NARGS(); ++i) {
    site->types[i - first] = getBaseType(get_fn_expr_argtype(fcinfo->flinfo, i));
  }
  site->on_end.func = forget_call;
  site->on_end.arg = site;
  MemoryContextRegisterResetCallback(storage, &site->on_end);
  fcinfo->flinfo->fn_extra = site;
  return site;
}

// The elements of VARIADIC array[...].
SqlValues elements_of(Datum datum) {
  ArrayType* const array = DatumGetArrayTypeP(datum);
  const Oid type = ARR_ELEMTYPE(array);
  int16 length = 0;
  bool by_value = false;
  char alignment = 0;
  get_typlenbyvalalign(type, &length, &by_value, &alignment);
  Datum* elements = nullptr;
  bool* nulls = nullptr;
  int count = 0;
  deconstruct_array(array, type, length, by_value, alignment, &elements, &nulls, &count);
  const Oid base_type = getBaseType(type);
  const auto room = static_cast<std::size_t>(count);
  auto* const values = static_cast<SqlValue*>(palloc0((room + 1) * sizeof(SqlValue)));
  for (int i = 0; i < count; ++i) {
    if (!nulls[i]) values[i] = plain_value(elements[i], base_type);  // zeroed storage is NULL
  }
  return {values, room};
}

// The arguments from a position on.
SqlValues arguments_of(FunctionCallInfo fcinfo, int first, CallSite& site) {
  if (get_fn_expr_variadic(fcinfo->flinfo)) {
    if (PG_ARGISNULL(first)) return {nullptr, 0};
    return elements_of(PG_GETARG_DATUM(first));
  }
  for (int i = first; i < PG_NARGS(); ++i) {
    site.values[i - first] =
        PG_ARGISNULL(i) ? SqlValue{} : plain_value(PG_GETARG_DATUM(i), site.types[i - first]);
  }
  return {site.values, static_cast<std::size_t>(PG_NARGS() - first)};
}

// Evaluates a keyword for the arguments from a position on.
void call(FunctionCallInfo fcinfo, std::string_view word, int first, Outcome& outcome) {
  CallSite* const site = site_of(fcinfo, first);
  const SqlValues arguments = arguments_of(fcinfo, first, *site);
  if (!prepare(*site, word, arguments.count, outcome)) return;
  evaluate(*site->call, arguments.values, outcome);
}

Datum answer(FunctionCallInfo fcinfo, bool fails) {
  CHECK_FOR_INTERRUPTS();
  Outcome outcome;
  if (PG_ARGISNULL(0)) {
    guarded(outcome, [&] {
      fail(outcome, ERRCODE_INVALID_PARAMETER_VALUE, "finance: the keyword is missing",
           detail_of_no_keyword());
    });
  } else {
    const text* const word = PG_GETARG_TEXT_PP(0);
    call(fcinfo, {VARDATA_ANY(word), VARSIZE_ANY_EXHDR(word)}, 1, outcome);
  }
  if (is_reported(outcome, fails)) report(outcome);
  if (outcome.kind != Outcome::kValue) PG_RETURN_NULL();
  PG_RETURN_FLOAT8(outcome.value);
}

// A function of one keyword, which is in its name: finance_price. It looks for nothing by name, so
// that nobody can put a function of his own in its way.
Datum answer_of_named(FunctionCallInfo fcinfo) {
  CHECK_FOR_INTERRUPTS();
  constexpr std::string_view kPrefix = "finance_";
  const auto* const known = static_cast<const CallSite*>(fcinfo->flinfo->fn_extra);
  std::string_view word;
  if (known != nullptr && known->call != nullptr) {
    word = known->call->callee().keyword().word;
  } else {
    const char* const name = get_func_name(fcinfo->flinfo->fn_oid);
    word = name;
    word.remove_prefix(std::min(kPrefix.size(), word.size()));
  }
  Outcome outcome;
  call(fcinfo, word, 0, outcome);
  if (is_reported(outcome, true)) report(outcome);
  if (outcome.kind != Outcome::kValue) PG_RETURN_NULL();
  if (outcome.is_date) PG_RETURN_DATEADT(static_cast<DateADT>(outcome.value - kDateZero));
  PG_RETURN_FLOAT8(outcome.value);
}

// A keyword in capital letters; raises an error where there is none.
Datum keyword_of(std::string_view word) {
  char canonical[16] = {};
  Outcome outcome;
  const bool is_well = guarded(outcome, [&] {
    const catalog::Keyword* const keyword = catalog::find(word);
    if (keyword != nullptr) return void(keyword->word.copy(canonical, sizeof canonical - 1));
    fail(outcome, ERRCODE_UNDEFINED_FUNCTION, "finance: " + host::no_such_keyword(word),
         detail_of_no_keyword());
  });
  if (!is_well) report(outcome);
  PG_RETURN_TEXT_P(cstring_to_text(canonical));
}

// ---- Aggregates --------------------------------------------------------------------------------

// The flows of a group so far, in the server's storage. Serialized as it stands, without the unused
// room: workers run on one machine.
struct Group {
  std::size_t count;
  std::size_t room;
  host::Flow* flows;
  bool is_bad;  // a row made no flow, where the aggregate does not fail
};

MemoryContext group_storage(FunctionCallInfo fcinfo) {
  MemoryContext storage = nullptr;
  if (AggCheckCallContext(fcinfo, &storage) != 0) return storage;
  ereport(ERROR, (errcode(ERRCODE_FEATURE_NOT_SUPPORTED),
                  errmsg("finance: this function belongs to an aggregate")));
  pg_unreachable();
}

Group* group_of(FunctionCallInfo fcinfo, int argument) {
  return PG_ARGISNULL(argument) ? nullptr : reinterpret_cast<Group*>(PG_GETARG_POINTER(argument));
}

// The group, with room for more flows; a new one when there is none.
Group* with_room(Group* group, MemoryContext storage, std::size_t more) {
  if (group == nullptr) {
    group = static_cast<Group*>(MemoryContextAllocZero(storage, sizeof(Group)));
  }
  if (group->flows != nullptr && group->count + more <= group->room) return group;
  const std::size_t room = std::max({2 * group->room, group->count + more, std::size_t{16}});
  const std::size_t bytes = room * sizeof(host::Flow);
  group->flows =
      static_cast<host::Flow*>(group->flows == nullptr ? MemoryContextAllocHuge(storage, bytes)
                                                       : repalloc_huge(group->flows, bytes));
  group->room = room;
  return group;
}

Datum add_flow(FunctionCallInfo fcinfo, const FlowAggregate& aggregate) {
  MemoryContext storage = group_storage(fcinfo);
  const int count = PG_NARGS() - 1;
  Value values[3];
  for (int i = 0; i < count; ++i) {
    if (PG_ARGISNULL(i + 1)) continue;
    const bool is_date = aggregate.is_dated && i + 1 == count;
    const SqlValue plain = plain_value(PG_GETARG_DATUM(i + 1), is_date ? DATEOID : FLOAT8OID);
    values[i] =
        value_of(plain, is_date ? catalog::ArgumentKind::kDate : catalog::ArgumentKind::kNumber);
  }
  Outcome outcome;
  host::Flow flow{};
  bool has_flow = false;
  const bool is_well = guarded(outcome, [&] {
    const auto made = host::flow_of(aggregate, {values, static_cast<std::size_t>(count)});
    has_flow = made.has_value();
    flow = made.value_or(flow);
  });
  if (!is_well && is_reported(outcome, aggregate.fails)) report(outcome);
  Group* const group = with_room(group_of(fcinfo, 0), storage, 1);
  if (has_flow) group->flows[group->count++] = flow;
  group->is_bad |= !is_well;
  PG_RETURN_POINTER(group);
}

Datum value_of_group(FunctionCallInfo fcinfo, const FlowAggregate& aggregate) {
  const Group* const group = group_of(fcinfo, 0);
  if (group == nullptr || group->is_bad) PG_RETURN_NULL();
  CHECK_FOR_INTERRUPTS();
  Outcome outcome;
  const bool is_well = guarded(outcome, [&] {
    outcome.value =
        host::value_of_flows(aggregate, host::own_kernel(), {group->flows, group->count}).number;
  });
  CHECK_FOR_INTERRUPTS();  // large groups take a while
  if (!is_well && is_reported(outcome, aggregate.fails)) report(outcome);
  if (!is_well || std::isnan(outcome.value)) PG_RETURN_NULL();
  PG_RETURN_FLOAT8(outcome.value);
}

}  // namespace

#define SQL_FUNCTION(name)                                \
  EXPORTED const Pg_finfo_record* pg_finfo_##name(void) { \
    static const Pg_finfo_record my_finfo = {1};          \
    return &my_finfo;                                     \
  }                                                       \
  EXPORTED Datum name(FunctionCallInfo fcinfo)

SQL_FUNCTION(finance) { return answer(fcinfo, true); }

SQL_FUNCTION(finance_try) { return answer(fcinfo, false); }

SQL_FUNCTION(finance_named) { return answer_of_named(fcinfo); }

SQL_FUNCTION(finance_keyword_in) { return keyword_of(PG_GETARG_CSTRING(0)); }

SQL_FUNCTION(finance_keyword_of_text) {
  const text* const word = PG_GETARG_TEXT_PP(0);
  return keyword_of({VARDATA_ANY(word), VARSIZE_ANY_EXHDR(word)});
}

SQL_FUNCTION(finance_keyword_out) { PG_RETURN_CSTRING(text_to_cstring(PG_GETARG_TEXT_PP(0))); }

SQL_FUNCTION(finance_keyword_recv) {
  auto* const message = reinterpret_cast<StringInfo>(PG_GETARG_POINTER(0));
  int size = 0;
  const char* const word = pq_getmsgtext(message, message->len - message->cursor, &size);
  return keyword_of({word, static_cast<std::size_t>(size)});
}

SQL_FUNCTION(finance_keyword_send) {
  const text* const word = PG_GETARG_TEXT_PP(0);
  StringInfoData message;
  pq_begintypsend(&message);
  pq_sendtext(&message, VARDATA_ANY(word), static_cast<int>(VARSIZE_ANY_EXHDR(word)));
  PG_RETURN_BYTEA_P(pq_endtypsend(&message));
}

// The number is a place in host::kFlowAggregates.
#define FLOW_AGGREGATE(name, number)                                                   \
  SQL_FUNCTION(name##_add) { return add_flow(fcinfo, host::kFlowAggregates[number]); } \
  SQL_FUNCTION(name##_value) { return value_of_group(fcinfo, host::kFlowAggregates[number]); }

FLOW_AGGREGATE(finance_irr, 0)
FLOW_AGGREGATE(finance_npv, 1)
FLOW_AGGREGATE(finance_xirr, 2)
FLOW_AGGREGATE(finance_xnpv, 3)
FLOW_AGGREGATE(finance_try_irr, 4)
FLOW_AGGREGATE(finance_try_npv, 5)
FLOW_AGGREGATE(finance_try_xirr, 6)
FLOW_AGGREGATE(finance_try_xnpv, 7)

SQL_FUNCTION(finance_flows_combine) {
  MemoryContext storage = group_storage(fcinfo);
  const Group* const other = group_of(fcinfo, 1);
  if (other == nullptr) {
    if (PG_ARGISNULL(0)) PG_RETURN_NULL();
    PG_RETURN_POINTER(group_of(fcinfo, 0));
  }
  Group* const both = with_room(group_of(fcinfo, 0), storage, other->count);
  std::copy_n(other->flows, other->count, both->flows + both->count);
  both->count += other->count;
  both->is_bad |= other->is_bad;
  PG_RETURN_POINTER(both);
}

SQL_FUNCTION(finance_flows_serialize) {
  group_storage(fcinfo);
  const Group* const group = group_of(fcinfo, 0);
  const std::size_t size = VARHDRSZ + sizeof(Group) + group->count * sizeof(host::Flow);
  if (size > MaxAllocSize) {
    ereport(ERROR, (errcode(ERRCODE_PROGRAM_LIMIT_EXCEEDED),
                    errmsg("finance: a group has too many flows to be shared out to workers"),
                    errhint("Set max_parallel_workers_per_gather to 0.")));
  }
  auto* const bytes = static_cast<bytea*>(palloc(size));
  SET_VARSIZE(bytes, size);
  std::memcpy(VARDATA(bytes), group, sizeof(Group));
  std::memcpy(VARDATA(bytes) + sizeof(Group), group->flows, group->count * sizeof(host::Flow));
  PG_RETURN_BYTEA_P(bytes);
}

SQL_FUNCTION(finance_flows_deserialize) {
  group_storage(fcinfo);
  const bytea* const bytes = PG_GETARG_BYTEA_PP(0);
  auto* const group = static_cast<Group*>(palloc(sizeof(Group)));
  std::memcpy(group, VARDATA_ANY(bytes), sizeof(Group));
  const std::size_t size = group->count * sizeof(host::Flow);
  group->room = group->count;
  group->flows = static_cast<host::Flow*>(palloc_extended(size, MCXT_ALLOC_HUGE));
  std::memcpy(group->flows, VARDATA_ANY(bytes) + sizeof(Group), size);
  PG_RETURN_POINTER(group);
}

SQL_FUNCTION(finance_version) {
  (void)fcinfo;
  char line[200] = {};
  Outcome outcome;
  const bool is_well =
      guarded(outcome, [&] { host::versions(VXFNC_VERSION).copy(line, sizeof line - 1); });
  if (!is_well) report(outcome);
  PG_RETURN_TEXT_P(cstring_to_text(line));
}
