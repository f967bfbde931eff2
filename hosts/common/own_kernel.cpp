#include "own_kernel.h"

#include <dlfcn.h>

#include <filesystem>

namespace host {
namespace {

std::string path_of_module() {
  Dl_info self{};
  ::dladdr(reinterpret_cast<const void*>(&path_of_module), &self);
  const std::filesystem::path own = std::filesystem::absolute(self.dli_fname);
  const std::filesystem::path beside = own.parent_path() / "vxfnc.so";
  std::error_code error;
  if (std::filesystem::exists(beside, error)) return beside.string();
  const std::filesystem::path behind_link = std::filesystem::canonical(own, error);
  return error ? beside.string() : (behind_link.parent_path() / "vxfnc.so").string();
}

}  // namespace

const vxkernel::Kernel& own_kernel() {
  static const auto* const loaded = new vxkernel::Kernel(path_of_module());
  return *loaded;
}

std::string versions(const std::string& adapter) {
  const vxkernel::Kernel& kernel = own_kernel();
  const vxkernel::Version offered = kernel.version();
  return std::string(kernel.build()) + ", interface " + std::to_string(offered.major) + '.' +
         std::to_string(offered.minor) + ", adapter " + adapter;
}

}  // namespace host
