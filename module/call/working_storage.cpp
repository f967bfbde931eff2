#include "call/working_storage.h"

#include <cstdlib>

#include "abi/kernel_handle.h"

namespace vxfnc {

WorkingStorage::WorkingStorage(std::uint64_t bytes) noexcept {
  constexpr std::uint64_t kOptions[3] = {0, 0, kZeroFilled};
  KernelServices* const kernel = Exported_VXHandle;
  if (kernel == nullptr || kernel->create_pool == nullptr) {
    storage_ = std::calloc(1, bytes);
    return;
  }
  pool_ = kernel->create_pool(kernel, kOptions, nullptr, "WORKPOOL", 0, 0, 0, 0);
  if (pool_ != nullptr) storage_ = pool_->allocate(pool_, bytes, kZeroFilled);
}

WorkingStorage::~WorkingStorage() {
  if (pool_ != nullptr) {
    pool_->destroy(pool_);
  } else {
    std::free(storage_);
  }
}

}  // namespace vxfnc
