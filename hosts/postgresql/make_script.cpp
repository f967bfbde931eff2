// Writes the scripts of the extension: without arguments the installation script, with --upgrade
// the script that upgrades release 0.1. With --symbols, it writes the macro calls that define the C
// functions of keywords and aggregates.
#include <fmt/format.h>

#include <algorithm>
#include <iostream>
#include <string>
#include <vector>

#include "catalog/catalog.h"
#include "catalog/page.h"
#include "hosts/sql/flow_aggregates.h"

namespace {

constexpr const char* kTypes =
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
)";

// Release 0.1 had functions with parameters of the type date. The functions of this release have
// the type timestamp in their place, to which PostgreSQL converts a date by itself.
constexpr const char* kDropOldFunctions =
    R"(-- The upgrade of release 0.1. This file is generated from the catalogue of keywords.
\echo Use "ALTER EXTENSION finance UPDATE" to load this file. \quit

DO $$
DECLARE
  old record;
BEGIN
  FOR old IN
    SELECT p.pronamespace::regnamespace || '.' || p.oid::regprocedure AS name,
           CASE p.prokind WHEN 'a' THEN 'AGGREGATE' ELSE 'FUNCTION' END AS kind
      FROM pg_depend AS d JOIN pg_proc AS p ON d.classid = 'pg_proc'::regclass AND d.objid = p.oid
     WHERE d.refclassid = 'pg_extension'::regclass AND d.deptype = 'e'
       AND d.refobjid = (SELECT oid FROM pg_extension WHERE extname = 'finance')
       AND 'date'::regtype = ANY (p.proargtypes::oid[])
     ORDER BY p.prokind, p.oid
  LOOP
    BEGIN
      EXECUTE format('DROP %s %s', old.kind, old.name);
    EXCEPTION WHEN dependent_objects_still_exist THEN
      IF old.name !~ '^[^(]*\.finance_[a-z_]*_add\(' THEN
        RAISE WARNING '% stays, because objects of the database use it', old.name
          USING DETAIL = 'Its calls need an argument with a type, such as DATE ''2026-11-23''.',
                HINT = format('To remove it, drop these objects, execute as a superuser ALTER EXTENSION finance DROP %1$s %2$s '
                              'and DROP %1$s %2$s, and create the objects again.', old.kind, old.name);
      END IF;
    END;
  END LOOP;
END
$$;
)";

constexpr const char* kAttributes = "LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 10";

// Asks the servers of foreign tables through temporary foreign tables over the view
// finance_release, because postgres_fdw has no other way to call a function.
constexpr const char* kShardCheck =
    R"(
{0} VIEW finance_release AS SELECT finance_version() AS version;
GRANT SELECT ON finance_release TO PUBLIC;
COMMENT ON VIEW finance_release IS 'the versions of the module and the extension, for finance_check_shards';

{0} FUNCTION finance_check_shards("table" regclass DEFAULT NULL)
  RETURNS TABLE (server name, version text, is_same boolean, error text)
  LANGUAGE plpgsql VOLATILE SET search_path = pg_catalog, pg_temp AS $$
DECLARE
  home name := (SELECT n.nspname FROM pg_extension AS e
                  JOIN pg_namespace AS n ON n.oid = e.extnamespace WHERE e.extname = 'finance');
  here text;
  build_time CONSTANT text := ' \(.*?\)';  -- servers that were built at different times can be the same
