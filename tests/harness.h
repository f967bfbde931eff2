// A kernel foreign to the module: records are raw words, laid out by hand in storage of exactly
// their size, noise where nothing is stated. Any write but marks and the result makes `call` throw.
#pragma once
#include <bit>
#include <cstdint>
#include <ostream>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace harness {

using Word = std::uint64_t;
using Words = std::vector<Word>;
enum class Width { wide, byte };  // FINANCE, FINANCE#

struct Argument {
  std::uint8_t type;    // 1 number, 2 string, else a number without text; its bit 4 becomes noise
  bool null;            // the slot's value pointer is null
  double number;        // of a string: not 0 means this stated length and a null character pointer
  std::u32string text;  // a byte call takes the low bytes; empty text is at address 8, unreadable
};
struct Answer {
  std::int64_t status;
  std::uint64_t bits;  // of the result slot
  int marked;          // slot index, -1 none, -2 several
  friend bool operator==(const Answer&, const Answer&) = default;
};
std::ostream& operator<<(std::ostream& out, const Answer& answer);

inline constexpr Word kMissingBits = 0xFFFFFE0000000000, kUntouched = 0x4BADC0DE5AFE57A7;
inline Argument num(double value) { return {1, false, value, {}}; }
inline Argument missing() { return num(std::bit_cast<double>(kMissingBits)); }
inline Argument null() { return {1, true, 0.0, {}}; }
inline Argument text(std::u32string characters) { return {2, false, 0.0, std::move(characters)}; }
inline Argument text(std::string_view s) { return text(std::u32string(s.begin(), s.end())); }
Word word(auto* pointer) { return reinterpret_cast<Word>(pointer); }

void* entry(const char* name);  // what the module exports under the name; throws without one
// Slot 0 is the keyword; `count` is the stated argument count, whatever slots follow. Without a
// result the module is handed a null result pointer and `bits` stays kUntouched.
Answer call(Width width, const Argument& keyword, std::span<const Argument> arguments,
            std::int32_t count, bool with_result = true);
Answer call(Width width, std::string_view keyword, std::span<const Argument> arguments);

}  // namespace harness
