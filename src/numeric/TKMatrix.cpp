// TKMatrix storage, element access, rows and columns, and the element-wise operators.
#include "numeric/TKMatrix.h"

#include <algorithm>
#include <cmath>

int32_t TKMatrix::CheckedCount(int32_t height, int32_t width) {
    if (height < 0 || width < 0) TKThrow(ArgErr);
    int64_t count = int64_t(height) * width;
    if (count > INT32_MAX) TKThrow(MemFullErr);
    return static_cast<int32_t>(count);
}

TKMatrix::TKMatrix(int32_t height, int32_t width, int32_t type) : fType(type) { SetSize(height, width); }

TKMatrix::TKMatrix(const TKVector& row) : TKMatrix(1, row.GetDim(), row.GetType()) {
    if (row.GetDim() > 0) std::copy(row.Values(), row.Values() + row.GetDim(), MutableValues());
}

TKMatrix::~TKMatrix() = default;

TKMatrix TKMatrix::Identity(int32_t size, int32_t type) {
    TKMatrix m(size, size, type);
    for (int32_t i = 0; i < size; ++i) m(i, i) = 1.0;
    return m;
}

const char* TKMatrix::ClassName() const { return "TKMatrix"; }
int32_t TKMatrix::GetHeight() const { return fHeight; }
int32_t TKMatrix::GetWidth() const { return fWidth; }
int32_t TKMatrix::GetType() const { return fType; }
void TKMatrix::SetType(int32_t type) { fType = type; }

void TKMatrix::SetSize(int32_t height, int32_t width) {
    int32_t count = CheckedCount(height, width);
    if (height == fHeight && width == fWidth) return;
    TKSharedBlock<TKMatrixData> block;
    if (count > 0) {
        block.Reset(new TKMatrixData(count));
        int32_t rows = std::min(height, fHeight);
        int32_t columns = std::min(width, fWidth);
        for (int32_t r = 0; r < rows; ++r)
            std::copy(Row(r), Row(r) + columns, block->Data() + int64_t(r) * width);
    }
    fData = std::move(block);
    fHeight = height;
    fWidth = width;
}

void TKMatrix::CheckIndex(int32_t row, int32_t column) const {
    if (row < 0 || row >= fHeight || column < 0 || column >= fWidth) TKThrow(IndexError);
}

double& TKMatrix::GetElementRef(int32_t row, int32_t column) {
    CheckIndex(row, column);
    return (*this)(row, column);
}

double TKMatrix::GetElement(int32_t row, int32_t column) const {
    CheckIndex(row, column);
    return (*this)(row, column);
}

TKVector TKMatrix::GetRow(int32_t row) const {
    if (row < 0 || row >= fHeight) TKThrow(IndexError);
    TKVector result;
    result.SetFromArray(fWidth, Row(row));
    result.SetType(fType);
    return result;
}

void TKMatrix::SetRow(int32_t row, const TKVector& values) {
    if (row < 0 || row >= fHeight) TKThrow(IndexError);
    if (values.GetDim() != fWidth) TKThrow(DimMismatch);
    std::copy(values.Values(), values.Values() + fWidth, MutableValues() + int64_t(row) * fWidth);
}

TKVector TKMatrix::GetColumn(int32_t column) const {
    if (column < 0 || column >= fWidth) TKThrow(IndexError);
    TKVector result(fHeight, fType);
    double* out = result.MutableValues();
    for (int32_t r = 0; r < fHeight; ++r) out[r] = (*this)(r, column);
    return result;
}

void TKMatrix::SetColumn(int32_t column, const TKVector& values) {
    if (column < 0 || column >= fWidth) TKThrow(IndexError);
    if (values.GetDim() != fHeight) TKThrow(DimMismatch);
    double* out = MutableValues();
    for (int32_t r = 0; r < fHeight; ++r) out[int64_t(r) * fWidth + column] = values[r];
}

TKMatrix TKMatrix::Transpose() const {
    TKMatrix result(fWidth, fHeight, fType);
    if (IsEmpty()) return result;
    double* out = result.MutableValues();
    for (int32_t r = 0; r < fHeight; ++r)
        for (int32_t c = 0; c < fWidth; ++c) out[int64_t(c) * fHeight + r] = (*this)(r, c);
    return result;
}

TKMatrix TKMatrix::Minor(int32_t row, int32_t column) const {
    CheckIndex(row, column);
    TKMatrix result(fHeight - 1, fWidth - 1, fType);
    for (int32_t r = 0, rr = 0; r < fHeight; ++r) {
        if (r == row) continue;
        for (int32_t c = 0, cc = 0; c < fWidth; ++c) {
            if (c == column) continue;
            result(rr, cc++) = (*this)(r, c);
        }
        ++rr;
    }
    return result;
}

namespace {
// True if every element passes the test test(row, column, value).
template <class Test>
bool AllElements(const TKMatrix& m, Test test) {
    for (int32_t r = 0; r < m.GetHeight(); ++r)
        for (int32_t c = 0; c < m.GetWidth(); ++c)
            if (!test(r, c, m(r, c))) return false;
    return true;
}
}  // namespace

