// The exports of the shared object, except the dispatchers. They have C linkage. Functions return
// 64-bit integers, 0 for success, unless a comment says otherwise.
#pragma once

#include "abi/kernel_records.h"

#pragma GCC visibility push(default)
extern "C" {

extern const vxfnc::ModuleInformation info;
extern const vxfnc::FunctionList* const funclist;

// Copies `info`, which has 208 bytes, to the buffer.
std::int64_t vxvercn1(void* buffer);

// Record the kernel handle. vxextver also stores the version of the interface, 7.1.
std::int64_t vxextent(vxfnc::KernelServices* handle);
std::int64_t vxextver(vxfnc::KernelServices* handle, std::int64_t* major, std::int64_t* minor);

// Creates and returns the instance. If an allocation fails, it reports the failure to the caller's
// journal, which may be null, frees everything and returns null. The four words are passed on to
// create_pool.
vxfnc::ModuleInstance* vxufinan(vxfnc::KernelServices* services, vxfnc::Journal* journal,
                                std::uint64_t word_1, std::uint64_t word_2, std::uint64_t word_3,
                                std::uint64_t word_4);

std::int64_t VXU_EXTNAMEReqVersion(vxfnc::ModuleInstance*, std::int64_t* major, std::int64_t* minor,
                                   std::int64_t* release);
std::int64_t VXU_EXTNAMEVersion(vxfnc::ModuleInstance*, std::int64_t* major, std::int64_t* minor,
                                std::int64_t* release);
// Destroys the journal, then the pool and with it the instance. If journal_needs_closing is set,
// the journal is closed first.
std::int64_t VXU_EXTNAMEDestroy(vxfnc::ModuleInstance* instance);

// Pass the arguments after the three fixed ones to the journal's operation as a va_list.
std::int64_t vxlMessageToBuf(vxfnc::Journal*, std::int64_t, std::int64_t, ...);
std::int64_t vxlMessageToJnl(vxfnc::Journal*, std::int64_t, std::int64_t, ...);
std::int64_t vxlStatusToBuf(vxfnc::Journal*, std::int64_t, std::int64_t, ...);
std::int64_t vxlStatusToJnl(vxfnc::Journal*, std::int64_t level, std::int64_t status, ...);
std::int64_t vxlGetLocale(vxfnc::Journal*, std::int64_t, std::int64_t, ...);
}
#pragma GCC visibility pop
