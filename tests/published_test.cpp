// Published worked examples: keyword, arguments separated by semicolons, value, tolerance.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

#include "call.h"
#include "open_rows.h"

TEST(Published, WorkedExamplesComeOut) {
  const vxkernel::Kernel kernel(VXFNC_MODULE);
  std::ifstream file(VXFNC_PUBLISHED);
  std::string keyword, words, value, tolerance;
  std::getline(file, keyword);  // the heading
  int evaluated = 0;
  while (std::getline(file, keyword, ',') && std::getline(file, words, ',') &&
         std::getline(file, value, ',') && std::getline(file, tolerance)) {
    if ((' ' + std::string(kOpenRows)).find(' ' + keyword + ' ') != std::string::npos) continue;
    std::ranges::replace(words, ';', ' ');
    const std::vector<std::string> split = cli::words_of(words);
    std::vector<vxkernel::Argument> arguments;
    for (const std::string& word : split) arguments.push_back(cli::argument_of(word));
    for (const char* function : {"FINANCE", "FINANCE#"}) {
      const auto answer = kernel.evaluate(function, keyword, arguments);
      EXPECT_TRUE(answer.ok()) << keyword << ' ' << words;
      EXPECT_NEAR(answer.value, std::stod(value), std::stod(tolerance)) << keyword << ' ' << words;
    }
    ++evaluated;
  }
  EXPECT_EQ(evaluated, 31);  // as many as the built keywords have
}
