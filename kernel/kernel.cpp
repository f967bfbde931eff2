// Loading a module, and the frame of one evaluation.
#include <dlfcn.h>

#include <algorithm>
#include <mutex>
#include <new>
#include <vector>

#include "services.h"
#include "vxkernel.h"

namespace vxkernel {
namespace {

// The version of the interface that this kernel speaks.
constexpr Version kInterface = {7, 1, 1};

constexpr std::size_t kSlotsInFrame = 17;       // the keyword and 16 arguments
constexpr std::uint64_t kMostFunctions = 1024;  // more is taken for a broken list

struct Function {
  std::string name;
  vxfnc::Dispatcher* dispatcher;
  bool takes_bytes;
};

struct LibraryCloser {
  void operator()(void* library) const noexcept { dlclose(library); }
};
using Library = std::unique_ptr<void, LibraryCloser>;

struct InstanceDestroyer {
  void operator()(vxfnc::ModuleInstance* instance) const noexcept { instance->destroy(instance); }
};
using Instance = std::unique_ptr<vxfnc::ModuleInstance, InstanceDestroyer>;

Library open_library(const std::string& path) {
  // With a slash, so that the loader takes this file and searches nowhere.
  const std::string file = path.find('/') == path.npos ? "./" + path : path;
  Library library(dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL));
  if (!library) {
    const char* const why = dlerror();
    throw LoadError("cannot load module " + path + ": " + (why == nullptr ? "unknown" : why));
  }
  return library;
}

template <class EntryPoint>
EntryPoint* entry_point(const Library& library, const std::string& path, const char* name) {
  void* const symbol = dlsym(library.get(), name);
  if (symbol == nullptr) throw LoadError(path + " is no module: it has no entry point " + name);
  return reinterpret_cast<EntryPoint*>(symbol);
}

std::string text_of(const Version& version) {
  return std::to_string(version.major) + '.' + std::to_string(version.minor) + '.' +
         std::to_string(version.release);
}

Version asked(vxfnc::ModuleInstance* instance, vxfnc::ModuleInstance::VersionOperation operation) {
  std::int64_t major = 0;
  std::int64_t minor = 0;
  std::int64_t release = 0;
  operation(instance, &major, &minor, &release);
  return {static_cast<int>(major), static_cast<int>(minor), static_cast<int>(release)};
}

// Names of functions are ASCII; anything else in them is replaced.
std::string ascii(const vxfnc::WideChar* name) {
  std::string text;
  for (; *name != 0; ++name) text += *name < 0x80 ? static_cast<char>(*name) : '?';
  return text;
}

// Bytes of the sequence that a lead byte opens; 0 for a byte that opens none.
std::size_t sequence_length(char32_t lead) noexcept {
  if (lead < 0x80) return 1;
  if (lead < 0xC2 || lead > 0xF4) return 0;
  return lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
}

// Decodes UTF-8 into `to`, which has room for one character a byte. Each byte that does not belong
// to a well-formed sequence becomes U+FFFD. Answers the end.
char32_t* decode_utf8(std::string_view text, char32_t* to) noexcept {
  constexpr char32_t kReplacement = 0xFFFD;
  const auto at = [text](std::size_t i) -> char32_t {
    return i < text.size() ? static_cast<unsigned char>(text[i]) : 0;
  };
  for (std::size_t i = 0; i < text.size();) {
    const char32_t lead = at(i);
    const std::size_t length = sequence_length(lead);
    char32_t c = length < 2 ? lead : lead & (0x7F >> length);
    bool well_formed = length != 0;
    for (std::size_t k = 1; k < length; ++k) {
      well_formed = well_formed && (at(i + k) & 0xC0) == 0x80;
      c = c << 6 | (at(i + k) & 0x3F);
    }
    constexpr char32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};  // shorter forms exist below
    well_formed = well_formed && c >= kLeast[length] && c <= 0x10FFFF && (c < 0xD800 || c > 0xDFFF);
    *to++ = well_formed ? c : kReplacement;
    i += well_formed ? length : 1;
  }
  return to;
}

