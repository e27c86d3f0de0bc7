// TKVector: inline and shared storage, copy-on-write, ranges, arithmetic and text forms.
#include "numeric/TKVector.h"
#include "numeric/NumericTestSupport.h"
#include "support/TestSupport.h"

#include <cmath>
#include <string>

namespace {
TKVector Iota(int32_t n, double start = 0.0) {
    TKVector v(n);
    for (int32_t i = 0; i < n; ++i) v[i] = start + i;
    return v;
}
}  // namespace

TEST(Vector, LargeVectorsShareUntilWritten) {
    TKVector a = Iota(9);
    TKVector b(a);
    EXPECT_TRUE(a.IsShared());
    EXPECT_EQ(a.Values(), b.Values());
    b[3] = 100.0;
    EXPECT_FALSE(a.IsShared());
    EXPECT_EQ(a[3], 3.0);
    EXPECT_EQ(b[3], 100.0);
    TKVector c(a);
    c.Divide(1.0);  // no write, keeps the share
    EXPECT_TRUE(a.IsShared());
    EXPECT_TKERROR(c.Divide(0.0), DivZero);
    c.AddScalar(0.0);
    EXPECT_TRUE(c.IsShared());
}

TEST(Vector, SetDimMovesBetweenInlineAndShared) {
    TKVector a = Iota(6, 1.0);
    a.SetDim(12);
    EXPECT_EQ(a[5], 6.0);
    EXPECT_EQ(a[11], 0.0);
    TKVector shared(a);
    a.SetDim(3);
    EXPECT_EQ(a.GetDim(), 3);
    EXPECT_EQ(a[2], 3.0);
    EXPECT_EQ(shared.GetDim(), 12);
    a.SetDim(5);
    EXPECT_EQ(a[4], 0.0);
    EXPECT_TKERROR(a.SetDim(-1), ArgErr);
}

TEST(Vector, CheckedAccessAndArrays) {
    TKVector v;
    v.SetValues(3, 1.0, 2.0, 3.0);
    EXPECT_EQ(v.GetElement(2), 3.0);
    EXPECT_TKERROR(v.GetElement(3), IndexError);
    EXPECT_TKERROR(v.GetElementRef(-1), IndexError);
    double out[3] = {};
    v.CopyToArray(out);
    EXPECT_EQ(out[1], 2.0);
    v.SetFromArray(2, out + 1);
    EXPECT_EQ(v, TKVector({2.0, 3.0}));
    v.SetFromArray(2, v.Values());  // from itself
    EXPECT_EQ(v, TKVector({2.0, 3.0}));
    EXPECT_TKERROR(v.SetFromArray(2, nullptr), ArgErr);
}

TEST(Vector, RangesAndNorms) {
    TKVector v({3.0, -4.0, 12.0});
    EXPECT_DOUBLE_EQ(v.Norm(), 13.0);
    EXPECT_DOUBLE_EQ(v.Norm(0, 1), 5.0);
    EXPECT_DOUBLE_EQ(v.Norm(1, 1), 4.0);
    EXPECT_DOUBLE_EQ(v.SqrNorm(), 169.0);
    EXPECT_DOUBLE_EQ(v.SumAbs(), 19.0);
    EXPECT_DOUBLE_EQ(v.Sum(), 11.0);
    EXPECT_DOUBLE_EQ(v.Mean(1), 4.0);
    EXPECT_DOUBLE_EQ(v.LpNorm(0.0), 12.0);
    EXPECT_DOUBLE_EQ(v.LpNorm(1.0), 19.0);
    EXPECT_NEAR(v.LpNorm(3.0), std::cbrt(27.0 + 64.0 + 1728.0), 1e-12);
    EXPECT_TKERROR(v.LpNorm(-1.0), ArgErr);
    EXPECT_TKERROR(v.Sum(3), IndexError);
    EXPECT_TKERROR(v.Sum(2, 1), IndexError);
    EXPECT_EQ(TKVector().SqrNorm(), 0.0);
    EXPECT_EQ(TKVector().Norm(), 0.0);
    EXPECT_EQ(TKVector().Sum(), 0.0);
}

TEST(Vector, Extremes) {
    TKVector v({2.0, -7.0, 5.0, -7.0, 5.0});
    EXPECT_EQ(v.Min(), -7.0);
    EXPECT_EQ(v.MinIndex(), 1);
    EXPECT_EQ(v.MaxIndex(), 2);
    EXPECT_EQ(v.Max(3), 5.0);
    EXPECT_EQ(v.MinAbs(), 2.0);
    EXPECT_EQ(v.MaxAbs(), 7.0);
    EXPECT_TKERROR(TKVector().Min(), DimMismatch);
    EXPECT_TKERROR(TKVector().MaxIndex(), DimMismatch);
}

