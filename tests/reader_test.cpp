// The argument reader where no keyword shows it yet, and the keyword list.
#include "frame/reader.h"

#include <gtest/gtest.h>

#include <string>

#include "catalog.h"
#include "frame/keywords.h"
#include "services.h"

namespace vxfnc {
namespace {

// Reads argument 1 of a call: what the reading answers, or how it was refused.
std::string read(Width width, std::uint8_t type, const void* value, auto reading) {
  struct {
    FinanceCall head{};
    ArgumentSlot slots[2] = {};
  } call;
  call.slots[1] = {type, 0, value};
  Reader in(vxkernel::call_environment(), &call.head, nullptr, 2, 0, width);
  const auto answer = reading(in);
  EXPECT_EQ(call.slots[1].flags, in.ok() ? 0 : 1);
  return in.ok() ? std::to_string(answer) : in.status() == STATUS_BAD_ARG ? "bad" : "missing";
}
std::string read(double number, auto reading) {
  return read(Width::kWide, kNumberArgument | 4, &number, reading);
}

TEST(Reader, ReadsNumbersDatesAndChoices) {
  const auto number = [](Reader& in) { return in.number(1); };
  const auto date = [](Reader& in) { return in.date(1); };
  const auto choice = [](Reader& in) { return in.choice_if_any(1, 7); };
  EXPECT_EQ(read(Width::kWide, kNumberArgument, nullptr, number), "bad");
  EXPECT_EQ(read(MISSING, number), "missing");
  EXPECT_EQ(read(0, date), "2436935");
  EXPECT_EQ(read(-0x1p63, date), "-9223372036852338873");
  EXPECT_EQ(read(0x1p31, choice), "bad");
  EXPECT_EQ(read(-0x1p31, choice), "-2147483648");
  EXPECT_EQ(read(-1e300, choice), "bad");
  EXPECT_EQ(read(MISSING, choice), "7");
}

TEST(Keywords, TheCatalogueKeepsUp) {
  for (std::size_t i = 0; i < FinancialList.size(); ++i) {
    const FinancialRow& row = FinancialList[i];
    const catalog::Keyword& keyword = catalog::keywords()[i];
    const bool any_number = row.maximum == kNoBound;
    EXPECT_EQ(keyword.word, row.name);
    EXPECT_EQ(row.minimum, any_number ? 2 : static_cast<int>(keyword.least()) + 1) << row.name;
    EXPECT_GE(keyword.least(), 1u) << row.name;
    EXPECT_EQ(any_number ? catalog::kNoBound : static_cast<std::size_t>(row.maximum) - 1,
              keyword.most());
  }
}

}  // namespace
}  // namespace vxfnc
