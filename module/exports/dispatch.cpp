// Evaluates a call: normalises the keyword, finds its row, checks the number of arguments and calls
// the handler.
#include "exports/dispatch.h"

#include <algorithm>
#include <type_traits>

#include "exports/keywords.h"

#define VXFNC_DECLARE(word, least, most, family) \
  namespace vxfnc::family {                      \
  Status fnc_##word(Reader& in) noexcept;        \
  }
VXFNC_KEYWORDS(VXFNC_DECLARE)

namespace vxfnc {

#define VXFNC_ROW(word, least, most, family) FinancialRow{#word, family::fnc_##word, least, most},
constexpr std::array<FinancialRow, kKeywordCount> FinancialList = {VXFNC_KEYWORDS(VXFNC_ROW)};

namespace {

constexpr std::int64_t kLongestKeyword = 10;

// A keyword packed into two integers, so that a search needs one multiplication and one comparison.
// Unused bytes are 0. Because the length is included, only keywords of the same length are equal.
struct PackedKeyword {
  std::uint64_t head = 0;  // first eight characters
  std::uint64_t tail = 0;  // the remaining characters and the length
  friend bool operator==(const PackedKeyword&, const PackedKeyword&) = default;
};

constexpr PackedKeyword kNoKeyword{.head = 0, .tail = 0};

// n is at most 10. Returns kNoKeyword if any character is 128 or above.
template <class Char>
constexpr PackedKeyword packed(const Char* s, std::int64_t n) noexcept {
  PackedKeyword word{.head = 0, .tail = static_cast<std::uint64_t>(n) << 32};
  std::uint64_t all = 0;
  const auto next = [s, &all](std::int64_t i) {
    const std::uint64_t c = static_cast<std::make_unsigned_t<Char>>(s[i]);
    all |= c;
    return c;
  };
  for (std::int64_t i = 0; i < std::min<std::int64_t>(n, 8); ++i) word.head |= next(i) << (8 * i);
  for (std::int64_t i = 8; i < n; ++i) word.tail |= next(i) << (8 * (i - 8));
  return all < 128 ? word : kNoKeyword;
}

// Converts eight bytes at once to upper case. All bytes must be below 128. The high bit of each
// byte of from_a is 1 if that byte is 'a' or above; in beyond_z it is 1 if the byte is above 'z'.
constexpr std::uint64_t upper_bytes(std::uint64_t bytes) noexcept {
  constexpr std::uint64_t kEach = 0x0101010101010101;
  const std::uint64_t from_a = bytes + kEach * (128 - 'a');
  const std::uint64_t beyond_z = bytes + kEach * (127 - 'z');
  return bytes - ((from_a & ~beyond_z & (kEach * 128)) >> 2);
}
static_assert(upper_bytes(0x7B7A61605B5A4100) == 0x7B5A41605B5A4100);

constexpr int kBuckets = 512;
constexpr std::uint8_t kNoRow = 255;

constexpr std::size_t bucket_of(const PackedKeyword& word, std::uint64_t multiplier) noexcept {
  return ((word.head ^ word.tail) * multiplier) >> 55;
}

// A perfect hash table: the multiplier is chosen at compile time so that every keyword has its own
// bucket. A search compares one row only.
struct KeywordIndex {
  std::array<PackedKeyword, kKeywordCount> words{};
  std::array<std::uint8_t, kBuckets> rows{};
  std::uint64_t multiplier = 0;

  consteval KeywordIndex() {
    for (int row = 0; row < kKeywordCount; ++row) {
      const auto name = FinancialList[static_cast<std::size_t>(row)].name;
      words[static_cast<std::size_t>(row)] =
          packed(name.data(), static_cast<std::int64_t>(name.size()));
    }
    for (multiplier = 0x9E3779B97F4A7C15; !fill_buckets(); multiplier += 0x61C8864680B583EA) {
    }
  }

