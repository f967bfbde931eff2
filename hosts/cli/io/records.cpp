#include "hosts/cli/io/records.h"

#include <emmintrin.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace cli {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

}  // namespace

InputFile::InputFile(const std::string& path, std::size_t read_size)
    : name_(path == "-" ? "standard input" : path),
      read_size_(read_size),
      descriptor_(path == "-" ? STDIN_FILENO : ::open(path.c_str(), O_RDONLY | O_CLOEXEC)),
      interruption_(::eventfd(0, EFD_CLOEXEC)) {
  struct stat status {};
  if (descriptor_ < 0 || ::fstat(descriptor_, &status) != 0) {
    throw std::runtime_error("cannot read " + name_ + ": " + std::strerror(errno));
  }
  if (S_ISREG(status.st_mode)) size_ = static_cast<std::uint64_t>(status.st_size);
}

InputFile::~InputFile() {
  ::close(interruption_);
  if (descriptor_ != STDIN_FILENO) ::close(descriptor_);
}

void InputFile::interrupt() noexcept { ::eventfd_write(interruption_, 1); }

bool InputFile::read(std::string& text) {
  const std::size_t before = text.size();
  text.resize(before + read_size_);
  ssize_t got = 0;
  do {
    pollfd sources[] = {{descriptor_, POLLIN, 0}, {interruption_, POLLIN, 0}};
    ::poll(sources, std::size(sources), -1);
    got = sources[1].revents != 0 ? 0 : ::read(descriptor_, text.data() + before, read_size_);
  } while (got < 0 && (errno == EINTR || errno == EAGAIN));
  text.resize(before + static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
  if (got < 0) throw std::runtime_error("cannot read " + name_ + ": " + std::strerror(errno));
  return got > 0;
}

BlockReader::Ends BlockReader::record_ends() const {
  std::string_view text = pending_;
  if (text.ends_with('\r') && !at_end_) text.remove_suffix(1);  // a line feed may follow
  const std::string_view line_ends = framing_ == Framing::kCsv ? "\r\n" : "\n";
  if (framing_ == Framing::kLines || text.find('"') == text.npos) {
    const std::size_t first = text.find_first_of(line_ends);
    if (first == text.npos) return {};
    const bool two = text.substr(first).starts_with("\r\n");
    return {first + (two ? 2 : 1), text.find_last_of(line_ends) + 1};
  }
  Ends ends;
  CsvParser parser(text, delimiter_);
  while (parser.next() && (at_end_ || (parser.is_complete() && !parser.record().may_close))) {
    ends.last = parser.record().end;
    if (ends.first == 0) ends.first = ends.last;
  }
  return ends;
}

void BlockReader::take(Block& block, std::size_t size) {
  block.text.assign(pending_, 0, size);
  pending_.erase(0, size);
  taken_ += size;
  block.end = taken_;
}

bool BlockReader::fill(Block& block, std::size_t Ends::*end) {
  for (;;) {
    if (const std::size_t size = record_ends().*end; size > 0) {
      take(block, size);
      return true;
    }
    if (pending_.size() > kLongestRecord) {  // a quote is open, or a line is too long
      const std::size_t line_end = pending_.find('\n');
      if (line_end == pending_.npos) {
        throw std::runtime_error(input_.name() + " has a line that is longer than 4 MiB");
      }
      take(block, line_end + 1);
      return true;
    }
    if (at_end_) {
      take(block, pending_.size());
      return !block.text.empty();
    }
    read_more();
  }
}

// A byte order mark at the start of the input is skipped.
void BlockReader::read_more() {
  const bool is_first = taken_ == 0 && pending_.empty();
  do at_end_ = !input_.read(pending_);
  while (is_first && !at_end_ && pending_.size() < kByteOrderMark.size() &&
         kByteOrderMark.starts_with(pending_));
  if (!is_first || !pending_.starts_with(kByteOrderMark)) return;
  pending_.erase(0, kByteOrderMark.size());
  taken_ = kByteOrderMark.size();
}

bool BlockReader::next(Block& block) { return fill(block, &Ends::last); }

bool BlockReader::next_record(Block& block) { return fill(block, &Ends::first); }

void BlockReader::put_back(const Block& block) {
  pending_.insert(0, block.text);
  taken_ -= block.text.size();
}

void MarkFinder::look(std::size_t window) noexcept {
  // The last window is filled with zeros, which are no marks.
  std::array<char, kWindow> rest;
  const char* characters = text_.data() + window;
  if (text_.size() - window < kWindow) {
    rest.fill('\0');
    std::ranges::copy(text_.substr(window), rest.begin());
    characters = rest.data();
  }
  window_ = window;
  marks_ = 0;
  for (unsigned i = 0; i < kWindow; i += sizeof(__m128i)) {
    const __m128i part = _mm_loadu_si128(reinterpret_cast<const __m128i*>(characters + i));
    const auto is = [part](char c) { return _mm_cmpeq_epi8(part, _mm_set1_epi8(c)); };
    const __m128i found =
        _mm_or_si128(_mm_or_si128(is(delimiter_), is('"')), _mm_or_si128(is('\n'), is('\r')));
    marks_ |= std::uint64_t{static_cast<unsigned>(_mm_movemask_epi8(found))} << i;
  }
}

// The current window has no mark at or after the place.
std::size_t MarkFinder::beyond_window(std::size_t place) noexcept {
  std::size_t window = place / kWindow * kWindow;
  std::uint64_t wanted = ~std::uint64_t{0} << (place - window);
  if (window == window_) {
    window += kWindow;
    wanted = ~std::uint64_t{0};
  }
  for (; window < text_.size(); window += kWindow) {
    look(window);
    if (const std::uint64_t marks = marks_ & wanted; marks != 0) {
      return window + static_cast<std::size_t>(std::countr_zero(marks));
    }
    wanted = ~std::uint64_t{0};
  }
  return text_.size();
}

// Steps over a line end.
void CsvParser::end_of_line(std::size_t at) noexcept {
  is_complete_ = at < text_.size();
  at_ = at + 1;
  if (is_complete_ && text_[at] == '\r' && at_ < text_.size() && text_[at_] == '\n') ++at_;
  if (is_complete_) ++line_;
}

// Takes the cell whose quote opens at a place. Returns its end.
std::size_t CsvParser::quoted_cell(std::size_t at) {
  const std::size_t first = at + 1;
  bool has_doubled = false;  // a doubled quote, which means one quote
  for (std::size_t from = first;;) {
    const std::size_t quote = text_.find('"', from);
    if (quote == text_.npos) {
      record_.may_close = true;
      return open_cell(at);
    }
    const char next = quote + 1 < text_.size() ? text_[quote + 1] : '\n';
    if (next == '"') {
      has_doubled = true;
      from = quote + 2;
      continue;
    }
    const std::string_view cell = text_.substr(first, quote - first);
    if (next != delimiter_ && next != '\n' && next != '\r') {
      return cell.find_first_of("\r\n") == cell.npos ? plain_cell(at, quote + 1) : open_cell(at);
    }
    line_ += static_cast<std::uint64_t>(std::ranges::count(cell, '\n'));
    record_.cells.push_back(has_doubled ? unquoted(cell) : cell);
    return quote + 1;
  }
}

std::string_view CsvParser::unquoted(std::string_view cell) {
  std::string& text = unquoted_.emplace_back();
  for (std::size_t i = 0; i < cell.size(); ++i) {
    text += cell[i];
    if (cell.substr(i).starts_with("\"\"")) ++i;
  }
  return text;
}

// Takes the rest of the line as a cell whose quote is not closed.
std::size_t CsvParser::open_cell(std::size_t at) {
  const std::size_t end = std::min(text_.find_first_of("\r\n", at), text_.size());
  record_.error = "the quote that opens in this line is not closed";
  record_.cells.push_back(text_.substr(at + 1, end - at - 1));
  return end;
}

// Takes the cell that starts at a place and has no mark before `seen`.
std::size_t CsvParser::plain_cell(std::size_t at, std::size_t seen) {
  std::size_t end = marks_.at_or_after(seen);
  while (end < text_.size() && text_[end] == '"') end = marks_.at_or_after(end + 1);
  record_.cells.emplace_back(text_.data() + at, end - at);
  return end;
}

bool CsvParser::next() {
  const std::string_view text = text_;
  while (at_ < text.size() && (text[at_] == '\n' || text[at_] == '\r')) end_of_line(at_);
  if (at_ >= text.size()) return false;
  record_.cells.clear();
  if (!unquoted_.empty()) unquoted_.clear();
  record_.line = line_;
  record_.error = {};
  record_.may_close = false;
  std::size_t end = 0;
  for (std::size_t at = at_;; at = end + 1) {
    end = at < text.size() && text[at] == '"' ? quoted_cell(at) : plain_cell(at, at);
    if (end == text.size() || text[end] != delimiter_) break;
  }
  record_.text = text.substr(at_, end - at_);
  end_of_line(end);
  record_.end = std::min(at_, text.size());
  return true;
}

}  // namespace cli
