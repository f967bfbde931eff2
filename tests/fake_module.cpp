// A foreign extension module, to try the kernel with. PROBE contributes the function PROBE, whose
// result tells what the kernel's services do; the other variants are modules to be refused.
#include "frame/kernel_records.h"

#include <cstring>

using namespace vxfnc;

#ifndef NO_ENTRY
namespace {

KernelServices* handle;

std::int64_t year_cutoff() {
  std::int64_t value = -1;
  std::uint64_t size = 8;
  handle->get_option(handle, U"VX_NAME_YEARCUTOFF", 18, 3, &value, &size);
  handle->get_option(handle, U"VX_NAME_OTHER", 13, 3, &value, &size);
  return value;
}

// The number of storages, of sizes that fill and overflow a pool, that are zero-filled, aligned
// and apart from each other.
int good_storages() {
  const std::uint64_t options[3] = {0, 0, 0};
  MemoryPool* const pool = handle->create_pool(handle, options, nullptr, "probe", 0, 0, 0, 0);
  int good = 0;
  for (std::uint64_t size = 1; size < 5000; size += size / 2 + 1) {
    auto* const bytes = static_cast<unsigned char*>(pool->allocate(pool, size, kZeroFilled));
    bool fresh = bytes != nullptr && reinterpret_cast<std::uintptr_t>(bytes) % 16 == 0;
    for (std::uint64_t i = 0; fresh && i < size; ++i) fresh = bytes[i] == 0;
    good += fresh ? 1 : 0;
    if (fresh) std::memset(bytes, 0xFF, size);
  }
  good += pool->allocate(pool, ~0ULL, 0) == nullptr ? 100 : 0;  // more than there is
  pool->destroy(pool);
  return good;
}

// Its argument chooses the question.
std::int64_t probe(FinanceCall* call, double* result, CallEnvironment*) {
  CaseService* const service = handle->case_service;
  switch (static_cast<int>(*static_cast<const double*>(call->slots()[1].value))) {
    case 0:
      *result = static_cast<double>(year_cutoff());
      break;
    case 1:
      *result = good_storages();
      break;
    case 2:
      *result = service->convert(service, 0x3B1, 1);
      break;  // alpha
    case 3:
      *result = service->convert(service, 0x131, 1);
      break;  // the dotless i
    case 4:
      *result = service->convert(service, 0x391, 0);
      break;  // Alpha, to lower case
    default:
      *result = call->count;
  }
  return 0;
}

const FunctionDescriptor descriptor = {U"PROBE", {}, 0};
Dispatcher* const dispatcher = probe;
const FunctionList list = {1, &descriptor, &dispatcher};
ModuleInstance instance;

std::int64_t answer_7_1_1(ModuleInstance*, std::int64_t* a, std::int64_t* b, std::int64_t* c) {
  *a = 7;
  *b = *c = 1;
  return 0;
}

// Hands variable arguments to one of the journal's operations.
void report(Journal* journal, Journal::Forward operation, std::int64_t level, std::int64_t word,
            ...) {
  std::va_list arguments;
  va_start(arguments, word);
  operation(journal, level, word, arguments);
  va_end(arguments);
}

std::int64_t destroy(ModuleInstance* self) {
  Journal* const journal = self->journal;
  const auto format = reinterpret_cast<std::int64_t>("%s %d");
  report(journal, journal->message_to_journal, 2, format, "bye", 7);
  return journal->destroy(journal);
}

}  // namespace

extern "C" {
std::int64_t vxextver(KernelServices* kernel, std::int64_t* major, std::int64_t* minor) {
  handle = kernel;
  *major = 7;
#ifdef WRONG_VERSION
  *minor = 2;
#else
  *minor = 1;
#endif
  return 0;
}

ModuleInstance* vxufinan(KernelServices* services, Journal*, ...) {
  const std::uint64_t options[3] = {0, 0, 0};
  instance.journal = services->create_journal(services, options, 0, U"probe");
  report(instance.journal, instance.journal->status_to_journal, 4, kAllocationFailure);
  instance.required_version = instance.version = answer_7_1_1;
  instance.destroy = destroy;
  instance.functions = &list;
  return &instance;
}
}
#endif
