// TKMCMergeTrafoBase: dimensions and types of a merge chain, its colours, and its pixels through
// the members' own pixel forms with the skip test for empty extra planes.
#include "link/TKMCMergeTrafoBase.h"

#include <algorithm>
#include <memory>

#include "color/TKColors.h"
#include "foundation/TKProgress.h"

namespace {

// True as soon as one sample of the planes is not 0; the test runs on the raw samples so an empty
// spot plane costs one pass of loads and compares.
template <class Sample>
bool AnyInk(int32_t count, const Sample* const* planes, const int32_t* strides, int32_t channels) {
    for (int32_t c = 0; c < channels; ++c) {
        const Sample* p = planes[c];
        const int32_t step = strides[c];
        if (step == 1) {
            // The common plane layout: a plain loop the compiler can widen.
            Sample any = 0;
            for (int32_t i = 0; i < count; ++i) any |= p[i];
            if (any) return true;
            continue;
        }
        for (int32_t i = 0; i < count; ++i, p += step)
            if (*p) return true;
    }
    return false;
}

template <class Sample>
void MemberPixels(const TKTrafo& member, int32_t count, const Sample* const* src, Sample* const* dst,
                  const int32_t* srcStrides, const int32_t* dstStrides, TKProgress* progress) {
    if constexpr (sizeof(Sample) == 1)
        member.TrafoPixels8(count, src, dst, srcStrides, dstStrides, progress);
    else
        member.TrafoPixels16(count, src, dst, srcStrides, dstStrides, progress);
}

}  // namespace

bool TKMCMergeTrafoBase::HasInk(int32_t count, const uint8_t* const* planes, const int32_t* strides,
                                int32_t channels) {
    return AnyInk(count, planes, strides, channels);
}

bool TKMCMergeTrafoBase::HasInk(int32_t count, const uint16_t* const* planes, const int32_t* strides,
                                int32_t channels) {
    return AnyInk(count, planes, strides, channels);
}

// ---- The chain ----

int32_t TKMCMergeTrafoBase::GetMemberCount() const { return 0; }

TKTrafo* TKMCMergeTrafoBase::GetMember(int32_t) const { TKThrow(IndexError); }

void TKMCMergeTrafoBase::CheckMember(TKTrafo* trafo) const {
    if (!trafo || GetMemberCount() == 0) return;
    const int32_t o = GetMergeDstDim();
    const int32_t srcDim = trafo->GetSrcDim();
    if (trafo->GetDstDim(srcDim) != o || srcDim < o) TKThrowMsg(InvalidTrafo, "merge member of other channels");
}

int32_t TKMCMergeTrafoBase::GetMergeDstDim() const {
    if (GetMemberCount() == 0) return 0;
    const TKTrafo* first = GetMember(0);
    return first->GetDstDim(first->GetSrcDim());
}

int32_t TKMCMergeTrafoBase::GetExtraChannels(int32_t index) const {
    const TKTrafo* member = GetMember(index);
    if (index == 0) return member->GetSrcDim();
    const int32_t extra = member->GetSrcDim() - GetMergeDstDim();
    if (extra < 0) TKThrowMsg(InvalidTrafo, "merge member with fewer source than destination channels");
    return extra;
}

// ---- Dimensions and types ----

int32_t TKMCMergeTrafoBase::GetSrcDim() const {
    const int32_t members = GetMemberCount();
    if (members == 0) return TKTrafo::GetSrcDim();
    int32_t dim = 0;
    for (int32_t i = 0; i < members; ++i) dim += GetExtraChannels(i);
    return dim;
}

int32_t TKMCMergeTrafoBase::GetDstDim(int32_t srcDim) const {
    const int32_t members = GetMemberCount();
    if (members == 0) return TKTrafo::GetDstDim(srcDim);
    const TKTrafo* last = GetMember(members - 1);
    return last->GetDstDim(last->GetSrcDim());
}

int32_t TKMCMergeTrafoBase::GetDstDim() const { return GetDstDim(GetSrcDim()); }

int32_t TKMCMergeTrafoBase::GetSrcType() const {
    const int32_t members = GetMemberCount();
    if (members == 0) return 0;
    if (members == 1) return GetMember(0)->GetSrcType();
    return int32_t(GetDeviceType(GetSrcDim()));
}

