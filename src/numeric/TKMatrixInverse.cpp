// Determinant and inverse of square matrices: closed forms up to 3 x 3, Gauss-Jordan above.
#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "numeric/TKMatrix.h"

namespace {
// Row-major square work block of a matrix, written through raw pointers in the inner loops.
struct Square {
    explicit Square(TKMatrix& m) : n(m.GetHeight()), v(m.MutableValues()) {}
    double* Row(int32_t r) const { return v + int64_t(r) * n; }
    // Row of the largest absolute value in `column` at or below `from`.
    int32_t PivotRow(int32_t column, int32_t from) const {
        int32_t best = from;
        for (int32_t r = from + 1; r < n; ++r)
            if (std::fabs(Row(r)[column]) > std::fabs(Row(best)[column])) best = r;
        return best;
    }
    void SwapRows(int32_t a, int32_t b) const { std::swap_ranges(Row(a), Row(a) + n, Row(b)); }
    int32_t n;
    double* v;
};

// 2 x 2 and 3 x 3 cofactors over the determinant; false when the determinant is exactly 0.
bool ClosedFormInverse(const TKMatrix& a, TKMatrix& result) {
    int32_t n = a.GetHeight();
    if (n == 1) {
        if (a(0, 0) == 0.0) return false;
        result(0, 0) = 1.0 / a(0, 0);
        return true;
    }
    if (n == 2) {
        double det = a(0, 0) * a(1, 1) - a(0, 1) * a(1, 0);
        if (det == 0.0) return false;
        result(0, 0) = a(1, 1) / det;
        result(0, 1) = -a(0, 1) / det;
        result(1, 0) = -a(1, 0) / det;
        result(1, 1) = a(0, 0) / det;
        return true;
    }
    // cofactor(r, c) of a 3 x 3 matrix, by cyclic index arithmetic (sign included).
    auto cofactor = [&](int32_t r, int32_t c) {
        int32_t r1 = (r + 1) % 3, r2 = (r + 2) % 3, c1 = (c + 1) % 3, c2 = (c + 2) % 3;
        return a(r1, c1) * a(r2, c2) - a(r1, c2) * a(r2, c1);
    };
    double det = a(0, 0) * cofactor(0, 0) + a(0, 1) * cofactor(0, 1) + a(0, 2) * cofactor(0, 2);
    if (det == 0.0) return false;
    for (int32_t r = 0; r < 3; ++r)
        for (int32_t c = 0; c < 3; ++c) result(r, c) = cofactor(c, r) / det;  // adjugate is transposed
    return true;
}

// Gauss-Jordan on a copy beside an identity. A pivot of exactly 0 is singular: with
// `zeroRows` the row of that column is zeroed in the result at the end and the
// elimination goes on; otherwise the function reports failure.
bool GaussJordanInverse(const TKMatrix& source, TKMatrix& result, bool zeroRows) {
    int32_t n = source.GetHeight();
    TKMatrix copy(source);
    result = TKMatrix::Identity(n, source.GetType());
    Square a(copy), inv(result);
    std::vector<int32_t> singular;
    for (int32_t i = 0; i < n; ++i) {
        int32_t p = a.PivotRow(i, i);
        if (a.Row(p)[i] == 0.0) {
            if (!zeroRows) return false;
            singular.push_back(i);
            continue;
        }
        if (p != i) {
            a.SwapRows(p, i);
            inv.SwapRows(p, i);
        }
        double* pivotRow = a.Row(i);
        double* pivotInv = inv.Row(i);
        double pivot = pivotRow[i];
        for (int32_t c = 0; c < n; ++c) {
            pivotRow[c] /= pivot;
            pivotInv[c] /= pivot;
        }
        for (int32_t r = 0; r < n; ++r) {
            double f = a.Row(r)[i];
            if (r == i || f == 0.0) continue;
            double* row = a.Row(r);
            double* rowInv = inv.Row(r);
            for (int32_t c = 0; c < n; ++c) {
                row[c] -= f * pivotRow[c];
                rowInv[c] -= f * pivotInv[c];
            }
        }
    }
    for (int32_t row : singular) std::fill(inv.Row(row), inv.Row(row) + n, 0.0);
    return true;
}
}  // namespace

TKMatrix TKMatrix::Inverse(int32_t mode) const {
    if (fHeight != fWidth) TKThrow(DimMismatch);
    if (IsEmpty()) return *this;
    TKMatrix result(fHeight, fWidth, fType);
    bool solved = fHeight <= 3 ? ClosedFormInverse(*this, result) : GaussJordanInverse(*this, result, false);
    if (solved) return result;
    if (mode == kInverseRaise) TKThrow(SingularMatrixErr);
    if (mode == kInverseZeroRow) {
        GaussJordanInverse(*this, result, true);
        return result;
    }
    return TKMatrix();
}

double TKMatrix::Determinant() const {
    if (fHeight != fWidth) TKThrow(DimMismatch);
    if (IsEmpty()) return 1.0;  // the empty product
    TKMatrix copy(*this);
    Square a(copy);
    double det = 1.0;
    for (int32_t i = 0; i < a.n; ++i) {
        int32_t p = a.PivotRow(i, i);
        if (a.Row(p)[i] == 0.0) return 0.0;
        if (p != i) {
            a.SwapRows(p, i);
            det = -det;
        }
        const double* pivotRow = a.Row(i);
        double pivot = pivotRow[i];
        det *= pivot;
        for (int32_t r = i + 1; r < a.n; ++r) {
            double* row = a.Row(r);
            double f = row[i] / pivot;
            if (f == 0.0) continue;
            for (int32_t c = i; c < a.n; ++c) row[c] -= f * pivotRow[c];
        }
    }
    return det;
}
