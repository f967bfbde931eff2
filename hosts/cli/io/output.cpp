#include "hosts/cli/io/output.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
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

// Whether the text is a number of JSON.
bool is_json_number(std::string_view text) {
  if (text.find_first_not_of("0123456789+-.eE") != text.npos) return false;
  const std::string_view digits = text.starts_with('-') ? text.substr(1) : text;
  if (digits.empty() || digits[0] < '0' || digits[0] > '9') return false;
  if (digits.size() > 1 && digits[0] == '0' && digits[1] >= '0' && digits[1] <= '9') return false;
  return nlohmann::json::accept(text);
}

// A cell of a column of numbers as JSON; empty when it is not a number, or a whole number that is
// beyond the exact doubles.
std::string json_number(std::string_view text) {
  constexpr double kFirstInexact = 0x1p53;  // above it, doubles skip whole numbers
  const Value value = value_of_cell(text);
  if (value.is_text() || value.is_date() || value.is_missing()) return {};
  const bool is_whole = value.number == std::trunc(value.number);
  if (is_whole && std::fabs(value.number) >= kFirstInexact) return {};
  if (is_json_number(text)) return std::string(text);
  std::string digits;
  append_digits(digits, value.number);
  return digits;
}

// Signals that end a process and can be caught.
constexpr int kEndingSignals[] = {SIGHUP,  SIGINT,  SIGQUIT, SIGILL,   SIGTRAP,   SIGABRT,
                                  SIGBUS,  SIGFPE,  SIGUSR1, SIGSEGV,  SIGUSR2,   SIGPIPE,
                                  SIGALRM, SIGTERM, SIGXCPU, SIGXFSZ,  SIGVTALRM, SIGPROF,
                                  SIGIO,   SIGPWR,  SIGSYS,  SIGSTKFLT};

// The names of the temporary files that are being written, for the signal handler.
constexpr std::size_t kLongestName = 4096;
char interrupted_files[2][kLongestName];

void remove_and_end(int signal) {
  for (const auto& file : interrupted_files) {
    if (file[0] != '\0') ::unlink(file);
  }
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

// Signals that are ignored, as under nohup, stay ignored.
void on_ending_signals(void (*action)(int)) {
  for (const int signal : kEndingSignals) {
    if (std::signal(signal, action) == SIG_IGN) std::signal(signal, SIG_IGN);
  }
}

void remove_when_interrupted(const std::string& name) {
  for (auto& file : interrupted_files) {
    if (file[0] != '\0' || name.size() >= kLongestName) continue;
    file[name.copy(file, name.size())] = '\0';
    break;
  }
  on_ending_signals(remove_and_end);
}

void keep_when_interrupted(const std::string& name) {
  for (auto& file : interrupted_files) {
    if (name == file) file[0] = '\0';
  }
}

// The descriptor that a path such as /dev/stdout or /dev/fd/3 names; -1 for any other path.
int descriptor_of(const std::string& path) {
  if (path == "-" || path == "/dev/stdout") return STDOUT_FILENO;
  if (path == "/dev/stderr") return STDERR_FILENO;
  for (const std::string_view folder : {"/dev/fd/", "/proc/self/fd/"}) {
    if (!path.starts_with(folder)) continue;
    int number = -1;
    const char* const last = path.data() + path.size();
    const auto [end, error] = std::from_chars(path.data() + folder.size(), last, number);
    if (error == std::errc() && end == last && number >= 0) return number;
  }
  return -1;
}

std::string folder_of(const std::string& path) {
  const std::string folder = std::filesystem::path(path).parent_path();
  return folder.empty() ? "." : folder;
}

std::string name_of_descriptor(int descriptor) {
  return "/proc/self/fd/" + std::to_string(descriptor);
}

}  // namespace

