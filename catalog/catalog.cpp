#include "catalog.h"

namespace catalog {
namespace {

using enum ResultKind;

constexpr Argument number(std::string_view name) { return {name, ArgumentKind::kNumber}; }
constexpr Argument whole(std::string_view name) { return {name, ArgumentKind::kWhole}; }
constexpr Argument date(std::string_view name) { return {name, ArgumentKind::kDate}; }
constexpr Argument optional(Argument argument) {
  return {argument.name, argument.kind, Presence::kOptional};
}
constexpr Argument repeated(Argument argument) {
  return {argument.name, argument.kind, Presence::kRepeated};
}
constexpr Argument any_number(Argument argument) {
  return {argument.name, argument.kind, Presence::kAnyNumber};
}

// Arguments that several keywords share, by the field's standard terms.
constexpr Argument settlement = date("settlement"), maturity = date("maturity"),
                   issue = date("issue"), last_interest = date("last_interest"),
                   first_coupon = date("first_coupon"), purchased = date("date_purchased"),
                   first_period = date("first_period"),
                   bill_settlement = {"settlement", ArgumentKind::kDateTime},
                   bill_maturity = {"maturity", ArgumentKind::kDateTime};
constexpr Argument rate = number("rate"), yld = number("yld"), pr = number("pr"),
                   redemption = number("redemption"), par = number("par"),
                   investment = number("investment"), discount = number("discount"),
                   pv = number("pv"), fv = number("fv"), pmt = number("pmt"), cost = number("cost"),
                   salvage = number("salvage"), life = number("life"), amount = number("amount");
constexpr Argument frequency = {"frequency", ArgumentKind::kFrequency}, nper = whole("nper"),
                   per = whole("per"), npery = whole("npery"), period = whole("period"),
                   fraction = whole("fraction"), start_period = whole("start_period"),
                   end_period = whole("end_period");
constexpr Argument basis = optional({"basis", ArgumentKind::kBasis}),
                   type = optional(whole("type"));

// clang-format off
constexpr Keyword kKeywords[] = {
  {"ACCRINT",    kAmount, {issue, date("first_interest"), settlement, rate, par, frequency, basis}},
  {"ACCRINTM",   kAmount, {issue, settlement, rate, par, basis}},
  {"AMORDEGRC",  kAmount, {cost, purchased, first_period, salvage, period, rate, basis}},
  {"AMORLINC",   kAmount, {cost, purchased, first_period, salvage, period, rate, basis}},
  {"COUPDAYBS",  kDays,   {settlement, maturity, frequency, basis}},
  {"COUPDAYS",   kDays,   {settlement, maturity, frequency, basis}},
  {"COUPDAYSNC", kDays,   {settlement, maturity, frequency, basis}},
  {"COUPNCD",    kDate,   {settlement, maturity, frequency, basis}},
  {"COUPNUM",    kCount,  {settlement, maturity, frequency, basis}},
  {"COUPPCD",    kDate,   {settlement, maturity, frequency, basis}},
  {"CUMIPMT",    kAmount, {rate, nper, pv, start_period, end_period, type}},
  {"CUMPRINC",   kAmount, {rate, nper, pv, start_period, end_period, type}},
  {"DB",         kAmount, {cost, salvage, whole("life"), period, optional(whole("month"))}},
  {"DDB",        kAmount, {cost, salvage, life, period, optional(number("factor"))}},
  {"DISC",       kRate,   {settlement, maturity, pr, redemption, basis}},
  {"DOLLARDE",   kAmount, {number("fractional_dollar"), fraction}},
  {"DOLLARFR",   kAmount, {number("decimal_dollar"), fraction}},
  {"DURATION",   kYears,  {settlement, maturity, number("coupon"), yld, frequency, basis}},
  {"EFFECT",     kRate,   {number("nominal_rate"), npery}},
  {"FV",         kAmount, {rate, nper, pmt, optional(pv), type}},
  {"FVSCHEDULE", kAmount, {number("principal"), any_number(number("schedule"))}},
  {"INTRATE",    kRate,   {settlement, maturity, investment, redemption, basis}},
  {"IPMT",       kAmount, {rate, per, nper, pv, optional(fv), type}},
  {"IRR",        kRate,   {repeated(amount)}},
  {"ISPMT",      kAmount, {rate, per, nper, pv}},
  {"MDURATION",  kYears,  {settlement, maturity, number("coupon"), yld, frequency, basis}},
  {"MIRR",       kRate,   {repeated(amount), number("finance_rate"), number("reinvest_rate")}},
  {"NOMINAL",    kRate,   {number("effect_rate"), npery}},
  {"NPER",       kCount,  {rate, pmt, pv, optional(fv), type}},
  {"NPV",        kAmount, {rate, any_number(amount)}},
  {"ODDFPRICE",  kAmount, {settlement, maturity, issue, first_coupon, rate, yld, redemption, frequency, basis}},
  {"ODDFYIELD",  kRate,   {settlement, maturity, issue, first_coupon, rate, pr, redemption, frequency, basis}},
  {"ODDLPRICE",  kAmount, {settlement, maturity, last_interest, rate, yld, redemption, frequency, basis}},
  {"ODDLYIELD",  kRate,   {settlement, maturity, last_interest, rate, pr, redemption, frequency, basis}},
  {"PMT",        kAmount, {rate, nper, pv, optional(fv), type}},
  {"PPMT",       kAmount, {rate, per, nper, pv, optional(fv), type}},
  {"PRICE",      kAmount, {settlement, maturity, rate, yld, redemption, frequency, basis}},
  {"PRICEDISC",  kAmount, {settlement, maturity, discount, redemption, basis}},
  {"PRICEMAT",   kAmount, {settlement, maturity, issue, rate, yld, basis}},
  {"PV",         kAmount, {rate, nper, pmt, optional(fv), type}},
  {"RATE",       kRate,   {nper, pmt, pv, optional(fv), type}},
  {"RECEIVED",   kAmount, {settlement, maturity, investment, discount, basis}},
  {"SLN",        kAmount, {cost, salvage, life}},
  {"SYD",        kAmount, {cost, salvage, whole("life"), period}},
  {"TBILLEQ",    kRate,   {bill_settlement, bill_maturity, discount}},
  {"TBILLPRICE", kAmount, {bill_settlement, bill_maturity, discount}},
  {"TBILLYIELD", kRate,   {bill_settlement, bill_maturity, pr}},
  {"VDB",        kAmount, {cost, salvage, life, start_period, end_period, optional(number("factor")), optional(whole("no_switch"))}},
  {"XIRR",       kRate,   {repeated(amount), repeated(date("date")), optional(number("guess"))}},
  {"XNPV",       kAmount, {rate, repeated(amount), repeated(date("date"))}},
  {"YEARFRAC",   kYears,  {date("start_date"), date("end_date"), basis}},
  {"YIELD",      kRate,   {settlement, maturity, rate, pr, redemption, frequency, basis}},
  {"YIELDDISC",  kRate,   {settlement, maturity, pr, redemption, basis}},
  {"YIELDMAT",   kRate,   {settlement, maturity, issue, rate, pr, basis}},
};
// clang-format on
static_assert(std::size(kKeywords) == 54);
static_assert(std::ranges::is_sorted(kKeywords, {}, &Keyword::word));

constexpr char upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; }

}  // namespace

