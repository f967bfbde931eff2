// The output of rows: CSV, TSV or NDJSON, to standard output or to a file.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "hosts/call/value.h"

namespace cli {

using namespace host;  // values and checked calls

enum class Format : std::uint8_t {
  kCsv,     // cells are quoted where needed; a missing value is an empty cell
  kTsv,     // \t, \n, \r and \\ are escape sequences
  kNdjson,  // one JSON object per line; a missing value is null
};

// Writes the cells of a row, one after the other.
class RowFormat {
 public:
  RowFormat(Format format, char delimiter, int decimals, std::vector<std::string> names);

  // The header line; nothing for NDJSON.
  void header(std::string& out) const;

  // The next cell of a row: the text of a cell of the input, or a value.
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
  std::vector<std::string> members_;  // {"name": or ,"name": of each column
};

// Appends a text with the escape sequences of TSV.
void append_escaped(std::string& out, std::string_view text);

class OutputFile {
 public:
  // The path - is standard output. A regular file is replaced by commit, which keeps its
  // permissions. The file does not change before, even when the process is interrupted. All
  // functions throw std::runtime_error.
  explicit OutputFile(const std::string& path);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  void write(std::string_view text);
  void commit();

 private:
  [[noreturn]] void fail() const;

  std::string path_;
  std::string temporary_;  // empty when the file is written in place
  int descriptor_;
};

}  // namespace cli