  consteval bool fill_buckets() {
    rows.fill(kNoRow);
    for (std::uint8_t row = 0; row < kKeywordCount; ++row) {
      std::uint8_t& bucket = rows[bucket_of(words[row], multiplier)];
      if (bucket != kNoRow) return false;
      bucket = row;
    }
    return true;
  }
};
constexpr KeywordIndex kIndex;

int find_row(const PackedKeyword& word) noexcept {
  const std::uint8_t row = kIndex.rows[bucket_of(word, kIndex.multiplier)];
  return row != kNoRow && kIndex.words[row] == word ? row : -1;
}

constexpr bool sorted_and_short() {
  return std::ranges::is_sorted(FinancialList, {}, &FinancialRow::name) &&
         std::ranges::all_of(FinancialList, [](const FinancialRow& row) {
           return static_cast<std::int64_t>(row.name.size()) <= kLongestKeyword;
         });
}
static_assert(sorted_and_short());

// Returns the keyword in upper case, packed, or kNoKeyword.
template <class Characters>
PackedKeyword normalised(const typename Characters::Char* s, std::int64_t n,
                         const Characters& characters) noexcept {
  if constexpr (std::is_same_v<Characters, WideCharacters>) {
    // Below 128, the tables and the case service convert a to z only, so they are not needed.
    const PackedKeyword word = packed(s, n);
    if (word != kNoKeyword) return {upper_bytes(word.head), upper_bytes(word.tail)};
  }
  typename Characters::Char buffer[kCopyRoom] = {};
  characters.copy(s, n, buffer);
  characters.upper(buffer, n);
  return packed(buffer, n);
}

// Returns the row of the keyword, or -1. Trailing blanks are ignored; a leading blank is invalid.
template <class Characters>
int keyword_row(const StringValue* keyword, const Characters& characters) noexcept {
  using Char = typename Characters::Char;
  if (keyword == nullptr || keyword->characters == nullptr || keyword->length < 1) return -1;
  const auto* const s = static_cast<const Char*>(keyword->characters);
  if (s[0] == Char{' '}) return -1;
  const std::int64_t n = characters.trim(s, keyword->length);
  if (n < 1 || n > kLongestKeyword) return -1;
  return find_row(normalised(s, n, characters));
}

template <class Characters>
std::int64_t dispatch(FinanceCall* call, double* result, CallEnvironment* environment,
                      Width width) noexcept {
  if (call->count < 1) return STATUS_BAD_ARG;  // without a keyword there is no slot to mark
  ArgumentSlot& slot = call->slots()[0];
  // If the slot of the keyword holds a number, there is no keyword.
  const bool is_number = (slot.type & kTypeMask) == kNumberArgument;
  const auto* const keyword = is_number ? nullptr : static_cast<const StringValue*>(slot.value);
  const int index = keyword_row(keyword, Characters(environment));
  if (index < 0) {
    slot.flags |= kErrorFlag;
    return STATUS_BAD_ARG;
  }
  const FinancialRow& row = FinancialList[static_cast<std::size_t>(index)];
  const std::int32_t count = call->count;
  // If the number of arguments is wrong, no argument is marked.
  if (count < row.minimum || (row.maximum != kNoBound && count > row.maximum)) {
    return STATUS_BAD_ARG;
  }
  Reader in(environment, call, result, count, index, width);
  return row.handler(in) == STATUS_SUCCESS ? STATUS_SUCCESS : STATUS_BAD_ARG;
}

}  // namespace
}  // namespace vxfnc

std::int64_t fncfin(vxfnc::FinanceCall* call, double* result, vxfnc::CallEnvironment* environment) {
  return vxfnc::dispatch<vxfnc::WideCharacters>(call, result, environment, vxfnc::Width::kWide);
}

std::int64_t fncfinS(vxfnc::FinanceCall* call, double* result,
                     vxfnc::CallEnvironment* environment) {
  return vxfnc::dispatch<vxfnc::ByteCharacters>(call, result, environment, vxfnc::Width::kByte);
}
