// Wide-string routines: trim, blank-padded copy, deletion, upper case, case-blind equality.
// Lengths count characters. A negative length stands for a zero-terminated string: the length is
// measured, and a terminator is written where a fixed length would be padded with blanks.
#pragma once

#include <cstdint>

#include "abi/kernel_records.h"

namespace vxfnc {

// Characters before the first zero character; 0 for a null pointer.
std::int64_t nbStrTLen(const WideChar* s) noexcept;

// Length of s[0..n) without trailing blanks.
std::int64_t vxzstrp(const WideChar* s, std::int64_t n) noexcept;

// Copies min(n, m) characters and fills the rest of to[0..m) with blanks. A negative m stands for
// room for -1 - m characters and a terminator. A null source counts as empty.
void vxzsmov(const WideChar* from, std::int64_t n, WideChar* to, std::int64_t m) noexcept;

// Removes every character of set[0..k) from s[0..n) and returns the new length.
std::int64_t vxzsdel(WideChar* s, std::int64_t n, const WideChar* set, std::int64_t k) noexcept;

// Upper-cases s[0..n) in place: characters of 128 and above through the kernel's case service when
// the kernel handle carries one, everything else through the tables.
void vxzstup(WideChar* s, std::int64_t n) noexcept;

// 1 when both strings have one length and agree character by character once lower-cased, else 0.
int vxzseqn(const WideChar* a, std::int64_t n, const WideChar* b, std::int64_t m) noexcept;

}  // namespace vxfnc
