#include "hosts/call/module_loader.h"

namespace host {

const vxkernel::Kernel& loaded_module() {
  static const auto* const loaded = new vxkernel::Kernel;
  return *loaded;
}

std::string versions(const std::string& adapter) {
  const vxkernel::Kernel& kernel = loaded_module();
  const vxkernel::Version offered = kernel.version();
  return std::string(kernel.build()) + ", interface " + std::to_string(offered.major) + '.' +
         std::to_string(offered.minor) + ", adapter " + adapter;
}

}  // namespace host