BEGIN
  EXECUTE format('SELECT version FROM %I.finance_release', home) INTO here;
  FOR server IN
    WITH RECURSIVE part(oid) AS (
      SELECT "table"::oid
      UNION SELECT i.inhrelid FROM part JOIN pg_inherits AS i ON i.inhparent = part.oid)
    SELECT s.srvname
      FROM pg_foreign_server AS s
      JOIN pg_foreign_data_wrapper AS w ON w.oid = s.srvfdw
     WHERE w.fdwname = 'postgres_fdw'
       AND ("table" IS NULL OR s.oid IN
            (SELECT f.ftserver FROM pg_foreign_table AS f JOIN part ON part.oid = f.ftrelid))
     ORDER BY s.srvname
  LOOP
    version := NULL;
    error := NULL;
    BEGIN
      EXECUTE format(
        'CREATE FOREIGN TABLE pg_temp.finance_release_there (version text) SERVER %I '
        'OPTIONS (schema_name %L, table_name ''finance_release'')', server, home);
      SELECT there.version INTO version FROM pg_temp.finance_release_there AS there;
      DROP FOREIGN TABLE pg_temp.finance_release_there;
    EXCEPTION WHEN OTHERS THEN
      error := SQLERRM;
    END;
    is_same := regexp_replace(version, build_time, '') IS NOT DISTINCT FROM regexp_replace(here, build_time, '');
    RETURN NEXT;
  END LOOP;
END
$$;
COMMENT ON FUNCTION finance_check_shards(regclass) IS
  'the version of the extension on each foreign server of a table, or on all servers of postgres_fdw';
)";

// Writes one script.
class Script {
 public:
  explicit Script(bool is_upgrade)
      : create_(is_upgrade ? "CREATE OR REPLACE" : "CREATE"), is_upgrade_(is_upgrade) {}

  void write() const {
    std::cout << (is_upgrade_ ? kDropOldFunctions : kTypes);
    write_general_functions();
    for (const host::FlowAggregate& aggregate : host::kFlowAggregates) {
      write_aggregate(aggregate, aggregate.name);
      write_aggregate(aggregate, host::try_name(aggregate.name));
    }
    for (const catalog::Keyword& keyword : catalog::keywords()) write_keyword(keyword);
    std::cout << fmt::format(kShardCheck, create_);
    write_keywords_view();
  }

 private:
  struct Parameter {
    std::string name;
    std::string type;
  };
  using Parameters = std::vector<Parameter>;

  static std::string quoted(std::string_view text) {
    std::string literal = "'";
    for (const char c : text) literal += c == '\'' ? "''" : std::string(1, c);
    return literal + "'";
  }

  static std::string list_of(const Parameters& parameters, bool has_names) {
    std::string list;
    for (const Parameter& parameter : parameters) {
      if (!list.empty()) list += ", ";
      list += has_names ? fmt::format("\"{}\" {}", parameter.name, parameter.type) : parameter.type;
    }
    return list;
  }

  // A function with a comment. The body is all that follows RETURNS.
  void write_function(std::string_view name, const Parameters& parameters, std::string_view body,
                      std::string_view comment) const {
    std::cout << fmt::format("\n{} FUNCTION {}({}) RETURNS {};\n", create_, name,
                             list_of(parameters, true), body)
              << fmt::format("COMMENT ON FUNCTION {}({}) IS {};\n", name,
                             list_of(parameters, false), quoted(comment));
  }

  void write_general_functions() const {
    const auto write_variadic = [this](std::string_view name, std::string_view type,
                                       std::string_view comment) {
      for (const char* rest : {"", ", VARIADIC arguments \"any\""}) {
        std::cout << fmt::format(
            "\n{} FUNCTION {}(keyword finance_keyword{}) RETURNS {}\n"
            "  AS 'MODULE_PATHNAME' {};\nCOMMENT ON FUNCTION {}(finance_keyword{}) IS {};\n",
            create_, name, rest, type, kAttributes, name, *rest == '\0' ? "" : ", VARIADIC \"any\"",
            quoted(comment));
      }
    };
    write_variadic("finance", "float8", "the result of a financial calculation");
    write_variadic("finance_try", "float8",
                   "the result of a financial calculation, or NULL if it fails");
    write_variadic("finance_error", "text",
                   "why a financial calculation fails, or NULL if it does not");
    write_function("finance_version", {},
                   "text\n  AS 'MODULE_PATHNAME' LANGUAGE C STABLE PARALLEL SAFE",
                   "the versions of the module, of its interface and of the extension");
    for (const char* type : {"text", "bpchar"}) {
      std::cout << fmt::format(
          "\nCOMMENT ON FUNCTION finance_keyword({}) IS 'the keyword of a text';\n", type);
    }
    const auto write_internal = [this](std::string_view signature, std::string_view strict) {
      std::cout << fmt::format(
          "\n{} FUNCTION {}\n  AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE{} PARALLEL SAFE;\n",
          create_, signature, strict);
    };
    write_internal("finance_flows_combine(internal, internal) RETURNS internal", "");
    write_internal("finance_flows_serialize(internal) RETURNS bytea", " STRICT");
    write_internal("finance_flows_deserialize(bytea, internal) RETURNS internal", " STRICT");
  }

