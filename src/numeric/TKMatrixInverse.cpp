// Determinant and inverse of square matrices: closed forms up to 3 x 3, Gauss-Jordan above.
#include <cmath>
#include <utility>
#include <vector>

#include "numeric/TKMatrix.h"

namespace {
// Row of the largest absolute value in `column` at or below `from`.
int32_t PivotRow(const TKMatrix& m, int32_t column, int32_t from) {
    int32_t best = from;
    for (int32_t r = from + 1; r < m.GetHeight(); ++r)
        if (std::fabs(m(r, column)) > std::fabs(m(best, column))) best = r;
    return best;
}

void SwapRows(TKMatrix& m, int32_t a, int32_t b) {
    for (int32_t c = 0; c < m.GetWidth(); ++c) std::swap(m(a, c), m(b, c));
}

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
    TKMatrix a(source);
    result = TKMatrix::Identity(n, source.GetType());
    std::vector<int32_t> singular;
    for (int32_t i = 0; i < n; ++i) {
        int32_t p = PivotRow(a, i, i);
        if (a(p, i) == 0.0) {
            if (!zeroRows) return false;
            singular.push_back(i);
            continue;
        }
        if (p != i) {
            SwapRows(a, p, i);
            SwapRows(result, p, i);
        }
        double pivot = a(i, i);
        for (int32_t c = 0; c < n; ++c) {
            a(i, c) /= pivot;
            result(i, c) /= pivot;
        }
        for (int32_t r = 0; r < n; ++r) {
            if (r == i) continue;
            double f = a(r, i);
            if (f == 0.0) continue;
            for (int32_t c = 0; c < n; ++c) {
                a(r, c) -= f * a(i, c);
                result(r, c) -= f * result(i, c);
            }
        }
    }
    for (int32_t row : singular)
        for (int32_t c = 0; c < n; ++c) result(row, c) = 0.0;
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
    TKMatrix a(*this);
    int32_t n = fHeight;
    double det = 1.0;
    for (int32_t i = 0; i < n; ++i) {
        int32_t p = PivotRow(a, i, i);
        if (a(p, i) == 0.0) return 0.0;
        if (p != i) {
            SwapRows(a, p, i);
            det = -det;
        }
        double pivot = a(i, i);
        det *= pivot;
        for (int32_t r = i + 1; r < n; ++r) {
            double f = a(r, i) / pivot;
            if (f == 0.0) continue;
            for (int32_t c = i; c < n; ++c) a(r, c) -= f * a(i, c);
        }
    }
    return det;
}
