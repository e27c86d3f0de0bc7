// TKReplaceColorTrafo: an explicit table of replacements around a trafo. A point rule turns one
// colour (within a tolerance) into another, a line rule turns the colours of one line into those
// of another. Rules act on the input before the held trafo, on its output, or instead of it, and
// work alike on vectors and, in integers, on 8-bit and 16-bit pixels.
#pragma once

#include <cstdint>
#include <vector>

#include "numeric/TKRefTrafo.h"

class TKReplaceColorTrafo : public TKRefTrafo {
    TK_DECLARE_CLASS(TKReplaceColorTrafo, TKRefTrafo)
public:
    // Rule modes: where a rule acts.
    enum Stage : int32_t { kInstead = 1, kBefore = 2, kAfter = 4 };
    // Flag bits besides the stages: evaluate vectors through the 8-bit or 16-bit pixel path.
    enum Route : uint32_t { kVectorsAs8Bit = 0x100, kVectorsAs16Bit = 0x200 };

    // A rule prepared for use: doubles for vectors, 16-bit-scaled integers for pixels.
    struct Rule {
        int32_t type = 0;  // 1 point, 2 line
        TKVector loSrc, loDst, srcDir, dstDir;
        double tolerance = 0.0;
        std::vector<int32_t> iLoSrc, iLoDst, iSrcDir, iDstDir;
        int64_t dirSquare = 0;
        int32_t tolerance8 = 0;
        std::vector<uint8_t> dst8;  // a point rule's output in 8 bits
    };

    TKReplaceColorTrafo() = default;
    // owned: true takes over the caller's count of `trafo`, false adds one.
    TKReplaceColorTrafo(TKTrafo* trafo, bool owned) : TKRefTrafo(trafo, owned) {}

    int32_t GetSrcDim() const override;
    int32_t GetDstDim(int32_t srcDim) const override;
    int32_t GetSrcType() const override;
    int32_t GetDstType(int32_t srcType) const override;
    TKVector Trafo(const TKVector& source) const override;
    int32_t GetInfo(int32_t index) const override;
    bool CanTrafo8() const override;
    void TrafoPixels8(int32_t count, const uint8_t* const* src, uint8_t* const* dst, const int32_t* srcStrides,
                      const int32_t* dstStrides, TKProgress* progress) const override;
    bool CanTrafo16() const override;
    void TrafoPixels16(int32_t count, const uint16_t* const* src, uint16_t* const* dst, const int32_t* srcStrides,
                       const int32_t* dstStrides, TKProgress* progress) const override;

    void SetFlags(uint32_t flags) { fFlags = flags; }
    uint32_t GetFlags() const { return fFlags; }
    void ClearRules();
    // mode 1, 2 or 4 (ArgErr otherwise); tolerance in the source colour's channel units.
    void AddPointRule(const TKVector& src, const TKVector& dst, int32_t mode, double tolerance);
    // Falls back to a point rule when the two source colours lie within the tolerance.
    void AddLineRule(const TKVector& loSrc, const TKVector& hiSrc, const TKVector& loDst, const TKVector& hiDst,
                     int32_t mode, double tolerance);
    // Bit 1: src does not map to dst exactly; bit 2: the 8-bit path is more than a step off the
    // vector result; bit 4: the 16-bit path is more than 0xFF off.
    int32_t CheckRule(const TKVector& src, const TKVector& dst) const;
    // One rule on a vector; true and `out` set when it matches (with the wanted type, if any).
    bool ApplyRule(const Rule& rule, const TKVector& in, TKVector& out, uint32_t type) const;
    // One rule on a pixel given as 16-bit samples (8-bit samples times 257); the output in the
    // same scale.
    bool ApplyRule8(const Rule& rule, const int32_t* in, int32_t* out) const;
    bool ApplyRule16(const Rule& rule, const int32_t* in, int32_t* out) const;
    // The rules of one stage (1, 2 or 4).
    const std::vector<Rule>& GetRules(int32_t mode) const;

private:
    template <class Sample>
    void Pixels(int32_t count, const Sample* const* src, Sample* const* dst, const int32_t* srcStrides,
                const int32_t* dstStrides, TKProgress* progress) const;
    template <class Sample>
    TKVector Routed(const TKVector& source) const;
    bool MatchPixel(const Rule& rule, const int32_t* in, int32_t* out, bool eightBit) const;
    std::vector<Rule>& StageRules(int32_t mode);

    uint32_t fFlags = 0xFF;
    std::vector<Rule> fRules[3];
};
