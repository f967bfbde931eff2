// The only list of keywords. Tables, declarations and counts are generated from it.
//
// Each row has the keyword, the minimum and the maximum number of arguments, and the family that
// defines the handler fnc_<KEYWORD>. The keyword itself counts as an argument; kNoBound means no
// maximum. Rows are sorted by keyword.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "call/reader.h"

namespace vxfnc {

inline constexpr std::int32_t kNoBound = 0;

// clang-format off
#define VXFNC_KEYWORDS(ROW)               \
  ROW(ACCRINT,     7, 8, securities)      \
  ROW(ACCRINTM,    5, 6, securities)      \
  ROW(AMORDEGRC,   7, 8, depreciation)    \
  ROW(AMORLINC,    7, 8, depreciation)    \
  ROW(COUPDAYBS,   4, 5, securities)      \
  ROW(COUPDAYS,    4, 5, securities)      \
  ROW(COUPDAYSNC,  4, 5, securities)      \
  ROW(COUPNCD,     4, 5, securities)      \
  ROW(COUPNUM,     4, 5, securities)      \
  ROW(COUPPCD,     4, 5, securities)      \
  ROW(CUMIPMT,     6, 7, tvm)             \
  ROW(CUMPRINC,    6, 7, tvm)             \
  ROW(DB,          5, 6, depreciation)    \
  ROW(DDB,         5, 6, depreciation)    \
  ROW(DISC,        5, 6, securities)      \
  ROW(DOLLARDE,    3, 3, tvm)             \
  ROW(DOLLARFR,    3, 3, tvm)             \
  ROW(DURATION,    6, 7, securities)      \
  ROW(EFFECT,      3, 3, tvm)             \
  ROW(FV,          4, 6, tvm)             \
  ROW(FVSCHEDULE,  2, kNoBound, tvm)      \
  ROW(INTRATE,     5, 6, securities)      \
  ROW(IPMT,        5, 7, tvm)             \
  ROW(IRR,         2, kNoBound, cashflow) \
  ROW(ISPMT,       5, 5, tvm)             \
  ROW(MDURATION,   6, 7, securities)      \
  ROW(MIRR,        2, kNoBound, cashflow) \
  ROW(NOMINAL,     3, 3, tvm)             \
  ROW(NPER,        4, 6, tvm)             \
  ROW(NPV,         2, kNoBound, cashflow) \
  ROW(ODDFPRICE,   9, 10, securities)     \
  ROW(ODDFYIELD,   9, 10, securities)     \
  ROW(ODDLPRICE,   8, 9, securities)      \
  ROW(ODDLYIELD,   8, 9, securities)      \
  ROW(PMT,         4, 6, tvm)             \
  ROW(PPMT,        5, 7, tvm)             \
  ROW(PRICE,       7, 8, securities)      \
  ROW(PRICEDISC,   5, 6, securities)      \
  ROW(PRICEMAT,    6, 7, securities)      \
  ROW(PV,          4, 6, tvm)             \
  ROW(RATE,        4, 6, tvm)             \
  ROW(RECEIVED,    5, 6, securities)      \
  ROW(SLN,         4, 4, depreciation)    \
  ROW(SYD,         5, 5, depreciation)    \
  ROW(TBILLEQ,     4, 4, securities)      \
  ROW(TBILLPRICE,  4, 4, securities)      \
  ROW(TBILLYIELD,  4, 4, securities)      \
  ROW(VDB,         6, 8, depreciation)    \
  ROW(XIRR,        2, kNoBound, cashflow) \
  ROW(XNPV,        2, kNoBound, cashflow) \
  ROW(YEARFRAC,    3, 4, securities)      \
  ROW(YIELD,       7, 8, securities)      \
  ROW(YIELDDISC,   5, 6, securities)      \
  ROW(YIELDMAT,    6, 7, securities)
// clang-format on

struct FinancialRow {
  std::string_view name;  // upper case
  Handler handler;
  std::int32_t minimum;  // number of arguments, including the keyword
  std::int32_t maximum;  // kNoBound: no maximum
};

#define VXFNC_COUNT_ONE(...) +1
inline constexpr int kKeywordCount = 0 VXFNC_KEYWORDS(VXFNC_COUNT_ONE);
#undef VXFNC_COUNT_ONE
extern const std::array<FinancialRow, kKeywordCount> FinancialList;

}  // namespace vxfnc
