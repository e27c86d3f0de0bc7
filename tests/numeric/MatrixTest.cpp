// TKMatrix: storage, products, inverse, determinant, SVD and pseudo-inverse, text forms.
// The algorithms are checked by their defining identities rather than by stored numbers.
#include "io/TKBuffer.h"
#include "numeric/TKMatrix.h"
#include "numeric/NumericTestSupport.h"
#include "support/TestSupport.h"

#include <cmath>
#include <random>

namespace {
TKMatrix FromRows(int32_t h, int32_t w, std::initializer_list<double> values) {
    TKMatrix m(h, w);
    int32_t i = 0;
    for (double v : values) m(i / w, i % w) = v, ++i;
    return m;
}

TKMatrix Random(int32_t h, int32_t w, unsigned seed) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> dist(-10.0, 10.0);
    TKMatrix m(h, w);
    for (int32_t r = 0; r < h; ++r)
        for (int32_t c = 0; c < w; ++c) m(r, c) = dist(rng);
    return m;
}

double MaxAbsDifference(const TKMatrix& a, const TKMatrix& b) {
    EXPECT_EQ(a.GetHeight(), b.GetHeight());
    EXPECT_EQ(a.GetWidth(), b.GetWidth());
    double worst = 0.0;
    for (int32_t r = 0; r < a.GetHeight(); ++r)
        for (int32_t c = 0; c < a.GetWidth(); ++c) worst = std::max(worst, std::fabs(a(r, c) - b(r, c)));
    return worst;
}
}  // namespace

TEST(Matrix, StorageSharesUntilWritten) {
    TKMatrix a(3, 4, Sig("RGB "));
    a(1, 2) = 5.0;
    TKMatrix b(a);
    EXPECT_TRUE(a.IsShared());
    b(1, 2) = 6.0;
    EXPECT_EQ(a(1, 2), 5.0);
    EXPECT_FALSE(a.IsShared());
    EXPECT_EQ(b.GetType(), Sig("RGB "));
    EXPECT_TKERROR(a.GetElement(3, 0), IndexError);
    EXPECT_TKERROR(a.GetElementRef(0, -1), IndexError);
    a.SetSize(2, 3);
    EXPECT_EQ(a(1, 2), 5.0);
    a.SetSize(4, 5);
    EXPECT_EQ(a(1, 2), 5.0);
    EXPECT_EQ(a(3, 4), 0.0);
    EXPECT_TKERROR(a.SetSize(-1, 2), ArgErr);
    EXPECT_TKERROR(a.SetSize(65536, 65536), MemFullErr);
}

TEST(Matrix, RowsAndColumns) {
    TKMatrix m = FromRows(2, 3, {1, 2, 3, 4, 5, 6});
    m.SetType(Sig("Lab "));
    EXPECT_EQ(m.GetRow(1), TKVector({4.0, 5.0, 6.0}));
    EXPECT_EQ(m.GetRow(1).GetType(), Sig("Lab "));
    EXPECT_EQ(m.GetColumn(2), TKVector({3.0, 6.0}));
    m.SetRow(0, TKVector({7.0, 8.0, 9.0}));
    m.SetColumn(0, TKVector({0.0, 0.0}));
    EXPECT_EQ(m, FromRows(2, 3, {0, 8, 9, 0, 5, 6}));
    EXPECT_TKERROR(m.SetRow(0, TKVector(2)), DimMismatch);
    EXPECT_TKERROR(m.GetRow(2), IndexError);
    EXPECT_TKERROR(TKVector{m}, IndexError);
    EXPECT_EQ(m.Minor(0, 0), FromRows(1, 2, {5, 6}));
    EXPECT_EQ(TKVector{m.Minor(1, 2).Transpose()}, TKVector({0.0, 8.0}));
    TKMatrix row(TKVector({1.0, 2.0}, 7));
    EXPECT_EQ(row.GetHeight(), 1);
    EXPECT_EQ(row.GetType(), 7);
}

