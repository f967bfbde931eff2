// The rows or groups that one thread evaluates, and their results.
#pragma once

#include <fmt/format.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "hosts/cli/io/output.h"
#include "hosts/cli/table/plan.h"

namespace cli {

struct Work {
  Work(const Plan& what, const RowFormat& shape) : plan(what), format(shape), calls(what.kernel) {
    evaluator.values.resize(plan.header.size() + plan.expressions.size());
    evaluator.lists.resize(plan.header.size());
    columns.columns.resize(plan.header.size() + plan.expressions.size());
    errors.resize(plan.expressions.size());
  }

  void clear() {
    out.clear();
    diagnostics.clear();
    lines = rows = failed_rows = 0;
    is_stopped = false;
  }

  // Keeps the error message of a line, if it is one of the first. The message names the expression
  // when there are several.
  void add_error(std::uint64_t line, std::string_view message,
                 const Expression* expression = nullptr) {
    if (message.empty() || diagnostics.size() >= Diagnostics::kLimit) return;
    const bool is_named = expression != nullptr && plan.expressions.size() > 1;
    diagnostics.emplace_back(
        line, fmt::format("{}{}{}", subject, is_named ? expression->name + ": " : "", message));
  }

  // Evaluates the expressions on the values and lists of the evaluator. With a message, all of them
  // fail with it. Returns false when an expression failed.
  bool evaluate(std::uint64_t line, std::string_view message = {}) {
    bool all_well = true;
    if (!message.empty()) add_error(line, message);
    for (std::size_t i = 0; i < plan.expressions.size(); ++i) {
      Value& result = evaluator.values[plan.header.size() + i];
      if (message.empty()) {
        evaluator.begin(plan.job.on_error == OnError::kText ||
                        diagnostics.size() < Diagnostics::kLimit);
        result = plan.expressions[i].root->evaluate(evaluator);
        if (!evaluator.failed) continue;
        add_error(line, evaluator.message, &plan.expressions[i]);
        errors[i].swap(evaluator.message);
      } else {
        errors[i] = message;
      }
      all_well = false;
      result = {.kind = Value::Kind::kFailed};
    }
    ++rows;
    failed_rows += all_well ? 0 : 1;
    return all_well;
  }

  // Whether the row or group is written.
  bool is_kept(bool all_well) {
    is_stopped = !all_well && plan.job.on_error == OnError::kFail;
    return all_well || (!is_stopped && plan.job.on_error != OnError::kSkip);
  }

  // Appends the results, of which the first is in `column`.
  void append_results(std::size_t column) {
    for (std::size_t i = 0; i < plan.expressions.size(); ++i) {
      Value value = evaluator.values[plan.header.size() + i];
      if (value.is_failed() && plan.job.on_error == OnError::kText && !errors[i].empty()) {
        value = {.word = errors[i], .kind = Value::Kind::kText};
      }
      format.value(out, column + i, value);
    }
  }

  const Plan& plan;
  const RowFormat& format;
  Block block;
  BoundCalls calls;
  Evaluator evaluator{.calls = calls};     // for single rows, and for groups
  BlockEvaluator columns{.calls = calls};  // for blocks of rows
  std::string subject;                     // the keys of the group, for messages
  std::vector<std::string> errors;         // by expression
  std::string out;
  std::vector<std::pair<std::uint64_t, std::string>> diagnostics;  // lines and messages
  std::uint64_t lines = 0;
  std::uint64_t rows = 0;
  std::uint64_t failed_rows = 0;
  bool is_stopped = false;
};

}  // namespace cli
