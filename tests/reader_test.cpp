// The argument reader from inside, where no keyword shows it yet, and the keyword list.
#include "frame/reader.h"

#include <gtest/gtest.h>

#include <iterator>
#include <string>
#include <vector>

#include "catalog.h"
#include "frame/keywords.h"
#include "numeric/bounded.h"
#include "open_rows.h"
#include "services.h"

namespace vxfnc {
namespace {

// Reads argument 1 of a call: what the reading answers, or how it was refused.
template <class Reading>
std::string read(Width width, std::uint8_t type, const void* value, Reading reading) {
  struct {
    FinanceCall head{};
    ArgumentSlot slots[2] = {};
  } call;
  call.slots[1] = {type, 2, value};
  double result = 0.0;
  Reader in(vxkernel::call_environment(), &call.head, &result, 2, 0, width);
  const auto answer = reading(in);
  EXPECT_EQ(call.slots[1].flags, in.ok() ? 2 : 3);
  EXPECT_TRUE(same_bits(result, in.ok() ? 0.0 : MISSING));
  if (in.ok()) return std::to_string(answer);
  return in.status() == STATUS_MISSING_ARG ? "missing" : "refused";
}

template <class Reading>
std::string read(double number, Reading reading) {
  return read(Width::kWide, kNumberArgument | 4, &number, reading);
}

TEST(Reader, ReadsTheBasis) {
  const auto basis = [](Reader& in) { return static_cast<int>(in.basis(1)); };
  const std::pair<double, const char*> numbers[] = {
      {0.0, "0"},        {4.9, "4"},         {-0.5, "0"},    {5.0, "refused"},
      {-1.0, "refused"}, {1e300, "refused"}, {MISSING, "1"},
  };
  for (const auto& [number, wanted] : numbers) EXPECT_EQ(read(number, basis), wanted) << number;
  EXPECT_EQ(read(Width::kWide, kNumberArgument, nullptr, basis), "1");
  EXPECT_EQ(read(Width::kWide, kStringArgument, nullptr, basis), "refused");
  EXPECT_EQ(read(Width::kByte, 3, nullptr, basis), "refused");

  const std::pair<std::string, const char*> texts[] = {
      {"30/360", "0"},
      {"actual", "1"},
      {" act / 360 ", "2"},
      {"ACT/365", "3"},
      {"Eu30/360", "4"},
      {"EU30/365", "refused"},
      {"", "refused"},
      {"   ", "refused"},
      {"ACTUAL" + std::string(249, ' '), "1"},
      {"ACTUAL" + std::string(250, ' '), "refused"},
  };
  for (const auto& [text, wanted] : texts) {
    const std::u32string wide(text.begin(), text.end());
    const auto length = static_cast<std::int32_t>(text.size());
    const StringValue in_bytes{0, length, text.data()};
    const StringValue in_wide{0, length, wide.data()};
    EXPECT_EQ(read(Width::kByte, kStringArgument, &in_bytes, basis), wanted) << text;
    EXPECT_EQ(read(Width::kWide, kStringArgument, &in_wide, basis), wanted) << text;
  }
  FinanceCall call{};
  Reader omitted(nullptr, &call, nullptr, 1, 0, Width::kWide);
  EXPECT_EQ(omitted.basis(1), kBasisUs30360);
}

TEST(Reader, ReadsDatesAndChoices) {
  const auto date = [](Reader& in) { return in.date(1); };
  const auto choice = [](Reader& in) { return in.choice_if_any(1, 7); };
  const struct {
    double value;
    const char *as_date, *as_choice;
  } rows[] = {
      {0.0, "2436935", "0"},
      {-1.0, "2436934", "-1"},
      {1e16, "refused", "refused"},
      {1e5 + 1e-9, "2536935", "refused"},
      {0.5, "refused", "refused"},
      {MISSING, "missing", "7"},
      {-0x1p31, "-2145046713", "-2147483648"},
      {-0x1p63, "-9223372036852338873", "refused"},
      {-1e300, "refused", "refused"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(read(row.value, date), row.as_date) << row.value;
    EXPECT_EQ(read(row.value, choice), row.as_choice) << row.value;
  }
  EXPECT_EQ(read(Width::kWide, kNumberArgument, nullptr, choice), "7");
}

TEST(Keywords, OpenRowsAreTheNamedOnes) {
  std::vector<std::string_view> open;
  for (const FinancialRow& row : FinancialList) {
    if (row.handler == not_built_yet) open.push_back(row.name);
  }
  EXPECT_EQ(open, std::vector<std::string_view>(std::begin(kOpenRows), std::end(kOpenRows)));
}

TEST(Keywords, TheCatalogueHasTheSameWordsAndCounts) {
  ASSERT_EQ(catalog::keywords().size(), FinancialList.size());
  for (std::size_t i = 0; i < FinancialList.size(); ++i) {
    const FinancialRow& row = FinancialList[i];
    const catalog::Keyword& keyword = catalog::keywords()[i];
    EXPECT_EQ(keyword.word, row.name);
    if (row.maximum == kNoBound) {
      EXPECT_EQ(keyword.most(), catalog::kAnyNumber) << row.name;
      EXPECT_EQ(row.minimum, 2) << row.name;
    } else {
      EXPECT_EQ(keyword.least() + 1, static_cast<std::size_t>(row.minimum)) << row.name;
      EXPECT_EQ(keyword.most() + 1, static_cast<std::size_t>(row.maximum)) << row.name;
    }
  }
}

}  // namespace
}  // namespace vxfnc
