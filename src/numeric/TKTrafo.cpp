// TKTrafo defaults: identity evaluation, dimensions and types that pass through, the Info
// cache, the guarded evaluation and the parameter base.
#include "numeric/TKTrafo.h"

#include "io/TKDataBase.h"

TKTrafo::TKTrafo() {
    for (auto& entry : fInfo) entry.store(-1, std::memory_order_relaxed);
}

TKTrafo::TKTrafo(const TKTrafo& other) : TKObject(other) {
    for (int32_t i = 0; i < kInfoCount; ++i) fInfo[i].store(other.fInfo[i].load(std::memory_order_relaxed));
}

TKTrafo& TKTrafo::operator=(const TKTrafo& other) {
    TKObject::operator=(other);
    for (int32_t i = 0; i < kInfoCount; ++i) fInfo[i].store(other.fInfo[i].load(std::memory_order_relaxed));
    return *this;
}

TKTrafo::~TKTrafo() = default;

int32_t TKTrafo::IsTrafo() const { return 1; }
int32_t TKTrafo::GetSrcDim() const { return 0; }
int32_t TKTrafo::GetDstDim(int32_t srcDim) const { return srcDim; }
int32_t TKTrafo::GetSrcType() const { return 0; }
int32_t TKTrafo::GetDstType(int32_t srcType) const { return srcType; }
TKVector TKTrafo::Trafo(const TKVector& source) const { return source; }

void TKTrafo::Load(const TKDataBase& base) { (void)base.GetString("Type"); }

void TKTrafo::Save(TKDataBase& base) const { base.SetString("Type", ClassName()); }

int32_t TKTrafo::GetInfo(int32_t index) const {
    if (index < 0 || index >= kInfoCount) return -1;
    return fInfo[index].load(std::memory_order_relaxed);
}

void TKTrafo::SetInfo(int32_t index, int32_t value) {
    if (index == kInfoAll) {
        for (int32_t i = 0; i < kInfoCount; ++i) StoreInfo(i, value);
    } else {
        StoreInfo(index, value);
    }
}

void TKTrafo::StoreInfo(int32_t index, int32_t value) const {
    if (index >= 0 && index < kInfoCount) fInfo[index].store(value, std::memory_order_relaxed);
}

bool TKTrafo::CanTrafo8() const { return false; }
bool TKTrafo::CanTrafo16() const { return false; }

void TKTrafo::TrafoPixels8(int32_t, const uint8_t* const*, uint8_t* const*, const int32_t*, const int32_t*,
                           TKProgress*) const {
    TKThrow(UndefProc);
}

void TKTrafo::TrafoPixels16(int32_t, const uint16_t* const*, uint16_t* const*, const int32_t*, const int32_t*,
                            TKProgress*) const {
    TKThrow(UndefProc);
}

void TKTrafo::TrafoInPlace(TKVector& vector) const {
    int32_t srcDim = GetSrcDim();
    if (srcDim > 0 && vector.GetDim() != srcDim) TKThrow(DimMismatch);
    vector = Trafo(vector);
}
