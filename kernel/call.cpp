// Lays out the records of calls and evaluates single calls.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "kernel/internal.h"

namespace vxkernel {
namespace {

constexpr std::size_t kSlotsInFrame = 17;  // for the keyword and 16 arguments
constexpr std::int32_t kMaxArguments = 1 << 28;

// Returns the length of the UTF-8 sequence that begins with this byte, or 0 if no sequence does.
std::size_t sequence_length(char32_t lead) noexcept {
  if (lead < 0x80) return 1;
  if (lead < 0xC2 || lead > 0xF4) return 0;
  return lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
}

// The first word of a text descriptor is the missing value. A module that expects a number in this
// slot reads that word, and reports the argument as missing.
vxfnc::StringValue string_value(std::size_t length, const void* characters) noexcept {
  return {vxfnc::kMissingBits, static_cast<std::int32_t>(length), characters};
}

// The record of a call that is not prepared. Up to 17 slots are on the stack. A record with more
// slots is on the heap.
class FrameRecord {
 public:
  FrameRecord(std::string_view keyword, const vxk_value* arguments, std::size_t count,
              bool as_bytes) noexcept
      : as_bytes_(as_bytes) {
    const std::size_t slots = count + 1;
    std::byte* storage = frame_;
    if (slots > kSlotsInFrame) {
      overflow_.reset(new (std::nothrow) std::byte[slots * kBytesPerSlot + kHeader]);
      storage = overflow_.get();
      if (storage == nullptr) return;
    }
    strings_ = reinterpret_cast<vxfnc::StringValue*>(storage + kHeader +
                                                     slots * sizeof(vxfnc::ArgumentSlot));
    call_ = new (storage) vxfnc::FinanceCall{{}, static_cast<std::int32_t>(slots)};
    set_text(0, keyword);
    for (std::size_t i = 1; i < slots; ++i) {
      const vxk_value& argument = arguments[i - 1];
      if (argument.text != nullptr) {
        set_text(i, {argument.text, argument.length});
      } else {
        call_->slots()[i] = {vxfnc::kNumberArgument, 0, &argument.number};
      }
    }
  }

  // Null if out of memory.
  [[nodiscard]] vxfnc::FinanceCall* call() const noexcept { return call_; }

 private:
  static constexpr std::size_t kHeader = vxfnc::kFirstSlotOffset;
  static constexpr std::size_t kBytesPerSlot =
      sizeof(vxfnc::ArgumentSlot) + sizeof(vxfnc::StringValue);

  void set_text(std::size_t slot, std::string_view text) noexcept {
    vxfnc::StringValue& string = strings_[slot];
    if (as_bytes_) {
      string = string_value(text.size(), text.data());
    } else {
      char32_t* const end = decode_utf8(text, free_);
      string = string_value(static_cast<std::size_t>(end - free_), free_);
      free_ = end;
    }
    call_->slots()[slot] = {vxfnc::kStringArgument, 0, &string};
  }

  bool as_bytes_;
  alignas(8) std::byte frame_[kHeader + kSlotsInFrame * kBytesPerSlot];
  char32_t characters_[VXK_MAX_TEXT];
  char32_t* free_ = characters_;
  std::unique_ptr<std::byte[]> overflow_;
  vxfnc::StringValue* strings_ = nullptr;
  vxfnc::FinanceCall* call_ = nullptr;
};

// Returns the first slot that the dispatcher marked, or -1, and clears all marks.
[[gnu::noinline]] std::int32_t take_mark(vxfnc::FinanceCall* record) noexcept {
  std::int32_t marked = -1;
  for (std::int32_t i = record->count - 1; i >= 0; --i) {
    std::uint8_t& flags = record->slots()[i].flags;
    if ((flags & vxfnc::kErrorFlag) != 0) marked = i;
    flags &= static_cast<std::uint8_t>(~vxfnc::kErrorFlag);
  }
  return marked;
}

}  // namespace

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
    constexpr char32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};  // smaller characters are shorter
    well_formed = well_formed && c >= kLeast[length] && c <= 0x10FFFF && (c < 0xD800 || c > 0xDFFF);
    *to++ = well_formed ? c : kReplacement;
    i += well_formed ? length : 1;
  }
  return to;
}

Text::Text(std::string_view utf8, bool as_bytes) : bytes_(utf8) {
  if (as_bytes) {
    value_ = string_value(bytes_.size(), bytes_.data());
    return;
  }
  wide_.resize(utf8.size());
  const char32_t* const end = decode_utf8(utf8, wide_.data());
  value_ = string_value(static_cast<std::size_t>(end - wide_.data()), wide_.data());
}

int report_failure(vxfnc::FinanceCall* record, double* result, std::int32_t* argument) noexcept {
  *result = vxfnc::MISSING;
  const std::int32_t marked = take_mark(record);
  if (argument != nullptr) *argument = std::max(marked, 0);
  if (ran_out_of_memory) return VXK_OUT_OF_MEMORY;
  return marked == 0 ? VXK_NO_KEYWORD : VXK_FAILED;
}

}  // namespace vxkernel

using namespace vxkernel;

vxk_call::vxk_call(const Function& bound, std::string_view word, std::size_t count)
    : function(&bound), dispatcher(bound.dispatcher), keyword(word, bound.takes_bytes) {
  resize(count);
}

vxk_call::vxk_call(const vxk_call& other)
    : vxk_call(*other.function, other.keyword.utf8(), other.size()) {
  std::ranges::copy(other.numbers, numbers.begin());
  for (std::size_t i = 0; i < size(); ++i) {
    if (other.texts[i] != nullptr) set_text(i, other.texts[i]->utf8());
  }
}

