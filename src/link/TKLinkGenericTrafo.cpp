// TKLinkGenericTrafo: the link as a trafo: evaluation hooks over the three stages, colours and
// pixels through the tables, and the generation entries.
#include "link/TKLinkGenericTrafo.h"

#include <algorithm>
#include <vector>

#include "io/TKGlobalData.h"
#include "link/TKLinkGridChoice.h"
#include "link/TKLinkStages.h"

namespace {

// Byte strides for the kernels from the sample strides of the trafo interface.
template <class Sample>
void ByteStrides(const int32_t* sampleStrides, int32_t count, int32_t* byteStrides) {
    for (int32_t c = 0; c < count; ++c) byteStrides[c] = sampleStrides[c] * int32_t(sizeof(Sample));
}

// One stage evaluation: samples to a vector on the stage's input range, the trafo, samples
// from the vector on the stage's output range.
template <class In, class Out>
void EvalStage(const TKTrafo& stage, const In* in, const TKVector& inMin, const TKVector& inMax, Out* out,
               const TKVector& outMin, const TKVector& outMax) {
    TKVector colour;
    if constexpr (sizeof(In) == 1)
        colour.FromBytes(in, inMin, inMax);
    else
        colour.FromWords(in, inMin, inMax);
    colour.SetType(inMin.GetType());
    const TKVector result = stage.Trafo(colour);
    if (result.GetDim() != outMin.GetDim()) TKThrow(DimMismatch);
    if constexpr (sizeof(Out) == 1)
        result.ToBytes(out, outMin, outMax);
    else
        result.ToWords(out, outMin, outMax);
}

int32_t DstTypeOf(const TKTrafo* stage, int32_t srcType) { return stage ? stage->GetDstType(srcType) : srcType; }

TKTrafo* NullIfEmpty(TKTrafoList& list) { return list.GetCount() > 0 ? &list : nullptr; }

}  // namespace

TKLinkGenericTrafo::TKLinkGenericTrafo() : TKLutTrafo(2) {}

TKLinkGenericTrafo::TKLinkGenericTrafo(const TKLinkGenericTrafo& other) : TKLutTrafo(other), TKLinkGeneric(other) {
    CopyLinkFields(other);
}

TKLinkGenericTrafo::~TKLinkGenericTrafo() = default;

// ---- Dimensions and types ----

int32_t TKLinkGenericTrafo::GetSrcDim() const { return fSrcDim; }
int32_t TKLinkGenericTrafo::GetDstDim(int32_t) const { return fDstDim; }
int32_t TKLinkGenericTrafo::GetDstDim() const { return fDstDim; }
int32_t TKLinkGenericTrafo::GetSrcType() const { return fSrcMin.GetType(); }
int32_t TKLinkGenericTrafo::GetDstType(int32_t) const { return fDstMin.GetType(); }
int32_t TKLinkGenericTrafo::GetBits() const { return fBits; }

void TKLinkGenericTrafo::SetRanges(int32_t srcType, int32_t dstType) {
    GetTypeRange(srcType, 0, fSrcMin, fSrcMax);
    GetTypeRange(dstType, 0, fDstMin, fDstMax);
    SetTypes(srcType, dstType);
}

void TKLinkGenericTrafo::Init(int32_t srcDim, int32_t dstDim, int32_t grid, int32_t lazy) {
    TKLinkGeneric::Init(srcDim, dstDim, grid, lazy);
    // The look-up table view of the link: the same grid, its nodes read from the link's words.
    SetGridShape(std::vector<int32_t>(size_t(srcDim), grid), dstDim, 2);
    SetInfo(kInfoGridPoints, grid);
}

TKVector TKLinkGenericTrafo::GetNodeDst(int32_t node) const {
    if (node < 0 || uint32_t(node) >= fNodeCount || !fNodes) TKThrow(IndexError);
    Mutable().EnsureNode(uint32_t(node));
    TKVector value(fDstDim, fDstMin.GetType());
    const uint16_t* at = fNodes.get() + size_t(node) * fDstDim;
    for (int32_t o = 0; o < fDstDim; ++o) value[o] = at[o] / 65535.0;
    return value;
}

