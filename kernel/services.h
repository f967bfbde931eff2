// The operation tables that this kernel passes to a module.
#pragma once

#include "abi/kernel_records.h"
#include "kernel/vxkernel.h"

namespace vxkernel {

// The handle that every module of the process records. It offers options, the case service and
// pools. It exists until the process ends, so a module's pointer to it is always valid.
vxfnc::KernelServices* kernel_handle() noexcept;

void set_option_year_cutoff(std::int64_t first_year) noexcept;

// The environment that is passed to every evaluation. Word 10 points to the byte-string services.
extern constinit vxfnc::CallEnvironment call_environment;

// True if the allocation of a pool, or of memory in a pool, has failed on this thread since the
// flag was last set to false. With the initial-exec model, one instruction reads the flag, also in
// a library that a server loads at run time.
[[gnu::tls_model("initial-exec")]] extern constinit thread_local bool ran_out_of_memory;

// The services with which an instance is created: pools, and journals that pass lines to the
// journal function of the options. The options must outlive the journals.
struct InstanceServices : vxfnc::KernelServices {
  explicit InstanceServices(const vxk_open_options& open_options) noexcept;
  const vxk_open_options& options;
};

}  // namespace vxkernel
