// Uses the binary interface as another kernel would. Every expected word is written out here.
#include <gtest/gtest.h>
#include <malloc.h>

#include <cstdarg>
#include <map>

#include "tests/harness.h"

using namespace harness;
namespace {

using Args = std::vector<Argument>;
constexpr Word n = 0xA5A5A5A5DEADBEEF;  // a word that must not matter, or must not be changed
constexpr Outcome kUnmarked = {120836, kUntouched, -1}, kNoKeyword = {120836, kUntouched, 0};
const Args kPlain = {num(35000), num(5000), num(5)};  // SLN returns 6000

Outcome stored(double value) { return {0, std::bit_cast<Word>(value), -1}; }
Word* at(Word address) { return reinterpret_cast<Word*>(address); }
Words peek(Word from, int count) { return Words(at(from), at(from) + count); }
Word symbol(const char* name) { return word(entry(name)); }
Word run(const char* name, auto... operands) {
  return reinterpret_cast<Word (*)(decltype(operands)...)>(entry(name))(operands...);
}
// Calls in both widths; if the call fails, also without a result pointer.
void expect(const Argument& keyword, const Args& args, const Outcome& want, int more = 0) {
  const int count = static_cast<int>(args.size()) + 1 + more;
  for (const Width width : {Width::wide, Width::byte}) {
    EXPECT_EQ(call(width, keyword, args, count), want) << testing::PrintToString(keyword.text);
    EXPECT_EQ(call(width, keyword, args, count, want.status == 0).marked, want.marked);
  }
}

// The operations of a recording kernel. Each checks its parameters and records that it was called.
enum Operation {
  kNone,
  kPool,
  kStorage,
  kPoolEnd,
  kJournal,
  kReport,
  kClose,
  kJournalEnd,
  kForward
};
const char* const kNotes[] = {"",          "+pool ",  "+storage ", "-pool ",
                              "+journal ", "report ", "close ",    "-journal "};
std::string order;
std::map<Operation, Words> expected;
std::map<Operation, Word> results;
template <Operation operation, int count>
Word recorded(Word a, Word b, Word c, Word d, Word e, Word f, Word g, Word h) {
  if (operation == kPool) d = std::string(reinterpret_cast<char*>(d)) == "vxu pool";
  if (operation == kJournal)
    d = std::u32string(reinterpret_cast<char32_t*>(d)) == U"vxfncwubit Jnl";
  const int shift = operation == kJournal ? 32 : 0;  // its third option has 32 bits
  if (operation == kPool || operation == kJournal) b = at(b)[0] | at(b)[1] | at(b)[2] << shift;
  if (operation == kReport) d = d != 0;  // a va_list
  const Words all = {a, b, c, d, e, f, g, h}, received(all.begin(), all.begin() + count);
  EXPECT_EQ(received, expected[operation]) << static_cast<int>(operation);
  order += kNotes[operation];
  return results[operation];
}
Word fold(Word* self, Word c, Word one) {
  EXPECT_TRUE(self[31] == word(&fold) && c >= 128 && one == 1) << c;
  return n << 32 | (c == 0x80 ? U'S' : c == 0x10428 ? U'L' : c);
}
Word forwarded(Word self, Word first, Word second, va_list list) {
  Words received = {self, first, second};
  for (int i = 0; i < 5; ++i) received.push_back(va_arg(list, Word));
  EXPECT_TRUE(received == expected[kForward] && va_arg(list, double) == 2.5);
  return n;
}

struct Interface : testing::Test {
  ~Interface() override { run("vxextent", nullptr); }  // other tests run in the same process
};

TEST_F(Interface, ReturnsRecordsAndVersions) {
  Words copy(28, n), out(3, n);
  EXPECT_EQ(run("vxvercn1", &copy[1]) + run("vxvercn1", nullptr), 0u);
  EXPECT_TRUE(copy[0] == n && copy[27] == n && peek(word(&copy[18]), 9) == Words(9));
  EXPECT_EQ(peek(word(&copy[1]), 26), peek(symbol("info"), 26));
  EXPECT_GT(static_cast<std::int64_t>(std::exchange(copy[4], word("seconds"))), 0);
  std::string info;
  for (int i = 1; i <= 17; ++i) info = info + reinterpret_cast<char*>(copy[i]) + ';';
  const testing::Matcher<std::string> form = testing::MatchesRegex(
      "[^;]+;[^;]+;;seconds;vxfnc;[^;]{8};vxext;[^;]{19};;version;::;;"
      "QRZ_VERSION_HOTFIX_NUMBER= {39};;[^;=]+= *;[^;]+;[^;]+;");
  EXPECT_TRUE(form.Matches(info) && std::string(reinterpret_cast<char*>(copy[15])).size() == 65);

  Word* const o = out.data();
  EXPECT_TRUE(run("vxextver", &copy[0], o, o + 1) == 0 && out == Words({7, 1, n}));
  EXPECT_EQ(*at(symbol("Exported_VXHandle")), word(&copy[0]));
  EXPECT_TRUE(run("vxextent", o) == 0 && *at(symbol("Exported_VXHandle")) == word(o));
  EXPECT_TRUE(run("VXU_EXTNAMEReqVersion", o, o, o + 1, o + 2) == 0 && out == Words({7, 1, 1}));
  EXPECT_TRUE(run("VXU_EXTNAMEVersion", o, o, o + 1, o + 2) == 0 && out == Words({7, 0, 0}));

  const Words list = peek(*at(symbol("funclist")), 3), rows = peek(list[1], 12);
  const auto name = [&](int i) { return std::u32string(reinterpret_cast<char32_t*>(rows[i])); };
  EXPECT_TRUE(list[0] == 2 && name(0) == U"FINANCE" && name(6) == U"FINANCE#");
  EXPECT_EQ(peek(list[1] + 8, 5), Words({0x0000000200000000, 0x42, 0x200, 0xCA, 0}));
  EXPECT_EQ(peek(list[1] + 56, 5), peek(list[1] + 8, 5));
  EXPECT_EQ(peek(list[2], 2), Words({symbol("fncfin"), symbol("fncfinS")}));
}

TEST_F(Interface, CreatesAndDestroysInstances) {
  Word services[] = {0, 0, 0, 0, 0, 0, word(&recorded<kPool, 8>)};
  Word pool[] = {0, 0, word(&recorded<kPoolEnd, 1>), word(&recorded<kStorage, 3>)};
  Word journal[] = {0, 0, word(&recorded<kJournalEnd, 1>), word(&recorded<kClose, 1>)};
  Word caller[] = {0, 0, 0, 0, 0, 0, 0, word(&recorded<kReport, 4>)};
  expected = {{kJournal, {word(services), Word{1} << 62, 0, 1}},
              {kStorage, {word(pool), 128, 0x80000000}},
              {kReport, {word(caller), 4, 0xFFFFFFFF803FC002, 1}},
              {kPoolEnd, {word(pool)}},
              {kJournalEnd, {word(journal)}},
              {kClose, {word(journal)}}};
  const struct {
    Operation fails;
    bool has_caller, has_journals, closes;
    const char* order;
  } rows[] = {{kNone, true, true, false, "+pool +storage +journal -journal -pool "},
              {kNone, false, true, true, "+pool +storage +journal close -journal -pool "},
              {kJournal, false, true, true, "+pool +storage +journal -pool "},
              {kNone, false, false, false, "+pool +storage -pool "},
              {kPool, true, true, false, "+pool report "},
              {kPool, false, true, false, "+pool "},
              {kStorage, true, true, false, "+pool +storage report -pool "},
              {kStorage, false, true, false, "+pool +storage -pool "}};
  for (const auto& [fails, has_caller, has_journals, closes, wanted] : rows) {
    services[5] = has_journals ? word(&recorded<kJournal, 4>) : 0;
    Words made(16, n);  // the module must not change words that it does not use
    results = {{kPool, word(pool)}, {kStorage, word(made.data())}, {kJournal, word(journal)}};
    results[fails] = 0;
    expected[kPool] = {word(services), 0, has_caller ? word(caller) : 0, 1, ~n, 2, 3, n};
    const Word instance = run("vxufinan", services, expected[kPool][2], ~n, Word{2}, Word{3}, n);
    ASSERT_EQ(instance, fails == kPool ? 0 : results[kStorage]);
    if (instance != 0) {
      EXPECT_EQ(made, Words({n, n, n, symbol("VXU_EXTNAMEReqVersion"), symbol("VXU_EXTNAMEVersion"),
                             word(services), symbol("VXU_EXTNAMEDestroy"), n, n, n, n, word(pool),
                             has_journals ? results[kJournal] : 0, 0, n, *at(symbol("funclist"))}));
      made[13] = closes ? n : 0;
      EXPECT_EQ(run("VXU_EXTNAMEDestroy", instance), 0u);
    }
    EXPECT_EQ(std::exchange(order, ""), wanted);
  }
  services[6] = 0;  // services without pools, or no services, and no journal
  for (const Word none : {word(services), Word{0}})
    EXPECT_EQ(run("vxufinan", none, Word{0}, n, n, n, n), 0u);
  const char* const names[] = {"vxlMessageToBuf", "vxlMessageToJnl", "vxlStatusToBuf",
                               "vxlStatusToJnl", "vxlGetLocale"};
  for (const std::size_t i : {0, 1, 2, 3, 4}) {
    Words target(13);
    target[i == 4 ? 12 : 4 + i] = word(&forwarded);
    const auto forward = reinterpret_cast<Word (*)(Word*, Word, Word, ...)>(entry(names[i]));
    expected[kForward] = {word(&target[0]), ~n, n, n, n + 1, n + 2, n + 3, n + 4};
    EXPECT_EQ(forward(&target[0], ~n, n, n, n + 1, n + 2, 2.5, n + 3, n + 4), n) << i;
    EXPECT_TRUE(forward(nullptr, n, n) == 0 && forward(&Words(13)[0], n, n) == 0);
  }
}

TEST_F(Interface, ReadsKeywordsAndNumbers) {
  for (const char* good : {"SLN", "sln", "sLn", "SLN   ", "sln                       "})
    expect(text(good), kPlain, stored(6000));
  for (const Argument& bad : {text(" SLN"), text(""), null(), Argument{2, false, 3, {}}, text("SL"),
                              text("SLNX"), text("SLN\t"), text(std::u32string(U"SLN\0", 4)),
                              text(U"SLN\u00FF"), text("COUPDAYXNC"), text("SLN             X")})
    expect(bad, kPlain, kNoKeyword);
  expect(text(std::string(4000, 'A')), kPlain, kNoKeyword);
  expect({1, false, 0, U"SLN"}, kPlain, kNoKeyword);
  expect(text("coupdaysnc"), kPlain, {120836, kMissingBits, 2});
  expect(text("SLX"), {}, kUnmarked, -1);  // a count of 0: not even a keyword
  for (const int more : {-5, -4, -1, 1}) expect(text("SLN"), kPlain, kUnmarked, more);
  for (const Width width : {Width::wide, Width::byte})
    EXPECT_EQ(call(width, text("SLN"), kPlain, 4, false), (Outcome{0, kUntouched, -1}));

  const Word lacking[65]{}, key[] = {n, 3, word("SLN")};
  for (const Word services : {Word{0}, word(lacking)}) {  // FINANCE# cannot read texts then
    Word environment[11]{}, record[7] = {n, n, n, n, 4, n << 8 | 2, word(key)};
    environment[10] = services;
    EXPECT_EQ(run("fncfinS", record, nullptr, services ? environment : nullptr), 120836u);
    EXPECT_EQ(record[5], n << 8 | 0x102);
  }

  Word handle[28] = {0, 0, 0, 0, 0, 0, word(&recorded<kPool, 8>)}, cases[32]{};
  const auto wide = [](const std::u32string& s) { return call(Width::wide, text(s), kPlain, 4); };
  EXPECT_EQ(wide(U"\u017Fln"), stored(6000));  // the long s, converted by the tables
  for (char32_t c : {0x131u, 0xFFFFu, 0x10428u, ~0u}) EXPECT_EQ(wide({c, 'R', 'R'}), kNoKeyword);
  EXPECT_EQ(wide({0x4C53, 0, 'N'}), kNoKeyword);  // the low bytes spell SLN
  run("vxextent", handle);
  for (const Word service : {Word{0}, word(cases)}) {  // no service, or no operation
    handle[27] = service;
    EXPECT_EQ(wide(U"\u017Fln"), stored(6000));
  }
  cases[31] = word(&fold);  // the service converts all characters of 128 and above
  for (const char32_t* s : {U"\u0080ln", U"s\U00010428n"}) EXPECT_EQ(wide(s), stored(6000));
  EXPECT_EQ(wide(U"\u017Fln"), kNoKeyword);

  for (const Argument& bad : {null(), missing(), num(std::bit_cast<double>(Word{0x7FF8} << 48))})
    expect(text("SYD"), {num(1), bad, num(5), bad}, {120836, kMissingBits, 2});
  expect(text("SLN"), {{9, false, 35000, {}}, {0, false, 5000, {}}, num(5)}, stored(6000));
  // VDB uses the low 32 bits of its start: from 0 the charge is 4, from 5 (the end) it is 0.
  const auto start = [](double x, Outcome want) {
    expect(text("VDB"), {num(9), num(5), num(5), num(x), num(5)}, want);
  };
  for (double x : {0.0, -0.0, 0x1p53, -0x1p63}) start(x, stored(4));
  for (double x : {5 + 1e-13, 5 + 4e-12, 5 - 0x1p32, 0x1p53 - 0x1p32 + 5}) start(x, stored(0));
  for (double x : {5 - 1e-13, 5 + 6e-12, 1e-300, 0x1p53 + 2, -0x1p63 - 2048, -1 / 0.0, 1 / 0.0})
    start(x, {120836, kMissingBits, 4});

  const std::size_t before = mallinfo2().uordblks;
  for (int i = 0; i < 10000; ++i)
    call(i % 2 ? Width::wide : Width::byte, "SYD", Args{num(i), num(1), num(i % 5), num(2)});
  EXPECT_TRUE(order.empty() && mallinfo2().uordblks < before + 10000);  // without allocation
  run("vxextent", nullptr);
  for (int i = 0; i < 10000; ++i) call(Width::wide, "IRR", Args{num(-1), num(2)});
  EXPECT_LT(mallinfo2().uordblks, before + 10000);  // allocated from the heap and freed
}

}  // namespace