TEST(Matrix, Products) {
    TKMatrix a = FromRows(2, 3, {1, 2, 3, 4, 5, 6});
    TKMatrix b = FromRows(3, 2, {7, 8, 9, 10, 11, 12});
    EXPECT_EQ(a * b, FromRows(2, 2, {58, 64, 139, 154}));
    EXPECT_TKERROR(a * a, DimMismatch);
    EXPECT_TKERROR(a + b, DimMismatch);
    EXPECT_EQ(a + a, a * 2.0);
    EXPECT_EQ(a - a, TKMatrix(2, 3));
    EXPECT_EQ(a / 1.0, a);
    EXPECT_TKERROR(a / 0.0, DivZero);
    EXPECT_EQ(a * TKVector({1.0, 0.0, -1.0}), TKVector({-2.0, -2.0}));
    EXPECT_EQ(TKVector({1.0, 1.0}) * a, TKVector({5.0, 7.0, 9.0}));
    EXPECT_TKERROR(a * TKVector(2), DimMismatch);
    EXPECT_TRUE(TKMatrix().Transpose().IsEmpty());
    EXPECT_EQ(a.Transpose(), FromRows(3, 2, {1, 4, 2, 5, 3, 6}));
}

TEST(Matrix, Predicates) {
    TKMatrix i = TKMatrix::Identity(3);
    EXPECT_TRUE(i.IsIdentity());
    EXPECT_TRUE(i.IsDiagonal());
    EXPECT_TRUE(i.IsSymmetric());
    i(0, 1) = 1e-9;
    EXPECT_FALSE(i.IsIdentity());
    EXPECT_TRUE(i.IsIdentity(1e-9));
    EXPECT_FALSE(i.IsSymmetric());
    EXPECT_TRUE(i.IsSymmetric(1e-9));
    EXPECT_TRUE(TKMatrix(2, 5).IsZero());
    EXPECT_FALSE(TKMatrix(2, 5).IsIdentity());
}

TEST(Matrix, KnownDeterminants) {
    EXPECT_DOUBLE_EQ(FromRows(2, 2, {3, 8, 4, 6}).Determinant(), -14.0);
    EXPECT_DOUBLE_EQ(FromRows(3, 3, {6, 1, 1, 4, -2, 5, 2, 8, 7}).Determinant(), -306.0);
    // Hilbert matrix of order 4: determinant 1/6048000.
    TKMatrix h(4, 4);
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) h(r, c) = 1.0 / (r + c + 1);
    EXPECT_NEAR(h.Determinant(), 1.0 / 6048000.0, 1e-18);
    EXPECT_NEAR(FromRows(3, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9}).Determinant(), 0.0, 1e-12);
    EXPECT_EQ(FromRows(3, 3, {1, 2, 3, 0, 0, 0, 7, 8, 9}).Determinant(), 0.0);  // exact zero pivot
    EXPECT_TKERROR(TKMatrix(2, 3).Determinant(), DimMismatch);
    // det(A B) = det(A) det(B)
    TKMatrix a = Random(6, 6, 1), b = Random(6, 6, 2);
    EXPECT_NEAR((a * b).Determinant() / (a.Determinant() * b.Determinant()), 1.0, 1e-10);
}

TEST(Matrix, InverseTimesMatrixIsIdentity) {
    for (int32_t n : {1, 2, 3, 4, 5, 8, 40}) {
        TKMatrix a = Random(n, n, 10 + n);
        TKMatrix inv = a.Inverse();
        EXPECT_TRUE((inv * a).IsIdentity(1e-9)) << n;
        EXPECT_TRUE((a * inv).IsIdentity(1e-9)) << n;
        // The closed forms and the elimination agree: det(A^-1) = 1 / det(A).
        EXPECT_NEAR(inv.Determinant() * a.Determinant(), 1.0, 1e-9) << n;
    }
    EXPECT_TKERROR(TKMatrix(2, 3).Inverse(), DimMismatch);
    EXPECT_TRUE(TKMatrix().Inverse().IsEmpty());
}