// ---- Copies ----

void TKLinkGenericTrafo::CopyLinkFields(const TKLinkGenericTrafo& other) {
    fSrcMin = other.fSrcMin;
    fSrcMax = other.fSrcMax;
    fDstMin = other.fDstMin;
    fDstMax = other.fDstMax;
    fInOutMin = other.fInOutMin;
    fInOutMax = other.fInOutMax;
    fGridInMin = other.fGridInMin;
    fGridInMax = other.fGridInMax;
    fGridOutMin = other.fGridOutMin;
    fGridOutMax = other.fGridOutMax;
    fBits = other.fBits;
    fColorFrom = other.fColorFrom;
    fColorTo = other.fColorTo;
    fInTrafo = other.fInTrafo;
    fMainTrafo = other.fMainTrafo;
    fOutTrafo = other.fOutTrafo;
    fHoldsStages.store(fInTrafo || fMainTrafo || fOutTrafo);
    SetTypes(other.fSrcType, other.fDstType);
}

void TKLinkGenericTrafo::CopyFrom(const TKLinkGeneric& link) {
    TKLinkGeneric::CopyFrom(link);
    if (fSrcDim > 0) {
        SetGridShape(std::vector<int32_t>(size_t(fSrcDim), fGridPoints), fDstDim, 2);
        SetInfo(kInfoGridPoints, fGridPoints);
    }
}

// ---- Evaluation hooks ----

void TKLinkGenericTrafo::EvalInput16(const uint16_t* in, uint16_t* out) {
    if (!fInTrafo) return TKLinkGeneric::EvalInput16(in, out);
    if (!in || !out) TKThrow(ArgErr);
    EvalStage(*fInTrafo, in, fSrcMin, fSrcMax, out, fInOutMin, fInOutMax);
}

void TKLinkGenericTrafo::EvalInput8(const uint8_t* in, uint16_t* out) {
    if (!fInTrafo) return TKLinkGeneric::EvalInput8(in, out);
    if (!in || !out) TKThrow(ArgErr);
    EvalStage(*fInTrafo, in, fSrcMin, fSrcMax, out, fInOutMin, fInOutMax);
}

void TKLinkGenericTrafo::EvalNode(const uint16_t* position, uint16_t* out) {
    if (!fMainTrafo) return TKLinkGeneric::EvalNode(position, out);
    if (!position || !out) TKThrow(ArgErr);
    EvalStage(*fMainTrafo, position, fGridInMin, fGridInMax, out, fGridOutMin, fGridOutMax);
}

void TKLinkGenericTrafo::EvalOutput16(const uint16_t* in, uint16_t* out) {
    if (!fOutTrafo) return TKLinkGeneric::EvalOutput16(in, out);
    if (!in || !out) TKThrow(ArgErr);
    EvalStage(*fOutTrafo, in, fGridOutMin, fGridOutMax, out, fDstMin, fDstMax);
}

void TKLinkGenericTrafo::EvalOutput8(const uint16_t* in, uint8_t* out) {
    if (!fOutTrafo) return TKLinkGeneric::EvalOutput8(in, out);
    if (!in || !out) TKThrow(ArgErr);
    EvalStage(*fOutTrafo, in, fGridOutMin, fGridOutMax, out, fDstMin, fDstMax);
}

// ---- Colours and pixels ----

void TKLinkGenericTrafo::ReleaseStagesIfComplete() const {
    if (!fHoldsStages.load(std::memory_order_acquire) || !IsComplete()) return;
    // Under the link's lock: no node computation can be using a stage while it goes.
    TKRefPtr<TKTrafo> in, main, out;
    {
        std::lock_guard<std::mutex> guard(fLock);
        if (!fHoldsStages.load(std::memory_order_relaxed)) return;
        in = std::move(fInTrafo);
        main = std::move(fMainTrafo);
        out = std::move(fOutTrafo);
        fHoldsStages.store(false, std::memory_order_release);
    }
}

