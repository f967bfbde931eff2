// The records of a table in any of its formats.
#pragma once

#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "hosts/cli/io/records.h"

namespace cli {

enum class InputFormat : std::uint8_t {
  kCsv,
  kTsv,     // cells separated by tabs, with the escape sequences \t \n \r and \\; \N is missing
  kNdjson,  // one JSON object per line
  kNone,    // one record without cells
};

// How the records of a table are written.
struct Shape {
  InputFormat format = InputFormat::kCsv;
  char delimiter = ',';            // of CSV
  std::vector<std::string> names;  // of the columns; NDJSON needs them to order its members

  [[nodiscard]] Framing framing() const noexcept {
    return format == InputFormat::kCsv ? Framing::kCsv : Framing::kLines;
  }
};

// Parses one record per line: TSV or NDJSON. Lines end with LF or CRLF. Empty lines are skipped.
class LineParser {
 public:
  LineParser(std::string_view text, const Shape& shape) noexcept : text_(text), shape_(&shape) {}

  bool next();  // false at the end
  [[nodiscard]] const Record& record() const noexcept { return record_; }
  [[nodiscard]] std::uint64_t lines() const noexcept { return line_; }

 private:
  void parse_tsv(std::string_view line);
  void parse_json(std::string_view line);

  std::string_view text_;
  const Shape* shape_;
  std::uint64_t line_ = 0;
  Record record_{};
  std::vector<std::string> cells_;
  std::string error_;
};

// Parses the records of a text. The shape must exist as long as the parser.
class RecordParser {
 public:
  RecordParser(std::string_view text, const Shape& shape);

  bool next() {
    return std::visit([](auto& parser) { return parser.next(); }, parser_);
  }
  [[nodiscard]] const Record& record() const {
    return std::visit([](const auto& parser) -> const Record& { return parser.record(); }, parser_);
  }
  [[nodiscard]] std::uint64_t lines() const {
    return std::visit([](const auto& parser) { return parser.lines(); }, parser_);
  }

 private:
  std::variant<CsvParser, LineParser> parser_;
};

// The names of the members of the JSON object in a line, in their order. Throws
// std::invalid_argument when the line is not a JSON object.
std::vector<std::string> member_names(std::string_view line);

}  // namespace cli