void vxk_call::resize(std::size_t count) {
  constexpr std::size_t kWordsPerSlot = sizeof(vxfnc::ArgumentSlot) / sizeof(std::uint64_t);
  texts.resize(count);
  storage.resize(vxfnc::kFirstSlotOffset / sizeof(std::uint64_t) + kWordsPerSlot * (count + 1));
  numbers.resize(count, vxfnc::MISSING);  // must be last, because size() is the size of numbers
  record()->count = static_cast<std::int32_t>(count + 1);
  record()->slots()[0] = {vxfnc::kStringArgument, 0, keyword.value()};
  for (std::size_t i = 0; i < count; ++i) {
    if (texts[i] == nullptr) set_number(i, numbers[i]);
  }
}

void vxk_call::set_text(std::size_t index, std::string_view text) {
  texts[index] = std::make_unique<Text>(text, function->takes_bytes);
  record()->slots()[index + 1] = {vxfnc::kStringArgument, 0, texts[index]->value()};
}

void vxk_call::set_number(std::size_t index, double number) noexcept {
  texts[index].reset();
  numbers[index] = number;
  record()->slots()[index + 1] = {vxfnc::kNumberArgument, 0, &numbers[index]};
}

int vxk_evaluate_values(const vxk_kernel* kernel, const char* function, const char* keyword,
                        size_t keyword_length, const vxk_value* arguments, int32_t count,
                        double* result, int32_t* argument) {
  const auto fail = [&](int status, std::int32_t at) {
    *result = vxfnc::MISSING;
    if (argument != nullptr) *argument = at;
    return status;
  };
  const Function* const entry = kernel->find(function);
  if (entry == nullptr) return fail(VXK_NO_FUNCTION, 0);
  if (count < 0 || count > kMaxArguments) return fail(VXK_BAD_PARAMETER, 0);
  std::size_t bytes = keyword_length;
  if (bytes > VXK_MAX_TEXT) return fail(VXK_TEXT_TOO_LONG, 0);
  for (std::int32_t i = 0; i < count; ++i) {
    if (arguments[i].text == nullptr) continue;
    if (arguments[i].length > VXK_MAX_TEXT - bytes) return fail(VXK_TEXT_TOO_LONG, i + 1);
    bytes += arguments[i].length;
  }
  const FrameRecord record({keyword, keyword_length}, arguments, static_cast<std::size_t>(count),
                           entry->takes_bytes);
  if (record.call() == nullptr) return fail(VXK_OUT_OF_MEMORY, 0);
  return dispatch(entry->dispatcher, record.call(), result, argument);
}

int vxk_prepare(const vxk_kernel* kernel, const char* function, const char* keyword, int32_t count,
                vxk_call** call, vxk_error* error) {
  *call = nullptr;
  const auto fail = [error](int status, const char* format, const char* name) {
    set_error(error, status, 0, 0, format, name);
    return status;
  };
  const Function* const entry = kernel->find(function);
  if (entry == nullptr) return fail(VXK_NO_FUNCTION, "the module has no function %s", function);
  if (std::strlen(keyword) > VXK_MAX_TEXT) {
    return fail(VXK_TEXT_TOO_LONG, "%.20s...: the keyword is too long", keyword);
  }
  if (count < 0 || count > kMaxArguments) {
    return fail(VXK_BAD_PARAMETER, "%s: the number of arguments is out of range", keyword);
  }
  try {
    auto bound = std::make_unique<vxk_call>(*entry, keyword, static_cast<std::size_t>(count));
    // To find out whether the keyword exists, evaluate the call with a null pointer in every
    // argument slot. Every keyword rejects such a call. The dispatcher marks slot 0 if and only if
    // the keyword is unknown.
    double result = 0.0;
    for (std::int32_t i = 1; i <= count; ++i) bound->record()->slots()[i].value = nullptr;
    if (bound->run(&result, nullptr) == VXK_NO_KEYWORD) {
      return fail(VXK_NO_KEYWORD, "unknown keyword %.200s", keyword);
    }
    bound->resize(bound->size());
    *call = bound.release();
    return VXK_OK;
  } catch (const std::bad_alloc&) {
    return fail(VXK_OUT_OF_MEMORY, "%.200s: out of memory", keyword);
  }
}

int vxk_copy(const vxk_call* call, vxk_call** copy) {
  *copy = nullptr;
  try {
    *copy = std::make_unique<vxk_call>(*call).release();
    return VXK_OK;
  } catch (const std::bad_alloc&) {
    return VXK_OUT_OF_MEMORY;
  }
}

void vxk_release(vxk_call* call) { delete call; }

double* vxk_arguments(vxk_call* call) { return call->numbers.data(); }

int vxk_set_text(vxk_call* call, int32_t argument, const char* text, size_t length) {
  if (argument < 1 || argument > static_cast<int32_t>(call->size())) return VXK_BAD_PARAMETER;
  if (length > VXK_MAX_TEXT) return VXK_TEXT_TOO_LONG;
  try {
    call->set_text(static_cast<std::size_t>(argument) - 1, {text, length});
    return VXK_OK;
  } catch (const std::bad_alloc&) {
    return VXK_OUT_OF_MEMORY;
  }
}

int vxk_set_number(vxk_call* call, int32_t argument, double number) {
  if (argument < 1 || argument > static_cast<int32_t>(call->size())) return VXK_BAD_PARAMETER;
  call->set_number(static_cast<std::size_t>(argument) - 1, number);
  return VXK_OK;
}

int vxk_run(vxk_call* call, double* result, int32_t* argument) {
  return call->run(result, argument);
}

int vxk_evaluate(vxk_call* call, const double* arguments, double* result, int32_t* argument) {
  std::copy_n(arguments, call->size(), call->numbers.data());
  return call->run(result, argument);
}
