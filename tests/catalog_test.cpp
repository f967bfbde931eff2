// Compares the catalogue with the loaded module: the module must return the values of the examples
// and reject values outside the bounds.
#include "catalog/catalog.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>

#include "tests/arguments.h"

namespace {

using enum catalog::ArgumentKind;

// A call with all arguments of its keyword.
struct Trial {
  const vxkernel::Kernel& kernel;
  const catalog::Keyword& keyword;
  std::vector<vxkernel::Argument> call;

  // The position of an argument, from 1; 0 if the call does not have the argument.
  [[nodiscard]] std::size_t position(std::string_view name) const {
    for (std::size_t i = 1; i <= call.size(); ++i)
      if (keyword.argument_at(i, call.size())->name == name) return i;
    return 0;
  }
  [[nodiscard]] double limit(const catalog::Bound& bound) const {
    return bound.value + (bound.other.empty() ? 0 : call.at(position(bound.other) - 1).number);
  }
  // Sets the argument to the value and checks that the module marks it if and only if one of its
  // bounds is violated.
  void expect(const catalog::Argument& argument, double value) const {
    const catalog::Bound* broken = nullptr;
    for (const catalog::Bound& bound : argument.bounds()) {
      const double over = value - limit(bound);
      const bool holds[] = {over > 0, over >= 0, over < 0, over <= 0};
      if (!holds[static_cast<int>(bound.comparison)]) broken = &bound;
    }
    auto other = call;
    other.at(position(argument.name) - 1) = value;
    const auto [status, result, marked] = kernel.evaluate("FINANCE", keyword.word, other);
    const bool marks_other = broken != nullptr && !broken->marked.empty();
    const auto place = static_cast<int>(position(marks_other ? broken->marked : argument.name));
    EXPECT_TRUE(broken == nullptr ? marked != place
                                  : status == VXK_FAILED && marked == (broken->marks ? place : 0))
        << argument.name << " is " << value << ": marks " << marked;
  }
};

// A call with the default value of an optional argument must return the same bits as a call without
// it.
void expect_defaults(const Trial& trial, std::size_t given) {
  const catalog::Keyword& keyword = trial.keyword;
  const auto result = [&](const std::vector<vxkernel::Argument>& call) {
    return std::bit_cast<std::uint64_t>(trial.kernel.evaluate("FINANCE", keyword.word, call).value);
  };
  const bool has_lists = keyword.max_args() == catalog::kNoBound;
  auto call = trial.call;
  call.resize(has_lists ? given : keyword.min_args(), 0.0);
  const std::uint64_t without = result(call);
  for (std::int32_t i = 1; i <= std::ssize(keyword.arguments()); ++i) {
    vxk_argument_info info{};
    info.size = sizeof info;
    EXPECT_EQ(vxk_argument(vxk_find_keyword(keyword.word.data(), keyword.word.size()), i, &info),
              1);
    if (info.presence != VXK_OPTIONAL) continue;
    call.emplace_back(info.default_value);
    EXPECT_EQ(result(call), without) << info.name << " is " << info.default_value;
  }
}

TEST(Catalog, ExamplesAndBoundsAgreeWithTheModule) {
  const vxkernel::Kernel kernel(VXFNC_MODULE);
  for (const catalog::Keyword& keyword : catalog::keywords()) {
    const catalog::Description& text = keyword.description;
    SCOPED_TRACE(keyword.word);
    EXPECT_FALSE(text.title.empty() || text.summary.empty() || text.formula.empty());
    EXPECT_FALSE(text.result.empty() || text.title.ends_with('.'));
    for (const auto& word : cli::words_of(text.related)) EXPECT_TRUE(catalog::find(word)) << word;
    Trial trial{kernel, keyword, {}};
    for (const auto& word : cli::words_of(text.example)) trial.call.push_back(argument_of(word));
    const double value = cli::value_of(text.value).number;
    EXPECT_NEAR(kernel.evaluate("FINANCE", keyword.word, trial.call).value / value, 1, 1e-9);
    const std::size_t given = trial.call.size();
    if (keyword.max_args() != catalog::kNoBound) trial.call.resize(keyword.max_args(), 1.0);
    expect_defaults(trial, given);
    for (const catalog::Argument& argument : keyword.arguments()) {
      EXPECT_FALSE(argument.meaning.empty() || argument.meaning.ends_with('.')) << argument.name;
      if (argument.kind == kBasis || trial.position(argument.name) == 0) continue;
      const bool is_whole = argument.kind != kNumber && argument.kind != kDateTime;
      for (const double far_out : {-1e6, 0.0, 1e6}) trial.expect(argument, far_out);
      for (const catalog::Bound& bound : argument.bounds())
        for (const double at = trial.limit(bound); const double side : {-1.0, 0.0, 1.0})
          trial.expect(argument, is_whole ? at + side : std::nextafter(at, at + side));
    }
  }
}

}  // namespace
