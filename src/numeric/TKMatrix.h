// TKMatrix: a table of doubles in row-major order with the colour type of its rows, one
// colour per row. A value type: copies share one counted block until one of them writes.
#pragma once

#include <cstdint>

#include "foundation/TKDataPtr.h"
#include "foundation/TKString.h"
#include "numeric/TKVector.h"

// The counted element block of a matrix.
class TKMatrixData : public TKRefDataPtr<double> {
public:
    using TKRefDataPtr<double>::TKRefDataPtr;
    TKMatrixData(const TKMatrixData& other) = default;  // the private clone a writer makes
};

class TKMatrix {
public:
    // What Inverse does with a singular matrix.
    enum InverseMode : int32_t {
        kInverseRaise = 0,    // SingularMatrixErr
        kInverseEmpty = 1,    // an empty matrix
        kInverseZeroRow = 2,  // the row of the singular column is zero, the rest is solved
    };

    TKMatrix() noexcept = default;
    TKMatrix(int32_t height, int32_t width, int32_t type = 0);
    // One row holding the vector, with its type.
    explicit TKMatrix(const TKVector& row);
    TKMatrix(const TKMatrix& other) = default;
    TKMatrix(TKMatrix&& other) noexcept = default;
    TKMatrix& operator=(const TKMatrix& other) = default;
    TKMatrix& operator=(TKMatrix&& other) = default;
    virtual ~TKMatrix();
    static TKMatrix Identity(int32_t size, int32_t type = 0);

    // Virtual operations, in table order.
    virtual const char* ClassName() const;
    virtual int32_t GetHeight() const;
    virtual int32_t GetWidth() const;
    // Elements whose row and column remain keep their values; new elements are zero.
    virtual void SetSize(int32_t height, int32_t width);
    virtual double& GetElementRef(int32_t row, int32_t column);  // IndexError outside; unshares
    virtual double GetElement(int32_t row, int32_t column) const;
    virtual int32_t GetType() const;
    virtual void SetType(int32_t type);
    // The keyword block of ToText/FromText through a stream; Read stops right after "END_DATA".
    virtual void Write(TKStream& stream, const char* format = nullptr) const;
    virtual int32_t Read(TKStream& stream);

    // Unchecked inline access for inner loops.
    double operator()(int32_t row, int32_t column) const { return Values()[row * fWidth + column]; }
    double& operator()(int32_t row, int32_t column) { return MutableValues()[row * fWidth + column]; }
    const double* Values() const { return fData ? fData->Data() : nullptr; }
    double* MutableValues() { return fData ? fData.MakeUnique()->Data() : nullptr; }
    const double* Row(int32_t row) const { return Values() + row * fWidth; }
    void MakeUnique() { fData.MakeUnique(); }
    bool IsShared() const { return fData && fData->IsShared(); }
    bool IsEmpty() const { return fHeight == 0 || fWidth == 0; }

    TKVector GetRow(int32_t row) const;  // with the matrix's type
    void SetRow(int32_t row, const TKVector& values);  // DimMismatch unless Dim == width
    TKVector GetColumn(int32_t column) const;
    void SetColumn(int32_t column, const TKVector& values);  // DimMismatch unless Dim == height

    TKMatrix Transpose() const;
    // Elimination with partial pivoting; a singular matrix gives 0. DimMismatch unless square.
    double Determinant() const;
    // The matrix without the given row and column.
    TKMatrix Minor(int32_t row, int32_t column) const;
    TKMatrix Inverse(int32_t mode = kInverseRaise) const;
    // this = u * diag(w) * v^T with orthonormal columns in u and v and w >= 0. For a matrix of
    // m rows and n columns u is m x k, w has k elements and v is n x k, k = min(m, n).
    void SVD(TKMatrix& u, TKVector& w, TKMatrix& v) const;
    // Moore-Penrose inverse from the SVD; singular values of exactly 0 contribute 0.
    TKMatrix PseudoInverse() const;
    // (A^T A)^+ A^T: applied to a right-hand side it gives the least-squares solution of an
    // over-determined system.
    TKMatrix LeastSquaresInverse() const;

    // An element counts as zero if its absolute value isn't above the tolerance.
    bool IsZero(double tolerance = 0.0) const;
    bool IsIdentity(double tolerance = 0.0) const;
    bool IsSymmetric(double tolerance = 0.0) const;
    bool IsDiagonal(double tolerance = 0.0) const;
    bool operator==(const TKMatrix& other) const;
    bool operator!=(const TKMatrix& other) const { return !(*this == other); }

    // "Width", "Height", "BEGIN_DATA", rows, "END_DATA": the block that Write and Read use.
    TKString ToText(const char* format = nullptr) const;
    // Returns 0 after a whole block, EOFReached for text without any token; FormatErr otherwise.
    int32_t FromText(const char* text, int32_t length, int32_t* consumed = nullptr);
    // "height width type" then the elements, all on one line.
    TKString ToCompactString() const;
    void FromCompactString(const char* text);

private:
    static int32_t CheckedCount(int32_t height, int32_t width);
    void CheckIndex(int32_t row, int32_t column) const;

    TKSharedBlock<TKMatrixData> fData;
    int32_t fType = 0;
    int32_t fHeight = 0;
    int32_t fWidth = 0;
};

TKMatrix operator+(const TKMatrix& a, const TKMatrix& b);
TKMatrix operator-(const TKMatrix& a, const TKMatrix& b);
TKMatrix operator*(const TKMatrix& a, const TKMatrix& b);  // DimMismatch unless a.width == b.height
TKMatrix operator*(const TKMatrix& m, double x);
TKMatrix operator*(double x, const TKMatrix& m);
TKMatrix operator/(const TKMatrix& m, double x);  // DivZero on 0
TKVector operator*(const TKMatrix& m, const TKVector& v);  // column vector; the matrix's type
TKVector operator*(const TKVector& v, const TKMatrix& m);  // row vector
