// Published worked examples: keyword, arguments separated by semicolons, value, tolerance.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

#include "call.h"

TEST(Published, WorkedExamplesComeOut) {
  const vxkernel::Kernel kernel(VXFNC_MODULE);
  std::ifstream file(VXFNC_PUBLISHED);
  std::string keyword, words, value, tolerance;
  std::getline(file, keyword);  // the heading
  int evaluated = 0;
  while (std::getline(file, keyword, ',') && std::getline(file, words, ',') &&
         std::getline(file, value, ',') && std::getline(file, tolerance)) {
    std::ranges::replace(words, ';', ' ');
    const std::vector<std::string> split = cli::words_of(words);
    std::vector<vxkernel::Argument> arguments;
    for (const std::string& word : split) arguments.push_back(cli::argument_of(word));
    for (const char* function : {"FINANCE", "FINANCE#"}) {
      const auto answer = kernel.evaluate(function, keyword, arguments);
      if (answer.status == vxkernel::kRefused && answer.marked < 0) continue;  // not built yet
      EXPECT_NEAR(answer.value, cli::argument_of(value).number, std::stod(tolerance))
          << keyword << ' ' << words;
      ++evaluated;
    }
  }
  EXPECT_EQ(evaluated, 2 * 301);  // as many as the built keywords have
}
