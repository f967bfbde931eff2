// The keywords that still answer every call as one that cannot be carried out. The list shrinks as
// calculations land, and must be empty when the last one has.
#pragma once

#include <string_view>

constexpr std::string_view kOpenRows[] = {
    "ACCRINT",    "ACCRINTM",  "AMORDEGRC", "AMORLINC",  "COUPDAYBS",  "COUPDAYS",  "COUPDAYSNC",
    "COUPNCD",    "COUPNUM",   "COUPPCD",   "CUMIPMT",   "CUMPRINC",   "DISC",      "DOLLARDE",
    "DOLLARFR",   "DURATION",  "EFFECT",    "FV",        "FVSCHEDULE", "INTRATE",   "IPMT",
    "IRR",        "ISPMT",     "MDURATION", "MIRR",      "NOMINAL",    "NPER",      "NPV",
    "ODDFPRICE",  "ODDFYIELD", "ODDLPRICE", "ODDLYIELD", "PMT",        "PPMT",      "PRICE",
    "PRICEDISC",  "PRICEMAT",  "PV",        "RATE",      "RECEIVED",   "TBILLEQ",   "TBILLPRICE",
    "TBILLYIELD", "XIRR",      "XNPV",      "YEARFRAC",  "YIELD",      "YIELDDISC", "YIELDMAT",
};
