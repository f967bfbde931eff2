#include "hosts/cli/engines/filter.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <optional>
#include <stdexcept>
#include <vector>

#include "hosts/call/checked_call.h"
#include "hosts/cli/io/output.h"
#include "hosts/cli/io/records.h"

namespace cli {
namespace {

// Appends the value of a cell, or the values of a list such as [1,2] or
// ['2026-11-23','2027-05-15']. NULL in a list is a missing value.
void append_values(std::string_view cell, std::vector<Value>& values) {
  if (!cell.starts_with('[') || !cell.ends_with(']')) {
    values.push_back(cell == kMissingCell ? Value{} : value_of_cell(cell));
    return;
  }
  const std::string_view list = trim(cell.substr(1, cell.size() - 2));
  for (std::size_t at = 0, end = 0; !list.empty() && end < list.size(); at = end + 1) {
    end = std::min(list.find(',', at), list.size());
    std::string_view element = trim(list.substr(at, end - at));
    const bool is_quoted = element.size() > 1 && element.front() == element.back() &&
                           (element.front() == '\'' || element.front() == '"');
    if (is_quoted) element = element.substr(1, element.size() - 2);
    const bool is_missing = element == kMissingCell || element == "NULL" || element == "null";
    values.push_back(is_missing ? Value{} : value_of_cell(element));
  }
}

class Filter {
 public:
  Filter(const vxkernel::Kernel& kernel, const FilterJob& job) : kernel_(kernel), job_(job) {
    if (job.keyword.empty()) return;
    keyword_ = catalog::find(job.keyword);
    if (keyword_ == nullptr) throw std::runtime_error(unknown_keyword(job.keyword));
  }

  // Appends the result of a row. Returns false when the row failed: message() has the reason.
  bool evaluate_row(std::string_view row, std::string& out) {
    for (std::size_t i = 0; i < job_.kept; ++i) {
      const std::size_t end = std::min(row.find('\t'), row.size());
      out.append(row.substr(0, end)).append(1, '\t');
      row.remove_prefix(std::min(end + 1, row.size()));
    }
    message_ = evaluate(row);
    const std::size_t before = out.size();
    if (message_.empty()) {
      append_value(out, result_, job_.decimals);
    } else if (job_.on_error == OnError::kText) {
      append_escaped(out, message_);
    }
    if (out.size() == before) out += kMissingCell;
    out += '\n';
    return message_.empty();
  }

  [[nodiscard]] const std::string& message() const noexcept { return message_; }

 private:
  // Evaluates the cells of a row. Returns the error message, which is empty on success.
  std::string evaluate(std::string_view row) {
    split_line(row, job_.escape, cells_);
    std::size_t first = 0;
    const catalog::Keyword* keyword = keyword_;
    if (keyword == nullptr) {
      keyword = catalog::find(cells_[first++]);
      if (keyword == nullptr) return unknown_keyword(cells_[0]);
    }
    values_.clear();
    for (; first < cells_.size(); ++first) append_values(cells_[first], values_);
    if (!call_ || &call_->keyword() != keyword || call_->size() != values_.size()) {
      if (auto error = CheckedCall::arity_error(*keyword, values_.size()))
        return fmt::format("{}: {}", keyword->word, *error);
      call_.emplace(kernel_, *keyword, values_.size());
    }
    call_->begin();
    for (std::size_t i = 0; i < values_.size(); ++i) call_->set(i + 1, values_[i]);
    const CallResult result = call_->run();
    if (!result.ok()) {
      return fmt::format("{}: {}", keyword->word, call_->error_message(result, values_));
    }
    result_ = result.value;
    return {};
  }

  const vxkernel::Kernel& kernel_;
  const FilterJob& job_;
  const catalog::Keyword* keyword_ = nullptr;
  std::optional<CheckedCall> call_;  // of the last row with a valid number of arguments
  std::vector<std::string> cells_;
  std::vector<Value> values_;
  Value result_;
  std::string message_;
};

// The number of rows in the header of a chunk; nothing when the header is invalid.
std::optional<std::uint64_t> rows_of_chunk(std::string_view header) {
  std::uint64_t rows = 0;
  const char* const last = header.data() + header.size();
  const auto [end, error] = std::from_chars(header.data(), last, rows);
  return error == std::errc() && end == last ? std::optional(rows) : std::nullopt;
}

}  // namespace

ExitCode filter(const vxkernel::Kernel& kernel, const FilterJob& job) {
  Filter filter(kernel, job);
  InputFile input("-");
  BlockReader reader(input, Framing::kLines, '\t');
  OutputFile output("-");
  Diagnostics diagnostics;
  Block block;
  std::string out;
  std::uint64_t left_of_chunk = 0;
  std::uint64_t line = 1;
  while (reader.next(block)) {
    out.clear();
    for (std::string_view rest = block.text; !rest.empty(); ++line) {
      const std::size_t end = std::min(rest.find('\n'), rest.size());
      std::string_view row = rest.substr(0, end);
      rest.remove_prefix(std::min(end + 1, rest.size()));
      if (row.ends_with('\r')) row.remove_suffix(1);
      if (job.has_chunk_headers && left_of_chunk == 0) {
        const auto rows = rows_of_chunk(row);
        if (!rows) {
          output.write(out);
          throw std::runtime_error(fmt::format(
              "standard input:{}: the header of a chunk must be the number of its rows", line));
        }
        left_of_chunk = *rows;
        continue;
      }
      if (left_of_chunk > 0) --left_of_chunk;
      const std::size_t before = out.size();
      const bool all_well = filter.evaluate_row(row, out);
      diagnostics.count(1, all_well ? 0 : 1);
      if (all_well) continue;
      if (!diagnostics.limit_reached())
        diagnostics.report(fmt::format("standard input:{}: {}", line, filter.message()));
      if (job.on_error != OnError::kFail) continue;
      output.write(std::string_view(out).substr(0, before));
      return kCalculationFailed;
    }
    output.write(out);
  }
  diagnostics.finish("standard input", "rows");
  if (left_of_chunk > 0) {
    throw std::runtime_error(
        fmt::format("standard input: the last chunk ends {} rows early", left_of_chunk));
  }
  return kAllWell;
}

}  // namespace cli
