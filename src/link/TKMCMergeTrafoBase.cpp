// TKMCMergeTrafoBase: dimensions and types of a merge chain, its colours, and its pixels through
// the members' own pixel forms with the skip test for empty extra planes.
#include "link/TKMCMergeTrafoBase.h"

#include <algorithm>
#include <memory>

#include "color/TKColors.h"
#include "foundation/TKProgress.h"
#include "link/TKMCMergeInkTest.h"

namespace {

template <class Sample>
void MemberPixels(const TKTrafo& member, int32_t count, const Sample* const* src, Sample* const* dst,
                  const int32_t* srcStrides, const int32_t* dstStrides, TKProgress* progress) {
    if constexpr (sizeof(Sample) == 1)
        member.TrafoPixels8(count, src, dst, srcStrides, dstStrides, progress);
    else
        member.TrafoPixels16(count, src, dst, srcStrides, dstStrides, progress);
}

}  // namespace

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

bool TKMCMergeTrafoBase::HasInk(int32_t count, const uint8_t* const* planes, const int32_t* strides,
                                int32_t channels) {
    return TKPlanesHaveInk(count, planes, strides, channels);
}

bool TKMCMergeTrafoBase::HasInk(int32_t count, const uint16_t* const* planes, const int32_t* strides,
                                int32_t channels) {
    return TKPlanesHaveInk(count, planes, strides, channels);
}

template <class Sample>
bool TKMCMergeTrafoBase::FindRunningMembers(int32_t count, const Sample* const* src, const int32_t* srcStrides,
                                            bool* runs) const {
    const int32_t members = GetMemberCount();
    const int32_t first = GetExtraChannels(0);
    const int32_t extras = GetSrcDim() - first;
    // Empty spot planes are the case to make cheap: one pass over all of them decides it.
    const bool anyInk = !fSkipEmptyChannels || TKPlanesHaveInk(count, src + first, srcStrides + first, extras);
    bool any = false;
    for (int32_t i = 1, p = first; i < members; ++i) {
        const int32_t n = GetExtraChannels(i);
        runs[i] = anyInk && (!fSkipEmptyChannels || TKPlanesHaveInk(count, src + p, srcStrides + p, n));
        any = any || runs[i];
        p += n;
    }
    return any;
}

template bool TKMCMergeTrafoBase::FindRunningMembers(int32_t, const uint8_t* const*, const int32_t*, bool*) const;
template bool TKMCMergeTrafoBase::FindRunningMembers(int32_t, const uint16_t* const*, const int32_t*, bool*) const;

template <class Sample>
void TKMCMergeTrafoBase::MatchPlanes(int32_t count, const Sample* const* src, Sample* const* dst,
                                     const int32_t* srcStrides, const int32_t* dstStrides,
                                     TKProgress* progress) const {
    const int32_t members = GetMemberCount();
    if (members == 0 || count < 1) return;
    const int32_t srcDim = GetSrcDim();
    const int32_t o = GetMergeDstDim();
    if (srcDim > kMaxPixelChannels || o > kMaxPixelChannels || members > kMaxPixelChannels) TKThrow(BufferTooSmall);
    if (!src || !dst || !srcStrides || !dstStrides) TKThrow(ArgErr);

    // The planes each member reads: at first the source's, then the destination's followed by
    // the member's extra source planes.
    const Sample* planes[kMaxPixelChannels];
    int32_t strides[kMaxPixelChannels];
    std::copy(src, src + srcDim, planes);
    std::copy(srcStrides, srcStrides + srcDim, strides);

    // Member 0 goes first; where the spot planes are empty, the ink test rides along with it.
    const TKTrafo& first = *GetMember(0);
    const Sample* chunk[kMaxPixelChannels];
    Sample* chunkDst[kMaxPixelChannels];
    auto matchFirst = [&](int32_t start, int32_t n) {
        for (int32_t c = 0; c < srcDim; ++c) chunk[c] = planes[c] + int64_t(start) * strides[c];
        for (int32_t c = 0; c < o; ++c) chunkDst[c] = dst[c] + int64_t(start) * dstStrides[c];
        MemberPixels(first, n, chunk, chunkDst, strides, dstStrides, nullptr);
        if (progress) progress->SetProgress(double(start) / count);
    };
    int32_t matched = 0;
    if (MatchFirstUntilInk(count, src, srcStrides, matchFirst, matched)) return;
    bool runs[kMaxPixelChannels];
    const bool further = FindRunningMembers(count, src, srcStrides, runs);
    // Each member that runs reports its pixels as its own share of what is left of the call.
    const int32_t running = 1 + int32_t(std::count(runs + 1, runs + members, true));
    int32_t done = 0;
    std::unique_ptr<TKSubProgress> share;
    auto nextShare = [&]() -> TKProgress* {
        if (!progress) return nullptr;
        share = std::make_unique<TKSubProgress>(progress, double(done) / running, double(done + 1) / running);
        ++done;
        return share.get();
    };
    if (matched < count) {
        // The rest of member 0's pixels in one call.
        for (int32_t c = 0; c < srcDim; ++c) chunk[c] = planes[c] + int64_t(matched) * strides[c];
        for (int32_t c = 0; c < o; ++c) chunkDst[c] = dst[c] + int64_t(matched) * dstStrides[c];
        MemberPixels(first, count - matched, chunk, chunkDst, strides, dstStrides, nextShare());
    }
    if (!further) return;
    std::copy(dst, dst + o, planes);
    std::copy(dstStrides, dstStrides + o, strides);
    for (int32_t i = 1, p = GetExtraChannels(0); i < members; ++i) {
        const int32_t n = GetExtraChannels(i);
        std::copy(src + p, src + p + n, planes + o);
        std::copy(srcStrides + p, srcStrides + p + n, strides + o);
        if (runs[i]) MemberPixels(*GetMember(i), count, planes, dst, strides, dstStrides, nextShare());
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
