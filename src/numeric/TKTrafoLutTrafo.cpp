// TKTrafoLutTrafo: the three fill modes of a grid sampled from a trafo.
#include "numeric/TKTrafoLutTrafo.h"

#include <new>

TKTrafoLutTrafo::TKTrafoLutTrafo(int32_t mode) : TKLutTrafo(mode) {}

TKTrafoLutTrafo::TKTrafoLutTrafo(const TKTrafoLutTrafo& other)
    : TKLutTrafo(other), fTrafo(other.fTrafo), fFillMode(other.fFillMode) {
    if (other.fDone) {
        ResetFlags();
        for (int32_t i = 0; i < fCLUT.GetNodeCount(); ++i)
            fDone[i].store(other.fDone[i].load() == kDone ? kDone : kEmpty, std::memory_order_relaxed);
    }
}

TKTrafoLutTrafo::~TKTrafoLutTrafo() = default;

void TKTrafoLutTrafo::SetSrcRangeFromType(int32_t) { SetSrcRange(TKVector(), TKVector()); }

void TKTrafoLutTrafo::ResetFlags() {
    const int32_t count = fCLUT.GetNodeCount();
    fDone.reset(new (std::nothrow) std::atomic<uint8_t>[size_t(count)]);
    if (!fDone && count > 0) TKThrow(MemFullErr);
    for (int32_t i = 0; i < count; ++i) fDone[i].store(kEmpty, std::memory_order_relaxed);
}

void TKTrafoLutTrafo::Setup(int32_t outDim, int32_t srcType, int32_t dstType, const std::vector<int32_t>& gridPoints,
                            int32_t sampleSize, int32_t fillMode) {
    if (fillMode < kFillLazy || fillMode > kFillDirect) TKThrow(ArgErr);
    SetupGrid(gridPoints, outDim, sampleSize);
    SetTypes(srcType, dstType);
    fFillMode = fillMode;
    ResetFlags();
    SetSrcRangeFromType(srcType);
}

void TKTrafoLutTrafo::SetTrafo(TKTrafo* trafo, bool owned) {
    fTrafo.Reset(trafo, owned);
    if (!fTrafo) {
        ResetFlags();
        return;
    }
    SetTypes(fTrafo->GetSrcType(), fTrafo->GetDstType(0));
    // The grid follows the trafo's dimensions; a grid that already fits keeps its sizes.
    const int32_t srcDim = fTrafo->GetSrcDim();
    const int32_t dstDim = fTrafo->GetDstDim(0);
    if ((srcDim > 0 && srcDim != fCLUT.GetInDim()) || (dstDim > 0 && dstDim != fCLUT.GetOutDim())) {
        const int32_t points = fCLUT.GetInDim() > 0 ? fCLUT.GetGridPoints(0) : 2;
        std::vector<int32_t> grid(size_t(srcDim > 0 ? srcDim : fCLUT.GetInDim()), points);
        SetupGrid(grid, dstDim > 0 ? dstDim : fCLUT.GetOutDim(), fCLUT.GetSampleSize());
        if (fSrcMin.GetDim() != srcDim) SetSrcRangeFromType(fSrcType);
    }
    ResetFlags();
    if (fFillMode == kFillEager) {
        FillAll();
        fTrafo.Reset();
    }
}

void TKTrafoLutTrafo::FillAll() {
    for (int32_t node = 0; node < fCLUT.GetNodeCount(); ++node) {
        const TKVector value = CalcNode(node);
        if (value.GetDim() != fCLUT.GetOutDim()) TKThrow(DimMismatch);
        fCLUT.SetNode(node, value.Values());
        fDone[node].store(kDone, std::memory_order_release);
    }
}

TKVector TKTrafoLutTrafo::CalcNode(int32_t node) const {
    if (!fTrafo) TKThrow(PtrInvalid);
    TKVector value = fTrafo->Trafo(GetNodeSrc(node));
    value.SetType(fDstType);
    return value;
}

bool TKTrafoLutTrafo::IsNodeDone(int32_t node) const {
    if (node < 0 || node >= fCLUT.GetNodeCount()) TKThrow(IndexError);
    return fDone && fDone[node].load(std::memory_order_acquire) == kDone;
}

TKVector TKTrafoLutTrafo::GetNodeDst(int32_t node) const {
    if (fFillMode == kFillDirect) {
        if (node < 0 || node >= fCLUT.GetNodeCount()) TKThrow(IndexError);
        return CalcNode(node);
    }
    if (fFillMode == kFillEager || IsNodeDone(node) || !fTrafo) return TKLutTrafo::GetNodeDst(node);

    TKVector value = CalcNode(node);
    if (value.GetDim() != fCLUT.GetOutDim()) TKThrow(DimMismatch);
    uint8_t expected = kEmpty;
    if (fDone[node].compare_exchange_strong(expected, kComputing, std::memory_order_acq_rel)) {
        // The grid is this trafo's cache: storing a node doesn't change what the trafo answers.
        const_cast<TKCLUT&>(fCLUT).SetNode(node, value.Values());
        fDone[node].store(kDone, std::memory_order_release);
    }
    if (expected == kDone) return TKLutTrafo::GetNodeDst(node);
    fCLUT.Quantize(value.MutableValues());  // what the grid stores, whoever stores it
    return value;
}

void TKTrafoLutTrafo::SetNodeDst(int32_t node, const TKVector& value) {
    TKLutTrafo::SetNodeDst(node, value);
    if (fDone) fDone[node].store(kDone, std::memory_order_release);
}