RowFormat::RowFormat(Format format, char delimiter, int decimals, std::vector<std::string> names,
                     std::vector<char> is_number)
    : format_(format),
      delimiter_(format == Format::kTsv || format == Format::kTable ? '\t' : delimiter),
      decimals_(decimals),
      names_(std::move(names)),
      is_number_(std::move(is_number)) {
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
  if (format_ == Format::kTsv || format_ == Format::kTable) {
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

void RowFormat::cell(std::string& out, std::size_t column, std::string_view text,
                     std::string_view json) const {
  if (format_ == Format::kNdjson && column >= members_.size()) return;  // the cell has no column
  begin_cell(out, column);
  if (format_ != Format::kNdjson) return text_cell(out, text);
  if (!json.empty()) {
    out += json;
  } else if (text.empty() || text == kMissingWord) {
    out += "null";
  } else {
    const std::string number = is_number_[column] != 0 ? json_number(text) : "";
    if (number.empty()) return text_cell(out, text);
    out += number;
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
    if (!is_date) append_value(text, value, decimals_);
    out += is_date ? '"' + text + '"' : text;
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

OutputFile::OutputFile(const std::string& path, bool aligns) : path_(path) {
  namespace fs = std::filesystem;
  if (aligns) aligned_.emplace();
  descriptor_ = descriptor_of(path_);
  if (descriptor_ >= 0) return;
  std::error_code ignored;
  struct stat status {};
  const bool exists = ::stat(path_.c_str(), &status) == 0;
  if (exists && !S_ISREG(status.st_mode)) {  // a device or a pipe
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
  open_temporary(exists ? status.st_mode & 07777 : 0666 & ~mask);
}

// A file without a name is gone when the process is killed. Not every file system has such files,
// and it takes /proc to give them a name.
void OutputFile::open_temporary(unsigned mode) {
  const std::string folder = folder_of(path_);
  descriptor_ = ::open(folder.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600);
  is_unnamed_ = descriptor_ >= 0 && ::access(name_of_descriptor(descriptor_).c_str(), F_OK) == 0;
  if (!is_unnamed_) {
    if (descriptor_ >= 0) ::close(descriptor_);
    temporary_ = folder + "/.finance-XXXXXX";
    descriptor_ = ::mkostemp(temporary_.data(), O_CLOEXEC);
    if (descriptor_ < 0) {
      temporary_.clear();
      fail();
    }
    remove_when_interrupted(temporary_);
  }
  ::fchmod(descriptor_, mode);
}

OutputFile::~OutputFile() {
  if (!temporary_.empty()) {
    ::unlink(temporary_.c_str());
    keep_when_interrupted(temporary_);
  }
  if (descriptor_ > STDERR_FILENO) ::close(descriptor_);
}

void OutputFile::fail() const {
  const std::string what = path_ == "-" ? "standard output" : path_;
  throw std::runtime_error("cannot write " + what + ": " + std::strerror(errno));
}

void OutputFile::write(std::string_view text) {
  if (aligned_) return write_all(aligned_->add(text));
  write_all(text);
}

void OutputFile::write_all(std::string_view text) {
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

// Gives the file a name: that of the path, or, if there is such a file, a temporary one.
void OutputFile::link_unnamed() {
  const std::string from = name_of_descriptor(descriptor_);
  const auto link = [&](const std::string& to) {
    return ::linkat(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), AT_SYMLINK_FOLLOW) == 0;
  };
  if (link(path_)) return;
  for (unsigned i = 0; errno == EEXIST; ++i) {
    const std::string name = fmt::format("{}/.finance-{}-{}", folder_of(path_), ::getpid(), i);
    if (!link(name)) continue;
    temporary_ = name;
    return;
  }
  fail();
}

void OutputFile::finish_rows() {
  if (aligned_) write_all(aligned_->finish());
}

void OutputFile::commit() {
  finish_rows();
  if (!is_unnamed_ && temporary_.empty()) return;
  if (::fsync(descriptor_) != 0) fail();
  if (is_unnamed_) link_unnamed();
  if (!temporary_.empty() && ::rename(temporary_.c_str(), path_.c_str()) != 0) fail();
  keep_when_interrupted(temporary_);
  temporary_.clear();
  is_unnamed_ = false;
}

}  // namespace cli
