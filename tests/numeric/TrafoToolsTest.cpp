// Jacobian, line position and distance statistics, against trafos with known derivatives.
#include <cmath>

#include "numeric/TKMatrixTrafo.h"
#include "numeric/TKTrafoTools.h"
#include "numeric/TrafoTestSupport.h"
#include "support/TestSupport.h"

namespace {
// (x, y) -> (x^2, x y, y): derivatives 2x, y | 0, x, 1.
class PolyTrafo : public TKTrafo {
public:
    int32_t GetSrcDim() const override { return 2; }
    int32_t GetDstDim(int32_t) const override { return 3; }
    TKVector Trafo(const TKVector& s) const override { return TKVector({s[0] * s[0], s[0] * s[1], s[1]}); }
};

// Squares each channel: spreads a line unevenly.
class SquareTrafo : public TKTrafo {
public:
    TKVector Trafo(const TKVector& s) const override {
        TKVector r(s);
        for (int32_t i = 0; i < r.GetDim(); ++i) r[i] *= r[i];
        return r;
    }
};
}  // namespace

TEST(TrafoTools, JacobianOfALinearTrafoIsItsTransposedMatrix) {
    TKMatrix m(2, 3);
    m.SetRow(0, TKVector({1.0, 2.0, 3.0}));
    m.SetRow(1, TKVector({-4.0, 0.5, 0.0}));
    TKMatrixTrafo t(m);
    TKMatrix j = CalcJacobian(t, TKVector({0.2, 0.3, 0.4}), 1e-3);
    ASSERT_EQ(j.GetHeight(), 3);
    ASSERT_EQ(j.GetWidth(), 2);
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 2; ++c) EXPECT_NEAR(j(r, c), m(c, r), 1e-9);
}

TEST(TrafoTools, JacobianStepsDownNearTheTopAndKeepsTheSign) {
    PolyTrafo t;
    TKMatrix j = CalcJacobian(t, TKVector({0.5, 0.25}), 1e-6);
    EXPECT_NEAR(j(0, 0), 1.0, 1e-5);   // 2x
    EXPECT_NEAR(j(0, 1), 0.25, 1e-5);  // y
    EXPECT_NEAR(j(1, 1), 0.5, 1e-5);   // x
    EXPECT_NEAR(j(1, 2), 1.0, 1e-9);
    // x = 1 is above 1 - step: the step goes down and the row changes its sign.
    TKMatrix top = CalcJacobian(t, TKVector({1.0, 0.25}), 1e-6);
    EXPECT_NEAR(top(0, 0), -2.0, 1e-5);
    EXPECT_TKERROR(CalcJacobian(t, TKVector({1.0, 0.25}), 0.0), ArgErr);
    EXPECT_TKERROR(CalcJacobian(t, TKVector({1.0}), 0.1), DimMismatch);
}

TEST(TrafoTools, LinePositionOfAnEvenAndAnUnevenTrafo) {
    TKTrafo identity;
    TKVector even = CalcLinePosition(identity, TKVector({0.0, 0.0}), TKVector({1.0, 2.0}), 5);
    for (int k = 0; k < 5; ++k) EXPECT_NEAR(even[k], k / 4.0, 1e-12);
    SquareTrafo square;
    TKVector uneven = CalcLinePosition(square, TKVector({0.0}), TKVector({1.0}), 3);
    EXPECT_NEAR(uneven[1], 0.25, 1e-12);  // (1/2)^2 lies a quarter of the way
    TKVector still = CalcLinePosition(identity, TKVector({1.0}), TKVector({1.0}), 3);
    EXPECT_EQ(still, TKVector(3));  // both distances 0: entries stay 0
    EXPECT_EQ(CalcLinePosition(identity, TKVector({1.0}), TKVector({2.0}), 1), TKVector(1));
    EXPECT_TKERROR(CalcLinePosition(identity, TKVector({1.0}), TKVector(2), 3), DimMismatch);
}

TEST(TrafoTools, DistanceStatistics) {
    TKMatrix table(4, 1);
    for (int r = 0; r < 4; ++r) table(r, 0) = r;
    TKTestAddTrafo up(1, 2.0), down(1, -1.0);
    TKDistanceStatistic trip = CalcRoundTripStatistic(up, down, table);
    EXPECT_EQ(trip.Count(), 4);
    EXPECT_DOUBLE_EQ(trip.Sum(), 4.0);
    EXPECT_DOUBLE_EQ(trip.Max(), 1.0);
    EXPECT_DOUBLE_EQ(trip.Sigma(), 0.0);
    TKMatrix target(table);
    target(3, 0) = 8.0;  // distances 2, 2, 2, 3
    TKDistanceStatistic fit = CalcTableStatistic(up, table, target);
    EXPECT_DOUBLE_EQ(fit.Mean(), 2.25);
    EXPECT_DOUBLE_EQ(fit.Max(), 3.0);
    EXPECT_NEAR(fit.Sigma(), std::sqrt(3.0) / 4.0, 1e-12);  // population deviation of 2, 2, 2, 3
    EXPECT_TKERROR(CalcTableStatistic(up, table, TKMatrix(3, 1)), DimMismatch);
}
