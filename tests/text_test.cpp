// Wide-string routines; the case tables against every line of the Unicode character database.
#include "text/wide_text.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

namespace vxfnc {
namespace {

std::u32string upper(std::u32string text) {
  vxzstup(text.data(), static_cast<std::int64_t>(text.size()));
  return text;
}

TEST(WideText, TrimsAndCopies) {
  EXPECT_EQ(vxzstrp(U"    ", 4), 0);
  EXPECT_EQ(vxzstrp(U"AB  ", 4), 2);
  EXPECT_EQ(vxzstrp(U"A B ", -1), 3);
  EXPECT_EQ(vxzstrp(nullptr, -1), 0);

  std::u32string to(16, U'?');
  vxzsmov(U"NPV", 3, to.data(), 16);
  EXPECT_EQ(to, U"NPV             ");
  vxzsmov(U"A KEYWORD TOO LONG.", 19, to.data(), 16);
  EXPECT_EQ(to, U"A KEYWORD TOO LO");
  vxzsmov(nullptr, 3, to.data(), 2);
  EXPECT_EQ(to, U"  KEYWORD TOO LO");
  vxzsmov(U"NPV", -1, to.data(), -3);  // room for two characters and a terminator
  EXPECT_EQ(to, (std::u32string{U'N', U'P', 0} + U"EYWORD TOO LO"));
}

TEST(WideText, DeletesCharacters) {
  std::u32string text = U"ACT / 360";
  EXPECT_EQ(vxzsdel(text.data(), 9, U" ", 1), 7);
  EXPECT_EQ(text, U"ACT/360  ");
  EXPECT_EQ(vxzsdel(text.data(), 9, U"", 0), 9);
  EXPECT_EQ(vxzsdel(text.data(), -1, U"A/ ", -1), 5);
  EXPECT_EQ(text, (std::u32string(U"CT360") + U'\0' + U"0  "));
}

TEST(WideText, ComparesWithoutCase) {
  EXPECT_EQ(vxzseqn(U"actual", 6, U"ACTUAL", -1), 1);
  EXPECT_EQ(vxzseqn(U"ACT", 3, U"ACTUAL", 6), 0);
  EXPECT_EQ(vxzseqn(U"", 0, U"x", 0), 1);
  EXPECT_EQ(vxzseqn(U"\u03A9", 1, U"\u2126", 1), 1);  // Omega and the ohm sign share a lower case
}

TEST(WideText, UpperCasesByTheTables) {
  EXPECT_EQ(upper(U"eu30/360"), U"EU30/360");
  EXPECT_EQ(upper(U"\u00FF\u0131\u00DF\U0001F600"), U"\u0178\u0131\u00DF\U0001F600");

  std::vector<char32_t> upper_of(0x10000), lower_of(0x10000);
  for (char32_t c = 0; c < 0x10000; ++c) upper_of[c] = lower_of[c] = c;
  std::ifstream database("/usr/share/unicode/UnicodeData.txt");
  ASSERT_TRUE(database) << "package unicode-data is not installed";
  for (std::string line; std::getline(database, line);) {
    std::vector<std::string> fields(1);
    for (const char c : line) c == ';' ? void(fields.emplace_back()) : fields.back().push_back(c);
    const unsigned long code = std::stoul(fields[0], nullptr, 16);
    if (code > 0xFFFF) break;
    const auto mapping = [&](std::size_t field) {
      return static_cast<char32_t>(fields[field].empty() ? code
                                                         : std::stoul(fields[field], nullptr, 16));
    };
    if (code != 0x131) upper_of[code] = mapping(12);  // the dotless i never becomes an I
    lower_of[code] = mapping(13);
  }
  for (char32_t c = 1; c < 0x10000; ++c) {
    ASSERT_EQ(upper({c}), std::u32string{upper_of[c]}) << std::hex << static_cast<unsigned>(c);
    ASSERT_EQ(vxzseqn(&c, 1, &lower_of[c], 1), 1) << std::hex << static_cast<unsigned>(c);
    // Equality is by lower case, so two characters with different ones never compare equal.
    const char32_t other = lower_of[c] + 1;
    if (other < 0x10000 && lower_of[other] != lower_of[c]) {
      ASSERT_EQ(vxzseqn(&c, 1, &other, 1), 0);
    }
  }
}

}  // namespace
}  // namespace vxfnc
