// TKMCMergeTrafoBase: a chain of trafos for jobs with more channels than one table holds well.
// Member 0 maps its source channels to the destination; every further member takes the
// destination reached so far plus its own extra source channels and gives a new destination of
// the same channels, so spot colours are overprinted on the result one after the other.
#pragma once

#include <algorithm>
#include <cstdint>

#include "numeric/TKTrafo.h"

class TKMCMergeTrafoBase : public TKTrafo {
    TK_DECLARE_CLASS(TKMCMergeTrafoBase, TKTrafo)
public:
    // Source channels a merge chain takes at most: what a host's plane arrays hold.
    static constexpr int32_t kMaxChannels = 36;

    // With the flag set, a member whose extra channels are all 0 is passed over: an empty spot
    // plane costs a test of its samples and no table work.
    void SetSkipEmptyChannels(bool skip) { fSkipEmptyChannels = skip; }
    bool GetSkipEmptyChannels() const { return fSkipEmptyChannels; }

    // Nothing for a null trafo or an empty chain; otherwise InvalidTrafo unless the trafo gives
    // the chain's destination channels and takes at least as many.
    virtual void CheckMember(TKTrafo* trafo) const;
    // The chain; the base holds none.
    virtual int32_t GetMemberCount() const;
    virtual TKTrafo* GetMember(int32_t index) const;

    // ---- TKTrafo ----
    // Member 0's source channels plus every member's extra channels; InvalidTrafo for a member
    // with fewer source channels than the destination has.
    int32_t GetSrcDim() const override;
    int32_t GetDstDim(int32_t srcDim) const override;
    int32_t GetDstDim() const;
    // One member: its source type; more: the device type of the source channels.
    int32_t GetSrcType() const override;
    // The destination type of member 0.
    int32_t GetDstType(int32_t srcType) const override;
    // The colour through each member in turn; DimMismatch for a vector of another dimension.
    TKVector Trafo(const TKVector& source) const override;
    bool CanTrafo8() const override { return true; }
    bool CanTrafo16() const override { return true; }
    // Member 0 from the first source planes into the destination planes, then each further
    // member from the destination planes plus its extra source planes back into them, in place.
    void TrafoPixels8(int32_t count, const uint8_t* const* src, uint8_t* const* dst, const int32_t* srcStrides,
                      const int32_t* dstStrides, TKProgress* progress) const override;
    void TrafoPixels16(int32_t count, const uint16_t* const* src, uint16_t* const* dst, const int32_t* srcStrides,
                       const int32_t* dstStrides, TKProgress* progress) const override;

    // The destination channels shared by every member (member 0's); 0 without members.
    int32_t GetMergeDstDim() const;
    // Source channels member `index` adds beyond the destination channels (member 0: all of its own).
    int32_t GetExtraChannels(int32_t index) const;

protected:
    // Which members after the first run over these pixels (runs[i]): all without the skip flag,
    // else those with ink in their extra planes. False when none runs.
    template <class Sample>
    bool FindRunningMembers(int32_t count, const Sample* const* src, const int32_t* srcStrides, bool* runs) const;

    // With the skip flag and members after the first: `matchFirst(start, n)` matches member 0
    // chunk by chunk, and each chunk's extra planes are tested for ink right after, while the
    // kernel's reads still hold them in cache (the kernel hides the memory's latency behind its
    // arithmetic, a bare scan can't), until one has ink. True when no plane has ink: the run is
    // done. Otherwise `matched` pixels are done by member 0 (none without the flag or further members).
    template <class Sample, class MatchFirst>
    bool MatchFirstUntilInk(int32_t count, const Sample* const* src, const int32_t* srcStrides,
                            MatchFirst&& matchFirst, int32_t& matched) const {
        const int32_t first = GetExtraChannels(0);
        const int32_t extras = GetSrcDim() - first;
        matched = 0;
        if (!fSkipEmptyChannels || GetMemberCount() < 2) return false;
        const Sample* planes[kMaxPixelChannels];
        for (int32_t start = 0; start < count; start += kInkChunk) {
            const int32_t n = std::min(kInkChunk, count - start);
            matchFirst(start, n);
            matched = start + n;
            for (int32_t c = 0; c < extras; ++c) planes[c] = src[first + c] + int64_t(start) * srcStrides[first + c];
            if (HasInk(n, planes, srcStrides + first, extras)) return false;
        }
        return true;
    }

private:
    // Pixels per chunk of the ink test: long enough that a kernel's set-up per call is lost in
    // it, short enough that the chunk's samples (up to 12 bytes a pixel for 16-bit CMYK and two
    // spots) and member 0's results stay in the second-level cache between match and test.
    static constexpr int32_t kInkChunk = 16384;

    static bool HasInk(int32_t count, const uint8_t* const* planes, const int32_t* strides, int32_t channels);
    static bool HasInk(int32_t count, const uint16_t* const* planes, const int32_t* strides, int32_t channels);

    template <class Sample>
    void MatchPlanes(int32_t count, const Sample* const* src, Sample* const* dst, const int32_t* srcStrides,
                     const int32_t* dstStrides, TKProgress* progress) const;

    bool fSkipEmptyChannels = false;
};
