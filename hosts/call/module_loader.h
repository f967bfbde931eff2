// The module of a host, loaded once.
#pragma once

#include <string>

#include "kernel/vxkernel.hpp"

namespace host {

// The kernel with the module that vxk_open finds by the place of the shared object that this is
// linked into. It is loaded at the first call and never unloaded, since a process may evaluate
// until its very end. Throws vxkernel::Error.
const vxkernel::Kernel& loaded_module();

// "vxfnc 0.1.0 (2026-11-21 12:00:00 UTC), interface 7.1, adapter 0.1.0"
std::string versions(const std::string& adapter);

}  // namespace host
