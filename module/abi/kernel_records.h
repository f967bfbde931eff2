// Records and operation tables that the kernel and the module share. The kernel defines their
// layout, which never changes. Positions are given as 8-byte words, counted from 0; static
// assertions at the end check each position. An object is a pointer to its own operation table.
// Each operation has the object as its first parameter. Of the values that services return, only
// the low 32 bits are defined, so these operations are declared with 32-bit results.
#pragma once

#include <bit>
#include <cstdarg>
#include <cstddef>
#include <cstdint>

namespace vxfnc {

using WideChar = char32_t;  // the kernel's wide character: 4 bytes

// The kernel's missing value. When the module reads a number, every NaN is a missing value. When it
// stores a missing value, it stores this NaN.
inline constexpr std::uint64_t kMissingBits = 0xFFFFFE0000000000;
inline constexpr double MISSING = std::bit_cast<double>(kMissingBits);

enum [[nodiscard]] Status : std::int32_t{
    STATUS_SUCCESS = 0,
    STATUS_MISSING_ARG = 120833,  // an argument is a missing value
    // An argument is a null pointer or invalid, or the calculation failed.
    STATUS_BAD_ARG = 120836,
    STATUS_NO_STORAGE = static_cast<std::int32_t>(0x8001D811),  // no memory for working storage
    // The numbers of amounts and dates differ.
    STATUS_UNPAIRED = 1,
};

// The kernel's status for a failed allocation, sign-extended as the journal expects it.
inline constexpr std::int64_t kAllocationFailure = -2143305726;  // 0x803FC002
inline constexpr std::int64_t kFailureLevel = 4;
inline constexpr std::uint64_t kZeroFilled = 0x80000000;  // allocation flag

// clang-format off
struct MemoryPool {
  void* reserved_0[2];
  std::int32_t (*destroy)(MemoryPool*);                                          // word 2
  void* (*allocate)(MemoryPool*, std::uint64_t bytes, std::uint64_t flags);      // word 3
};

struct Journal {
  using Forward = std::int64_t (*)(Journal*, std::int64_t, std::int64_t, std::va_list);
  void* reserved_0[2];
  std::int32_t (*destroy)(Journal*);                                             // word 2
  std::int32_t (*close)(Journal*);                                               // word 3
  Forward message_to_buffer;                                                     // word 4
  Forward message_to_journal;                                                    // word 5
  Forward status_to_buffer;                                                      // word 6
  Forward status_to_journal;                                                     // word 7
  void* reserved_8[4];
  Forward locale;                                                                // word 12
};

struct CaseService {
  void* reserved_0[31];
  std::uint32_t (*convert)(CaseService*, std::uint64_t character, std::uint64_t to_upper);  // word 31
};

// The services that vxufinan receives and the kernel handle are both tables of this type.
struct KernelServices {
  void* reserved_0[5];
  Journal* (*create_journal)(KernelServices*, const std::uint64_t* options, std::uint64_t zero,
                             const WideChar* name);                              // word 5
  MemoryPool* (*create_pool)(KernelServices*, const std::uint64_t* options, Journal*,
                             const char* name, std::uint64_t, std::uint64_t, std::uint64_t,
                             std::uint64_t);                                     // word 6
  void* reserved_7[7];
  std::int32_t (*get_option)(KernelServices*, const WideChar* name, std::uint64_t length,
                             std::uint64_t kind, std::int64_t* value,
                             std::uint64_t* size);                               // word 14
  void* reserved_15[12];
  CaseService* case_service;                                                     // word 27, may be null
};

// Services for byte strings. Lengths are in bytes. Strings are not zero-terminated.
struct ByteStringServices {
  void* reserved_0[54];
  std::int32_t (*upper)(ByteStringServices*, char* text, std::int64_t length,
                        std::int64_t zero);                                      // word 54
  void* reserved_55;
  std::int32_t (*compare)(ByteStringServices*, const char* a, std::int64_t a_length,
                          const char* b, std::int64_t b_length, std::int64_t two);  // word 56, 0: equal
  void* reserved_57[2];
  std::int32_t (*erase)(ByteStringServices*, char* text, std::int64_t length, const char* set,
                        std::int64_t set_length, std::int64_t zero);             // word 59: new length
  void* reserved_60[3];
  std::int32_t (*copy)(ByteStringServices*, const char* from, std::int64_t length, char* to,
                       std::int64_t capacity, std::int64_t* copied,
                       std::int64_t one);                                        // word 63: blank-padded
  std::int32_t (*trim)(ByteStringServices*, const char* text, std::int64_t length,
                       std::int64_t zero);                                       // word 64: trimmed length
};

struct CallEnvironment {
  void* reserved_0[10];
  ByteStringServices* byte_strings;                                              // word 10
};
// clang-format on

enum ArgumentType : std::uint8_t { kNumberArgument = 1, kStringArgument = 2 };
inline constexpr std::uint8_t kTypeMask = 0xFB;  // the kernel uses the bit with value 4
inline constexpr std::uint8_t kErrorFlag = 1;

struct ArgumentSlot {
  std::uint8_t type;   // an ArgumentType after masking with kTypeMask
  std::uint8_t flags;  // kErrorFlag marks the argument that is invalid; never change other bits
  const void* value;   // const double* or const StringValue*; may be null
};

struct StringValue {
  std::uint64_t reserved_0;
  std::int32_t length;     // in characters
  const void* characters;  // WideChar for FINANCE, char for FINANCE#; not terminated; may be null
};

// The record of one evaluation. The slots follow this header: slots()[0] is the keyword,
// slots()[count - 1] is the last argument.
struct FinanceCall {
  std::uint64_t reserved_0[4];
  std::int32_t count;  // number of slots: the keyword and the arguments

