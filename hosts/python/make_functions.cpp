// Writes the functions of the Python package, one per keyword. With --stub, it writes their types.
#include <fmt/format.h>

#include <algorithm>
#include <iostream>
#include <string>
#include <vector>

#include "catalog/catalog.h"
#include "catalog/page.h"

namespace {

using catalog::Argument, catalog::ArgumentKind, catalog::Keyword, catalog::Presence,
    catalog::python_name_of;

std::string default_of(const Argument& argument) {
  if (argument.kind == ArgumentKind::kBasis) return "0";
  return std::string(
      argument.fallback.substr(0, argument.fallback.find_first_not_of("0123456789.")));
}

// The parameters of a function. A type is that of an argument, ": Number", or empty.
std::string parameters_of(const Keyword& keyword, auto&& type_of) {
  std::string text;
  for (const Argument& argument : keyword.arguments()) {
    const std::string type = type_of(argument);
    text.append(argument.name).append(type);
    if (argument.presence == Presence::kOptional) {
      text.append(type.empty() ? "=" : " = ").append(default_of(argument));
    }
    text += ", ";
  }
  return text + "*, ";
}

std::string type_name(const Argument& argument) {
  std::string name = "number";
  if (argument.is_date()) name = "date";
  if (argument.kind == ArgumentKind::kWhole || argument.kind == ArgumentKind::kFrequency)
    name = "int";
  if (argument.kind == ArgumentKind::kBasis) name = "int or str";
  name += argument.is_list() ? "s" : " or array of them";
  if (argument.presence == Presence::kOptional) name += ", default " + default_of(argument);
  return name;
}

std::string indented(std::string_view text) {
  return "        " + catalog::wrapped(text, "        ", 96);
}

// The allowed values, unless the type says it.
std::string allowed_text(const Argument& argument) {
  const std::string range = range_of(argument);
  return range == "date" || range == "any number" ? "" : fmt::format(" Allowed: {}.", range);
}

std::string heading(std::string_view title) {
  return fmt::format("\n    {}\n    {}\n", title, std::string(title.size(), '-'));
}

std::string docstring_of(const Keyword& keyword) {
  const catalog::Description& words = keyword.description;
  std::string text = "    \"\"\"" + catalog::sentence(words.title) + "\n\n    " +
                     catalog::wrapped(words.summary, "    ") + heading("Parameters");
  for (const Argument& argument : keyword.arguments()) {
    text += fmt::format("    {} : {}\n", argument.name, type_name(argument)) +
            indented(catalog::sentence(argument.meaning) + allowed_text(argument));
  }
  if (keyword.has_lists()) {
    text += "    by : array, optional\n" +
            indented(
                "The key of each amount, such as the name of a fund. The amounts of a key are "
                "a group, and the result is a Series with one row per key. Without keys, each "
                "list is one group, or has several: a list of lists, a table with one group "
                "per row, or a pair (values, offsets).");
    if (keyword.has_dated_lists()) {
      text += "    sort : bool, default True\n" +
              indented(
                  "Sort the amounts of a group by date, and add up the amounts of one date. "
                  "With False, they keep their order.");
    }
  }
  text += "    errors : {'warn', 'raise', 'coerce'}, default 'warn'\n" +
          indented(
              "What happens when rows fail. 'warn': their results are NaN, and one warning names "
              "the first. 'raise': FinanceError. 'coerce': their results are NaN.") +
          "    threads : int, optional\n" +
          indented(
              "The maximum number of threads. The default is the number of processors, and 1 in "
              "a Dask worker. The results do not depend on it.") +
          heading("Returns");
  const bool is_date = keyword.result == catalog::ResultKind::kDate;
  text += fmt::format("    {}, array or Series\n", is_date ? "datetime.date" : "float") +
          indented(fmt::format("{} {} where an argument is missing.",
                               catalog::sentence(words.result), is_date ? "NaT" : "NaN"));
  text += heading("Raises") + "    FinanceError\n" +
          indented(
              "A row fails and errors is 'raise'. The exception has the attributes keyword, "
              "argument and row.") +
          "    TypeError\n" +
          indented("An argument has the wrong type, such as a number for a date.") +
          "    ValueError\n" +
          indented(
              "The arrays have different shapes, the Series have different indexes, or an option "
              "is invalid.");
  if (!words.causes.empty()) {
    std::string causes;
    for (const catalog::Cause& cause : words.causes) {
      causes.append(causes.empty() ? "" : "; or ").append(cause.text);
    }
    text += heading("Warns") + "    FinanceWarning\n" +
            indented(fmt::format("A row fails and errors is 'warn': an argument is not allowed, or "
                                 "{}.",
                                 causes));
  } else {
    text += heading("Warns") + "    FinanceWarning\n" +
            indented("A row fails and errors is 'warn': an argument is not allowed.");
  }
  text += heading("See Also") + "    ";
  std::string related;
  for (const std::string_view word : catalog::words_in(words.related)) {
    related.append(related.empty() ? "" : ", ").append(python_name_of(word));
  }
  text += related + '\n' + heading("Notes") + "    ::\n\n";
  for (std::string_view formula = words.formula; !formula.empty();) {
    const std::size_t end = std::min(formula.find('\n'), formula.size());
    text.append("        ").append(formula.substr(0, end)).append("\n");
    formula.remove_prefix(std::min(end + 1, formula.size()));
  }
  return text + heading("Examples") + python_example_of(keyword) + "    \"\"\"\n";
}

std::string tuple_of(const Keyword& keyword) {
  std::string text;
  for (const Argument& argument : keyword.arguments()) {
    text.append(text.empty() ? "" : ", ").append(argument.name);
  }
  return text;
}

void write_function(const Keyword& keyword, std::size_t number) {
  const std::string options = "errors='warn', threads=None):";
  std::string extra;
  if (keyword.has_lists()) extra = keyword.has_dated_lists() ? "by=None, sort=True, " : "by=None, ";
  std::cout << "\n\ndef " << python_name_of(keyword.word) << '('
            << parameters_of(keyword, [](const Argument&) { return std::string(); }) << extra
            << options << '\n'
            << docstring_of(keyword);
  const std::string arguments = tuple_of(keyword);
  if (keyword.has_lists()) {
    std::cout << fmt::format(
        "    result = _flows({0}, {2}, {1}) if by is None else None\n"
        "    return _evaluate_flows({0}, ({1},), by, {2}, errors, threads) if result is None else "
        "result\n",
        number, arguments, keyword.has_dated_lists() ? "sort" : "True");
    return;
  }
  std::cout << fmt::format(
      "    result = _scalar({0}, {1})\n"
      "    return _evaluate({0}, ({1},), errors, threads) if result is None else result\n",
      number, arguments);
}

void write_types(const Keyword& keyword) {
  const bool is_date = keyword.result == catalog::ResultKind::kDate;
  const std::string name = python_name_of(keyword.word);
  const auto any = [](const Argument&) { return std::string(": Any"); };
  const std::string options = "errors: Errors = ..., threads: int | None = ...)";
  if (keyword.has_lists()) {
    std::cout << fmt::format("\ndef {}({}by: Any = ..., {}{} -> Any: ...\n", name,
                             parameters_of(keyword, any),
                             keyword.has_dated_lists() ? "sort: bool = ..., " : "", options);
    return;
  }
  const auto scalar = [](const Argument& argument) -> std::string {
    if (argument.is_date()) return ": Date";
    return argument.kind == ArgumentKind::kBasis ? ": Basis" : ": Number";
  };
  std::cout << fmt::format("\n@overload\ndef {}({}{} -> {}: ...\n", name,
                           parameters_of(keyword, scalar), options, is_date ? "date" : "float")
            << fmt::format("@overload\ndef {}({}{} -> Any: ...\n", name,
                           parameters_of(keyword, any), options);
}

std::string all_names() {
  std::string text = "__all__ = [\n";
  for (const Keyword& keyword : catalog::keywords()) {
    text += fmt::format("    '{}',\n", python_name_of(keyword.word));
  }
  return text + "]\n";
}

}  // namespace

int main(int count, char** arguments) {
  const bool is_stub = count > 1 && std::string_view(arguments[1]) == "--stub";
  const std::string header =
      "\"\"\"The functions, one per keyword. This file is generated from the catalogue of "
      "keywords.\"\"\"\n";
  if (is_stub) {
    std::cout << header
              << "from datetime import date\nfrom typing import Any, overload\n\n"
                 "from ._typing import Basis, Date, Errors, Number\n\n"
              << all_names();
    for (const Keyword& keyword : catalog::keywords()) write_types(keyword);
    return 0;
  }
  std::cout << header
            << "from ._flows import evaluate as _evaluate_flows\n"
               "from ._native import flows as _flows\n"
               "from ._native import scalar as _scalar\n"
               "from ._rows import evaluate as _evaluate\n\n"
            << all_names();
  std::size_t number = 0;
  for (const Keyword& keyword : catalog::keywords()) write_function(keyword, number++);
}
