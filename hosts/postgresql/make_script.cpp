// Writes the installation script of the extension: finance and finance_try, the aggregates, and for
// each keyword without lists the functions that bear its name. With --symbols, it writes the macro
// calls that define the C functions of keywords and aggregates.
#include <iostream>
#include <string>

#include "catalog/catalog.h"
#include "hosts/sql/flow_aggregates.h"

namespace {

constexpr const char* kPreamble =
    R"(-- The functions of the extension. This file is generated from the catalogue of keywords.
\echo Use "CREATE EXTENSION finance" to load this file. \quit

-- The type has no collation, so that calls with a constant keyword can run on foreign servers.
CREATE TYPE finance_keyword;
CREATE FUNCTION finance_keyword_in(cstring) RETURNS finance_keyword
  AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION finance_keyword_out(finance_keyword) RETURNS cstring
  AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION finance_keyword_recv(internal) RETURNS finance_keyword
  AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION finance_keyword_send(finance_keyword) RETURNS bytea
  AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE TYPE finance_keyword (INPUT = finance_keyword_in, OUTPUT = finance_keyword_out,
  RECEIVE = finance_keyword_recv, SEND = finance_keyword_send,
  INTERNALLENGTH = VARIABLE, STORAGE = plain);
CREATE FUNCTION finance_keyword(text) RETURNS finance_keyword
  AS 'MODULE_PATHNAME', 'finance_keyword_of_text' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE CAST (text AS finance_keyword) WITH FUNCTION finance_keyword(text) AS IMPLICIT;
CREATE CAST (varchar AS finance_keyword) WITH FUNCTION finance_keyword(text) AS IMPLICIT;
CREATE FUNCTION finance_keyword(bpchar) RETURNS finance_keyword
  AS 'MODULE_PATHNAME', 'finance_keyword_of_text' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE CAST (bpchar AS finance_keyword) WITH FUNCTION finance_keyword(bpchar) AS IMPLICIT;

CREATE FUNCTION finance(keyword finance_keyword, VARIADIC arguments "any") RETURNS float8
  AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 10;
CREATE FUNCTION finance(keyword finance_keyword) RETURNS float8
  AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 10;
CREATE FUNCTION finance_try(keyword finance_keyword, VARIADIC arguments "any") RETURNS float8
  AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 10;
CREATE FUNCTION finance_try(keyword finance_keyword) RETURNS float8
  AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 10;
CREATE FUNCTION finance_version() RETURNS text
  AS 'MODULE_PATHNAME' LANGUAGE C STABLE PARALLEL SAFE;

CREATE FUNCTION finance_flows_combine(internal, internal) RETURNS internal
  AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE FUNCTION finance_flows_serialize(internal) RETURNS bytea
  AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION finance_flows_deserialize(bytea, internal) RETURNS internal
  AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
)";

const char* type_of(catalog::ArgumentKind kind) {
  switch (kind) {
    case catalog::ArgumentKind::kDate:
      return "date";
    case catalog::ArgumentKind::kDateTime:
      return "timestamp";
    default:
      return "float8";
  }
}

bool has_lists(const catalog::Keyword& keyword) { return keyword.max_args() == catalog::kNoBound; }

void write_aggregate(const host::FlowAggregate& aggregate) {
  const std::string parameters = std::string(aggregate.has_rate ? "rate float8, " : "") +
                                 "amount float8, " +
                                 (aggregate.is_dated ? "date date" : "period float8");
  const std::string add = std::string(aggregate.name) + "_add";
  const std::string value = std::string(aggregate.name) + "_value";
  std::cout << "\nCREATE FUNCTION " << add << "(internal, " << parameters
            << ") RETURNS internal\n"
               "  AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE CALLED ON NULL INPUT PARALLEL SAFE;\n"
               "CREATE FUNCTION "
            << value
            << "(internal) RETURNS float8\n"
               "  AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE CALLED ON NULL INPUT PARALLEL SAFE;\n"
               "CREATE AGGREGATE "
            << aggregate.name << '(' << parameters << ") (\n  SFUNC = " << add
            << ", STYPE = internal, FINALFUNC = " << value
            << ",\n"
               "  COMBINEFUNC = finance_flows_combine, SERIALFUNC = finance_flows_serialize,\n"
               "  DESERIALFUNC = finance_flows_deserialize, PARALLEL = SAFE);\n";
}

void write_function(const catalog::Keyword& keyword, std::size_t count, const char* basis_type) {
  std::string parameters;
  for (const catalog::Argument& argument : keyword.arguments().first(count)) {
    const bool is_basis = argument.kind == catalog::ArgumentKind::kBasis;
    parameters += (parameters.empty() ? "\"" : ", \"") + std::string(argument.name) + "\" " +
                  (is_basis ? basis_type : type_of(argument.kind));
  }
  std::cout << "\nCREATE FUNCTION " << keyword.function_name() << '(' << parameters << ") RETURNS "
            << (keyword.result == catalog::ResultKind::kDate ? "date" : "float8")
            << "\n  AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 10;\n";
}

// One function for each number of arguments, because a default argument could not be distinguished
// from NULL, and one for each type of the basis: its name or its number.
void write_functions(const catalog::Keyword& keyword) {
  for (std::size_t count = keyword.min_args(); count <= keyword.max_args(); ++count) {
    write_function(keyword, count, "text");
    if (keyword.argument_at(count, count)->kind == catalog::ArgumentKind::kBasis) {
      write_function(keyword, count, "float8");
    }
  }
}

void write_script() {
  std::cout << kPreamble;
  for (const host::FlowAggregate& aggregate : host::kFlowAggregates) write_aggregate(aggregate);
  for (const catalog::Keyword& keyword : catalog::keywords()) {
    if (!has_lists(keyword)) write_functions(keyword);
  }
}

void write_symbols() {
  std::cout << "#ifdef KEYWORD_FUNCTION\n";
  for (const catalog::Keyword& keyword : catalog::keywords()) {
    if (has_lists(keyword)) continue;
    std::cout << "KEYWORD_FUNCTION(" << keyword.function_name() << ", \"" << keyword.word
              << "\")\n";
  }
  std::cout << "#endif\n#ifdef FLOW_AGGREGATE\n";
  for (std::size_t i = 0; i < host::kFlowAggregates.size(); ++i) {
    std::cout << "FLOW_AGGREGATE(" << host::kFlowAggregates[i].name << ", " << i << ")\n";
  }
  std::cout << "#endif\n";
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 1 && std::string_view(argv[1]) == "--symbols") {
    write_symbols();
  } else {
    write_script();
  }
  return std::cout.flush() ? 0 : 1;
}
