// Shepard interpolation with linear nodal functions: exact on linear functions and at the
// points, and its error on a smooth known function (the figures quoted in the header).
#include <cmath>
#include <cstdio>
#include <random>

#include "numeric/TKScatteredInterpolation.h"
#include "support/TestSupport.h"

namespace {

TKVector Smooth(double x, double y, double z) { return TKVector({std::sin(3 * x) + y * y, x * z, std::exp(-y)}); }
TKVector Linear(double x, double y, double z) { return TKVector({2 * x - y + 0.5 * z + 1, 3 * z - x}); }

template <class F>
void Sample(F f, int32_t count, TKMatrix& points, TKMatrix& values, std::mt19937& random) {
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    const int32_t width = f(0, 0, 0).GetDim();
    points = TKMatrix(count, 3);
    values = TKMatrix(count, width);
    for (int32_t i = 0; i < count; ++i) {
        const double x = unit(random), y = unit(random), z = unit(random);
        points(i, 0) = x, points(i, 1) = y, points(i, 2) = z;
        values.SetRow(i, f(x, y, z));
    }
}

TEST(ScatteredInterpolationTest, ExactOnLinearFunctionsAndAtThePoints) {
    std::mt19937 random(3);
    TKMatrix points, values;
    Sample(Linear, 60, points, values, random);
    for (double exponent : {2.0, 20.0}) {
        TKScatteredInterpolation interpolation(points, values, exponent);
        for (double x : {0.1, 0.5, 0.93})
            EXPECT_LT(interpolation.Evaluate(TKVector({x, 1 - x, x * x})).MaxDistance(Linear(x, 1 - x, x * x)), 1e-9);
        EXPECT_LT(interpolation.Evaluate(points.GetRow(7)).MaxDistance(values.GetRow(7)), 1e-12);
    }
}

// The error quoted for the colorant tables: 400 points, exponent 20.
TEST(ScatteredInterpolationTest, ErrorOnASmoothFunction) {
    std::mt19937 random(11);
    TKMatrix points, values;
    Sample(Smooth, 400, points, values, random);
    TKScatteredInterpolation interpolation(points, values, 20.0);
    std::uniform_real_distribution<double> inner(0.1, 0.9);
    double sum = 0.0, worst = 0.0;
    for (int i = 0; i < 200; ++i) {
        const double x = inner(random), y = inner(random), z = inner(random);
        const double error = interpolation.Evaluate(TKVector({x, y, z})).MaxDistance(Smooth(x, y, z));
        sum += error;
        worst = std::max(worst, error);
    }
    std::printf("scattered interpolation, 400 points, exponent 20: mean %.5f, max %.5f\n", sum / 200, worst);
    EXPECT_LT(sum / 200, 0.015);
    EXPECT_LT(worst, 0.1);
}

TEST(ScatteredInterpolationTest, BadInput) {
    EXPECT_TKERROR(TKScatteredInterpolation(TKMatrix(2, 3), TKMatrix(3, 1), 2.0), DimMismatch);
    EXPECT_TKERROR(TKScatteredInterpolation(TKMatrix(0, 3), TKMatrix(0, 1), 2.0), DimMismatch);
    EXPECT_TKERROR(TKScatteredInterpolation(TKMatrix(2, 3), TKMatrix(2, 1), 0.0), ArgErr);
    TKScatteredInterpolation one(TKMatrix(1, 3), TKMatrix(1, 1), 2.0);
    EXPECT_EQ(one.Evaluate(TKVector({0.3, 0.3, 0.3}))[0], 0.0);
    EXPECT_TKERROR(one.Evaluate(TKVector({0.3})), DimMismatch);
}

}  // namespace
