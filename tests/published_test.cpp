// Published examples. Columns of the file: keyword, arguments separated by semicolons, value,
// tolerance.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <bit>
#include <fstream>
#include <thread>

#include "tests/arguments.h"

namespace {

struct Example {
  std::string keyword, words, value, tolerance;
  std::vector<vxkernel::Argument> arguments;
};

std::vector<Example> examples() {
  std::ifstream file(VXFNC_PUBLISHED);
  std::string line;
  std::getline(file, line);  // the line of column names
  std::vector<Example> all;
  for (Example e; std::getline(file, e.keyword, ',') && std::getline(file, e.words, ',') &&
                  std::getline(file, e.value, ',') && std::getline(file, e.tolerance);) {
    std::ranges::replace(e.words, ';', ' ');
    e.arguments.clear();  // no argument is a text, which would have to outlive its word
    for (const std::string& word : cli::words_of(e.words)) e.arguments.push_back(argument_of(word));
    all.push_back(e);
  }
  return all;
}

TEST(Published, ExamplesMatchOnManyThreads) {
  const vxkernel::Kernel kernel(VXFNC_MODULE);
  const std::vector<Example> all = examples();
  const auto evaluated = [&] {
    std::vector<std::uint64_t> bits;
    for (const Example& e : all)
      for (const char* const function : {"FINANCE", "FINANCE#"})
        bits.push_back(
            std::bit_cast<std::uint64_t>(kernel.evaluate(function, e.keyword, e.arguments).value));
    return bits;
  };
  const auto alone = evaluated();
  std::ifstream file(VXFNC_PUBLISHED);  // every line must have been read
  const auto lines = std::count(std::istreambuf_iterator(file), {}, '\n');
  ASSERT_EQ(all.size() + 1, static_cast<std::size_t>(lines));
  for (const catalog::Keyword& keyword : catalog::keywords())
    EXPECT_NE(std::ranges::count(all, keyword.word, &Example::keyword), 0) << keyword.word;
  for (std::size_t i = 0; i < alone.size(); ++i) {
    const Example& e = all[i / 2];
    EXPECT_NEAR(std::bit_cast<double>(alone[i]), cli::value_of(e.value).number,
                std::stod(e.tolerance))
        << e.keyword << ' ' << e.words;
  }
  std::atomic<int> wrong{0};
  std::vector<std::jthread> threads;
  for (int thread = 0; thread < 8; ++thread)
    threads.emplace_back([&] {
      for (int round = 0; round < 100; ++round) wrong += evaluated() != alone;
    });
  threads.clear();  // joins them
  EXPECT_EQ(wrong, 0);
}

}  // namespace
