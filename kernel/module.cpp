// Loads modules and reads the information that they give about themselves.
#include <dlfcn.h>
#include <sys/auxv.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <filesystem>
#include <mutex>
#include <stdexcept>

#include "kernel/internal.h"

namespace vxkernel {
namespace {

// The version of the module interface that this kernel implements.
using Version = std::array<std::int64_t, 3>;  // major, minor, release
constexpr Version kInterface = {7, 1, 1};

constexpr std::uint64_t kMaxFunctions = 1024;  // a longer function list is invalid

struct LoadError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

constexpr const char* kInstalled =
    "../" VXK_LIBRARY_FOLDER "/vxfnc";  // from the folder of programs

// Looks for the module near the program or library that contains this function. If that file was
// found through a symbolic link, looks near the link first and then near the target of the link.
std::string path_of_module() {
  namespace fs = std::filesystem;
  Dl_info self{};
  ::dladdr(reinterpret_cast<const void*>(&path_of_module), &self);
  const char* name = self.dli_fname;
  if (std::string_view(name) == program_invocation_name) {  // may be a name without a path
    name = reinterpret_cast<const char*>(::getauxval(AT_EXECFN));
  }
  const fs::path own = fs::absolute(name);
  std::error_code error;
  for (const fs::path& place : {own, fs::canonical(own, error)}) {
    for (const char* const folder : {"", "vxfnc", "../lib", "../lib/vxfnc", kInstalled}) {
      const fs::path file = place.parent_path() / folder / "vxfnc.so";
      if (fs::exists(file, error)) return file.lexically_normal().string();
    }
  }
  return (own.parent_path() / "vxfnc.so").string();  // so that the error message contains a path
}

std::unique_ptr<void, int (*)(void*)> open_library(const std::string& path) {
  // With a slash in the name, the loader opens this file and does not search its library path.
  const std::string file = path.find('/') == path.npos ? "./" + path : path;
  std::unique_ptr<void, int (*)(void*)> library(dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL),
                                                dlclose);
  if (!library) {
    const char* const why = dlerror();
    throw LoadError("cannot load module " + path + ": " + (why == nullptr ? "unknown" : why));
  }
  return library;
}

template <class EntryPoint>
EntryPoint* entry_point(void* library, const std::string& path, const char* name) {
  void* const symbol = dlsym(library, name);
  if (symbol == nullptr) throw LoadError(path + " is not a module: it has no entry point " + name);
  return reinterpret_cast<EntryPoint*>(symbol);
}

std::string text_of(const Version& version) {
  return std::to_string(version[0]) + '.' + std::to_string(version[1]) + '.' +
         std::to_string(version[2]);
}

Version asked(vxfnc::ModuleInstance* instance, vxfnc::ModuleInstance::VersionOperation operation) {
  Version version{};
  operation(instance, &version[0], &version[1], &version[2]);
  return version;
}

// Function names are ASCII. Any other character is replaced by a question mark.
std::string ascii(const vxfnc::WideChar* name) {
  std::string text;
  for (; *name != 0; ++name) text += *name < 0x80 ? static_cast<char>(*name) : '?';
  return text;
}

void load(vxk_kernel& kernel, const std::string& path) {
  static std::mutex one_load_at_a_time;
  const std::lock_guard lock(one_load_at_a_time);
  const auto require = [&path](bool holds, std::string_view reason) {
    if (!holds) throw LoadError(path + ' ' + std::string(reason));
  };

  kernel.library = open_library(path);
  void* const library = kernel.library.get();
  auto* const vxextver =
      entry_point<std::int64_t(vxfnc::KernelServices*, std::int64_t*, std::int64_t*)>(library, path,
                                                                                      "vxextver");
  auto* const vxufinan =
      entry_point<vxfnc::ModuleInstance*(vxfnc::KernelServices*, vxfnc::Journal*, std::uint64_t,
                                         std::uint64_t, std::uint64_t, std::uint64_t)>(
          library, path, "vxufinan");

  Version offered{};
  require(vxextver(kernel_handle(), &offered[0], &offered[1]) == 0,
          "does not take the kernel's handle");
  require(offered[0] == kInterface[0] && offered[1] == kInterface[1],
          "offers version " + std::to_string(offered[0]) + '.' + std::to_string(offered[1]) +
              " of the interface; this kernel takes " + std::to_string(kInterface[0]) + '.' +
              std::to_string(kInterface[1]));

  vxfnc::KernelServices& services = kernel.services;
  vxfnc::Journal* const journal = services.create_journal(&services, nullptr, 0, U"");
  vxfnc::ModuleInstance* const instance = vxufinan(&services, journal, 0, 0, 0, 0);
  if (journal != nullptr) journal->destroy(journal);
  require(instance != nullptr, "could not create its instance");
  require(instance->destroy != nullptr && instance->required_version != nullptr &&
              instance->version != nullptr,
          "has an instance that lacks operations");
  kernel.instance = {instance, instance->destroy};
  const Version required = asked(instance, instance->required_version);
  require(required <= kInterface, "requires version " + text_of(required) +
                                      " of the interface; this kernel has " + text_of(kInterface));
  const Version own = asked(instance, instance->version);
  std::ranges::transform(own, kernel.version,
                         [](std::int64_t part) { return static_cast<std::int32_t>(part); });

  const auto* const information =
      static_cast<const vxfnc::ModuleInformation*>(::dlsym(library, "info"));
  if (information != nullptr) kernel.build = information->build_stamp;

  const vxfnc::FunctionList* const list = instance->functions;
  require(list != nullptr && list->count >= 1 && list->count <= kMaxFunctions &&
              list->descriptors != nullptr && list->dispatchers != nullptr,
          "has no function list");
  for (std::uint64_t i = 0; i < list->count; ++i) {
    require(list->descriptors[i].name != nullptr && list->dispatchers[i] != nullptr,
            "has a function without name or dispatcher");
    std::string name = ascii(list->descriptors[i].name);
    const bool takes_bytes = name.ends_with('#');
    kernel.functions.push_back({std::move(name), list->dispatchers[i], takes_bytes});
  }
}

}  // namespace

