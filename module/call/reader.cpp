// Rejects invalid arguments, and reads the day-count basis, which is a number or a text.
#include "call/reader.h"

#include <algorithm>
#include <cstddef>

namespace vxfnc {
namespace {

template <class Char>
struct BasisKey {
  BasisCode code;
  const Char* keyword;
  std::int64_t length;
};

#define VXFNC_BASIS_KEYS(ROW)     \
  ROW(kBasisUs30360, "30/360")    \
  ROW(kBasisActual, "ACTUAL")     \
  ROW(kBasisActual360, "ACT/360") \
  ROW(kBasisActual365, "ACT/365") \
  ROW(kBasisEuropean30360, "EU30/360")
#define VXFNC_BYTE_ROW(code, keyword) {code, keyword, sizeof(keyword) - 1},
#define VXFNC_WIDE_ROW(code, keyword) {code, U"" keyword, sizeof(keyword) - 1},

template <class Char>
constexpr BasisKey<Char> Keys[5] = {};
template <>
constexpr BasisKey<char> Keys<char>[5] = {VXFNC_BASIS_KEYS(VXFNC_BYTE_ROW)};
template <>
constexpr BasisKey<WideChar> Keys<WideChar>[5] = {VXFNC_BASIS_KEYS(VXFNC_WIDE_ROW)};

constexpr std::int64_t kLongestBasisText = 255;

}  // namespace

Status Reader::fail(Status status) noexcept {
  if (result_ != nullptr) *result_ = MISSING;
  return status_ = status;
}

void Reader::reject(Status status, std::int64_t slot) noexcept {
  slots_[slot].flags |= kErrorFlag;
  status_ = fail(status);
}

BasisCode Reader::basis(std::int64_t slot) noexcept {
  if (!ok() || !given(slot)) return kBasisUs30360;
  const int type = slots_[slot].type & kTypeMask;
  if (type == kNumberArgument) {
    if (!has_number(slot)) return kBasisActual;
    const double value = *number_at(slot);  // need not be whole, on purpose: 2.7 is 2, -0.5 is 0
    if (require(value > -1.0 && value < 5.0, slot)) return static_cast<BasisCode>(value);
  } else if (type == kStringArgument) {
    return width_ == Width::kWide ? basis_keyword<WideCharacters>(slot)
                                  : basis_keyword<ByteCharacters>(slot);
  } else {
    require(false, slot);
  }
  return kBasisUs30360;
}

template <class Characters>
BasisCode Reader::basis_keyword(std::int64_t slot) noexcept {
  using Char = typename Characters::Char;
  const auto* const string = static_cast<const StringValue*>(slots_[slot].value);
  const bool has_characters = string != nullptr && string->characters != nullptr &&
                              string->length >= 1 && string->length <= kLongestBasisText;
  if (!require(has_characters, slot)) return kBasisUs30360;

  const Characters characters(environment_);
  Char text[kLongestBasisText + 1];
  std::copy_n(static_cast<const Char*>(string->characters), string->length, text);
  text[string->length] = 0;
  const std::int64_t length = characters.erase_blanks(text, string->length);
  characters.upper(text, length);
  const std::int64_t trimmed = characters.trim(text, length);
  for (const auto& key : Keys<Char>) {
    // Some services leave trailing blanks, so they are ignored here.
    const std::int64_t compared = length == key.length ? length : trimmed;
    if (compared == key.length && characters.equal(text, compared, key.keyword, key.length)) {
      return key.code;
    }
  }
  require(false, slot);
  return kBasisUs30360;
}

}  // namespace vxfnc