  ArgumentSlot* slots() noexcept;
};
inline constexpr std::size_t kFirstSlotOffset = 40;
inline ArgumentSlot* FinanceCall::slots() noexcept {
  return reinterpret_cast<ArgumentSlot*>(reinterpret_cast<std::byte*>(this) + kFirstSlotOffset);
}

// A function that evaluates a call. It returns the status, sign-extended.
using Dispatcher = std::int64_t(FinanceCall*, double* result, CallEnvironment*);

struct FunctionDescriptor {
  const WideChar* name;  // zero-terminated
  std::uint64_t class_words[4];
  std::uint64_t zero;
};

struct FunctionList {
  std::uint64_t count;
  const FunctionDescriptor* descriptors;
  Dispatcher* const* dispatchers;
};

struct ModuleInstance {
  using VersionOperation = std::int64_t (*)(ModuleInstance*, std::int64_t*, std::int64_t*,
                                            std::int64_t*);
  void* reserved_0[3];
  VersionOperation required_version;
  VersionOperation version;
  KernelServices* services;
  std::int64_t (*destroy)(ModuleInstance*);
  void* reserved_7[4];
  MemoryPool* pool;
  Journal* journal;                     // may be null
  std::uint64_t journal_needs_closing;  // only the kernel sets it
  void* reserved_14;
  const FunctionList* functions;
};

struct ModuleInformation {
  const char* build_stamp;
  const char* build_tree;
  const char* empty_2;
  std::int64_t build_time;  // seconds since 1970-01-01 00:00 UTC
  const char* module_name;
  const char* revision;  // 8 characters
  const char* module_kind;
  const char* tree_revision;  // 19 characters
  const char* empty_8;
  const char* version_key;
  const char* separator;
  const char* empty_11;
  const char* hotfix_record;  // 65 characters, filled in by the release process
  const char* empty_13;
  const char* image_record;  // 65 characters, filled in by the release process
  const char* build_host;
  const char* build_date;
  std::uint64_t zero[9];
};

#define VXFNC_WORD(record, word, member) \
  static_assert(offsetof(record, member) == (word)*8, #record " word " #word)
VXFNC_WORD(MemoryPool, 2, destroy);
VXFNC_WORD(MemoryPool, 3, allocate);
VXFNC_WORD(Journal, 2, destroy);
VXFNC_WORD(Journal, 3, close);
VXFNC_WORD(Journal, 4, message_to_buffer);
VXFNC_WORD(Journal, 5, message_to_journal);
VXFNC_WORD(Journal, 6, status_to_buffer);
VXFNC_WORD(Journal, 7, status_to_journal);
VXFNC_WORD(Journal, 12, locale);
VXFNC_WORD(CaseService, 31, convert);
VXFNC_WORD(KernelServices, 5, create_journal);
VXFNC_WORD(KernelServices, 6, create_pool);
VXFNC_WORD(KernelServices, 14, get_option);
VXFNC_WORD(KernelServices, 27, case_service);
VXFNC_WORD(ByteStringServices, 54, upper);
VXFNC_WORD(ByteStringServices, 56, compare);
VXFNC_WORD(ByteStringServices, 59, erase);
VXFNC_WORD(ByteStringServices, 63, copy);
VXFNC_WORD(ByteStringServices, 64, trim);
VXFNC_WORD(CallEnvironment, 10, byte_strings);
VXFNC_WORD(ArgumentSlot, 1, value);
static_assert(offsetof(ArgumentSlot, flags) == 1 && sizeof(ArgumentSlot) == 16);
VXFNC_WORD(StringValue, 1, length);
VXFNC_WORD(StringValue, 2, characters);
VXFNC_WORD(FinanceCall, 4, count);
static_assert(sizeof(FinanceCall) == kFirstSlotOffset);
VXFNC_WORD(FunctionDescriptor, 0, name);
VXFNC_WORD(FunctionDescriptor, 1, class_words);
VXFNC_WORD(FunctionDescriptor, 5, zero);
static_assert(sizeof(FunctionDescriptor) == 48);
VXFNC_WORD(FunctionList, 0, count);
VXFNC_WORD(FunctionList, 1, descriptors);
VXFNC_WORD(FunctionList, 2, dispatchers);
VXFNC_WORD(ModuleInstance, 3, required_version);
VXFNC_WORD(ModuleInstance, 4, version);
VXFNC_WORD(ModuleInstance, 5, services);
VXFNC_WORD(ModuleInstance, 6, destroy);
VXFNC_WORD(ModuleInstance, 11, pool);
VXFNC_WORD(ModuleInstance, 12, journal);
VXFNC_WORD(ModuleInstance, 13, journal_needs_closing);
VXFNC_WORD(ModuleInstance, 15, functions);
static_assert(sizeof(ModuleInstance) == 128);
VXFNC_WORD(ModuleInformation, 0, build_stamp);
VXFNC_WORD(ModuleInformation, 3, build_time);
VXFNC_WORD(ModuleInformation, 4, module_name);
VXFNC_WORD(ModuleInformation, 5, revision);
VXFNC_WORD(ModuleInformation, 6, module_kind);
VXFNC_WORD(ModuleInformation, 7, tree_revision);
VXFNC_WORD(ModuleInformation, 9, version_key);
VXFNC_WORD(ModuleInformation, 10, separator);
VXFNC_WORD(ModuleInformation, 12, hotfix_record);
VXFNC_WORD(ModuleInformation, 14, image_record);
VXFNC_WORD(ModuleInformation, 15, build_host);
VXFNC_WORD(ModuleInformation, 16, build_date);
VXFNC_WORD(ModuleInformation, 17, zero);
static_assert(sizeof(ModuleInformation) == 208);
#undef VXFNC_WORD

}  // namespace vxfnc
