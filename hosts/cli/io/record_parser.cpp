#include "hosts/cli/io/record_parser.h"

#include <fmt/format.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "hosts/call/value.h"
#include "hosts/cli/io/tsv.h"

namespace cli {
namespace {

using nlohmann::json;

constexpr const char* kNoObject = "the line is not a JSON object";

struct Member {
  std::string name;
  std::string_view token;  // the value as it is written
};

// Splits a JSON object into its members. Their tokens stay as they are written, because a number
// may have more digits than a double. False when the line is not an object.
bool split_object(std::string_view line, std::vector<Member>& members) {
  members.clear();
  line = host::trim(line);
  // The parser takes a zero for the end of the text.
  if (!line.starts_with('{') || line.find('\0') != line.npos || !json::accept(line)) return false;
  int depth = 0;
  bool is_name = true;
  std::size_t start = 0;  // of the name or the token
  const auto end_token = [&](std::size_t end) {
    const std::string_view token = host::trim(line.substr(start, end - start));
    if (is_name && !token.empty()) {
      members.push_back({json::parse(token).get<std::string>(), {}});
    } else if (!token.empty()) {
      members.back().token = token;
    }
    start = end + 1;
  };
  for (std::size_t at = 0; at < line.size(); ++at) {
    const char c = line[at];
    if (c == '"') {
      for (++at; line[at] != '"'; ++at) at += line[at] == '\\' ? 1 : 0;
    } else if (c == '{' || c == '[') {
      if (++depth == 1) start = at + 1;
    } else if (c == '}' || c == ']') {
      if (--depth == 0) end_token(at);
    } else if (depth == 1 && (c == ':' || c == ',')) {
      end_token(at);
      is_name = c == ',';
    }
  }
  return true;
}

// A value as a cell: texts as they are, null as an empty cell.
std::string cell_of(std::string_view token) {
  if (token == "null") return {};
  return token.starts_with('"') ? json::parse(token).get<std::string>() : std::string(token);
}

}  // namespace

std::vector<std::string> member_names(std::string_view line) {
  std::vector<Member> members;
  if (!split_object(line, members)) throw std::invalid_argument(kNoObject);
  std::vector<std::string> names;
  for (const Member& member : members) {
    if (std::ranges::find(names, member.name) == names.end()) names.push_back(member.name);
  }
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
    const bool is_tsv = shape_->format == InputFormat::kTsv;
    if (line.empty() || (!is_tsv && host::trim(line).empty())) continue;
    record_.text = line;
    record_.error = {};
    if (is_tsv) {
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
  for (std::string& cell : cells_) {
    if (cell == kMissingCell) cell.clear();
  }
  record_.cells.assign(cells_.begin(), cells_.end());
}

void LineParser::parse_json(std::string_view line) {
  const auto& names = shape_->names;
  cells_.assign(names.size(), "");
  record_.tokens.assign(names.size(), "null");
  std::vector<Member> members;
  if (!split_object(line, members)) record_.error = kNoObject;
  std::size_t next = 0;  // members are mostly in the order of the columns
  for (const Member& member : members) {
    if (next >= names.size() || names[next] != member.name) {
      next = static_cast<std::size_t>(std::ranges::find(names, member.name) - names.begin());
    }
    if (next == names.size()) {
      error_ = fmt::format("the first line does not have the member {}", member.name);
      record_.error = error_;
      break;
    }
    cells_[next] = cell_of(member.token);
    record_.tokens[next++] = member.token;
  }
  record_.cells.assign(cells_.begin(), cells_.end());
}

RecordParser::RecordParser(std::string_view text, const Shape& shape)
    : parser_(shape.format == InputFormat::kCsv
                  ? decltype(parser_)(std::in_place_type<CsvParser>, text, shape.delimiter)
                  : decltype(parser_)(std::in_place_type<LineParser>, text, shape)) {}

}  // namespace cli