TEST(Matrix, KnownInverses) {
    // The inverse of the 4 x 4 Hilbert matrix has the published integer entries.
    TKMatrix h(4, 4);
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) h(r, c) = 1.0 / (r + c + 1);
    TKMatrix expected = FromRows(4, 4, {16, -120, 240, -140, -120, 1200, -2700, 1680, 240, -2700, 6480, -4200, -140,
                                        1680, -4200, 2800});
    EXPECT_LT(MaxAbsDifference(h.Inverse(), expected), 1e-8);
    // The second-difference matrix: its inverse is a quarter of [[3, 2, 1], [2, 4, 2], [1, 2, 3]].
    TKMatrix d = FromRows(3, 3, {2, -1, 0, -1, 2, -1, 0, -1, 2});
    EXPECT_LT(MaxAbsDifference(d.Inverse(), FromRows(3, 3, {3, 2, 1, 2, 4, 2, 1, 2, 3}) * 0.25), 1e-15);
    EXPECT_LT(MaxAbsDifference(FromRows(2, 2, {4, 7, 2, 6}).Inverse(), FromRows(2, 2, {0.6, -0.7, -0.2, 0.4})), 1e-15);
}

TEST(Matrix, SingularInverseModes) {
    TKMatrix s3 = FromRows(3, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9});
    EXPECT_TKERROR(s3.Inverse(TKMatrix::kInverseRaise), SingularMatrixErr);
    EXPECT_TRUE(s3.Inverse(TKMatrix::kInverseEmpty).IsEmpty());
    EXPECT_TKERROR(TKMatrix(5, 5).Inverse(), SingularMatrixErr);  // elimination finds a zero pivot
    EXPECT_TRUE(TKMatrix(5, 5).Inverse(TKMatrix::kInverseEmpty).IsEmpty());
    // A zero column in the last position: that row of the result is zero, the rest is solved.
    TKMatrix d = TKMatrix::Identity(4);
    d(0, 0) = 2.0;
    d(3, 3) = 0.0;
    TKMatrix zr = d.Inverse(TKMatrix::kInverseZeroRow);
    EXPECT_DOUBLE_EQ(zr(0, 0), 0.5);
    EXPECT_DOUBLE_EQ(zr(1, 1), 1.0);
    EXPECT_EQ(zr.GetRow(3), TKVector(4));
    // The closed forms fall back on the elimination for mode 2.
    TKMatrix small = FromRows(3, 3, {2, 0, 0, 0, 0, 0, 0, 0, 4});
    EXPECT_EQ(small.Inverse(TKMatrix::kInverseZeroRow), FromRows(3, 3, {0.5, 0, 0, 0, 0, 0, 0, 0, 0.25}));
    EXPECT_EQ(FromRows(1, 1, {0}).Inverse(TKMatrix::kInverseZeroRow), FromRows(1, 1, {0}));
    EXPECT_TKERROR(FromRows(2, 2, {1, 2, 2, 4}).Inverse(), SingularMatrixErr);
}

TEST(Matrix, SvdReconstructs) {
    for (auto [h, w] : {std::pair<int, int>{5, 3}, {3, 5}, {4, 4}, {1, 6}, {7, 1}}) {
        TKMatrix a = Random(h, w, unsigned(h * 31 + w));
        TKMatrix u, v;
        TKVector s;
        a.SVD(u, s, v);
        int32_t k = std::min(h, w);
        ASSERT_EQ(s.GetDim(), k);
        ASSERT_EQ(u.GetHeight(), h);
        ASSERT_EQ(u.GetWidth(), k);
        ASSERT_EQ(v.GetHeight(), w);
        ASSERT_EQ(v.GetWidth(), k);
        TKMatrix ws(k, k);
        for (int32_t i = 0; i < k; ++i) {
            EXPECT_GE(s[i], 0.0);
            ws(i, i) = s[i];
        }
        EXPECT_LT(MaxAbsDifference(u * ws * v.Transpose(), a), 1e-10) << h << "x" << w;
        EXPECT_TRUE((u.Transpose() * u).IsIdentity(1e-12));
        EXPECT_TRUE((v.Transpose() * v).IsIdentity(1e-12));
    }
}