// The record of one call: up to 17 slots stand in the caller's frame, more on the heap.
class CallRecord {
 public:
  CallRecord(std::string_view keyword, std::span<const Argument> arguments, bool as_bytes) noexcept
      : as_bytes_(as_bytes) {
    const std::size_t count = arguments.size() + 1;
    if (count > kSlotsInFrame) {
      overflow_.reset(new (std::nothrow) std::byte[count * kBytesPerSlot + kHeader]);
      storage_ = overflow_.get();
      if (storage_ == nullptr) return;
    }
    strings_ = reinterpret_cast<vxfnc::StringValue*>(storage_ + kHeader +
                                                     count * sizeof(vxfnc::ArgumentSlot));
    call_ = new (storage_) vxfnc::FinanceCall{{}, static_cast<std::int32_t>(count)};
    set_text(0, keyword);
    for (std::size_t i = 1; i < count; ++i) {
      const Argument& argument = arguments[i - 1];
      if (argument.kind == Argument::Kind::kText) {
        set_text(i, argument.text);
      } else {
        call_->slots()[i] = {vxfnc::kNumberArgument, 0, &argument.number};
      }
    }
  }

  [[nodiscard]] vxfnc::FinanceCall* call() const noexcept { return call_; }  // null: no storage

  [[nodiscard]] int marked() const noexcept {
    for (std::int32_t i = 0; i < call_->count; ++i) {
      if ((call_->slots()[i].flags & vxfnc::kErrorFlag) != 0) return i;
    }
    return -1;
  }

 private:
  static constexpr std::size_t kHeader = vxfnc::kFirstSlotOffset;
  static constexpr std::size_t kBytesPerSlot =
      sizeof(vxfnc::ArgumentSlot) + sizeof(vxfnc::StringValue);

  // The first word of a string's descriptor is the missing value: a module that expects a number
  // in this slot reads it as missing and refuses it there.
  void set_text(std::size_t slot, std::string_view text) noexcept {
    vxfnc::StringValue& string = strings_[slot];
    if (as_bytes_) {
      string = {vxfnc::kMissingBits, static_cast<std::int32_t>(text.size()), text.data()};
    } else {
      char32_t* const end = decode_utf8(text, free_);
      string = {vxfnc::kMissingBits, static_cast<std::int32_t>(end - free_), free_};
      free_ = end;
    }
    call_->slots()[slot] = {vxfnc::kStringArgument, 0, &string};
  }

  bool as_bytes_;
  alignas(8) std::byte frame_[kHeader + kSlotsInFrame * kBytesPerSlot];
  char32_t characters_[kLongestText];
  char32_t* free_ = characters_;
  std::unique_ptr<std::byte[]> overflow_;
  std::byte* storage_ = frame_;
  vxfnc::StringValue* strings_ = nullptr;
  vxfnc::FinanceCall* call_ = nullptr;
};

}  // namespace

Argument Argument::missing() noexcept { return {vxfnc::MISSING}; }

struct Kernel::State {
  explicit State(JournalSink journal_sink) : sink(std::move(journal_sink)) {}

  JournalSink sink;  // outlives the instance, whose journal writes to it
  InstanceServices services{sink};
  Library library;
  Instance instance;  // destroyed before the library is closed
  Version version{};
  std::string build;
  std::vector<Function> functions;
  std::vector<std::string> names;
};

