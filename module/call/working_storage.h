// Memory for the duration of one call. It comes from a kernel pool that the constructor creates and
// the destructor destroys. If there is no kernel handle, or if the handle cannot create pools, it
// comes from the heap.
//
// The memory may contain only numbers from which no index or address is computed: to end a long
// call, a kernel fills it with NaN while the call runs.
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

  // Zero-filled memory; null if it could not be allocated.
  [[nodiscard]] void* get() const noexcept { return storage_; }

 private:
  MemoryPool* pool_ = nullptr;
  void* storage_ = nullptr;
};

}  // namespace vxfnc