TEST(Matrix, SvdKnownSingularValues) {
    // [[3, 2, 2], [2, 3, -2]] has singular values 5 and 3 (a standard textbook example).
    TKMatrix u, v;
    TKVector s;
    FromRows(2, 3, {3, 2, 2, 2, 3, -2}).SVD(u, s, v);
    s.Sort();
    EXPECT_NEAR(s[0], 3.0, 1e-12);
    EXPECT_NEAR(s[1], 5.0, 1e-12);
    // A rank-one matrix has one nonzero singular value, the product of the norms.
    TKMatrix r = TKMatrix(TKVector({1.0, 2.0, 2.0})).Transpose() * TKMatrix(TKVector({3.0, 4.0}));
    r.SVD(u, s, v);
    s.Sort();
    EXPECT_NEAR(s[0], 0.0, 1e-12);
    EXPECT_NEAR(s[1], 15.0, 1e-12);
}

TEST(Matrix, PseudoInverseSatisfiesMoorePenrose) {
    for (auto [h, w] : {std::pair<int, int>{6, 3}, {3, 6}, {4, 4}}) {
        TKMatrix a = Random(h, w, unsigned(h * 7 + w));
        if (h == 4) a.SetColumn(2, TKVector(4));  // rank deficient with an exact zero singular value
        TKMatrix p = a.PseudoInverse();
        ASSERT_EQ(p.GetHeight(), w);
        ASSERT_EQ(p.GetWidth(), h);
        EXPECT_LT(MaxAbsDifference(a * p * a, a), 1e-9);
        EXPECT_LT(MaxAbsDifference(p * a * p, p), 1e-9);
        EXPECT_TRUE((a * p).IsSymmetric(1e-9));
        EXPECT_TRUE((p * a).IsSymmetric(1e-9));
    }
}

TEST(Matrix, LeastSquaresFitsALine) {
    // Points on y = 2x + 1 with symmetric noise: the fit recovers slope and intercept.
    TKMatrix a(6, 2);
    TKVector y(6);
    const double noise[6] = {0.1, -0.1, 0.1, -0.1, 0.1, -0.1};
    for (int i = 0; i < 6; ++i) {
        a(i, 0) = i;
        a(i, 1) = 1.0;
        y[i] = 2.0 * i + 1.0;
    }
    TKVector exact = a.LeastSquaresInverse() * y;
    EXPECT_NEAR(exact[0], 2.0, 1e-12);
    EXPECT_NEAR(exact[1], 1.0, 1e-12);
    for (int i = 0; i < 6; ++i) y[i] += noise[i];
    TKVector fit = a.LeastSquaresInverse() * y;
    EXPECT_NEAR(fit[0], 2.0 - 0.3 / 17.5, 1e-12);  // slope of the noise alone: sum((x - 2.5) n) / sum((x - 2.5)^2)
}

TEST(Matrix, TextForms) {
    TKMatrix m = FromRows(2, 2, {1.5, -2, 0, 4});
    m.SetType(9);
    TKString text = m.ToText();
    EXPECT_STREQ(text.CString(), "Width  2\nHeight  2\nBEGIN_DATA\n1.500000\t-2.000000\t\n0.000000\t4.000000\t\nEND_DATA\n");
    TKMatrix r;
    EXPECT_EQ(r.FromText(text.CString(), text.Length()), 0);
    EXPECT_EQ(r, m);
    TKString compact = m.ToCompactString();
    EXPECT_STREQ(compact.CString(), "2 2 9 1.500000 -2.000000 0.000000 4.000000 ");
    TKMatrix c;
    c.FromCompactString(compact.CString());
    EXPECT_EQ(c, m);
    EXPECT_EQ(c.GetType(), 9);
    auto read = [&](const char* t) { r.FromText(t, int32_t(strlen(t))); };
    EXPECT_TKERROR(read("WIDTH 2 HEIGHT 1 BEGIN_DATA 1 END_DATA"), FormatErr);
    EXPECT_TKERROR(read("WIDTH 100000 HEIGHT 100000 BEGIN_DATA END_DATA"), FormatErr);
    EXPECT_TKERROR(read("BEGIN_DATA END_DATA"), FormatErr);
    EXPECT_TKERROR(c.FromCompactString("99999999999 99999999999 0"), FormatErr);
    EXPECT_TKERROR(c.FromCompactString("2 2 0 1 2 3"), FormatErr);
}
