// The keyword list and the catalogue.
#include <gtest/gtest.h>

#include "catalog/catalog.h"
#include "exports/keywords.h"

namespace vxfnc {
namespace {

TEST(Keywords, TheCatalogueHasTheSameRowsAndCounts) {
  ASSERT_EQ(catalog::keywords().size(), FinancialList.size());
  for (std::size_t i = 0; i < FinancialList.size(); ++i) {
    const FinancialRow& row = FinancialList[i];
    const catalog::Keyword& keyword = catalog::keywords()[i];
    const bool any_number = row.maximum == kNoBound;
    EXPECT_EQ(keyword.word, row.name);
    EXPECT_EQ(row.minimum, any_number ? 2 : static_cast<int>(keyword.min_args()) + 1) << row.name;
    EXPECT_GE(keyword.min_args(), 1u) << row.name;
    EXPECT_EQ(any_number ? catalog::kNoBound : static_cast<std::size_t>(row.maximum) - 1,
              keyword.max_args());
  }
}

}  // namespace
}  // namespace vxfnc
