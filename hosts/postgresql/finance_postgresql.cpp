// The functions of the PostgreSQL extension: finance, finance_try, finance_error, the functions of
// keywords without lists, and the type finance_keyword.
#include <algorithm>
#include <cmath>
#include <memory>
#include <string>

#include "catalog/page.h"
#include "hosts/call/module_loader.h"
#include "hosts/postgresql/pg_values.h"
#include "hosts/sql/sql_call.h"

extern "C" {
#include <catalog/pg_type.h>
#include <libpq/pqformat.h>
#include <utils/array.h>
#include <utils/builtins.h>
#include <utils/date.h>
#include <utils/lsyscache.h>
#include <utils/timestamp.h>

#pragma GCC visibility push(default)
PG_MODULE_MAGIC;
#pragma GCC visibility pop
}

using namespace finance_pg;

namespace {

using host::SqlCall;
using host::Value;

std::string detail_of_no_keyword() {
  std::string detail = "Keywords are";
  for (const catalog::Keyword& keyword : catalog::keywords()) {
    detail += (detail.back() == 'e' ? " " : ", ") + std::string(keyword.word);
  }
  return detail + '.';
}

// What a function does when a call fails: it raises an error, returns NULL, or returns the error
// message.
enum class OnError : int { kRaise, kNull, kMessage };

// False, and fills the failure, if the keyword is unknown or the number of arguments is wrong.
bool is_callable(std::string_view word, std::size_t count, OnError on_error, Failure& failure) {
  const catalog::Keyword* const keyword = catalog::find(word);
  if (keyword != nullptr && keyword->accepts(count)) return true;
  if (on_error == OnError::kNull) {
    failure.kind = Failure::kOfCall;
    return false;
  }
  fail(failure, ERRCODE_UNDEFINED_FUNCTION, *SqlCall::keyword_error(word, count),
       keyword == nullptr ? detail_of_no_keyword() : detail_of(*keyword, nullptr));
  return false;
}

int sql_state_of(const SqlValue& value, catalog::ArgumentKind kind) noexcept {
  if (value.kind == SqlValue::kRefused) return ERRCODE_DATATYPE_MISMATCH;
  const Value seen = value_of(value, kind);
  if (seen.is_text()) return ERRCODE_INVALID_PARAMETER_VALUE;
  return host::has_type(seen, kind) ? ERRCODE_NUMERIC_VALUE_OUT_OF_RANGE
                                    : ERRCODE_DATATYPE_MISMATCH;
}

// Fills the failure of a call.
void explain(const SqlCall& call, const host::CallResult& result, const SqlValue* arguments,
             Failure& failure) noexcept {
  guarded(failure, [&] {
    if (result.status == host::Status::kOutOfMemory) throw std::bad_alloc();
    const std::string message =
        call.error_message(result, [arguments](std::size_t i, catalog::ArgumentKind kind) {
          return value_of(arguments[i - 1], kind);
        });
    const catalog::Argument* const parameter =
        result.position == 0 ? nullptr : &call.parameter(result.position);
    int sql_state = finance_pg::sql_state_of(result.status);
    if (parameter != nullptr) {
      sql_state = sql_state_of(arguments[result.position - 1], parameter->kind);
    }
    fail(failure, sql_state, message, detail_of(call.keyword(), parameter));
  });
}

// The state that a call in a statement keeps from row to row, in the server's memory.
struct CallSite {
  SqlCall* call;     // of the last row; null at first
  Oid* types;        // of the arguments after the keyword; for a domain, its base type
  SqlValue* values;  // of the same arguments
  MemoryContextCallback on_end;
};

void forget_call(void* site) noexcept {
  delete static_cast<CallSite*>(site)->call;
  static_cast<CallSite*>(site)->call = nullptr;
}

// Prepares the site's call for this keyword and number of arguments, unless it already is.
bool prepare(CallSite& site, std::string_view word, std::size_t count, OnError on_error,
             Failure& failure) noexcept {
  if (site.call != nullptr && site.call->keyword().word == word && site.call->size() == count) {
    return true;
  }
  forget_call(&site);
  guarded(failure, [&] {
    if (!is_callable(word, count, on_error, failure)) return;
    site.call =
        std::make_unique<SqlCall>(host::loaded_module(), *catalog::find(word), count).release();
  });
  return site.call != nullptr;
}

struct SqlValues {
  const SqlValue* values;
  std::size_t count;
};

// The type of an argument in the expression; its declared type if there is no expression.
Oid type_of(FunctionCallInfo fcinfo, int argument) {
  const Oid type = get_fn_expr_argtype(fcinfo->flinfo, argument);
  if (OidIsValid(type)) return type;
  Oid* declared = nullptr;
  int count = 0;
  get_func_signature(fcinfo->flinfo->fn_oid, &declared, &count);
  return argument < count ? declared[argument] : TEXTOID;
}

// The site of a call; its arguments start at a position.
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

void set_argument(SqlCall& call, std::size_t position, const SqlValue& value) noexcept {
  switch (value.kind) {
    case SqlValue::kNull:
      return call.set_missing();
    case SqlValue::kNumber:
      return call.set_number(position, value.number);
    case SqlValue::kDate:
      return call.set_date(position, value.number);
    case SqlValue::kText:
      return call.set_text(position, {value.text, value.size});
    case SqlValue::kRefused:
      return call.set_wrong_type(position);
  }
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
    if (!nulls[i]) values[i] = plain_value(elements[i], base_type);  // zeroed memory means NULL
  }
  pfree(elements);
  pfree(nulls);
  return {values, room};
}

