// TKVector construction, element access, types and the sample conversions of whole vectors.
#include "numeric/TKVector.h"

#include <algorithm>
#include <cstdarg>

#include "numeric/TKSampleConversions.h"

TKVector::TKVector(int32_t dim, int32_t type, double fill) : fType(type) {
    fStore.Resize(dim);
    if (fill != 0.0) std::fill(fStore.MutableData(), fStore.MutableData() + dim, fill);
}

TKVector::TKVector(std::initializer_list<double> values, int32_t type) : fType(type) {
    SetFromArray(static_cast<int32_t>(values.size()), values.begin());
}

TKVector::~TKVector() = default;

const char* TKVector::ClassName() const { return "TKVector"; }

int32_t TKVector::GetDim() const { return fStore.Dim(); }

void TKVector::SetDim(int32_t dim) { fStore.Resize(dim); }

double& TKVector::GetElementRef(int32_t index) {
    if (index < 0 || index >= fStore.Dim()) TKThrow(IndexError);
    return fStore.MutableData()[index];
}

double TKVector::GetElement(int32_t index) const {
    if (index < 0 || index >= fStore.Dim()) TKThrow(IndexError);
    return fStore.Data()[index];
}

int32_t TKVector::GetType() const { return fType; }

void TKVector::SetType(int32_t type) { fType = type; }

void TKVector::SetValues(int32_t count, ...) {
    if (count < 0) TKThrow(ArgErr);
    fStore.Resize(count);
    double* out = fStore.MutableData();
    va_list args;
    va_start(args, count);
    for (int32_t i = 0; i < count; ++i) out[i] = va_arg(args, double);
    va_end(args);
}

void TKVector::SetFromArray(int32_t count, const double* values) {
    if (count < 0 || (count > 0 && !values)) TKThrow(ArgErr);
    // Filled aside first, so that `values` may point into this vector itself.
    TKVectorStore<double, TKVectorData> store;
    store.Resize(count);
    std::copy(values, values + count, store.MutableData());
    fStore = std::move(store);
}

void TKVector::CopyToArray(double* values) const {
    if (!values) TKThrow(ArgErr);
    std::copy(fStore.Data(), fStore.Data() + fStore.Dim(), values);
}

void TKVector::CheckLimits(const void* samples, const TKVector& minV, const TKVector& maxV) const {
    if (!samples || minV.GetDim() != fStore.Dim() || maxV.GetDim() != fStore.Dim()) TKThrow(ArgErr);
}

void TKVector::ToWords(uint16_t* out, const TKVector& minV, const TKVector& maxV) const {
    CheckLimits(out, minV, maxV);
    for (int32_t i = 0; i < fStore.Dim(); ++i) out[i] = DoubleToWord(fStore.Data()[i], minV[i], maxV[i]);
}

void TKVector::ToBytes(uint8_t* out, const TKVector& minV, const TKVector& maxV) const {
    CheckLimits(out, minV, maxV);
    for (int32_t i = 0; i < fStore.Dim(); ++i) out[i] = DoubleToByte(fStore.Data()[i], minV[i], maxV[i]);
}

void TKVector::FromWords(const uint16_t* in, const TKVector& minV, const TKVector& maxV) {
    if (!in || minV.GetDim() != maxV.GetDim()) TKThrow(ArgErr);
    SetDim(minV.GetDim());
    double* out = fStore.MutableData();
    for (int32_t i = 0; i < fStore.Dim(); ++i) out[i] = WordToDouble(in[i], minV[i], maxV[i]);
}

void TKVector::FromBytes(const uint8_t* in, const TKVector& minV, const TKVector& maxV) {
    if (!in || minV.GetDim() != maxV.GetDim()) TKThrow(ArgErr);
    SetDim(minV.GetDim());
    double* out = fStore.MutableData();
    for (int32_t i = 0; i < fStore.Dim(); ++i) out[i] = ByteToDouble(in[i], minV[i], maxV[i]);
}
