// Wide-string routines. The case tables are compared with every line of the Unicode character
// database.
#include "text/wide_text.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <vector>

namespace vxfnc {
namespace {

TEST(WideText, TrimsCopiesAndDeletes) {
  EXPECT_EQ(vxzstrp(U"    ", 4), 0);
  EXPECT_EQ(vxzstrp(U"A B ", -1), 3);
  EXPECT_EQ(vxzstrp(nullptr, -1) + vxzsdel(nullptr, -1, U" ", 1), 0);

  std::u32string to(16, U'?');
  vxzsmov(U"NPV", 3, to.data(), 16);
  EXPECT_EQ(to, U"NPV             ");
  vxzsmov(U"A KEYWORD TOO LONG.", 19, to.data(), 16);
  EXPECT_EQ(to, U"A KEYWORD TOO LO");
  vxzsmov(nullptr, 3, to.data(), 2);
  vxzsmov(U"NPV", -1, to.data() + 2, -3);  // room for two characters and a terminator
  EXPECT_EQ(to, std::u32string(U"  NP\0WORD TOO LO", 16));

  to = U"ACT / 360";
  EXPECT_EQ(vxzsdel(to.data(), 9, U" ", 1), 7);
  EXPECT_EQ(to, U"ACT/360  ");
  EXPECT_EQ(vxzsdel(to.data(), 9, U"A", 0), 9);
  EXPECT_EQ(vxzsdel(to.data(), -1, U"A/ ", -1), 5);
  EXPECT_EQ(to, std::u32string(U"CT360") + U'\0' + U"0  ");
}

TEST(WideText, MapsCaseAsUnicodeDoes) {
  EXPECT_EQ(vxzseqn(U"actual", 6, U"ACTUAL", -1), 1);
  EXPECT_EQ(vxzseqn(U"ACT", 3, U"ACTUAL", 6), 0);
  EXPECT_EQ(vxzseqn(U"", 0, U"x", 0), 1);

  std::vector<char32_t> upper(0x10001), lower(0x10001);
  for (char32_t c = 0; c <= 0x10000; ++c) upper[c] = lower[c] = c;
  std::ifstream database("/usr/share/unicode/UnicodeData.txt");
  ASSERT_TRUE(database) << "package unicode-data is not installed";
  for (std::string line; std::getline(database, line) && line.find(';') == 4;) {
    std::istringstream row(line);
    std::string fields[15];
    for (std::string& field : fields) std::getline(row, field, ';');
    const auto code = static_cast<char32_t>(std::stoul(fields[0], nullptr, 16));
    const auto mapped = [&](const std::string& to) {
      return to.empty() ? code : static_cast<char32_t>(std::stoul(to, nullptr, 16));
    };
    upper[code] = code == 0x131 ? code : mapped(fields[12]);  // dotless i: not converted
    lower[code] = mapped(fields[13]);
  }
  for (char32_t c = 1; c <= 0x10000; ++c) {
    char32_t letter = c;
    vxzstup(&letter, 1);
    ASSERT_EQ(letter, upper[c]) << std::hex << static_cast<unsigned>(c);
    ASSERT_EQ(vxzseqn(&c, 1, &lower[c], 1), 1) << std::hex << static_cast<unsigned>(c);
    const char32_t next = c % 0x10000 + 1;
    ASSERT_EQ(vxzseqn(&c, 1, &next, 1), lower[c] == lower[next] ? 1 : 0);
  }
}

}  // namespace
}  // namespace vxfnc
