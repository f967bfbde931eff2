// Rows out: CSV, TSV or NDJSON, to standard output or to a file that appears whole or not at all.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "hosts/call/value.h"

namespace cli {

using namespace host;  // what every host knows of values and calls

enum class Format : std::uint8_t {
  kCsv,     // cells quoted where they must be; the missing value is an empty cell
  kTsv,     // \t \n \r \\ stand for tab, line feed, carriage return and backslash
  kNdjson,  // one JSON object a line; the missing value is null
};

// Writes cells of a row one behind the other.
class RowFormat {
 public:
  RowFormat(Format format, char delimiter, int decimals, std::vector<std::string> names);

  // A line of column names; nothing for NDJSON.
  void header(std::string& out) const;

  // The next cell of a row, as it was read or as a value.
  void cell(std::string& out, std::size_t column, std::string_view text) const;
  void value(std::string& out, std::size_t column, const Value& value) const;

  void end(std::string& out) const;

 private:
  void begin_cell(std::string& out, std::size_t column) const;
  void text_cell(std::string& out, std::string_view text) const;

  Format format_;
  char delimiter_;
  int decimals_;
  std::vector<std::string> names_;
  std::vector<std::string> members_;  // the names as JSON, with what stands around them
};

// Appends a text with its control characters and backslashes escaped, as in TSV.
void append_escaped(std::string& out, std::string_view text);

class OutputFile {
 public:
  // Standard output where the path is -. A regular file is replaced by commit, with its
  // permissions; until then it stays as it is, even when the process is interrupted. Throws
  // std::runtime_error, as all others do.
  explicit OutputFile(const std::string& path);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  void write(std::string_view text);
  void commit();

 private:
  [[noreturn]] void fail() const;

  std::string path_;
  std::string temporary_;  // empty where output is written in place
  int descriptor_;
};

}  // namespace cli
