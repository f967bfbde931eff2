#include "kernel/services.h"

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwctype>

#include <algorithm>
#include <atomic>
#include <bit>
#include <memory>
#include <new>
#include <string>
#include <utility>

namespace vxkernel {

constinit thread_local bool ran_out_of_memory = false;
constinit thread_local CallMemory* call_memory = nullptr;

void CallMemory::set(void* block, std::size_t bytes) noexcept {
  const std::lock_guard lock(mutex_);
  block_ = block;
  bytes_ = bytes;
}

// The call reads the memory at the same time, without a lock: this is a data race by intention. On
// x86-64 an aligned word is stored at once, so the call reads a number of its own or a NaN. The
// attribute keeps these writes out of ThreadSanitizer.
__attribute__((no_sanitize("thread"), noinline)) void CallMemory::overwrite() noexcept {
  const std::lock_guard lock(mutex_);
  auto* const words = static_cast<std::uint64_t*>(block_);
  for (std::size_t i = 0; i < bytes_ / sizeof *words; ++i) {
    __atomic_store_n(&words[i], std::bit_cast<std::uint64_t>(vxfnc::MISSING), __ATOMIC_RELAXED);
  }
}

namespace {

// ---- Memory pools ------------------------------------------------------------------------------

// A pool is part of its first block. Thus a pool with a few small allocations costs one malloc and
// one free in total. An allocation that does not fit into the first block gets its own block.
struct Pool : vxfnc::MemoryPool {
  struct Block {
    Block* next;
  };
  static constexpr std::size_t kAlignment = 16;
  // Keeps sizeof(Pool) below the 1,032 bytes up to which glibc caches freed blocks per thread.
  static constexpr std::size_t kInlineBytes = 896;

  Block* blocks = nullptr;
  std::size_t used = 0;
  bool is_call_memory = false;
  alignas(kAlignment) std::byte storage[kInlineBytes];  // not initialised
};

void* allocate_or_flag(std::size_t bytes) noexcept {
  void* const storage = std::malloc(bytes);
  if (storage == nullptr) ran_out_of_memory = true;
  return storage;
}

std::int32_t destroy_pool(vxfnc::MemoryPool* object) {
  auto* const pool = static_cast<Pool*>(object);
  if (pool->is_call_memory) call_memory->forget();
  for (Pool::Block* block = pool->blocks; block != nullptr;) {
    std::free(std::exchange(block, block->next));
  }
  std::free(pool);
  return 0;
}

void* allocate(vxfnc::MemoryPool* object, std::uint64_t bytes, std::uint64_t flags) {
  auto* const pool = static_cast<Pool*>(object);
  constexpr std::size_t kHeader = Pool::kAlignment;
  if (bytes > SIZE_MAX / 2) return nullptr;
  const std::size_t size = (bytes + Pool::kAlignment - 1) / Pool::kAlignment * Pool::kAlignment;
  std::byte* storage = nullptr;
  if (size <= Pool::kInlineBytes - pool->used) {
    storage = pool->storage + pool->used;
    pool->used += size;
  } else {
    void* const block = allocate_or_flag(kHeader + size);
    if (block == nullptr) return nullptr;
    pool->blocks = new (block) Pool::Block{pool->blocks};
    storage = static_cast<std::byte*>(block) + kHeader;
  }
  if ((flags & vxfnc::kZeroFilled) != 0) std::memset(storage, 0, bytes);
  if (pool->is_call_memory) call_memory->set(storage, bytes);
  return storage;
}

vxfnc::MemoryPool* create_pool(vxfnc::KernelServices*, const std::uint64_t*, vxfnc::Journal*,
                               const char* name, std::uint64_t, std::uint64_t, std::uint64_t,
                               std::uint64_t) {
  void* const storage = allocate_or_flag(sizeof(Pool));
  if (storage == nullptr) return nullptr;
  auto* const pool = new (storage) Pool;
  std::ranges::fill(pool->reserved_0, nullptr);
  pool->destroy = destroy_pool;
  pool->allocate = allocate;
  pool->is_call_memory = call_memory != nullptr && std::strcmp(name, "WORKPOOL") == 0;
  return pool;
}

// ---- Journals ----------------------------------------------------------------------------------

constexpr std::int64_t kNotSupported = -2143305724;  // 0x803FC004

struct SinkJournal : vxfnc::Journal {
  explicit SinkJournal(const vxk_open_options& open_options) : Journal{}, options(open_options) {}
  const vxk_open_options& options;