// Sets an argument of the call. Numbers and dates, the common case, are set directly.
void set_argument(SqlCall& call, std::size_t position, Datum datum, Oid type) {
  switch (type) {
    case INT2OID:
      return call.set_number(position, DatumGetInt16(datum));
    case INT4OID:
      return call.set_number(position, DatumGetInt32(datum));
    case INT8OID:
      return call.set_number(position, static_cast<double>(DatumGetInt64(datum)));
    case FLOAT4OID:
      return call.set_number(position, static_cast<double>(DatumGetFloat4(datum)));
    case FLOAT8OID:  // for a date, the day number that finance('COUPPCD', ...) returns
      return call.set_number_or_day(position, DatumGetFloat8(datum));
    case DATEOID:
      if (DATE_NOT_FINITE(DatumGetDateADT(datum))) break;
      return call.set_date(position, DatumGetDateADT(datum) + kDateZero);
    case TIMESTAMPOID:
      if (TIMESTAMP_NOT_FINITE(DatumGetTimestamp(datum))) break;
      return call.set_date(position, days_of(DatumGetTimestamp(datum)));
    default:
      break;
  }
  set_argument(call, position, plain_value(datum, type));
}

// Evaluates a keyword. The arguments start at a position. The functions are strict: no argument is
// NULL, but elements of VARIADIC array[...] may be.
host::Value call(FunctionCallInfo fcinfo, std::string_view word, int first, OnError on_error,
                 Failure& failure) {
  CallSite* const site = site_of(fcinfo, first);
  const bool is_array = get_fn_expr_variadic(fcinfo->flinfo);
  SqlValues elements{};
  if (is_array) elements = elements_of(PG_GETARG_DATUM(first));
  const std::size_t count =
      is_array ? elements.count : static_cast<std::size_t>(PG_NARGS() - first);
  if (!prepare(*site, word, count, on_error, failure)) return {};

  SqlCall& prepared = *site->call;
  prepared.begin();
  for (std::size_t i = 1; i <= count; ++i) {
    const int argument = first + static_cast<int>(i) - 1;
    if (is_array) {
      set_argument(prepared, i, elements.values[i - 1]);
    } else {
      set_argument(prepared, i, PG_GETARG_DATUM(argument), site->types[i - 1]);
    }
  }
  const host::CallResult result = prepared.run();
  if (!result.ok() && on_error == OnError::kNull && result.status != host::Status::kOutOfMemory) {
    failure.kind = Failure::kOfCall;
  } else if (!result.ok()) {
    for (std::size_t i = 0; i < count && !is_array; ++i) {
      const int argument = first + static_cast<int>(i);
      site->values[i] = plain_value(PG_GETARG_DATUM(argument), site->types[i]);
    }
    explain(prepared, result, is_array ? elements.values : site->values, failure);
  }
  constexpr std::size_t kKept = 100;  // arguments; memory for more is freed after each row
  if (count > kKept) forget_call(site);
  CHECK_FOR_INTERRUPTS();  // a long list can take seconds
  return result.value;
}

