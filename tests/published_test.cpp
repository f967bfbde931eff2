// Published worked examples: keyword, arguments separated by semicolons, value, tolerance.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iterator>
#include <sstream>

#include "call.h"
#include "open_rows.h"

namespace {

std::vector<std::string> split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  std::istringstream in(text);
  for (std::string part; std::getline(in, part, separator);) parts.push_back(part);
  return parts;
}

TEST(Published, WorkedExamplesComeOut) {
  const vxkernel::Kernel kernel(VXFNC_MODULE);
  std::ifstream file(VXFNC_PUBLISHED);
  std::string line;
  std::getline(file, line);  // the heading
  int evaluated = 0;
  while (std::getline(file, line)) {
    const std::vector<std::string> fields = split(line, ',');
    if (std::ranges::count(kOpenRows, fields.at(0)) > 0) continue;
    const std::vector<std::string> words = split(fields.at(1), ';');
    std::vector<vxkernel::Argument> arguments;
    for (const std::string& word : words) arguments.push_back(cli::argument_of(word));
    for (const char* function : {"FINANCE", "FINANCE#"}) {
      const auto answer = kernel.evaluate(function, fields[0], arguments);
      EXPECT_EQ(answer.status, vxkernel::kSuccess) << line;
      EXPECT_NEAR(answer.value, std::stod(fields.at(2)), std::stod(fields.at(3))) << line;
    }
    ++evaluated;
  }
  EXPECT_GE(evaluated, 30);  // as many as the built keywords have
}

}  // namespace
