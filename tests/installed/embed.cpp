// A C++17 program that embeds the kernel. It is linked once with the shared and once with the
// static library.
#include <cstdio>
#include <exception>
#include <string>
#include <vector>
#include <vxkernel.hpp>

int main() try {
  std::string journal;
  const vxkernel::Kernel kernel({}, [&journal](std::string_view line) { journal += line; });
  vxkernel::Call sln = kernel.prepare("SLN", 3);
  sln[1] = 35000, sln[2] = 5000, sln[3] = 5;
  const vxkernel::Call copy = sln.copy();
  const double one = sln.run().value;
  const std::vector<vxkernel::Argument> asset = {35000.0, 5000.0, std::string_view("5")};
  const vxkernel::Result text = kernel.evaluate("FINANCE", "SLN", asset);
  bool is_rejected = false;
  try {
    static_cast<void>(kernel.prepare("NOPE", 3));
  } catch (const vxkernel::Error& error) {
    is_rejected = error.status == VXK_NO_KEYWORD;
  }
  const bool passed = one == 6000 && text.argument == 3 && !text.ok() && is_rejected &&
                      kernel.functions().size() == 2 && kernel.version().major == 7 &&
                      vxk_arguments(copy.get())[0] == 35000 && journal.empty();
  std::puts(passed ? "C++: passed" : "C++: failed");
  return passed ? 0 : 1;
} catch (const std::exception& error) {
  std::puts(error.what());
  return 1;
}
