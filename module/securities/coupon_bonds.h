// Bonds with regular coupons, and what the odd periods share with them.
#pragma once

#include "securities/security.h"

namespace vxfnc::securities {

// The frequency, at least 1, and the regular coupon per 100 of face value.
double coupons_per_year(const SecurityCalc& calc) noexcept;
double coupon_amount(const SecurityCalc& calc) noexcept;

// Price of coupons and redemption at compound interest, from couponCount, firstCoupon,
// remainingFraction (to the first coupon) and accruedFraction; and the yield at which that is the
// price.
CalcStatus PriceTheCoupons(SecurityCalc& calc) noexcept;
CalcStatus SolveForTheYield(SecurityCalc& calc) noexcept;

CalcStatus zComputePRICE(SecurityCalc& calc) noexcept;
CalcStatus zComputeYIELD(SecurityCalc& calc) noexcept;
CalcStatus zComputeDURATION(SecurityCalc& calc) noexcept;

}  // namespace vxfnc::securities