Kernel::Kernel(const std::string& module_path, JournalSink sink)
    : state_(std::make_unique<State>(std::move(sink))) {
  static std::mutex one_load_at_a_time;
  const std::lock_guard lock(one_load_at_a_time);
  const auto require = [&module_path](bool holds, const std::string& complaint) {
    if (!holds) throw LoadError(module_path + ' ' + complaint);
  };

  Library& library = state_->library = open_library(module_path);
  auto* const vxextver =
      entry_point<std::int64_t(vxfnc::KernelServices*, std::int64_t*, std::int64_t*)>(
          library, module_path, "vxextver");
  auto* const vxufinan =
      entry_point<vxfnc::ModuleInstance*(vxfnc::KernelServices*, vxfnc::Journal*, std::uint64_t,
                                         std::uint64_t, std::uint64_t, std::uint64_t)>(
          library, module_path, "vxufinan");

  std::int64_t major = 0;
  std::int64_t minor = 0;
  require(vxextver(kernel_handle(), &major, &minor) == 0, "does not take the kernel's handle");
  require(major == kInterface.major && minor == kInterface.minor,
          "offers version " + std::to_string(major) + '.' + std::to_string(minor) +
              " of the interface; this kernel takes " + std::to_string(kInterface.major) + '.' +
              std::to_string(kInterface.minor));

  vxfnc::KernelServices& services = state_->services;
  vxfnc::Journal* const journal = services.create_journal(&services, nullptr, 0, U"");
  vxfnc::ModuleInstance* const instance = vxufinan(&services, journal, 0, 0, 0, 0);
  if (journal != nullptr) journal->destroy(journal);
  require(instance != nullptr, "could not create its instance");
  require(instance->destroy != nullptr && instance->required_version != nullptr &&
              instance->version != nullptr,
          "has an instance that lacks operations");
  state_->instance.reset(instance);
  const Version required = asked(instance, instance->required_version);
  require(required <= kInterface, "requires version " + text_of(required) +
                                      " of the interface; this kernel has " + text_of(kInterface));
  state_->version = asked(instance, instance->version);

  const auto* const information =
      static_cast<const vxfnc::ModuleInformation*>(::dlsym(library.get(), "info"));
  if (information != nullptr) state_->build = information->build_stamp;

  const vxfnc::FunctionList* const list = instance->functions;
  require(list != nullptr && list->count >= 1 && list->count <= kMostFunctions &&
              list->descriptors != nullptr && list->dispatchers != nullptr,
          "has no function list");
  for (std::uint64_t i = 0; i < list->count; ++i) {
    require(list->descriptors[i].name != nullptr && list->dispatchers[i] != nullptr,
            "has a function without name or dispatcher");
    std::string name = ascii(list->descriptors[i].name);
    state_->functions.push_back({name, list->dispatchers[i], name.ends_with('#')});
    state_->names.push_back(std::move(name));
  }
}

Kernel::~Kernel() = default;
Kernel::Kernel(Kernel&&) noexcept = default;
Kernel& Kernel::operator=(Kernel&&) noexcept = default;

Version Kernel::version() const noexcept { return state_->version; }

std::string_view Kernel::build() const noexcept { return state_->build; }

std::span<const std::string> Kernel::functions() const noexcept { return state_->names; }

void Kernel::set_year_cutoff(int first_year) noexcept { set_option_year_cutoff(first_year); }

Evaluation Kernel::evaluate(std::string_view function, std::string_view keyword,
                            std::span<const Argument> arguments) const noexcept {
  const auto entry = std::ranges::find(state_->functions, function, &Function::name);
  if (entry == state_->functions.end()) return {kUnknownFunction, vxfnc::MISSING, -1};

  std::size_t bytes = keyword.size();
  if (bytes > kLongestText) return {kTextTooLong, vxfnc::MISSING, 0};
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    if (arguments[i].kind != Argument::Kind::kText) continue;
    bytes += arguments[i].text.size();
    if (bytes > kLongestText) return {kTextTooLong, vxfnc::MISSING, static_cast<int>(i) + 1};
  }

  const CallRecord record(keyword, arguments, entry->takes_bytes);
  if (record.call() == nullptr) return {kOutOfStorage, vxfnc::MISSING, -1};
  begin_call();
  double value = vxfnc::MISSING;
  const auto status =
      static_cast<int>(entry->dispatcher(record.call(), &value, call_environment()));
  if (status == kSuccess) return {kSuccess, value, -1};
  if (was_storage_refused()) return {kOutOfStorage, vxfnc::MISSING, -1};
  return {status, vxfnc::MISSING, record.marked()};
}

}  // namespace vxkernel
