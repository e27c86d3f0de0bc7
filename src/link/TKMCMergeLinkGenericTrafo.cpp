// TKMCMergeLinkGenericTrafo: the counted member links of a merge chain and its readiness.
#include "link/TKMCMergeLinkGenericTrafo.h"

#include <algorithm>
#include <memory>

#include "foundation/TKProgress.h"
#include "numeric/TKSampleConversions.h"

namespace {

// Pixels per step of the 8-bit chain with spots: long enough that the kernels' set-up per call is
// lost in it, short enough that the 16-bit samples between members stay in cache.
constexpr int32_t kChunk = 4096;
// A member after the first takes at most a link's source channels, so the destination it shares
// has at most as many.
constexpr int32_t kMaxMidChannels = TKLinkGeneric::kMaxSrcDim;

}  // namespace

TKMCMergeLinkGenericTrafo::TKMCMergeLinkGenericTrafo(const TKMCMergeLinkGenericTrafo& other)
    : TKMCMergeTrafoBase(other), fMembers(other.fMembers), fState(other.fState) {}

TKMCMergeLinkGenericTrafo::~TKMCMergeLinkGenericTrafo() = default;

int32_t TKMCMergeLinkGenericTrafo::GetMemberCount() const { return int32_t(fMembers.size()); }

TKTrafo* TKMCMergeLinkGenericTrafo::GetMember(int32_t index) const { return GetLink(index); }

TKLinkGenericTrafo* TKMCMergeLinkGenericTrafo::GetLink(int32_t index) const {
    if (index < 0 || size_t(index) >= fMembers.size()) TKThrow(IndexError);
    TKLinkGenericTrafo* link = fMembers[size_t(index)].Get();
    if (!link) TKThrow(PtrInvalid);
    return link;
}

void TKMCMergeLinkGenericTrafo::ClearMembers() {
    fMembers.clear();
    fState = kEmpty;
}

void TKMCMergeLinkGenericTrafo::AddMember(TKLinkGenericTrafo* link, bool owned) {
    TKRefPtr<TKLinkGenericTrafo> member(link, owned);  // the caller's count is settled even if refused
    if (!link) TKThrow(PtrInvalid);
    if (link->GetSrcDim() < 1 || link->GetDstDim() < 1) TKThrowMsg(InvalidTrafo, "merge member without tables");
    CheckMember(link);
    const int32_t added = fMembers.empty() ? link->GetSrcDim() : link->GetSrcDim() - GetMergeDstDim();
    if (int64_t(fMembers.empty() ? 0 : GetSrcDim()) + added > kMaxChannels || int32_t(fMembers.size()) >= kMaxChannels)
        TKThrowMsg(InvalidTrafo, "merge chain with too many source channels");
    fMembers.push_back(std::move(member));
}

bool TKMCMergeLinkGenericTrafo::CanMatch() const {
    if (fState != kReady || fMembers.empty()) return false;
    // A shared member may have been calculated anew since it was added: the chain is checked
    // again, so that no call sees more channels than a host's arrays hold.
    const int32_t o = fMembers.front() ? fMembers.front()->GetDstDim() : 0;
    int32_t channels = 0;
    for (size_t i = 0; i < fMembers.size(); ++i) {
        const TKLinkGenericTrafo* member = fMembers[i].Get();
        if (!member || member->GetSrcDim() < 1 || !member->Nodes() || member->GetDstDim() != o) return false;
        if (i > 0 && member->GetSrcDim() < o) return false;
        channels += i == 0 ? member->GetSrcDim() : member->GetSrcDim() - o;
    }
    return channels <= kMaxChannels;
}

void TKMCMergeLinkGenericTrafo::TrafoPixels8(int32_t count, const uint8_t* const* src, uint8_t* const* dst,
                                             const int32_t* srcStrides, const int32_t* dstStrides,
                                             TKProgress* progress) const {
    const int32_t members = GetMemberCount();
    if (members == 0 || count < 1) return;
    if (!src || !dst || !srcStrides || !dstStrides) TKThrow(ArgErr);
    const TKLinkGenericTrafo* first = GetLink(0);
    // Empty spot planes: member 0's own 8-bit kernel, with the ink test riding along.
    const uint8_t* chunk[kMaxChannels];
    uint8_t* chunkDst[kMaxChannels];
    const int32_t s0 = first->GetSrcDim(), o0 = first->GetDstDim();
    auto matchFirst = [&](int32_t start, int32_t n) {
        for (int32_t c = 0; c < s0; ++c) chunk[c] = src[c] + int64_t(start) * srcStrides[c];
        for (int32_t c = 0; c < o0; ++c) chunkDst[c] = dst[c] + int64_t(start) * dstStrides[c];
        first->TrafoPixels8(n, chunk, chunkDst, srcStrides, dstStrides, nullptr);
        if (progress) progress->SetProgress(double(start) / count);
    };
    if (members == 1) return first->TrafoPixels8(count, src, dst, srcStrides, dstStrides, progress);
    int32_t matched = 0;
    if (MatchFirstUntilInk(count, src, srcStrides, matchFirst, matched)) return;
    // Spots with ink: the whole run again, with 16-bit samples between the members.
    bool runs[kMaxChannels] = {};
    FindRunningMembers(count, src, srcStrides, runs);
    const int32_t o = GetMergeDstDim();
    if (o > kMaxMidChannels) TKThrow(BufferTooSmall);
    // One block per call for the samples between members: planes of the destination, then the
    // widened spot planes of the member at work.
    std::unique_ptr<uint16_t[]> block(new uint16_t[size_t(kMaxMidChannels) * kChunk]);
    uint16_t* mid[kMaxMidChannels];
    for (int32_t c = 0; c < kMaxMidChannels; ++c) mid[c] = block.get() + size_t(c) * kChunk;
    uint16_t* const* extra = mid + o;
    const uint8_t* in[kMaxChannels];
    const uint16_t* planes[kMaxMidChannels];
    uint16_t* midPlanes[kMaxMidChannels];
    int32_t ones[kMaxMidChannels];
    std::fill(ones, ones + kMaxMidChannels, 1);
    for (int32_t c = 0; c < kMaxMidChannels; ++c) midPlanes[c] = mid[c], planes[c] = mid[c];

    const int32_t s = GetExtraChannels(0);
    for (int32_t start = 0; start < count; start += kChunk) {
        const int32_t m = std::min(kChunk, count - start);
        for (int32_t c = 0; c < s; ++c) in[c] = src[c] + int64_t(start) * srcStrides[c];
        first->TrafoPixels8To16(m, in, midPlanes, srcStrides, ones, nullptr);
        for (int32_t i = 1, p = s; i < members; ++i) {
            const int32_t n = GetExtraChannels(i);
            if (runs[i]) {
                for (int32_t k = 0; k < n; ++k) {
                    const uint8_t* from = src[p + k] + int64_t(start) * srcStrides[p + k];
                    for (int32_t j = 0; j < m; ++j) extra[k][j] = ByteToWord(from[int64_t(j) * srcStrides[p + k]]);
                }
                GetLink(i)->TrafoPixels16(m, planes, midPlanes, ones, ones, nullptr);
            }
            p += n;
        }
        for (int32_t c = 0; c < o; ++c) {
            uint8_t* to = dst[c] + int64_t(start) * dstStrides[c];
            for (int32_t j = 0; j < m; ++j) to[int64_t(j) * dstStrides[c]] = WordToByte(mid[c][j]);
        }
        if (progress && (start / kChunk) % 16 == 15) progress->SetProgress(double(start) / count);
    }
}