TEST(Vector, DistancesAndDot) {
    TKVector a({1.0, 2.0, 3.0});
    TKVector b({4.0, 6.0, 3.0});
    EXPECT_DOUBLE_EQ(a.Distance(b), 5.0);
    EXPECT_DOUBLE_EQ(a.SqrDistance(b), 25.0);
    EXPECT_DOUBLE_EQ(a.MaxDistance(b), 4.0);
    EXPECT_DOUBLE_EQ(Dot(a, b), 25.0);
    EXPECT_TKERROR(a.Add(TKVector(4)), DimMismatch);
    EXPECT_TKERROR(a.Distance(TKVector(2)), DimMismatch);
    EXPECT_TRUE(a.Differs(TKVector(4)));
    EXPECT_FALSE(a.Differs(TKVector({1.0, 2.0, 3.0}, Sig("RGB "))));  // the type doesn't count
    // Spectra and ink vectors are long: every component counts once, whatever the length.
    for (int32_t n : {4, 5, 7, 8, 36}) {
        TKVector u = Iota(n), w = Iota(n);
        for (int32_t i = 0; i < n; ++i) w[i] += double(i + 1);
        EXPECT_DOUBLE_EQ(u.SqrDistance(w), n * (n + 1) * (2.0 * n + 1) / 6.0) << n;  // sum of k^2
    }
}

TEST(Vector, ArithmeticInPlaceAndOperators) {
    TKVector a({1.0, 2.0, 3.0}, Sig("RGB "));
    TKVector b({1.0, 1.0, 1.0});
    EXPECT_EQ(a + b, TKVector({2.0, 3.0, 4.0}));
    EXPECT_EQ((a + b).GetType(), Sig("RGB "));
    EXPECT_EQ(a - b, TKVector({0.0, 1.0, 2.0}));
    EXPECT_EQ(2.0 * a, TKVector({2.0, 4.0, 6.0}));
    EXPECT_EQ(a / 2.0, TKVector({0.5, 1.0, 1.5}));
    EXPECT_TKERROR(a / 0.0, DivZero);
    TKVector big = Iota(20);
    TKVector self(big);
    self.Add(self);
    EXPECT_EQ(self[19], 38.0);
    EXPECT_EQ(big[19], 19.0);
    a.SubtractScalar(1.0);
    EXPECT_EQ(a, TKVector({0.0, 1.0, 2.0}));
    a.AddScalar(0.5);
    EXPECT_EQ(a, TKVector({0.5, 1.5, 2.5}));
    a.SetDim(4);  // the slot behind the old end was not touched
    EXPECT_EQ(a[3], 0.0);
}

TEST(Vector, FillSortInsertRemove) {
    TKVector v({5.0, 1.0, 4.0, 1.0, 3.0, 9.0, 2.0, 6.0, 5.0, 3.0, 5.0});
    v.Sort(1, 9);
    EXPECT_EQ(v, TKVector({5.0, 1.0, 1.0, 2.0, 3.0, 3.0, 4.0, 5.0, 6.0, 9.0, 5.0}));
    v.Sort();
    for (int i = 1; i < v.GetDim(); ++i) EXPECT_LE(v[i - 1], v[i]);
    v.Fill(0.0, 8);
    EXPECT_EQ(v[10], 0.0);
    EXPECT_EQ(v[7], 5.0);
    TKVector w({1.0, 2.0, 3.0});
    w.InsertAt(3, 4.0);
    w.InsertAt(0, 0.0);
    EXPECT_EQ(w, TKVector({0.0, 1.0, 2.0, 3.0, 4.0}));
    w.RemoveAt(2);
    EXPECT_EQ(w, TKVector({0.0, 1.0, 3.0, 4.0}));
    EXPECT_TKERROR(w.RemoveAt(4), IndexError);
    EXPECT_TKERROR(w.InsertAt(5), IndexError);
}

TEST(Vector, Limits) {
    TKVector v({-5.0, 50.0, 150.0, 200.0});
    TKVector low({0.0, 60.0});
    TKVector high({100.0, 100.0, 100.0});
    v.Limit(low, high);
    EXPECT_EQ(v, TKVector({0.0, 60.0, 100.0, 200.0}));  // the last position has no limits
    TKVector w({-1.0, 0.5, 2.0});
    w.LimitScalar(0.0, 1.0);
    EXPECT_EQ(w, TKVector({0.0, 0.5, 1.0}));
}

