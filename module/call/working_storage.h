// Storage for the length of one call: from a pool of the kernel's that is made for it and destroyed
// with it, whichever way the call ends; from the heap where there is no kernel handle, or none that
// makes pools.
#pragma once

#include <cstdint>

#include "abi/kernel_records.h"

namespace vxfnc {

class WorkingStorage {
 public:
  explicit WorkingStorage(std::uint64_t bytes) noexcept;
  ~WorkingStorage();
  WorkingStorage(const WorkingStorage&) = delete;
  WorkingStorage& operator=(const WorkingStorage&) = delete;

  // Zero-filled; null when it was refused.
  [[nodiscard]] void* get() const noexcept { return storage_; }

 private:
  MemoryPool* pool_ = nullptr;
  void* storage_ = nullptr;
};

}  // namespace vxfnc