bool TKMatrix::IsZero(double tolerance) const {
    return AllElements(*this, [&](int32_t, int32_t, double x) { return std::fabs(x) <= tolerance; });
}

bool TKMatrix::IsIdentity(double tolerance) const {
    if (fHeight != fWidth) return false;
    return AllElements(*this, [&](int32_t r, int32_t c, double x) {
        return std::fabs(r == c ? x - 1.0 : x) <= tolerance;
    });
}

bool TKMatrix::IsSymmetric(double tolerance) const {
    if (fHeight != fWidth) return false;
    return AllElements(*this, [&](int32_t r, int32_t c, double x) {
        return std::fabs(x - (*this)(c, r)) <= tolerance;
    });
}

bool TKMatrix::IsDiagonal(double tolerance) const {
    if (fHeight != fWidth) return false;
    return AllElements(*this, [&](int32_t r, int32_t c, double x) { return r == c || std::fabs(x) <= tolerance; });
}

bool TKMatrix::operator==(const TKMatrix& other) const {
    if (fHeight != other.fHeight || fWidth != other.fWidth) return false;
    return IsEmpty() || std::equal(Values(), Values() + int64_t(fHeight) * fWidth, other.Values());
}

namespace {
// a op b element by element, DimMismatch unless the sizes agree.
template <class Op>
TKMatrix ElementWise(const TKMatrix& a, const TKMatrix& b, Op op) {
    if (a.GetHeight() != b.GetHeight() || a.GetWidth() != b.GetWidth()) TKThrow(DimMismatch);
    TKMatrix result(a);
    if (result.IsEmpty()) return result;
    double* out = result.MutableValues();
    const double* in = b.Values();
    int64_t count = int64_t(a.GetHeight()) * a.GetWidth();
    for (int64_t i = 0; i < count; ++i) out[i] = op(out[i], in[i]);
    return result;
}

TKMatrix Scaled(const TKMatrix& m, double x) {
    TKMatrix result(m);
    if (x == 1.0 || result.IsEmpty()) return result;
    double* out = result.MutableValues();
    int64_t count = int64_t(m.GetHeight()) * m.GetWidth();
    for (int64_t i = 0; i < count; ++i) out[i] *= x;
    return result;
}
}  // namespace

TKMatrix operator+(const TKMatrix& a, const TKMatrix& b) {
    return ElementWise(a, b, [](double x, double y) { return x + y; });
}

TKMatrix operator-(const TKMatrix& a, const TKMatrix& b) {
    return ElementWise(a, b, [](double x, double y) { return x - y; });
}

TKMatrix operator*(const TKMatrix& a, const TKMatrix& b) {
    if (a.GetWidth() != b.GetHeight()) TKThrow(DimMismatch);
    TKMatrix result(a.GetHeight(), b.GetWidth(), a.GetType());
    if (result.IsEmpty()) return result;
    double* out = result.MutableValues();
    int32_t n = b.GetWidth();
    for (int32_t r = 0; r < a.GetHeight(); ++r) {
        double* outRow = out + int64_t(r) * n;
        for (int32_t k = 0; k < a.GetWidth(); ++k) {
            double f = a(r, k);
            const double* bRow = b.Row(k);
            for (int32_t c = 0; c < n; ++c) outRow[c] += f * bRow[c];
        }
    }
    return result;
}

TKMatrix operator*(const TKMatrix& m, double x) { return Scaled(m, x); }
TKMatrix operator*(double x, const TKMatrix& m) { return Scaled(m, x); }

TKMatrix operator/(const TKMatrix& m, double x) {
    if (x == 0.0) TKThrow(DivZero);
    if (x == 1.0) return m;
    return Scaled(m, 1.0 / x);
}

TKVector operator*(const TKMatrix& m, const TKVector& v) {
    if (m.GetWidth() != v.GetDim()) TKThrow(DimMismatch);
    TKVector result(m.GetHeight(), m.GetType());
    double* out = result.MutableValues();
    for (int32_t r = 0; r < m.GetHeight(); ++r) {
        const double* row = m.Row(r);
        double sum = 0.0;
        for (int32_t c = 0; c < m.GetWidth(); ++c) sum += row[c] * v[c];
        out[r] = sum;
    }
    return result;
}

TKVector operator*(const TKVector& v, const TKMatrix& m) {
    if (m.GetHeight() != v.GetDim()) TKThrow(DimMismatch);
    TKVector result(m.GetWidth(), m.GetType());
    double* out = result.MutableValues();
    for (int32_t r = 0; r < m.GetHeight(); ++r) {
        const double* row = m.Row(r);
        for (int32_t c = 0; c < m.GetWidth(); ++c) out[c] += v[r] * row[c];
    }
    return result;
}

// A vector from a matrix of one column.
TKVector::TKVector(const TKMatrix& column) {
    if (column.GetWidth() != 1 && !(column.GetHeight() == 0 && column.GetWidth() == 0)) TKThrow(IndexError);
    *this = column.GetHeight() > 0 ? column.GetColumn(0) : TKVector(0, column.GetType());
}