TEST(Vector, CurveInterpolation) {
    TKVector up({0.0, 10.0});
    EXPECT_DOUBLE_EQ(up.Interpolate(0.5), 5.0);
    EXPECT_DOUBLE_EQ(up.InverseInterpolate(5.0), 0.5);
    EXPECT_DOUBLE_EQ(TKVector({10.0, 0.0}).InverseInterpolate(5.0), 0.5);
    EXPECT_EQ(TKVector().Interpolate(0.3), 0.3);
    EXPECT_EQ(TKVector({7.0}).Interpolate(0.3), 7.0);
    TKVector curve({0.0, 1.0, 4.0, 9.0, 16.0});
    EXPECT_DOUBLE_EQ(curve.Interpolate(-1.0), 0.0);
    EXPECT_DOUBLE_EQ(curve.Interpolate(2.0), 16.0);
    EXPECT_DOUBLE_EQ(curve.Interpolate(0.625), 6.5);  // halfway between 4 and 9
    EXPECT_DOUBLE_EQ(curve.InverseInterpolate(6.5), 0.625);
    EXPECT_DOUBLE_EQ(curve.InverseInterpolate(-3.0), 0.0);
    EXPECT_DOUBLE_EQ(curve.InverseInterpolate(30.0), 1.0);
    for (double t = 0.0; t <= 1.0; t += 0.05) EXPECT_NEAR(curve.InverseInterpolate(curve.Interpolate(t)), t, 1e-12);
}

TEST(Vector, SampleForms) {
    TKVector v({0.0, 50.0, 100.0});
    TKVector lo(3, 0, 0.0), hi(3, 0, 100.0);
    uint16_t words[3];
    v.ToWords(words, lo, hi);
    EXPECT_EQ(words[1], 32768);
    EXPECT_EQ(words[2], 65535);
    uint8_t bytes[3];
    v.ToBytes(bytes, lo, hi);
    EXPECT_EQ(bytes[1], 128);
    TKVector back;
    back.FromBytes(bytes, lo, hi);
    EXPECT_NEAR(back[1], 50.196, 1e-3);
    EXPECT_TKERROR(v.ToWords(words, TKVector(2), hi), ArgErr);
    EXPECT_TKERROR(v.ToBytes(nullptr, lo, hi), ArgErr);
}

TEST(Vector, TextForms) {
    TKVector v({1.5, -2.0, 3.25}, Sig("Lab "));
    EXPECT_STREQ(v.ToString().CString(), "1.500000 -2.000000 3.250000");
    EXPECT_STREQ(v.ToString("%.2f", ',').CString(), "1.50,-2.00,3.25");
    EXPECT_TKERROR(v.ToString("%s"), ArgErr);
    EXPECT_TKERROR(v.ToString("%f %f"), ArgErr);
    TKVector w;
    w.FromString("1.50,-2.00, 3.25\n");
    EXPECT_EQ(w, v);
    EXPECT_TKERROR(w.FromString("1 2 x"), FormatErr);

    TKString text = v.ToText();
    EXPECT_STREQ(text.CString(), "DIM  3\nTYPE 1281450528\nBEGIN_DATA\n1.500000\t-2.000000\t3.250000\t\nEND_DATA\n");
    TKVector r;
    EXPECT_EQ(r.FromText(text.CString(), text.Length()), 0);
    EXPECT_EQ(r, v);
    EXPECT_EQ(r.GetType(), Sig("Lab "));
    const char* commented = "# a comment line\nTYPE 3 DIM 2 # trailing\nBEGIN_DATA 4 5 END_DATA";
    EXPECT_EQ(r.FromText(commented, int32_t(strlen(commented))), 0);
    EXPECT_EQ(r, TKVector({4.0, 5.0}));
    EXPECT_EQ(r.GetType(), 3);
    EXPECT_EQ(r.FromText("   ", 3), EOFReached);
    const char* tiny = "BEGIN_DATA 1e-310 -0 END_DATA";  // a subnormal is a value
    EXPECT_EQ(r.FromText(tiny, int32_t(strlen(tiny))), 0);
    EXPECT_EQ(r[0], 1e-310);
}

TEST(Vector, MalformedTextIsRejected) {
    TKVector r;
    auto read = [&](const char* t) { r.FromText(t, int32_t(strlen(t))); };
    EXPECT_TKERROR(read("DIM 2 BEGIN_DATA 1 END_DATA"), FormatErr);
    EXPECT_TKERROR(read("DIM 99999999999 BEGIN_DATA END_DATA"), FormatErr);
    EXPECT_TKERROR(read("DIM -1"), FormatErr);
    EXPECT_TKERROR(read("BEGIN_DATA 1 2"), FormatErr);
    EXPECT_TKERROR(read("BEGIN_DATA 1 zwei END_DATA"), FormatErr);
    EXPECT_TKERROR(read("WHAT"), FormatErr);
    EXPECT_TKERROR(read("BEGIN_DATA 1e999 END_DATA"), FormatErr);  // overflows
    std::string longToken(65, '1');
    EXPECT_TKERROR(read(("BEGIN_DATA " + longToken + " END_DATA").c_str()), FormatErr);
    EXPECT_EQ(r.GetDim(), 0);  // failures leave the vector as it was
}
