// Reads delimited text in blocks of whole records. One thread reads, any number of threads parse.
#pragma once

#include <bit>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

namespace cli {

// The input: a file, or standard input for "-".
class InputFile {
 public:
  static constexpr std::size_t kReadSize = std::size_t{256} << 10;

  // Throws std::runtime_error.
  explicit InputFile(const std::string& path, std::size_t read_size = kReadSize);
  ~InputFile();
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  // Waits for input and appends the result of one read. Returns false at the end. Throws
  // std::runtime_error.
  bool read(std::string& text);

  // From any thread: a read that is waiting, and all later ones, return false.
  void interrupt() noexcept;

  [[nodiscard]] const std::string& name() const noexcept { return name_; }  // for messages
  [[nodiscard]] std::uint64_t size() const noexcept { return size_; }       // 0: not known

 private:
  std::string name_;
  std::size_t read_size_;
  int descriptor_;
  int interruption_;  // readable after interrupt()
  std::uint64_t size_ = 0;
};

// The ends of records: line ends outside quotes (kCsv), or every line feed (kLines).
enum class Framing : std::uint8_t { kCsv, kLines };

struct Block {
  std::string text;       // whole records; the last one of the input may have no line end
  std::uint64_t end = 0;  // the end of the block in the input, in bytes
};

// Cuts the input into blocks. A block has the records of one read, so that a program that writes
// rows and waits for their results gets them at once. A quote that is not closed within
// kLongestRecord costs one line, and not the rest of the input: the line is a block of its own.
class BlockReader {
 public:
  static constexpr std::size_t kLongestRecord = std::size_t{4} << 20;

  BlockReader(InputFile& input, Framing framing, char delimiter)
      : input_(input), framing_(framing), delimiter_(delimiter) {}

  bool next(Block& block);  // false at the end

  // Gives a block with the next record only. False at the end.
  bool next_record(Block& block);
  // Puts a block back, which is then read again.
  void put_back(const Block& block);

 private:
  struct Ends {
    std::size_t first = 0;  // after the first and the last record; 0: there is none
    std::size_t last = 0;
  };
  [[nodiscard]] Ends record_ends() const;
  void take(Block& block, std::size_t size);
  void read_more();
  bool fill(Block& block, std::size_t Ends::*end);

  InputFile& input_;
  Framing framing_;
  char delimiter_;
  std::string pending_;
  std::uint64_t taken_ = 0;
  bool at_end_ = false;
};

// Finds the delimiters, quotes and line ends of a text, 64 characters at a time.
class MarkFinder {
 public:
  MarkFinder(std::string_view text, char delimiter) noexcept : text_(text), delimiter_(delimiter) {
    look(0);
  }

  // The first mark at or after a place, or the size of the text. A place must not be before the
  // window of the last call.
  std::size_t at_or_after(std::size_t place) noexcept {
    if (place - window_ < kWindow) {
      const std::uint64_t marks = marks_ & (~std::uint64_t{0} << (place - window_));
      if (marks != 0) return window_ + static_cast<std::size_t>(std::countr_zero(marks));
    }
    return beyond_window(place);
  }

 private:
  static constexpr std::size_t kWindow = 64;
  void look(std::size_t window) noexcept;
  std::size_t beyond_window(std::size_t place) noexcept;

  std::string_view text_;
  char delimiter_;
  std::size_t window_ = 0;
  std::uint64_t marks_ = 0;  // one bit per character of the window
};

// One record. It is valid until the next record, while the text and the parser exist.
struct Record {
  std::vector<std::string_view> cells;   // without quotes
  std::vector<std::string_view> tokens;  // of NDJSON: the cells as JSON
  std::string_view text;                 // the source text
  std::size_t end;                       // the start of the next record
  std::uint64_t line;                    // the line of its start, from 0
  std::string_view error;                // why it cannot be used; empty for a valid record
  bool may_close;                        // more text may close the quote that is open
};

// Parses CSV: quoted cells, doubled quotes, line ends within quotes. Lines end with LF, CRLF or CR.
// Empty lines are skipped. A quote opens only at the start of a cell. If the closing quote is
// followed by other characters, as in "Alpha" fund, both quotes are characters of a plain cell. But
// if a line end is between these quotes, the first one is an error: a quote that is not closed. It
// costs one line.
class CsvParser {
 public:
  CsvParser(std::string_view text, char delimiter) noexcept
      : text_(text), delimiter_(delimiter), marks_(text, delimiter) {}

  // False at the end.
  bool next();

  [[nodiscard]] const Record& record() const noexcept { return record_; }
  [[nodiscard]] bool is_complete() const noexcept { return is_complete_; }  // it has a line end
  [[nodiscard]] std::uint64_t lines() const noexcept { return line_; }      // so far

 private:
  std::size_t quoted_cell(std::size_t at);
  std::size_t open_cell(std::size_t at);
  std::size_t plain_cell(std::size_t at, std::size_t seen);
  std::string_view unquoted(std::string_view cell);
  void end_of_line(std::size_t at) noexcept;

  std::string_view text_;
  char delimiter_;
  MarkFinder marks_;
  std::size_t at_ = 0;
  std::uint64_t line_ = 0;
  bool is_complete_ = false;
  Record record_{};
  std::deque<std::string> unquoted_;  // cells with doubled quotes
};

}  // namespace cli