void set_error(vxk_error* error, int status, int64_t row, int32_t argument, const char* format,
               ...) noexcept {
  if (error == nullptr) return;
  vxk_error filled{};
  filled.status = status;
  filled.row = row;
  filled.argument = argument;
  std::va_list values;
  va_start(values, format);
  // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): va_start initialises it
  std::vsnprintf(filled.message, sizeof filled.message, format, values);
  va_end(values);
  copy_sized(error, filled);
}

}  // namespace vxkernel

const vxkernel::Function* vxk_kernel::find(const char* name) const noexcept {
  if (name == nullptr) return &functions.front();
  const auto found =
      std::ranges::find(functions, std::string_view(name), &vxkernel::Function::name);
  return found == functions.end() ? nullptr : &*found;
}

int32_t vxk_interface(void) { return VXK_INTERFACE; }

int vxk_open(const char* module_path, const vxk_open_options* options, vxk_kernel** kernel,
             vxk_error* error) {
  *kernel = nullptr;
  try {
    auto loaded = std::make_unique<vxk_kernel>();
    loaded->options = vxkernel::sized(options);
    vxkernel::load(*loaded, module_path == nullptr ? vxkernel::path_of_module() : module_path);
    *kernel = loaded.release();
    return VXK_OK;
  } catch (const std::bad_alloc&) {
    vxkernel::set_error(error, VXK_OUT_OF_MEMORY, 0, 0, "out of memory");
    return VXK_OUT_OF_MEMORY;
  } catch (const std::exception& reason) {
    vxkernel::set_error(error, VXK_CANNOT_LOAD, 0, 0, "%s", reason.what());
    return VXK_CANNOT_LOAD;
  }
}

void vxk_close(vxk_kernel* kernel) { delete kernel; }

void vxk_module_version(const vxk_kernel* kernel, int32_t version[3]) {
  std::ranges::copy(kernel->version, version);
}

const char* vxk_module_build(const vxk_kernel* kernel) { return kernel->build.c_str(); }

int32_t vxk_function_count(const vxk_kernel* kernel) {
  return static_cast<int32_t>(kernel->functions.size());
}

const char* vxk_function_name(const vxk_kernel* kernel, int32_t index) {
  if (index < 0 || index >= vxk_function_count(kernel)) return nullptr;
  return kernel->functions[static_cast<std::size_t>(index)].name.c_str();
}

void vxk_set_year_cutoff(int32_t first_year) { vxkernel::set_option_year_cutoff(first_year); }
