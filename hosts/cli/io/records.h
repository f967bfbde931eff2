// Delimited text in blocks of whole records: one thread reads, any number take blocks apart.
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
  explicit InputFile(const std::string& path);  // throws std::runtime_error
  ~InputFile();
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  // Appends what one read gives, waiting for it; false at the end. Throws std::runtime_error.
  bool read(std::string& text);

  // From any thread: the read under way, and all others, are at the end.
  void interrupt() noexcept;

  [[nodiscard]] const std::string& name() const noexcept { return name_; }  // for messages
  [[nodiscard]] std::uint64_t size() const noexcept { return size_; }  // 0 when it is not known

 private:
  std::string name_;
  int descriptor_;
  int interruption_;  // readable once interrupted
  std::uint64_t size_ = 0;
};

// How records end: at line ends outside quotes (kCsv), or at every line feed (kLines).
enum class Framing : std::uint8_t { kCsv, kLines };

struct Block {
  std::string text;       // whole records; the last one of the input may lack its line end
  std::uint64_t end = 0;  // where the block ends in the input, in bytes
};

// Cuts the input into blocks. A block is what one read gives, so that whoever writes rows and waits
// for their answers is not made to wait. A quote that is not closed in kLongestRecord costs one
// line, not all that follows: that line is a block of its own.
class BlockReader {
 public:
  static constexpr std::size_t kLongestRecord = std::size_t{4} << 20;

  BlockReader(InputFile& input, Framing framing, char delimiter)
      : input_(input), framing_(framing), delimiter_(delimiter) {}

  bool next(Block& block);  // false at the end

  // The same with the next record alone.
  bool next_record(Block& block);

 private:
  struct Ends {
    std::size_t first = 0;  // behind the first and the last record end; 0 where there is none
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

  // The first mark that is not before a place; the text's size where there is none. Places may not
  // go back behind the window of the last one.
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
  std::uint64_t marks_ = 0;  // a bit for each character of the window
};

// One record. Lives as long as the text and the parser, and until the next record.
struct Record {
  std::vector<std::string_view> cells;  // without quotes
  std::string_view text;                // as it was written
  std::size_t end;                      // where the next one begins
  std::uint64_t line;                   // where it began, from 0
  bool is_open;                         // a quote is not closed,
  bool may_close;                       // unless in text that is yet to come
};

// Takes CSV apart: quoted cells, doubled quotes, line ends within quotes. Lines end with LF, CRLF
// or CR; empty ones are no records. A quote opens at the beginning of a cell alone. Where its
// partner has something behind it, as in "Alpha" fund, both are characters of a cell without
// quotes; but if there is a line end between them, the quote is taken for one that is not closed,
// which costs its line.
class CsvParser {
 public:
  CsvParser(std::string_view text, char delimiter) noexcept
      : text_(text), delimiter_(delimiter), marks_(text, delimiter) {}

  // False at the end.
  bool next();

  [[nodiscard]] const Record& record() const noexcept { return record_; }
  [[nodiscard]] bool is_complete() const noexcept { return is_complete_; }  // its line ended
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
  std::deque<std::string> unquoted_;  // cells of the record whose quotes are doubled
};

}  // namespace cli
