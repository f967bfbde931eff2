// The kernel's own date formats: date values (days from 1 January 1960), calendar triples and
// "Julian" numbers, year * 1000 + day of the year. All are exported; MISSING is the answer to
// everything they reject, except that vxfmtzjuldat hands back a NaN as it is.
//
// Years from 0 to 99 are two-digit years of the hundred years that the kernel's option
// VX_NAME_YEARCUTOFF opens, from 1950 on where there is no kernel. Four-digit years reach from 1582
// to 20000, and years divisible by 4000 are common years here.
#pragma once

#pragma GCC visibility push(default)
extern "C" {
double vxfmtzjulymd(double year, double month, double day);  // yyyyddd
double vxfmtzdatjul(double julian);                          // date value
void vxfmtzymdjul(double* year, double* month, double* day, double julian);
double vxfmtzjuldat(double date);  // yyyyddd
}
#pragma GCC visibility pop