std::size_t Keyword::number_of(Presence presence) const noexcept {
  return static_cast<std::size_t>(std::ranges::count(arguments(), presence, &Argument::presence));
}

std::size_t Keyword::number_of_lists() const noexcept {
  return number_of(Presence::kRepeated) + number_of(Presence::kAnyNumber);
}

std::size_t Keyword::least() const noexcept {
  return number_of(Presence::kRequired) + number_of(Presence::kRepeated);
}

std::size_t Keyword::most() const noexcept { return number_of_lists() > 0 ? kNoBound : size_; }

bool Keyword::pairs_up(std::size_t count) const noexcept {
  const std::size_t lists = number_of_lists();
  return lists == 0 || count < number_of(Presence::kRequired) ||
         (count - number_of(Presence::kRequired)) % lists <= number_of(Presence::kOptional);
}

const Argument* Keyword::argument_at(std::size_t position, std::size_t count) const noexcept {
  const std::size_t required = number_of(Presence::kRequired);
  const std::size_t lists = number_of_lists();
  const std::size_t list_length = lists == 0 || count < required ? 0 : (count - required) / lists;
  std::size_t passed = 0;
  for (const Argument& argument : arguments()) {
    const bool is_list =
        argument.presence == Presence::kRepeated || argument.presence == Presence::kAnyNumber;
    passed += is_list ? list_length : 1;
    if (position <= passed && position <= count) return &argument;
  }
  return nullptr;
}

std::span<const Keyword> keywords() noexcept { return kKeywords; }

const Keyword* find(std::string_view word) noexcept {
  word = word.substr(0, word.find_last_not_of(' ') + 1);
  const auto same = [word](const Keyword& keyword) {
    return std::ranges::equal(word, keyword.word, {}, upper);
  };
  const auto* const keyword = std::ranges::find_if(kKeywords, same);
  return keyword == std::end(kKeywords) ? nullptr : keyword;
}

}  // namespace catalog
