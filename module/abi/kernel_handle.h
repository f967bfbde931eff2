// The module's one mutable global: the kernel handle, recorded at load and null before.
#pragma once

#include "abi/kernel_records.h"

#pragma GCC visibility push(default)
extern "C" {
extern vxfnc::KernelServices* Exported_VXHandle;
}
#pragma GCC visibility pop
