// The module of a host that is a shared object itself.
#pragma once

#include <string>

#include "vxkernel.h"

namespace host {

// The kernel with vxfnc.so from the folder of the shared object that this is linked into; where
// that is a symbolic link without a module beside it, from the folder that it leads to. Nothing in
// the environment has a say. Loaded at the first call and never unloaded, since a process may
// evaluate until its very end. Throws vxkernel::LoadError.
const vxkernel::Kernel& own_kernel();

// "vxfnc 0.1.0 (2026-11-21 12:00:00 UTC), interface 7.1, adapter 0.1.0"
std::string versions(const std::string& adapter);

}  // namespace host
