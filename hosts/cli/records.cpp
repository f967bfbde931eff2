#include "records.h"

#include <emmintrin.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace cli {
namespace {

constexpr std::size_t kReadSize = std::size_t{256} << 10;

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

}  // namespace

InputFile::InputFile(const std::string& path)
    : path_(path),
      descriptor_(path == "-" ? STDIN_FILENO : ::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
  struct stat status {};
  if (descriptor_ < 0 || ::fstat(descriptor_, &status) != 0) {
    throw std::runtime_error("cannot read " + path + ": " + std::strerror(errno));
  }
  if (S_ISREG(status.st_mode)) size_ = static_cast<std::uint64_t>(status.st_size);
}

InputFile::~InputFile() {
  if (descriptor_ != STDIN_FILENO) ::close(descriptor_);
}

bool InputFile::read(std::string& text) {
  const std::size_t before = text.size();
  text.resize(before + kReadSize);
  ssize_t got = 0;
  do got = ::read(descriptor_, text.data() + before, kReadSize);
  while (got < 0 && errno == EINTR);
  text.resize(before + static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
  if (got < 0) throw std::runtime_error("cannot read " + path_ + ": " + std::strerror(errno));
  return got > 0;
}

BlockReader::Ends BlockReader::record_ends() const {
  std::string_view text = pending_;
  if (text.ends_with('\r') && !at_end_) text.remove_suffix(1);  // a line feed may follow
  const std::string_view line_ends = framing_ == Framing::kCsv ? "\r\n" : "\n";
  if (framing_ == Framing::kLines || text.find('"') == text.npos) {
    const std::size_t first = text.find_first_of(line_ends);
    return {first == text.npos ? 0 : first + 1, text.find_last_of(line_ends) + 1};
  }
  Ends ends;
  CsvParser parser(text, delimiter_);
  while (parser.next() && parser.is_complete()) {
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
    const bool too_long = pending_.size() > kLongestRecord;
    if (at_end_ || too_long) {
      if (pending_.empty()) return false;
      // One record that does not end. If it has line ends, a quote is open.
      const std::size_t line_end = pending_.find('\n');
      if (too_long && line_end == pending_.npos) {
        throw std::runtime_error(input_.path() + " holds a line of more than 4 MiB");
      }
      take(block, line_end == pending_.npos ? pending_.size() : line_end + 1);
      return true;
    }
    const bool is_first = taken_ == 0 && pending_.empty();
    at_end_ = !input_.read(pending_);
    if (is_first && pending_.starts_with(kByteOrderMark)) {
      pending_.erase(0, kByteOrderMark.size());
      taken_ = kByteOrderMark.size();
    }
  }
}

bool BlockReader::next(Block& block) { return fill(block, &Ends::last); }

bool BlockReader::next_record(Block& block) { return fill(block, &Ends::first); }

void MarkFinder::look(std::size_t window) noexcept {
  // The last window is filled up with what is no mark.
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

// Where the window that a place stands in has no mark from there on.
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

// Takes the cell whose quote opens at a place, and returns where it ends.
std::size_t CsvParser::quoted_cell(std::size_t at) {
  const std::size_t first = at + 1;
  std::size_t doubled = 0;  // quotes that stand for themselves
  std::size_t quote = first - 1;
  std::size_t end = text_.size();
  for (;;) {
    quote = text_.find('"', quote + 1);
    if (quote == text_.npos) break;
    const char next = quote + 1 < text_.size() ? text_[quote + 1] : '\n';
    if (next == delimiter_ || next == '\n' || next == '\r') {
      end = quote + 1;
      break;
    }
    ++doubled;
    if (next == '"') ++quote;
  }
  record_.is_open = quote == text_.npos;
  std::string_view cell = text_.substr(first, (record_.is_open ? end : quote) - first);
  line_ += static_cast<std::uint64_t>(std::ranges::count(cell, '\n'));
  if (record_.is_open) cell = cell.substr(0, cell.find_last_not_of("\r\n") + 1);
  if (doubled > 0) {
    std::string& text = unquoted_.emplace_back();
    for (std::size_t i = 0; i < cell.size(); ++i) {
      text += cell[i];
      if (cell.substr(i).starts_with("\"\"")) ++i;
    }
    cell = text;
  }
  record_.cells.push_back(cell);
  return end;
}

bool CsvParser::next() {
  const std::string_view text = text_;
  while (at_ < text.size() && (text[at_] == '\n' || text[at_] == '\r')) end_of_line(at_);
  if (at_ >= text.size()) return false;
  record_.cells.clear();
  if (!unquoted_.empty()) unquoted_.clear();
  record_.line = line_;
  record_.is_open = false;
  std::size_t end = 0;
  for (std::size_t at = at_;; at = end + 1) {
    if (at < text.size() && text[at] == '"') {
      end = quoted_cell(at);
    } else {
      end = marks_.at_or_after(at);
      while (end < text.size() && text[end] == '"') end = marks_.at_or_after(end + 1);
      record_.cells.emplace_back(text.data() + at, end - at);
    }
    if (end == text.size() || text[end] != delimiter_) break;
  }
  record_.text = text.substr(at_, end - at_);
  end_of_line(end);
  record_.end = std::min(at_, text.size());
  return true;
}

}  // namespace cli
