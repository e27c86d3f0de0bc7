// TKRefTrafo holds another trafo and a reference vector; TKUseRefTrafo forwards to the trafo.
#include "numeric/TKRefTrafo.h"

void* TKRefTrafo::Cast(const char* className) {
    if (TKClassNameIs(className, "TKRefTrafo") || TKClassNameIs(className, "TKTrafo")) return this;
    return TKObject::Cast(className);
}

const char* TKRefTrafo::ClassName() const { return "TKRefTrafo"; }

TKRefTrafo::TKRefTrafo() = default;

TKRefTrafo::TKRefTrafo(TKTrafo* trafo, bool owned) { SetRefTrafo(trafo, owned); }

TKRefTrafo::~TKRefTrafo() noexcept = default;

void TKRefTrafo::SetRefTrafo(TKTrafo* trafo, bool owned) {
    if (trafo && trafo->RefCount() < 1) TKThrow(PtrInvalid);
    fRefTrafo.Reset(trafo, owned);
    // Forgets this object's own cached answers; a forwarding subclass must not wipe the
    // answers (such as the grid size) of the trafo it now holds.
    TKTrafo::SetInfo(kInfoAll, -1);
}

TKTrafo* TKRefTrafo::GetRefTrafo() const { return fRefTrafo.Get(); }

void TKRefTrafo::SetRefVector(const TKVector& vector) { fRefVector = vector; }

TKVector TKRefTrafo::GetRefVector() const { return fRefVector; }

int32_t TKUseRefTrafo::GetSrcDim() const { return fRefTrafo ? fRefTrafo->GetSrcDim() : TKTrafo::GetSrcDim(); }

int32_t TKUseRefTrafo::GetDstDim(int32_t srcDim) const {
    return fRefTrafo ? fRefTrafo->GetDstDim(srcDim) : TKTrafo::GetDstDim(srcDim);
}

int32_t TKUseRefTrafo::GetSrcType() const { return fRefTrafo ? fRefTrafo->GetSrcType() : TKTrafo::GetSrcType(); }

int32_t TKUseRefTrafo::GetDstType(int32_t srcType) const {
    return fRefTrafo ? fRefTrafo->GetDstType(srcType) : TKTrafo::GetDstType(srcType);
}

TKVector TKUseRefTrafo::Trafo(const TKVector& source) const {
    return fRefTrafo ? fRefTrafo->Trafo(source) : TKTrafo::Trafo(source);
}

int32_t TKUseRefTrafo::GetInfo(int32_t index) const {
    return fRefTrafo ? fRefTrafo->GetInfo(index) : TKTrafo::GetInfo(index);
}

void TKUseRefTrafo::SetInfo(int32_t index, int32_t value) {
    if (fRefTrafo) fRefTrafo->SetInfo(index, value);
    else TKTrafo::SetInfo(index, value);
}

bool TKUseRefTrafo::CanTrafo8() const { return fRefTrafo ? fRefTrafo->CanTrafo8() : TKTrafo::CanTrafo8(); }

void TKUseRefTrafo::TrafoPixels8(int32_t count, const uint8_t* const* src, uint8_t* const* dst,
                                 const int32_t* srcStrides, const int32_t* dstStrides, TKProgress* progress) const {
    if (fRefTrafo) fRefTrafo->TrafoPixels8(count, src, dst, srcStrides, dstStrides, progress);
    else TKTrafo::TrafoPixels8(count, src, dst, srcStrides, dstStrides, progress);
}

bool TKUseRefTrafo::CanTrafo16() const { return fRefTrafo ? fRefTrafo->CanTrafo16() : TKTrafo::CanTrafo16(); }

void TKUseRefTrafo::TrafoPixels16(int32_t count, const uint16_t* const* src, uint16_t* const* dst,
                                  const int32_t* srcStrides, const int32_t* dstStrides, TKProgress* progress) const {
    if (fRefTrafo) fRefTrafo->TrafoPixels16(count, src, dst, srcStrides, dstStrides, progress);
    else TKTrafo::TrafoPixels16(count, src, dst, srcStrides, dstStrides, progress);
}
