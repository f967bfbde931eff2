// What the shared object exports besides the dispatchers: C linkage, 64-bit answers, 0 for success.
#pragma once

#include "abi/kernel_records.h"

#pragma GCC visibility push(default)
extern "C" {

extern const vxfnc::ModuleInformation info;
extern const vxfnc::FunctionList* const funclist;

// Copies info, 208 bytes.
std::int64_t vxvercn1(void* buffer);

// Record the kernel handle; vxextver also answers the version of the interface, 7.1.
std::int64_t vxextent(vxfnc::KernelServices* handle);
std::int64_t vxextver(vxfnc::KernelServices* handle, std::int64_t* major, std::int64_t* minor);

// Creates the instance, or answers null with nothing left allocated and the failure reported to
// the caller's journal (which may be null). The four words are handed on to the pool creation.
vxfnc::ModuleInstance* vxufinan(vxfnc::KernelServices* services, vxfnc::Journal* journal,
                                std::uint64_t word_1, std::uint64_t word_2, std::uint64_t word_3,
                                std::uint64_t word_4);

std::int64_t VXU_EXTNAMEReqVersion(vxfnc::ModuleInstance*, std::int64_t* major, std::int64_t* minor,
                                   std::int64_t* release);
std::int64_t VXU_EXTNAMEVersion(vxfnc::ModuleInstance*, std::int64_t* major, std::int64_t* minor,
                                std::int64_t* release);
// Destroys the journal (closed first where the kernel asked for it), then the pool and with it the
// instance.
std::int64_t VXU_EXTNAMEDestroy(vxfnc::ModuleInstance* instance);

// Pack the arguments after the three fixed words and hand them to the journal's operation.
std::int64_t vxlMessageToBuf(vxfnc::Journal*, std::int64_t, std::int64_t, ...);
std::int64_t vxlMessageToJnl(vxfnc::Journal*, std::int64_t, std::int64_t, ...);
std::int64_t vxlStatusToBuf(vxfnc::Journal*, std::int64_t, std::int64_t, ...);
std::int64_t vxlStatusToJnl(vxfnc::Journal*, std::int64_t level, std::int64_t status, ...);
std::int64_t vxlGetLocale(vxfnc::Journal*, std::int64_t, std::int64_t, ...);
}
#pragma GCC visibility pop
