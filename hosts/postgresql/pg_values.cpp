#include "hosts/postgresql/pg_values.h"

#include <algorithm>
#include <new>
#include <string>

#include "catalog/page.h"
#include "hosts/sql/sql_text.h"

extern "C" {
#include <catalog/pg_type.h>
#include <mb/pg_wchar.h>
#include <utils/builtins.h>
#include <utils/date.h>
#include <utils/timestamp.h>
}

namespace finance_pg {
namespace {

// Messages shorten texts as UTF-8. Long texts in other encodings are shortened before.
bool must_be_truncated(std::string_view text) noexcept {
  constexpr std::size_t kShown = 60;
  return text.size() > kShown && GetDatabaseEncoding() != PG_UTF8 &&
         std::ranges::any_of(text, [](char c) { return c < 0; });
}

SqlValue text_value(SqlValue::Kind kind, std::string_view text) {
  text = truncate_for_message(text);
  return {kind, 0.0, text.data(), text.size()};
}

}  // namespace

void fail(Failure& failure, int sql_state, std::string_view message,
          std::string_view detail) noexcept {
  const auto keep = [](char(&to)[1000], std::string_view text) {
    to[text.copy(to, sizeof to - 1)] = '\0';
  };
  failure.kind = Failure::kOfCall;
  failure.sql_state = sql_state;
  keep(failure.message, message);
  keep(failure.detail, detail);
}

void fail_of_exception(Failure& failure) noexcept {
  try {
    throw;
  } catch (const std::bad_alloc&) {
    fail(failure, ERRCODE_OUT_OF_MEMORY, "finance: out of memory", "");
  } catch (const std::exception& error) {
    fail(failure, ERRCODE_EXTERNAL_ROUTINE_EXCEPTION, error.what(), "");
  }
  failure.kind = Failure::kOfHost;
}

void report(const Failure& failure) {
  ereport(ERROR, (errcode(failure.sql_state), errmsg_internal("%s", failure.message),
                  failure.detail[0] == '\0' ? 0 : errdetail_internal("%s", failure.detail)));
  pg_unreachable();
}

int sql_state_of(host::Status status) noexcept {
  switch (status) {
    case host::Status::kWrongType:
      return ERRCODE_DATATYPE_MISMATCH;
    case host::Status::kInvalidArgument:
    case host::Status::kNotFinite:
      return ERRCODE_NUMERIC_VALUE_OUT_OF_RANGE;
    default:
      return ERRCODE_INVALID_PARAMETER_VALUE;
  }
}

// The detail of an error message: the arguments of the keyword, or the meaning of one argument.
std::string detail_of(const catalog::Keyword& keyword, const catalog::Argument* argument) {
  if (argument == nullptr) {
    return signature_of(keyword) + ": " + std::string(keyword.description.title) + '.';
  }
  return std::string(argument->name) + ": " + std::string(argument->meaning) + "; " +
         catalog::range_of(*argument) + '.';
}

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
      return {SqlValue::kDate, days_of(DatumGetTimestamp(datum)), nullptr, 0};
    case UNKNOWNOID:
      return text_value(SqlValue::kText, DatumGetCString(datum));
    case TEXTOID:
    case VARCHAROID:
    case BPCHAROID: {
      const text* const characters = DatumGetTextPP(datum);
      return text_value(SqlValue::kText, {VARDATA_ANY(characters), VARSIZE_ANY_EXHDR(characters)});
    }
    default:
      return text_value(SqlValue::kRefused, psprintf("of type %s", format_type_be(type)));
  }
  return text_value(SqlValue::kRefused, "infinite");
}

std::string_view truncate_for_message(std::string_view text) {
  constexpr int kKept = 57;
  if (!must_be_truncated(text)) return text;
  const int size = pg_mbcliplen(text.data(), static_cast<int>(text.size()), kKept);
  return psprintf("%.*s...", size, text.data());  // with the dots, the rest cannot be a number
}

host::Value value_of(const SqlValue& value, catalog::ArgumentKind kind) noexcept {
  const std::string_view text(value.text, value.size);
  switch (value.kind) {
    case SqlValue::kNull:
      return {};
    case SqlValue::kNumber:
      return {.number = value.number};
    case SqlValue::kDate:
      return {value.number, {}, host::Value::Kind::kDate};
    case SqlValue::kText:
      return host::value_of_sql_text(text, kind);
    case SqlValue::kRefused:
      break;
  }
  return {.word = text, .kind = host::Value::Kind::kText};
}

}  // namespace finance_pg
