// Conversions between the kernel's date formats: date values (days since 1 January 1960), triples
// of year, month and day, and "Julian" numbers (year * 1000 + day of the year). All functions are
// exported. They return MISSING for an invalid date; vxfmtzjuldat returns a NaN unchanged.
//
// Years from 0 to 99 are two-digit years. They belong to the hundred years that begin with the
// kernel option VX_NAME_YEARCUTOFF, or with 1950 if there is no kernel. Other years must be from
// 1582 to 20000. Here, years divisible by 4000 are common years.
#pragma once

#pragma GCC visibility push(default)
extern "C" {
double vxfmtzjulymd(double year, double month, double day);  // yyyyddd
double vxfmtzdatjul(double julian);                          // date value
void vxfmtzymdjul(double* year, double* month, double* day, double julian);
double vxfmtzjuldat(double date);  // yyyyddd
}
#pragma GCC visibility pop
