// Loads the module once for a host.
#pragma once

#include <string>

#include "kernel/vxkernel.hpp"

namespace host {

// The kernel with its module. vxk_open finds the module by the place of the shared object that this
// code is linked into. The first call loads the module. It is never unloaded, because a process may
// evaluate calls until it ends. Throws vxkernel::Error.
const vxkernel::Kernel& loaded_module();

// "vxfnc 0.1.0 (2026-11-21 12:00:00 UTC), interface 7.1, adapter 0.1.0"
std::string versions(const std::string& adapter);

}  // namespace host