// finance, finance_try and finance_error: the keyword is the first argument.
Datum evaluate_any(FunctionCallInfo fcinfo, OnError on_error) {
  CHECK_FOR_INTERRUPTS();
  Failure failure;
  const text* const word = PG_GETARG_TEXT_PP(0);
  const host::Value value =
      call(fcinfo, {VARDATA_ANY(word), VARSIZE_ANY_EXHDR(word)}, 1, on_error, failure);
  if (is_error(failure, on_error != OnError::kRaise)) report(failure);
  if (on_error == OnError::kMessage) {
    if (failure.is_none()) PG_RETURN_NULL();
    PG_RETURN_TEXT_P(cstring_to_text(failure.message));
  }
  if (!failure.is_none() || std::isnan(value.number)) PG_RETURN_NULL();
  PG_RETURN_FLOAT8(value.number);
}

// The function of one keyword. It finds the keyword without a lookup by name in the database, so
// that functions in other schemas cannot change what it calls.
Datum evaluate_keyword(FunctionCallInfo fcinfo, std::string_view word, OnError on_error) {
  CHECK_FOR_INTERRUPTS();
  Failure failure;
  const host::Value value = call(fcinfo, word, 0, on_error, failure);
  if (is_error(failure, on_error != OnError::kRaise)) report(failure);
  if (!failure.is_none() || std::isnan(value.number)) PG_RETURN_NULL();
  if (value.is_date()) PG_RETURN_DATEADT(static_cast<DateADT>(value.number - kDateZero));
  PG_RETURN_FLOAT8(value.number);
}

// The keyword in capital letters; raises an error if the keyword is unknown.
Datum keyword_of(std::string_view word) {
  word = truncate_for_message(word);
  char canonical[16] = {};
  Failure failure;
  const bool is_known = guarded(failure, [&] {
    const catalog::Keyword* const keyword = catalog::find(word);
    if (keyword != nullptr) return void(keyword->word.copy(canonical, sizeof canonical - 1));
    fail(failure, ERRCODE_UNDEFINED_FUNCTION, "finance: " + host::unknown_keyword(word),
         detail_of_no_keyword());
  });
  if (!is_known) report(failure);
  PG_RETURN_TEXT_P(cstring_to_text(canonical));
}

}  // namespace

SQL_FUNCTION(finance) { return evaluate_any(fcinfo, OnError::kRaise); }

SQL_FUNCTION(finance_try) { return evaluate_any(fcinfo, OnError::kNull); }

SQL_FUNCTION(finance_error) { return evaluate_any(fcinfo, OnError::kMessage); }

// The functions of each keyword without lists.
#define KEYWORD_FUNCTION(name, word, on_error) \
  SQL_FUNCTION(name) { return evaluate_keyword(fcinfo, word, OnError::on_error); }
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
  Failure failure;
  const bool is_loaded =
      guarded(failure, [&] { host::versions(VXFNC_VERSION).copy(line, sizeof line - 1); });
  if (!is_loaded) report(failure);
  PG_RETURN_TEXT_P(cstring_to_text(line));
}
