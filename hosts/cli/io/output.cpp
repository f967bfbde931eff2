#include "hosts/cli/io/output.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace cli {
namespace {

std::string json_string(std::string_view text) {
  using nlohmann::json;
  return json(text).dump(-1, ' ', false, json::error_handler_t::replace);
}

// Whether a cell is a number of JSON, with no more digits than its readers keep.
bool is_json_number(std::string_view text) {
  constexpr std::size_t kMostKept = 16;
  if (text.size() > kMostKept) return false;
  if (text.find_first_not_of("0123456789+-.eE") != text.npos) return false;
  const std::string_view digits = text.starts_with('-') ? text.substr(1) : text;
  if (digits.empty() || digits[0] < '0' || digits[0] > '9') return false;
  if (digits.size() > 1 && digits[0] == '0' && digits[1] >= '0' && digits[1] <= '9') return false;
  return nlohmann::json::accept(text);
}

// The temporary file of the output, for the signal handler.
constexpr int kEndingSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE, SIGXFSZ};
char interrupted_file[4096];

void remove_and_end(int signal) {
  ::unlink(interrupted_file);
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

// Signals that are ignored, as under nohup, stay ignored.
void on_ending_signals(void (*action)(int)) {
  for (const int signal : kEndingSignals) {
    if (std::signal(signal, action) == SIG_IGN) std::signal(signal, SIG_IGN);
  }
}

}  // namespace

RowFormat::RowFormat(Format format, char delimiter, int decimals, std::vector<std::string> names)
    : format_(format),
      delimiter_(format == Format::kTsv ? '\t' : delimiter),
      decimals_(decimals),
      names_(std::move(names)) {
  if (format_ != Format::kNdjson) return;
  for (const std::string& name : names_) {
    members_.push_back((members_.empty() ? "{" : ",") + json_string(name) + ':');
  }
}

void RowFormat::begin_cell(std::string& out, std::size_t column) const {
  if (format_ == Format::kNdjson) {
    out += members_[column];
  } else if (column > 0) {
    out += delimiter_;
  }
}

void RowFormat::text_cell(std::string& out, std::string_view text) const {
  if (format_ == Format::kNdjson) {
    out += json_string(text);
    return;
  }
  if (format_ == Format::kTsv) {
    append_escaped(out, text);
    return;
  }
  const bool needs_quotes = std::ranges::any_of(
      text, [this](char c) { return c == delimiter_ || c == '"' || c == '\n' || c == '\r'; });
  if (!needs_quotes &&
      (!text.empty() || names_.size() > 1)) {  // an empty line would not be a record
    out += text;
    return;
  }
  out += '"';
  for (const char c : text) out.append(c == '"' ? 2 : 1, c);
  out += '"';
}

void RowFormat::header(std::string& out) const {
  if (format_ == Format::kNdjson) return;
  for (std::size_t i = 0; i < names_.size(); ++i) cell(out, i, names_[i]);
  end(out);
}

void RowFormat::cell(std::string& out, std::size_t column, std::string_view text) const {
  if (format_ == Format::kNdjson && column >= members_.size()) return;  // the cell has no column
  begin_cell(out, column);
  if (format_ == Format::kNdjson && (text.empty() || text == kMissingWord)) {
    out += "null";
  } else if (format_ == Format::kNdjson && is_json_number(text)) {
    out += text;
  } else {
    text_cell(out, text);
  }
}

void RowFormat::value(std::string& out, std::size_t column, const Value& value) const {
  begin_cell(out, column);
  const double number = value.number;
  if (value.is_text()) {
    text_cell(out, value.word);
  } else if (format_ != Format::kNdjson) {
    const std::size_t before = out.size();
    append_value(out, value, decimals_);
    if (out.size() == before) text_cell(out, {});
  } else if (std::isnan(number)) {
    out += "null";
  } else {
    std::string text;
    const bool is_date = value.is_date() && append_date(text, number);
    if (!is_date) append_digits(text, number, decimals_);
    out += is_date || std::isinf(number) ? '"' + text + '"' : text;
  }
}

void RowFormat::end(std::string& out) const { out += format_ == Format::kNdjson ? "}\n" : "\n"; }

void append_escaped(std::string& out, std::string_view text) {
  for (const char c : text) {
    switch (c) {
      case '\t':
        out += "\\t";
        break;
      case '\n':
        out += "\\n";
        break;
      case '\r':
        out += "\\r";
        break;
      case '\\':
        out += "\\\\";
        break;
      default:
        out += c;
    }
  }
}

OutputFile::OutputFile(const std::string& path) : path_(path), descriptor_(STDOUT_FILENO) {
  namespace fs = std::filesystem;
  if (path_ == "-") return;
  std::error_code ignored;
  struct stat status {};
  const bool exists = ::stat(path_.c_str(), &status) == 0;
  if (exists && !S_ISREG(status.st_mode)) {  // a device or a pipe is written in place
    descriptor_ = ::open(path_.c_str(), O_WRONLY | O_CLOEXEC);
    if (descriptor_ < 0) fail();
    return;
  }
  if (exists) path_ = fs::canonical(path_, ignored);  // a link stays a link,
  if (!exists && fs::is_symlink(path_, ignored)) {    // one that leads nowhere, too
    path_ = fs::path(path_).parent_path() / fs::read_symlink(path_, ignored);
  }
  const mode_t mask = ::umask(0);
  ::umask(mask);
  temporary_ = fs::path(path_).parent_path() / ".finance-XXXXXX";
  descriptor_ = ::mkostemp(temporary_.data(), O_CLOEXEC);
  if (descriptor_ < 0) {
    temporary_.clear();
    fail();
  }
  ::fchmod(descriptor_, exists ? status.st_mode & 07777 : 0666 & ~mask);
  if (temporary_.size() < sizeof interrupted_file) {
    interrupted_file[temporary_.copy(interrupted_file, temporary_.size())] = '\0';
    on_ending_signals(remove_and_end);
  }
}

OutputFile::~OutputFile() {
  if (!temporary_.empty()) {
    ::unlink(temporary_.c_str());
    on_ending_signals(SIG_DFL);
  }
  if (descriptor_ > STDOUT_FILENO) ::close(descriptor_);
}

void OutputFile::fail() const {
  const std::string what = path_ == "-" ? "standard output" : path_;
  throw std::runtime_error("cannot write " + what + ": " + std::strerror(errno));
}

void OutputFile::write(std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = ::write(descriptor_, text.data(), text.size());
    if (written < 0 && errno == EAGAIN) {  // a descriptor that does not block: wait for room
      pollfd room{descriptor_, POLLOUT, 0};
      ::poll(&room, 1, -1);
      continue;
    }
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) fail();
    text.remove_prefix(static_cast<std::size_t>(written));
  }
}

void OutputFile::commit() {
  if (temporary_.empty()) return;
  if (::fsync(descriptor_) != 0 || ::rename(temporary_.c_str(), path_.c_str()) != 0) fail();
  on_ending_signals(SIG_DFL);
  temporary_.clear();
}

}  // namespace cli
