// Real numbers of 256 bits. Formulas are templates over their number type. With Real they compute
// the reference, with double the same result in another order of operations.
#pragma once

#include <mpfr.h>

#include <cmath>
#include <cstdint>

class Real {
 public:
  Real(double x = 0) : Real(kUnset) { mpfr_set_d(m_, x, MPFR_RNDN); }  // NOLINT: implicit
  Real(const Real& x) : Real(kUnset) { mpfr_set(m_, x.m_, MPFR_RNDN); }
  Real& operator=(const Real& x) { return mpfr_set(m_, x.m_, MPFR_RNDN), *this; }  // NOLINT: self
  ~Real() = default;

  Real& operator+=(const Real& x) { return mpfr_add(m_, m_, x.m_, MPFR_RNDN), *this; }
  Real& operator-=(const Real& x) { return mpfr_sub(m_, m_, x.m_, MPFR_RNDN), *this; }
  Real& operator*=(const Real& x) { return mpfr_mul(m_, m_, x.m_, MPFR_RNDN), *this; }
  Real& operator/=(const Real& x) { return mpfr_div(m_, m_, x.m_, MPFR_RNDN), *this; }
  friend Real operator+(Real a, const Real& b) { return a += b; }
  friend Real operator-(Real a, const Real& b) { return a -= b; }
  friend Real operator*(Real a, const Real& b) { return a *= b; }
  friend Real operator/(Real a, const Real& b) { return a /= b; }
  friend Real operator-(Real a) { return mpfr_neg(a.m_, a.m_, MPFR_RNDN), a; }
  friend bool operator<(const Real& a, const Real& b) { return mpfr_less_p(a.m_, b.m_) != 0; }
  friend bool operator>(const Real& a, const Real& b) { return b < a; }
  friend bool operator==(const Real& a, const Real& b) { return mpfr_equal_p(a.m_, b.m_) != 0; }

  friend Real fabs(Real x) { return mpfr_abs(x.m_, x.m_, MPFR_RNDN), x; }
  friend Real trunc(Real x) { return mpfr_trunc(x.m_, x.m_), x; }
  friend Real sqrt(Real x) { return mpfr_sqrt(x.m_, x.m_, MPFR_RNDN), x; }
  friend Real exp(Real x) { return mpfr_exp(x.m_, x.m_, MPFR_RNDN), x; }
  friend Real expm1(Real x) { return mpfr_expm1(x.m_, x.m_, MPFR_RNDN), x; }
  friend Real log(Real x) { return mpfr_log(x.m_, x.m_, MPFR_RNDN), x; }
  friend Real log1p(Real x) { return mpfr_log1p(x.m_, x.m_, MPFR_RNDN), x; }
  friend Real pow(Real x, const Real& y) { return mpfr_pow(x.m_, x.m_, y.m_, MPFR_RNDN), x; }

  friend Real power(Real x, long n) { return mpfr_pow_si(x.m_, x.m_, n, MPFR_RNDN), x; }

  friend double rounded(const Real& x) { return mpfr_get_d(x.m_, MPFR_RNDN); }
  // Returns the distance between neighbouring doubles of the magnitude of x, and 0 for 0.
  friend Real last_place(const Real& x) {
    Real place;
    if (mpfr_regular_p(x.m_) != 0)
      mpfr_set_ui_2exp(place.m_, 1, mpfr_get_exp(x.m_) - 53, MPFR_RNDN);
    return place;
  }

 private:
  static constexpr mpfr_prec_t kBits = 256;
  enum Unset : std::uint8_t { kUnset };
  explicit Real(Unset) {
    mpfr_custom_init(limbs_, kBits);
    mpfr_custom_init_set(m_, MPFR_ZERO_KIND, 0, kBits, limbs_);
  }

  // No allocation, which would take as long as an addition.
  mp_limb_t limbs_[kBits / GMP_NUMB_BITS];
  mpfr_t m_;
};

inline double rounded(double x) { return x; }
inline double power(double x, long n) { return std::pow(x, static_cast<double>(n)); }
