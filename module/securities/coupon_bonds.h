// Bonds with regular coupons, and the functions that bonds with odd periods use too.
#pragma once

#include "securities/security.h"

namespace vxfnc::securities {

// coupons_per_year returns the frequency, at least 1. coupon_amount returns the regular coupon per
// 100 of face value.
double coupons_per_year(const SecurityCalc& calc) noexcept;
double coupon_amount(const SecurityCalc& calc) noexcept;

// PriceTheCoupons computes the price of coupons and redemption at compound interest. It uses
// couponCount, firstCoupon, remainingFraction (the time to the first coupon) and accruedFraction.
// SolveForTheYield finds the yield for which PriceTheCoupons computes the given price.
CalcStatus PriceTheCoupons(SecurityCalc& calc) noexcept;
CalcStatus SolveForTheYield(SecurityCalc& calc) noexcept;

CalcStatus zComputePRICE(SecurityCalc& calc) noexcept;
CalcStatus zComputeYIELD(SecurityCalc& calc) noexcept;
CalcStatus zComputeDURATION(SecurityCalc& calc) noexcept;

}  // namespace vxfnc::securities