TKVector TKLinkGenericTrafo::Trafo(const TKVector& source) const {
    if (source.GetDim() != fSrcDim) TKThrow(DimMismatch);
    const uint8_t* src8[kMaxSrcDim];
    const uint16_t* src16[kMaxSrcDim];
    uint8_t* dst8[kMaxDstDim];
    uint16_t* dst16[kMaxDstDim];
    uint8_t inBytes[kMaxSrcDim], outBytes[kMaxDstDim];
    uint16_t inWords[kMaxSrcDim], outWords[kMaxDstDim];
    int32_t srcStrides[kMaxSrcDim], dstStrides[kMaxDstDim];
    for (int32_t c = 0; c < fSrcDim; ++c) {
        src8[c] = inBytes + c;
        src16[c] = inWords + c;
        srcStrides[c] = 0;
    }
    for (int32_t o = 0; o < fDstDim; ++o) {
        dst8[o] = outBytes + o;
        dst16[o] = outWords + o;
        dstStrides[o] = 0;
    }
    TKVector result;
    TKLinkGenericTrafo& link = Mutable();
    if (fBits == kBits8) {
        source.ToBytes(inBytes, fSrcMin, fSrcMax);
        link.Match8(1, src8, dst8, srcStrides, dstStrides, nullptr);
        result.FromBytes(outBytes, fDstMin, fDstMax);
    } else if (fBits == kBits8To16) {
        source.ToBytes(inBytes, fSrcMin, fSrcMax);
        link.Match8To16(1, src8, dst16, srcStrides, dstStrides, nullptr);
        result.FromWords(outWords, fDstMin, fDstMax);
    } else {
        source.ToWords(inWords, fSrcMin, fSrcMax);
        link.Match16(1, src16, dst16, srcStrides, dstStrides, nullptr);
        result.FromWords(outWords, fDstMin, fDstMax);
    }
    result.SetType(fDstMin.GetType());
    ReleaseStagesIfComplete();
    return result;
}

void TKLinkGenericTrafo::TrafoPixels8(int32_t count, const uint8_t* const* src, uint8_t* const* dst,
                                      const int32_t* srcStrides, const int32_t* dstStrides,
                                      TKProgress* progress) const {
    int32_t srcBytes[kMaxSrcDim], dstBytes[kMaxDstDim];
    ByteStrides<uint8_t>(srcStrides, fSrcDim, srcBytes);
    ByteStrides<uint8_t>(dstStrides, fDstDim, dstBytes);
    Mutable().Match8(count, src, dst, srcBytes, dstBytes, progress);
    ReleaseStagesIfComplete();
}

void TKLinkGenericTrafo::TrafoPixels16(int32_t count, const uint16_t* const* src, uint16_t* const* dst,
                                       const int32_t* srcStrides, const int32_t* dstStrides,
                                       TKProgress* progress) const {
    int32_t srcBytes[kMaxSrcDim], dstBytes[kMaxDstDim];
    ByteStrides<uint16_t>(srcStrides, fSrcDim, srcBytes);
    ByteStrides<uint16_t>(dstStrides, fDstDim, dstBytes);
    Mutable().Match16(count, src, dst, srcBytes, dstBytes, progress);
    ReleaseStagesIfComplete();
}

void TKLinkGenericTrafo::TrafoPixels8To16(int32_t count, const uint8_t* const* src, uint16_t* const* dst,
                                          const int32_t* srcStrides, const int32_t* dstStrides,
                                          TKProgress* progress) const {
    int32_t srcBytes[kMaxSrcDim], dstBytes[kMaxDstDim];
    ByteStrides<uint8_t>(srcStrides, fSrcDim, srcBytes);
    ByteStrides<uint16_t>(dstStrides, fDstDim, dstBytes);
    Mutable().Match8To16(count, src, dst, srcBytes, dstBytes, progress);
    ReleaseStagesIfComplete();
}