int32_t TKMCMergeTrafoBase::GetDstType(int32_t srcType) const {
    if (GetMemberCount() == 0) return TKTrafo::GetDstType(srcType);
    const TKTrafo* first = GetMember(0);
    return first->GetDstType(first->GetSrcType());
}

// ---- Colours ----

TKVector TKMCMergeTrafoBase::Trafo(const TKVector& source) const {
    const int32_t members = GetMemberCount();
    if (members == 0) return source;
    if (source.GetDim() != GetSrcDim()) TKThrow(DimMismatch);
    const int32_t o = GetMergeDstDim();

    const TKTrafo* first = GetMember(0);
    const int32_t s = first->GetSrcDim();
    TKVector input(s, first->GetSrcType());
    for (int32_t c = 0; c < s; ++c) input[c] = source[c];
    TKVector result = first->Trafo(input);
    if (result.GetDim() != o) TKThrowMsg(InvalidTrafo, "merge member gave other channels");

    int32_t p = s;
    for (int32_t i = 1; i < members; ++i) {
        const TKTrafo* member = GetMember(i);
        const int32_t n = GetExtraChannels(i);
        bool empty = true;
        for (int32_t k = 0; k < n && empty; ++k) empty = source[p + k] == 0.0;
        if (!(fSkipEmptyChannels && empty)) {
            TKVector next(o + n, member->GetSrcType());
            for (int32_t c = 0; c < o; ++c) next[c] = result[c];
            for (int32_t k = 0; k < n; ++k) next[o + k] = source[p + k];
            result = member->Trafo(next);
            if (result.GetDim() != o) TKThrowMsg(InvalidTrafo, "merge member gave other channels");
        }
        p += n;
    }
    return result;
}

// ---- Pixels ----

template <class Sample>
void TKMCMergeTrafoBase::MatchPlanes(int32_t count, const Sample* const* src, Sample* const* dst,
                                     const int32_t* srcStrides, const int32_t* dstStrides,
                                     TKProgress* progress) const {
    const int32_t members = GetMemberCount();
    if (members == 0 || count < 1) return;
    const int32_t srcDim = GetSrcDim();
    const int32_t o = GetMergeDstDim();
    if (srcDim > kMaxPixelChannels || o > kMaxPixelChannels) TKThrow(BufferTooSmall);
    if (!src || !dst || !srcStrides || !dstStrides) TKThrow(ArgErr);

    // The planes each member reads: at first the source's, then the destination's followed by
    // the member's extra source planes.
    const Sample* planes[kMaxPixelChannels];
    int32_t strides[kMaxPixelChannels];
    std::copy(src, src + srcDim, planes);
    std::copy(srcStrides, srcStrides + srcDim, strides);

    // Each member reports its run as its own share of the whole call.
    std::unique_ptr<TKSubProgress> share;
    auto shareOf = [&](int32_t i) -> TKProgress* {
        if (!progress) return nullptr;
        share = std::make_unique<TKSubProgress>(progress, double(i) / members, double(i + 1) / members);
        return share.get();
    };

    MemberPixels(*GetMember(0), count, planes, dst, strides, dstStrides, shareOf(0));
    std::copy(dst, dst + o, planes);
    std::copy(dstStrides, dstStrides + o, strides);
    int32_t p = GetExtraChannels(0);
    for (int32_t i = 1; i < members; ++i) {
        const int32_t n = GetExtraChannels(i);
        std::copy(src + p, src + p + n, planes + o);
        std::copy(srcStrides + p, srcStrides + p + n, strides + o);
        if (!fSkipEmptyChannels || AnyInk(count, src + p, srcStrides + p, n))
            MemberPixels(*GetMember(i), count, planes, dst, strides, dstStrides, shareOf(i));
        p += n;
    }
}

void TKMCMergeTrafoBase::TrafoPixels8(int32_t count, const uint8_t* const* src, uint8_t* const* dst,
                                      const int32_t* srcStrides, const int32_t* dstStrides,
                                      TKProgress* progress) const {
    MatchPlanes(count, src, dst, srcStrides, dstStrides, progress);
}

void TKMCMergeTrafoBase::TrafoPixels16(int32_t count, const uint16_t* const* src, uint16_t* const* dst,
                                       const int32_t* srcStrides, const int32_t* dstStrides,
                                       TKProgress* progress) const {
    MatchPlanes(count, src, dst, srcStrides, dstStrides, progress);
}