  void write_aggregate(const host::FlowAggregate& aggregate, std::string_view name) const {
    using enum host::FlowParameter::Role;
    Parameters parameters;
    for (const host::FlowParameter& parameter : aggregate.parameters()) {
      parameters.push_back(
          {std::string(parameter.name), parameter.role == kDate ? "timestamp" : "float8"});
    }
    const std::string types = list_of(parameters, false);
    for (const char* step : {"add", "remove"}) {
      std::cout << fmt::format(
          "\n{} FUNCTION {}_{}(internal, {}) RETURNS internal\n"
          "  AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE CALLED ON NULL INPUT PARALLEL SAFE;\n",
          create_, name, step, list_of(parameters, true));
    }
    std::cout << fmt::format(
        "{0} FUNCTION {1}_value(internal) RETURNS float8\n"
        "  AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE CALLED ON NULL INPUT PARALLEL SAFE;\n"
        "{0} AGGREGATE {1}({2}) (\n"
        "  SFUNC = {1}_add, STYPE = internal, FINALFUNC = {1}_value,\n"
        "  COMBINEFUNC = finance_flows_combine, SERIALFUNC = finance_flows_serialize,\n"
        "  DESERIALFUNC = finance_flows_deserialize, MSFUNC = {1}_add, MINVFUNC = {1}_remove,\n"
        "  MSTYPE = internal, MFINALFUNC = {1}_value, PARALLEL = SAFE);\n"
        "COMMENT ON AGGREGATE {1}({3}) IS {4};\n",
        create_, name, list_of(parameters, true), types,
        quoted(fmt::format("{} of the cash flows of a group",
                           catalog::find(aggregate.keyword)->description.title)));
  }

  static std::string type_of(const catalog::Argument& argument, const char* basis_type) {
    if (argument.kind == catalog::ArgumentKind::kBasis) return basis_type;
    return std::string(argument.is_date() ? "timestamp" : "float8") +
           (argument.is_list() ? "[]" : "");
  }

  void write_call(const catalog::Keyword& keyword, std::size_t count,
                  const char* basis_type) const {
    Parameters parameters;
    for (const catalog::Argument& argument : keyword.arguments().first(count)) {
      parameters.push_back({std::string(argument.name) + (argument.is_list() ? "s" : ""),
                            type_of(argument, basis_type)});
    }
    const std::string_view title = keyword.description.title;
    const char* const type = keyword.result == catalog::ResultKind::kDate ? "date" : "float8";
    const std::string name = keyword.function_name();
    for (const bool is_try : {false, true}) {
      const std::string own = is_try ? host::try_name(name) : name;
      const std::string symbol = own + (keyword.has_lists() ? "_list" : "");
      write_function(
          own, parameters,
          fmt::format("{}\n  AS 'MODULE_PATHNAME', '{}' {}", type, symbol, kAttributes),
          is_try ? fmt::format("{}, or NULL if the calculation fails", title) : std::string(title));
    }
  }