void TKLinkGenericTrafo::TrafoRaster8To16(int32_t count, const uint8_t* source, uint16_t* destination,
                                          int32_t srcPad, int32_t dstPad, TKProgress* progress) const {
    if (count < 1) return;
    if (!source || !destination) TKThrow(ArgErr);
    const uint8_t* src[kMaxSrcDim];
    uint16_t* dst[kMaxDstDim];
    int32_t srcStrides[kMaxSrcDim], dstStrides[kMaxDstDim];
    for (int32_t c = 0; c < fSrcDim; ++c) {
        src[c] = source + c;
        srcStrides[c] = fSrcDim + srcPad;
    }
    for (int32_t o = 0; o < fDstDim; ++o) {
        dst[o] = destination + o;
        dstStrides[o] = fDstDim + dstPad;
    }
    TrafoPixels8To16(count, src, dst, srcStrides, dstStrides, progress);
}

// ---- Generation ----

void TKLinkGenericTrafo::UpdateStageRanges() {
    const int32_t srcType = fSrcMin.GetType();
    // The grid sees what the input stage gives; without one, the link's input directly.
    if (fInTrafo) {
        const int32_t type = fInTrafo->GetDstType(srcType);
        GetTypeRange(type, fInTrafo->GetDstDim(fSrcDim), fInOutMin, fInOutMax);
    } else {
        fInOutMin = fSrcMin;
        fInOutMax = fSrcMax;
    }
    fGridInMin = fInOutMin;
    fGridInMax = fInOutMax;
    if (fOutTrafo) {
        const int32_t gridInType = fGridInMin.GetType();
        const int32_t gridOutType = fMainTrafo ? fMainTrafo->GetDstType(gridInType) : fOutTrafo->GetSrcType();
        int32_t dim = fMainTrafo ? fMainTrafo->GetDstDim(fGridInMin.GetDim()) : fOutTrafo->GetSrcDim();
        if (dim <= 0) dim = fOutTrafo->GetSrcDim() > 0 ? fOutTrafo->GetSrcDim() : fDstDim;
        GetTypeRange(gridOutType, dim, fGridOutMin, fGridOutMax);
    } else {
        fGridOutMin = fDstMin;
        fGridOutMax = fDstMax;
    }
}

void TKLinkGenericTrafo::SetTrafos(TKTrafo* inTrafo, TKTrafo* mainTrafo, TKTrafo* outTrafo, TKProgress* progress) {
    fInTrafo.Reset(inTrafo, false);
    fMainTrafo.Reset(mainTrafo, false);
    fOutTrafo.Reset(outTrafo, false);
    fHoldsStages.store(inTrafo || mainTrafo || outTrafo, std::memory_order_release);
    fColorFrom.Reset(FindTrafo(inTrafo, "TKColorTrafo"), false);
    fColorTo.Reset(FindTrafo(outTrafo, "TKColorTrafo"), false);
    UpdateStageRanges();
    Finish(inTrafo != nullptr, outTrafo != nullptr, progress);
    ReleaseStagesIfComplete();
}

namespace {

// The channel counts of a chain of stages: the types' counts where the types are known, else
// what the stages say.
void ChainDims(TKTrafo* front, TKTrafo* middle, TKTrafo* back, int32_t srcType, int32_t dstType, int32_t& srcDim,
               int32_t& dstDim) {
    TKTrafo* first = front ? front : (middle ? middle : back);
    srcDim = srcType ? GetTypeChannels(srcType) : 0;
    if (srcDim < 1 && first) srcDim = first->GetSrcDim();
    if (srcDim < 1 && middle) srcDim = middle->GetSrcDim();
    dstDim = dstType ? GetTypeChannels(dstType) : 0;
    if (dstDim < 1) {
        dstDim = srcDim;
        for (TKTrafo* stage : {front, middle, back})
            if (stage) dstDim = stage->GetDstDim(dstDim);
    }
}

}  // namespace

