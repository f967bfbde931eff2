// The operation tables that this kernel hands to a module.
#pragma once

#include "abi/kernel_records.h"
#include "kernel/vxkernel.h"

namespace vxkernel {

// The handle that every module of the process records: options, the case service and pools. It
// lives as long as the process, so no module is ever left with a stale one.
vxfnc::KernelServices* kernel_handle() noexcept;

void set_option_year_cutoff(std::int64_t first_year) noexcept;

// The environment of every evaluation, with the byte-string services in its word 10.
extern constinit vxfnc::CallEnvironment call_environment;

// Whether a pool, or memory in one, was refused on this thread since somebody set it to false. One
// instruction reaches it, also in a library that a server loads.
[[gnu::tls_model("initial-exec")]] extern constinit thread_local bool was_refused;

// What an instance is created with: pools, and journals that write as the options say. The options
// must outlive the journals.
struct InstanceServices : vxfnc::KernelServices {
  explicit InstanceServices(const vxk_open_options& open_options) noexcept;
  const vxk_open_options& options;
};

}  // namespace vxkernel