  std::int64_t write(std::string_view line) const noexcept {
    if (options.journal != nullptr) {
      options.journal(options.journal_context, line.data(), line.size());
    }
    return 0;
  }
};

// Parameters: journal, level, status, arguments. This kernel has no texts for statuses, so the line
// contains the number of the status.
std::int64_t status_to_journal(vxfnc::Journal* journal, std::int64_t level, std::int64_t status,
                               std::va_list) {
  char line[64];
  std::snprintf(line, sizeof line, "level %lld: status 0x%08X", static_cast<long long>(level),
                static_cast<unsigned>(status));
  return static_cast<SinkJournal*>(journal)->write(line);
}

// Parameters: journal, level, printf format, arguments of the format.
std::int64_t message_to_journal(vxfnc::Journal* journal, std::int64_t level, std::int64_t format,
                                std::va_list arguments) {
  char line[512];
  const int start = std::snprintf(line, sizeof line, "level %lld: ", static_cast<long long>(level));
  const char* const text = reinterpret_cast<const char*>(format);
  std::vsnprintf(line + start, sizeof line - static_cast<std::size_t>(start), text, arguments);
  return static_cast<SinkJournal*>(journal)->write(line);
}

// This kernel does not implement message buffers and locales.
std::int64_t not_supported(vxfnc::Journal*, std::int64_t, std::int64_t, std::va_list) {
  return kNotSupported;
}

std::int32_t close_journal(vxfnc::Journal*) { return 0; }

std::int32_t destroy_journal(vxfnc::Journal* journal) {
  delete static_cast<SinkJournal*>(journal);
  return 0;
}

vxfnc::Journal* create_journal(vxfnc::KernelServices* services, const std::uint64_t*, std::uint64_t,
                               const vxfnc::WideChar*) {
  auto* const journal =
      new (std::nothrow) SinkJournal(static_cast<InstanceServices*>(services)->options);
  if (journal == nullptr) return nullptr;
  journal->destroy = destroy_journal;
  journal->close = close_journal;
  journal->message_to_buffer = not_supported;
  journal->message_to_journal = message_to_journal;
  journal->status_to_buffer = not_supported;
  journal->status_to_journal = status_to_journal;
  journal->locale = not_supported;
  return journal;
}

// ---- Options and the case service --------------------------------------------------------------

std::atomic<std::int64_t> year_cutoff{1950};

// For an unknown option, *value is not changed, so the caller's default applies.
std::int32_t get_option(vxfnc::KernelServices*, const vxfnc::WideChar* name, std::uint64_t length,
                        std::uint64_t kind, std::int64_t* value, std::uint64_t* size) {
  constexpr std::uint64_t kInteger = 3;
  const bool known = std::u32string_view(name, length) == U"VX_NAME_YEARCUTOFF";
  if (!known || kind != kInteger || *size != sizeof *value) return -1;
  *value = year_cutoff.load(std::memory_order_relaxed);
  return 0;
}

locale_t unicode_locale() noexcept {
  static const locale_t unicode = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
  return unicode;
}

// Converts to upper case with the C library, independently of the program's locale. The dotless i
// is not changed. The module's own tables do not change it either, so keywords are read in the same
// way with and without this service.
std::uint32_t upper_case(vxfnc::CaseService*, std::uint64_t character, std::uint64_t) {
  constexpr std::uint64_t kDotlessI = 0x131;
  const auto c = static_cast<wint_t>(character);
  return character == kDotlessI ? c : towupper_l(c, unicode_locale());
}

// ---- Byte strings ------------------------------------------------------------------------------

// Converts ASCII letters only. Bytes of 128 and above are parts of UTF-8 sequences.
std::int32_t upper(vxfnc::ByteStringServices*, char* text, std::int64_t length, std::int64_t) {
  for (std::int64_t i = 0; i < length; ++i) {
    if (text[i] >= 'a' && text[i] <= 'z') text[i] = static_cast<char>(text[i] - 32);
  }
  return 0;
}

std::int32_t compare(vxfnc::ByteStringServices*, const char* a, std::int64_t a_length,
                     const char* b, std::int64_t b_length, std::int64_t) {
  const std::string_view left(a, static_cast<std::size_t>(a_length));
  return left.compare(std::string_view(b, static_cast<std::size_t>(b_length)));
}

std::int32_t erase(vxfnc::ByteStringServices*, char* text, std::int64_t length, const char* set,
                   std::int64_t set_length, std::int64_t) {
  const std::string_view erased(set, static_cast<std::size_t>(set_length));
  char* const end = std::remove_if(
      text, text + length, [&](char c) { return erased.find(c) != std::string_view::npos; });
  std::fill(end, text + length, ' ');
  return static_cast<std::int32_t>(end - text);
}

std::int32_t copy(vxfnc::ByteStringServices*, const char* from, std::int64_t length, char* to,
                  std::int64_t capacity, std::int64_t* copied, std::int64_t) {
  const std::int64_t n = std::min(length, capacity);
  for (std::int64_t i = 0; i < n; ++i) to[i] = from[i];  // faster than memcpy for a few bytes
  for (std::int64_t i = n; i < capacity; ++i) to[i] = ' ';
  *copied = n;
  return 0;
}

std::int32_t trim(vxfnc::ByteStringServices*, const char* text, std::int64_t length, std::int64_t) {
  while (length > 0 && text[length - 1] == ' ') --length;
  return static_cast<std::int32_t>(length);
}

}  // namespace

vxfnc::KernelServices* kernel_handle() noexcept {
  static vxfnc::CaseService case_service = {.reserved_0 = {}, .convert = upper_case};
  static vxfnc::KernelServices handle = {
      .reserved_0 = {},
      .create_journal = nullptr,  // only instances have journals
      .create_pool = create_pool,
      .reserved_7 = {},
      .get_option = get_option,
      .reserved_15 = {},
      .case_service = unicode_locale() == nullptr ? nullptr : &case_service,
  };
  return &handle;
}

void set_option_year_cutoff(std::int64_t first_year) noexcept {
  year_cutoff.store(first_year, std::memory_order_relaxed);
}

namespace {

constinit vxfnc::ByteStringServices byte_strings = {
    .reserved_0 = {},
    .upper = upper,
    .reserved_55 = nullptr,
    .compare = compare,
    .reserved_57 = {},
    .erase = erase,
    .reserved_60 = {},
    .copy = copy,
    .trim = trim,
};

}  // namespace

constinit vxfnc::CallEnvironment call_environment = {.reserved_0 = {},
                                                     .byte_strings = &byte_strings};

InstanceServices::InstanceServices(const vxk_open_options& open_options) noexcept
    : KernelServices(*kernel_handle()), options(open_options) {
  KernelServices::create_journal = vxkernel::create_journal;
}

}  // namespace vxkernel