void TKLinkGenericTrafo::CalcFromStages(TKTrafo* front, TKTrafo* middle, TKTrafo* back, int32_t srcType,
                                        int32_t dstType, int32_t grid, int32_t options, TKProgress* progress) {
    if (!front && !middle && !back) TKThrow(ArgErr);
    int32_t srcDim = 0, dstDim = 0;
    ChainDims(front, middle, back, srcType, dstType, srcDim, dstDim);
    if (srcDim < 1 || dstDim < 1) TKThrow(DimMismatch);
    SetRanges(srcType, dstType);
    // Types without known channels read 0..1 on the stages' channel counts.
    if (fSrcMin.GetDim() != srcDim) GetTypeRange(srcType, srcDim, fSrcMin, fSrcMax);
    if (fDstMin.GetDim() != dstDim) GetTypeRange(dstType, dstDim, fDstMin, fDstMax);
    Bake(front, middle, back, grid, options, progress);
}

void TKLinkGenericTrafo::CalcFromRanges(TKTrafo* front, TKTrafo* middle, TKTrafo* back, const TKVector& srcMin,
                                        const TKVector& srcMax, const TKVector& dstMin, const TKVector& dstMax,
                                        int32_t grid, int32_t options, TKProgress* progress) {
    // The stage that takes the link's input.
    TKTrafo* entry = front ? front : (middle ? middle : back);
    if (!entry) TKThrow(ArgErr);
    // The ranges carry the types of the chain's ends.
    const int32_t srcType = entry->GetSrcType();
    const int32_t dstType = DstTypeOf(back, DstTypeOf(middle, DstTypeOf(front, srcType)));
    const int32_t srcDim = srcMin.GetDim();
    const int32_t dstDim = dstMin.GetDim();
    if (srcDim < 1 || dstDim < 1 || srcMax.GetDim() != srcDim || dstMax.GetDim() != dstDim) TKThrow(DimMismatch);
    if (entry->GetSrcDim() > 0 && entry->GetSrcDim() != srcDim) TKThrow(DimMismatch);
    fSrcMin = srcMin;
    fSrcMax = srcMax;
    fDstMin = dstMin;
    fDstMax = dstMax;
    fSrcMin.SetType(srcType);
    fSrcMax.SetType(srcType);
    fDstMin.SetType(dstType);
    fDstMax.SetType(dstType);
    SetTypes(srcType, dstType);
    Bake(front, middle, back, grid, options, progress);
}

void TKLinkGenericTrafo::Bake(TKTrafo* front, TKTrafo* middle, TKTrafo* back, int32_t grid, int32_t options,
                              TKProgress* progress) {
    const int32_t srcDim = fSrcMin.GetDim();
    Init(srcDim, fDstMin.GetDim(), DefaultGrid(srcDim, grid), options);
    fColorFrom.Reset();
    fColorTo.Reset();
    SetTrafos(front, middle, back, progress);
}

void TKLinkGenericTrafo::CalcFromTrafo(TKTrafo* trafo, int32_t grid, int32_t options, TKProgress* progress) {
    if (options == 0) options = TKGlobalData::GetInt(kLinkDefaultOptionsKey, 0);
    if (!trafo) TKThrow(ArgErr);
    if (grid < 1) grid = FindGrid(trafo, grid);

    if (auto* link = TKCast<TKLinkGenericTrafo>(trafo, "TKLinkGenericTrafo")) {
        if (link == this) {
            if (grid != fGridPoints) ResampleFrom(*this, grid);
            return;
        }
        CopyLinkFields(*link);
        ResampleFrom(*link, grid);
        ReleaseStagesIfComplete();
        return;
    }

    TKRefPtr<TKTrafoList> front = TKMakeRef<TKTrafoList>();
    TKRefPtr<TKTrafoList> middle = TKMakeRef<TKTrafoList>();
    TKRefPtr<TKTrafoList> back = TKMakeRef<TKTrafoList>();
    SplitTrafo(trafo, *front, *middle, *back, grid);
    const int32_t srcType = trafo->GetSrcType();
    CalcFromStages(NullIfEmpty(*front), NullIfEmpty(*middle), NullIfEmpty(*back), srcType,
                   trafo->GetDstType(srcType), grid, options, progress);
}