  // A call with untyped arguments could mean an aggregate or a function of arrays. PostgreSQL
  // prefers a function of texts, which converts the texts to arrays.
  void write_text_call(const catalog::Keyword& keyword) const {
    Parameters parameters;
    std::string values;
    for (const catalog::Argument& argument : keyword.arguments()) {
      if (argument.presence == catalog::Presence::kOptional) break;
      const std::string name = std::string(argument.name) + (argument.is_list() ? "s" : "");
      parameters.push_back({name, argument.is_list() ? "text" : type_of(argument, "text")});
      values += fmt::format("{}\"{}\"{}{}", values.empty() ? "" : ", ", name,
                            argument.is_list() ? "::" : "",
                            argument.is_list() ? type_of(argument, "text") : "");
    }
    for (const std::string& name :
         {keyword.function_name(), host::try_name(keyword.function_name())}) {
      write_function(
          name, parameters,
          fmt::format("float8\n  LANGUAGE sql STABLE STRICT PARALLEL SAFE RETURN {}({})", name,
                      values),
          fmt::format("{}, of arrays that are written as texts", keyword.description.title));
    }
  }

  // One function for each number of arguments, because a default argument could not be
  // distinguished from NULL, and one for each type of the basis: its name or its number.
  void write_keyword(const catalog::Keyword& keyword) const {
    const auto arguments = keyword.arguments();
    for (std::size_t count = keyword.required(); count <= arguments.size(); ++count) {
      write_call(keyword, count, "text");
      if (arguments[count - 1].kind == catalog::ArgumentKind::kBasis) {
        write_call(keyword, count, "float8");
      }
    }
    if (keyword.has_dated_lists()) write_text_call(keyword);
  }

  void write_keywords_view() const {
    std::cout << fmt::format(
        "\n{} VIEW finance_keywords(keyword, title, signature, summary, result, formula, example, "
        "value, related) AS\n  VALUES",
        create_);
    const char* separator = "\n    (";
    for (const catalog::Keyword& keyword : catalog::keywords()) {
      const catalog::Description& text = keyword.description;
      std::cout << separator << quoted(keyword.word);
      const std::string signature = signature_of(keyword);
      for (const std::string_view cell :
           {text.title, std::string_view(signature), text.summary, text.result, text.formula,
            text.example, text.value, text.related}) {
        std::cout << ", " << quoted(cell);
      }
      separator = "),\n    (";
    }
    std::cout << ");\nGRANT SELECT ON finance_keywords TO PUBLIC;\n"
                 "COMMENT ON VIEW finance_keywords IS 'one row per keyword of finance';\n";
  }

  std::string_view create_;
  bool is_upgrade_;
};

void write_symbols() {
  const auto write_macro = [](std::string_view macro, auto&& write) {
    std::cout << fmt::format("#ifdef {}\n", macro);
    write();
    std::cout << "#endif\n";
  };
  write_macro("KEYWORD_FUNCTION", [] {
    for (const catalog::Keyword& keyword : catalog::keywords()) {
      if (keyword.has_lists()) continue;
      const std::string name = keyword.function_name();
      std::cout << fmt::format("KEYWORD_FUNCTION({}, \"{}\", kRaise)\n", name, keyword.word)
                << fmt::format("KEYWORD_FUNCTION({}, \"{}\", kNull)\n", host::try_name(name),
                               keyword.word);
    }
  });
  write_macro("LIST_FUNCTION", [] {
    for (const catalog::Keyword& keyword : catalog::keywords()) {
      if (!keyword.has_lists()) continue;
      const std::string name = keyword.function_name();
      std::cout << fmt::format("LIST_FUNCTION({}_list, \"{}\", false)\n", name, keyword.word)
                << fmt::format("LIST_FUNCTION({}_list, \"{}\", true)\n", host::try_name(name),
                               keyword.word);
    }
  });
  write_macro("FLOW_AGGREGATE", [] {
    for (std::size_t i = 0; i < host::kFlowAggregates.size(); ++i) {
      const std::string_view name = host::kFlowAggregates[i].name;
      std::cout << fmt::format("FLOW_AGGREGATE({}, {}, false)\n", name, i)
                << fmt::format("FLOW_AGGREGATE({}, {}, true)\n", host::try_name(name), i);
    }
  });
}

}  // namespace

int main(int argc, char** argv) {
  const std::string_view option = argc > 1 ? argv[1] : "";
  if (option == "--symbols") {
    write_symbols();
  } else {
    Script(option == "--upgrade").write();
  }
  return std::cout.flush() ? 0 : 1;
}
