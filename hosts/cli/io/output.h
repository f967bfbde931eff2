// The output of rows: CSV, TSV or NDJSON, to standard output or to a file.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "hosts/call/value.h"
#include "hosts/cli/io/aligned.h"

namespace cli {

using namespace host;  // values and checked calls

enum class Format : std::uint8_t {
  kCsv,     // cells are quoted where needed; a missing value is an empty cell
  kTsv,     // \t, \n, \r and \\ are escape sequences
  kNdjson,  // one JSON object per line; a missing value is null
  kTable,   // as kTsv; the output file aligns the columns
};

// Writes the cells of a row, one after the other.
class RowFormat {
 public:
  // Cells of the input are texts in NDJSON, except in the columns of numbers.
  RowFormat(Format format, char delimiter, int decimals, std::vector<std::string> names,
            std::vector<char> is_number);

  // The header line; nothing for NDJSON.
  void header(std::string& out) const;

  // The next cell of a row: a cell of the input, with its JSON if it has one, or a value.
  void cell(std::string& out, std::size_t column, std::string_view text,
            std::string_view json = {}) const;
  void value(std::string& out, std::size_t column, const Value& value) const;

  void end(std::string& out) const;

 private:
  void begin_cell(std::string& out, std::size_t column) const;
  void text_cell(std::string& out, std::string_view text) const;

  Format format_;
  char delimiter_;
  int decimals_;
  std::vector<std::string> names_;
  std::vector<char> is_number_;       // by column
  std::vector<std::string> members_;  // {"name": or ,"name": of each column
};

// Appends a text with the escape sequences of TSV.
void append_escaped(std::string& out, std::string_view text);

class OutputFile {
 public:
  // The path - is standard output, and /dev/stdout, /dev/stderr and /dev/fd/N are open files: they
  // are written in place, as is any file that is not regular. A regular file is replaced by commit,
  // which keeps its permissions. The file does not change before, even when the process is killed.
  // All functions throw std::runtime_error.
  explicit OutputFile(const std::string& path, bool aligns = false);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  void write(std::string_view text);
  // Writes the rows that were kept for their alignment.
  void finish_rows();
  // Finishes the rows and replaces the file.
  void commit();

 private:
  [[noreturn]] void fail() const;
  void open_temporary(unsigned mode);
  void link_unnamed();
  void write_all(std::string_view text);

  std::string path_;
  std::string temporary_;    // its name; empty when the file is written in place or has no name
  bool is_unnamed_ = false;  // a file without a name, which commit gives it
  int descriptor_;
  std::optional<AlignedRows> aligned_;
};

}  // namespace cli
