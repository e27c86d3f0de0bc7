// The error functions over tables, plain functions and lines.
#include "numeric/TKErrorFunc.h"

#include <cmath>
#include <cstdint>

TKErrorFunc::~TKErrorFunc() = default;

// ---- TKMatrixErrorFunc ------------------------------------------------------------------

TKMatrixErrorFunc::TKMatrixErrorFunc(const TKMatrix& source, const TKMatrix& target) : fSource(source), fTarget(target) {
    if (source.GetHeight() != target.GetHeight()) TKThrowMsg(DimMismatch, "source and target differ in rows");
}

TKMatrixErrorFunc::~TKMatrixErrorFunc() noexcept {}

double TKMatrixErrorFunc::Error(const TKVector& x, TKVector& out) {
    const int32_t rows = fSource.GetHeight();
    const int32_t width = fTarget.GetWidth();
    const int64_t residuals = int64_t(rows) * width;
    if (residuals > INT32_MAX) TKThrowMsg(ArgErr, "too many residuals for one vector");
    out = TKVector(int32_t(residuals));
    if (rows == 0) return 0.0;
    double sum = 0.0;
    for (int32_t r = 0; r < rows; ++r) {
        const TKVector model = EvalRow(x, fSource.GetRow(r));
        if (model.GetDim() != width) TKThrowMsg(DimMismatch, "model row differs from the target width");
        const double* target = fTarget.Row(r);
        for (int32_t c = 0; c < width; ++c) {
            const double d = model[c] - target[c];
            out[r * width + c] = d;
            sum += d * d;
        }
    }
    return std::sqrt(sum / rows);
}

// ---- TKMinimize2VectorFunc --------------------------------------------------------------

TKMinimize2VectorFunc::TKMinimize2VectorFunc(TKVectorToDoubleFunc* function, bool owned) : fFunction(function, owned) {}

TKMinimize2VectorFunc::~TKMinimize2VectorFunc() noexcept {}

double TKMinimize2VectorFunc::Error(const TKVector& x, TKVector& out) {
    if (!fFunction) TKThrow(PtrInvalid);
    const double value = fFunction->Eval(x);
    out = TKVector(1);
    out[0] = value;
    return value;
}

// ---- TKLinMin1DFunc ---------------------------------------------------------------------

TKLinMin1DFunc::TKLinMin1DFunc(TKErrorFunc& inner, const TKVector& start, const TKVector& direction)
    : fInner(inner), fStart(start), fDirection(direction) {
    if (start.GetDim() != direction.GetDim()) TKThrowMsg(DimMismatch, "line start and direction differ");
}

TKVector TKLinMin1DFunc::PointAt(double t) const { return fStart + fDirection * t; }

double TKLinMin1DFunc::Eval(double t) {
    TKVector out;
    return fInner.Error(PointAt(t), out);
}

double TKLinMin1DFunc::Error(const TKVector& x, TKVector& out) {
    if (x.GetDim() != 1) TKThrowMsg(ArgErr, "a line is read at one parameter");
    return fInner.Error(PointAt(x[0]), out);
}
