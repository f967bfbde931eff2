// The operation tables that this kernel passes to a module.
#pragma once

#include <cstddef>
#include <mutex>

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

// The memory that the call of a thread has allocated, for another thread that wants to end the
// call.
class CallMemory {
 public:
  // The call's thread calls these functions after it allocates memory and before it frees it.
  void set(void* block, std::size_t bytes) noexcept;
  void forget() noexcept { set(nullptr, 0); }

  // Fills the memory with NaN while the call uses it.
  void overwrite() noexcept;

 private:
  std::mutex mutex_;
  void* block_ = nullptr;
  std::size_t bytes_ = 0;
};

// The memory of the call of this thread, or null if no other thread wants to end the call. Pools
// named WORKPOOL set it: by their contract, they contain only numbers.
[[gnu::tls_model("initial-exec")]] extern constinit thread_local CallMemory* call_memory;

// The services with which an instance is created: pools, and journals that pass lines to the
// journal function of the options. The options must outlive the journals.
struct InstanceServices : vxfnc::KernelServices {
  explicit InstanceServices(const vxk_open_options& open_options) noexcept;
  const vxk_open_options& options;
};

}  // namespace vxkernel
