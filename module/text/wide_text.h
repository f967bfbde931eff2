// Wide-string routines: trim, copy, delete characters, convert to upper case, compare without
// regard to case. Lengths are in characters. A negative length means that the string is
// zero-terminated: its length is measured, and output is terminated by a zero character instead of
// padded with blanks.
#pragma once

#include <cstdint>

#include "abi/kernel_records.h"

namespace vxfnc {

// Returns the number of characters before the first zero character, and 0 for a null pointer.
std::int64_t nbStrTLen(const WideChar* s) noexcept;

// Returns the length of s[0..n) without trailing blanks.
std::int64_t vxzstrp(const WideChar* s, std::int64_t n) noexcept;

// Copies min(n, m) characters and fills the rest of to[0..m) with blanks. A negative m means room
// for -1 - m characters and a terminator. A null source is empty.
void vxzsmov(const WideChar* from, std::int64_t n, WideChar* to, std::int64_t m) noexcept;

// Removes every character of set[0..k) from s[0..n) and returns the new length.
std::int64_t vxzsdel(WideChar* s, std::int64_t n, const WideChar* set, std::int64_t k) noexcept;

// Converts s[0..n) to upper case in place. Characters of 128 and above are converted by the
// kernel's case service if the kernel handle has one; all others by the tables.
void vxzstup(WideChar* s, std::int64_t n) noexcept;

// Returns 1 if both strings are equal after conversion to lower case, else 0.
int vxzseqn(const WideChar* a, std::int64_t n, const WideChar* b, std::int64_t m) noexcept;

}  // namespace vxfnc
