#include "hosts/cli/io/record_parser.h"

#include <fmt/format.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "hosts/cli/io/tsv.h"

namespace cli {
namespace {

using Json = nlohmann::ordered_json;

constexpr const char* kNoObject = "the line is not a JSON object";

Json object_of(std::string_view line) {
  return Json::parse(line, nullptr, /*allow_exceptions=*/false);
}

// A member as a cell: texts as they are, null as an empty cell.
std::string cell_of(const Json& member) {
  if (member.is_null()) return {};
  if (member.is_string()) return member.get<std::string>();
  return member.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace

std::vector<std::string> member_names(std::string_view line) {
  const Json object = object_of(line);
  if (!object.is_object()) throw std::invalid_argument(kNoObject);
  std::vector<std::string> names;
  for (const auto& member : object.items()) names.push_back(member.key());
  return names;
}

bool LineParser::next() {
  if (shape_->format == InputFormat::kNone) {
    record_.text = std::exchange(text_, {});
    return !record_.text.empty();
  }
  while (!text_.empty()) {
    const std::size_t end = std::min(text_.find('\n'), text_.size());
    std::string_view line = text_.substr(0, end);
    text_.remove_prefix(std::min(end + 1, text_.size()));
    if (line.ends_with('\r')) line.remove_suffix(1);
    record_.line = line_++;
    if (line.empty()) continue;
    record_.text = line;
    record_.error = {};
    if (shape_->format == InputFormat::kTsv) {
      parse_tsv(line);
    } else {
      parse_json(line);
    }
    return true;
  }
  return false;
}

void LineParser::parse_tsv(std::string_view line) {
  split_line(line, Escape::kBackslash, cells_);
  record_.cells.assign(cells_.begin(), cells_.end());
}

void LineParser::parse_json(std::string_view line) {
  const Json object = object_of(line);
  cells_.assign(shape_->names.size(), "");
  tokens_.assign(shape_->names.size(), "null");
  if (!object.is_object()) {
    record_.error = kNoObject;
  } else {
    std::size_t next = 0;  // members are mostly in the order of the columns
    for (const auto& member : object.items()) {
      const auto& names = shape_->names;
      if (next >= names.size() || names[next] != member.key()) {
        next = static_cast<std::size_t>(std::ranges::find(names, member.key()) - names.begin());
      }
      if (next == names.size()) {
        error_ = fmt::format("the first line does not have the member {}", member.key());
        record_.error = error_;
        break;
      }
      cells_[next] = cell_of(member.value());
      tokens_[next++] = member.value().dump(-1, ' ', false, Json::error_handler_t::replace);
    }
  }
  record_.cells.assign(cells_.begin(), cells_.end());
  record_.tokens.assign(tokens_.begin(), tokens_.end());
}

RecordParser::RecordParser(std::string_view text, const Shape& shape)
    : parser_(shape.format == InputFormat::kCsv
                  ? decltype(parser_)(std::in_place_type<CsvParser>, text, shape.delimiter)
                  : decltype(parser_)(std::in_place_type<LineParser>, text, shape)) {}

}  // namespace cli
