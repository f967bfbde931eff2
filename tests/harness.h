// A kernel that shares no code with the module. Records are raw words in memory of exactly their
// size; undefined bits are random. If the module writes anything but marks and the result, `call`
// throws.
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
  std::uint8_t type;    // 1: number, 2: string, others: number if text is empty; bit 4 is random
  bool null;            // the value pointer of the slot is null
  double number;        // for a string: if not 0, the stated length with a null character pointer
  std::u32string text;  // byte calls use the low bytes; empty text is at address 8, unreadable
};
struct Outcome {
  std::int64_t status;
  std::uint64_t bits;  // of the result slot
  int marked;          // index of the marked slot; -1: none, -2: several
  friend bool operator==(const Outcome&, const Outcome&) = default;
};
std::ostream& operator<<(std::ostream& out, const Outcome& got);

inline constexpr Word kMissingBits = 0xFFFFFE0000000000, kUntouched = 0x4BADC0DE5AFE57A7;
inline Argument num(double value) { return {1, false, value, {}}; }
inline Argument missing() { return num(std::bit_cast<double>(kMissingBits)); }
inline Argument null() { return {1, true, 0.0, {}}; }
inline Argument text(std::u32string characters) { return {2, false, 0.0, std::move(characters)}; }
inline Argument text(std::string_view s) { return text(std::u32string(s.begin(), s.end())); }
Word word(auto* pointer) { return reinterpret_cast<Word>(pointer); }

void* entry(const char* name);  // returns an export of the module; throws if there is none
// Slot 0 is the keyword. `count` is the stated number of slots, which may differ from the actual
// one. If with_result is false, the result pointer is null and `bits` is kUntouched.
Outcome call(Width width, const Argument& keyword, std::span<const Argument> arguments,
             std::int32_t count, bool with_result = true);
Outcome call(Width width, std::string_view keyword, std::span<const Argument> arguments);

}  // namespace harness
