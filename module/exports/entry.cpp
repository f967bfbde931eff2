// The module's entry points, its instance, its function list and the journal forwarders.
#include "exports/entry.h"

#include <cstring>
#include <iterator>

#include "abi/kernel_handle.h"
#include "exports/dispatch.h"

vxfnc::KernelServices* Exported_VXHandle = nullptr;

namespace vxfnc {
namespace {

constexpr std::uint64_t kClassWords[4] = {0x0000000200000000, 0x42, 0x200, 0xCA};

constexpr FunctionDescriptor kDescriptors[] = {
    {U"FINANCE", {kClassWords[0], kClassWords[1], kClassWords[2], kClassWords[3]}, 0},
    {U"FINANCE#", {kClassWords[0], kClassWords[1], kClassWords[2], kClassWords[3]}, 0},
};
constexpr Dispatcher* kDispatchers[] = {fncfin, fncfinS};
static_assert(std::size(kDescriptors) == std::size(kDispatchers));

constexpr FunctionList VxFuncList = {std::size(kDescriptors), kDescriptors, kDispatchers};

void set(std::int64_t* out, std::int64_t value) noexcept {
  if (out != nullptr) *out = value;
}

}  // namespace
}  // namespace vxfnc

const vxfnc::FunctionList* const funclist = &vxfnc::VxFuncList;

std::int64_t vxvercn1(void* buffer) {
  if (buffer != nullptr) std::memcpy(buffer, &info, sizeof info);
  return 0;
}

std::int64_t vxextent(vxfnc::KernelServices* handle) {
  Exported_VXHandle = handle;
  return 0;
}

std::int64_t vxextver(vxfnc::KernelServices* handle, std::int64_t* major, std::int64_t* minor) {
  vxfnc::set(major, 7);
  vxfnc::set(minor, 1);
  return vxextent(handle);
}

// The module requires a kernel of version 7.1.1, but reports 7.0.0 as its own version. The
// difference is intended.
std::int64_t VXU_EXTNAMEReqVersion(vxfnc::ModuleInstance*, std::int64_t* major, std::int64_t* minor,
                                   std::int64_t* release) {
  vxfnc::set(major, 7);
  vxfnc::set(minor, 1);
  vxfnc::set(release, 1);
  return 0;
}

std::int64_t VXU_EXTNAMEVersion(vxfnc::ModuleInstance*, std::int64_t* major, std::int64_t* minor,
                                std::int64_t* release) {
  vxfnc::set(major, 7);
  vxfnc::set(minor, 0);
  vxfnc::set(release, 0);
  return 0;
}

vxfnc::ModuleInstance* vxufinan(vxfnc::KernelServices* services, vxfnc::Journal* journal,
                                std::uint64_t word_1, std::uint64_t word_2, std::uint64_t word_3,
                                std::uint64_t word_4) {
  constexpr std::uint64_t kPoolOptions[3] = {0, 0, 0};
  constexpr std::uint64_t kJournalOptions[3] = {0, 0, 0x40000000};

  const bool has_pools = services != nullptr && services->create_pool != nullptr;
  vxfnc::MemoryPool* const pool =
      has_pools ? services->create_pool(services, kPoolOptions, journal, "vxu pool", word_1, word_2,
                                        word_3, word_4)
                : nullptr;
  void* const storage =
      pool == nullptr ? nullptr
                      : pool->allocate(pool, sizeof(vxfnc::ModuleInstance), vxfnc::kZeroFilled);
  if (storage == nullptr) {
    vxlStatusToJnl(journal, vxfnc::kFailureLevel, vxfnc::kAllocationFailure);
    if (pool != nullptr) pool->destroy(pool);
    return nullptr;
  }

  // The module writes no other word of the instance.
  auto* const instance = static_cast<vxfnc::ModuleInstance*>(storage);
  instance->pool = pool;
  instance->services = services;
  instance->required_version = VXU_EXTNAMEReqVersion;
  instance->version = VXU_EXTNAMEVersion;
  instance->destroy = VXU_EXTNAMEDestroy;
  instance->functions = funclist;
  instance->journal_needs_closing = 0;
  instance->journal =
      services->create_journal == nullptr
          ? nullptr
          : services->create_journal(services, kJournalOptions, 0, U"vxfncwubit Jnl");
  return instance;
}

std::int64_t VXU_EXTNAMEDestroy(vxfnc::ModuleInstance* instance) {
  vxfnc::MemoryPool* const pool = instance->pool;  // destroying it also frees the instance
  if (vxfnc::Journal* const journal = instance->journal; journal != nullptr) {
    if (instance->journal_needs_closing != 0) journal->close(journal);
    journal->destroy(journal);
  }
  pool->destroy(pool);
  return 0;
}

// If the journal is null or does not have the operation, the function does nothing and returns 0.
#define VXFNC_FORWARDER(name, operation)                                                         \
  std::int64_t name(vxfnc::Journal* journal, std::int64_t level_or_status, std::int64_t status,  \
                    ...) {                                                                       \
    if (journal == nullptr || journal->operation == nullptr) return 0;                           \
    std::va_list arguments;                                                                      \
    va_start(arguments, status);                                                                 \
    const std::int64_t result = journal->operation(journal, level_or_status, status, arguments); \
    va_end(arguments);                                                                           \
    return result;                                                                               \
  }
VXFNC_FORWARDER(vxlMessageToBuf, message_to_buffer)
VXFNC_FORWARDER(vxlMessageToJnl, message_to_journal)
VXFNC_FORWARDER(vxlStatusToBuf, status_to_buffer)
VXFNC_FORWARDER(vxlStatusToJnl, status_to_journal)
VXFNC_FORWARDER(vxlGetLocale, locale)
