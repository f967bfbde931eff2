// Evaluates rows with the module's dispatcher, and groups of flows with the kernel's lists, for
// python_bench.py, which measures both and calls them through ctypes.
#include <dlfcn.h>

#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "abi/kernel_records.h"
#include "kernel/services.h"
#include "kernel/vxkernel.hpp"

namespace {

const vxkernel::Kernel& kernel() {
  static const vxkernel::Kernel loaded(VXFNC_MODULE);
  return loaded;
}

vxfnc::Dispatcher* dispatcher() {
  kernel();  // has loaded the module
  void* const module = dlopen(VXFNC_MODULE, RTLD_NOW);
  return reinterpret_cast<vxfnc::Dispatcher*>(dlsym(module, "fncfin"));
}

}  // namespace

// A column has one value per row, or one value for all rows: its step is 0. The call record is
// filled once. For each row, only its pointers to the values move. A call that fails ends the
// program.
extern "C" [[gnu::visibility("default")]] void evaluate_rows(const char* keyword,
                                                             const double* const* columns,
                                                             const std::int32_t* steps,
                                                             std::int32_t count, std::int64_t rows,
                                                             double* results) {
  static vxfnc::Dispatcher* const function = dispatcher();
  const std::string_view word(keyword);
  const std::vector<char32_t> characters(word.begin(), word.end());
  const vxfnc::StringValue text{0, static_cast<std::int32_t>(word.size()), characters.data()};
  std::vector<std::byte> storage(vxfnc::kFirstSlotOffset +
                                 sizeof(vxfnc::ArgumentSlot) * static_cast<std::size_t>(count + 1));
  auto* const call = reinterpret_cast<vxfnc::FinanceCall*>(storage.data());
  call->count = count + 1;
  vxfnc::ArgumentSlot* const slots = call->slots();
  slots[0] = {vxfnc::kStringArgument, 0, &text};
  for (std::int32_t i = 0; i < count; ++i) slots[i + 1] = {vxfnc::kNumberArgument, 0, nullptr};
  for (std::int64_t row = 0; row < rows; ++row) {
    for (std::int32_t i = 0; i < count; ++i) slots[i + 1].value = columns[i] + row * steps[i];
    if (function(call, &results[row], &vxkernel::call_environment) != 0) std::abort();
  }
}

extern "C" [[gnu::visibility("default")]] void evaluate_lists(const char* keyword,
                                                              const double* amounts,
                                                              const double* dates,
                                                              const std::int64_t* offsets,
                                                              std::int64_t groups, double* values) {
  const vxk_column columns[] = {vxkernel::column(amounts, true), vxkernel::column(dates, true)};
  vxk_results results{};
  results.size = sizeof results;
  results.values = values;
  vxk_options options{};
  options.size = sizeof options;
  options.date_list = 2;
  options.min_flows = 2;
  const int status = vxk_evaluate_lists(kernel().get(), "FINANCE", keyword, columns, 2, offsets,
                                        groups, &results, &options, nullptr);
  if (status != VXK_OK) std::abort();
}
