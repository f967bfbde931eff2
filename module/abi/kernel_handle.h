// The only writable global of the module: the kernel handle. It is null until the kernel records a
// handle.
#pragma once

#include "abi/kernel_records.h"

#pragma GCC visibility push(default)
extern "C" {
extern vxfnc::KernelServices* Exported_VXHandle;
}
#pragma GCC visibility pop
