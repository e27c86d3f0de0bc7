// Colour values and checks that many colour tests build on: typed XYZ and Lab vectors, the D50
// white and black, and a three-channel comparison.
#pragma once

#include "color/TKColors.h"
#include "numeric/TKVector.h"
#include "support/TestSupport.h"

inline TKVector XYZ(double x, double y, double z) { return TKVector({x, y, z}, int32_t(TKXYZSpace)); }
inline TKVector Lab(double l, double a, double b) { return TKVector({l, a, b}, int32_t(TKLabSpace)); }

// XYZ of the D50 white on the 0..100 scale, and black.
inline const TKVector kD50 = XYZ(96.42, 100, 82.49);
inline const TKVector kZero = XYZ(0, 0, 0);

// A three-channel vector equal to (x, y, z) within `tolerance` in each channel.
inline void ExpectXYZ(const TKVector& v, double x, double y, double z, double tolerance) {
    ASSERT_EQ(v.GetDim(), 3);
    EXPECT_NEAR(v[0], x, tolerance);
    EXPECT_NEAR(v[1], y, tolerance);
    EXPECT_NEAR(v[2], z, tolerance);
}
