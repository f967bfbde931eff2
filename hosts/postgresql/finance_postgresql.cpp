// The functions of the extension of PostgreSQL: finance, finance_try, functions of one keyword, and
// the type of keywords.
#include <algorithm>
#include <cmath>
#include <memory>
#include <string>

#include "own_kernel.h"
#include "page.h"
#include "plain_values.h"
#include "sql_call.h"

extern "C" {
#include <catalog/pg_type.h>
#include <libpq/pqformat.h>
#include <utils/array.h>
#include <utils/builtins.h>
#include <utils/date.h>
#include <utils/lsyscache.h>

#pragma GCC visibility push(default)
PG_MODULE_MAGIC;
#pragma GCC visibility pop
}

using namespace finance_pg;

namespace {

using host::SqlCall;
using host::Value;

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

struct SqlValues {
  const SqlValue* values;
  std::size_t count;
};

// The type of an argument in the expression, or, where the server calls without one, as declared.
Oid type_of(FunctionCallInfo fcinfo, int argument) {
  const Oid type = get_fn_expr_argtype(fcinfo->flinfo, argument);
  if (OidIsValid(type)) return type;
  Oid* declared = nullptr;
  int count = 0;
  get_func_signature(fcinfo->flinfo->fn_oid, &declared, &count);
  return argument < count ? declared[argument] : TEXTOID;
}

// The site of a call whose arguments begin at a position.
CallSite* site_of(FunctionCallInfo fcinfo, int first) {
  if (fcinfo->flinfo->fn_extra != nullptr) return static_cast<CallSite*>(fcinfo->flinfo->fn_extra);
  MemoryContext storage = fcinfo->flinfo->fn_mcxt;
  auto* const site = static_cast<CallSite*>(MemoryContextAllocZero(storage, sizeof(CallSite)));
  const auto room = static_cast<std::size_t>(PG_NARGS());
  site->types = static_cast<Oid*>(MemoryContextAllocZero(storage, room * sizeof(Oid)));
  site->values = static_cast<SqlValue*>(MemoryContextAllocZero(storage, room * sizeof(SqlValue)));
  for (int i = first; i < PG_NARGS(); ++i) {
    site->types[i - first] = getBaseType(type_of(fcinfo, i));
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
  pfree(elements);
  pfree(nulls);
  return {values, room};
}

// The arguments from a position on.
SqlValues arguments_of(FunctionCallInfo fcinfo, int first, CallSite& site) {
  if (get_fn_expr_variadic(fcinfo->flinfo)) {
    if (PG_ARGISNULL(first)) return {site.values, 0};
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
  constexpr std::size_t kKept = 100;  // arguments; the storage for more is not the server's to keep
  if (arguments.count > kKept) forget_call(site);
  CHECK_FOR_INTERRUPTS();  // long lists take a while
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

// A function of one keyword. It looks for nothing by name, so that nobody can put a function of his
// own in its way.
Datum answer_of(FunctionCallInfo fcinfo, std::string_view word) {
  CHECK_FOR_INTERRUPTS();
  Outcome outcome;
  call(fcinfo, word, 0, outcome);
  if (is_reported(outcome, true)) report(outcome);
  if (outcome.kind != Outcome::kValue) PG_RETURN_NULL();
  if (outcome.is_date) PG_RETURN_DATEADT(static_cast<DateADT>(outcome.value - kDateZero));
  PG_RETURN_FLOAT8(outcome.value);
}

// A keyword in capital letters; raises an error where there is none.
Datum keyword_of(std::string_view word) {
  word = clipped(word);
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

}  // namespace

SQL_FUNCTION(finance) { return answer(fcinfo, true); }

SQL_FUNCTION(finance_try) { return answer(fcinfo, false); }

// One for each keyword without lists, from the catalogue.
#define KEYWORD_FUNCTION(name, word) \
  SQL_FUNCTION(name) { return answer_of(fcinfo, word); }
#include "symbols.inc"

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

SQL_FUNCTION(finance_version) {
  (void)fcinfo;
  char line[200] = {};
  Outcome outcome;
  const bool is_well =
      guarded(outcome, [&] { host::versions(VXFNC_VERSION).copy(line, sizeof line - 1); });
  if (!is_well) report(outcome);
  PG_RETURN_TEXT_P(cstring_to_text(line));
}
