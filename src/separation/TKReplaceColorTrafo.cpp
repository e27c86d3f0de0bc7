// Replacement rules on vectors and, in integer arithmetic, on pixels.
#include "separation/TKReplaceColorTrafo.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "color/TKColors.h"
#include "foundation/TKError.h"
#include "numeric/TKSampleConversions.h"

namespace {

constexpr int32_t kChunk = 256;  // pixels gathered per call of the held trafo

int32_t StageIndex(int32_t mode) {
    switch (mode) {
        case TKReplaceColorTrafo::kInstead: return 0;
        case TKReplaceColorTrafo::kBefore: return 1;
        case TKReplaceColorTrafo::kAfter: return 2;
        default: TKThrowMsg(ArgErr, "a replacement rule acts instead of (1), before (2) or after (4) the trafo");
    }
}

uint32_t RangeType(const TKVector& v) {
    const uint32_t type = uint32_t(v.GetType());
    return type != 0 && GetChannelCount(type) == v.GetDim() ? type : GetDeviceType(v.GetDim());
}

// A colour (or a difference of colours when `difference`) in 16-bit units of its type's range.
// Rules from a data base need not lie in the range: shares are bounded to twice the range either
// way, which no pixel can reach, so that the integer arithmetic cannot overflow.
std::vector<int32_t> Scaled(const TKVector& v, uint32_t type, bool difference) {
    std::vector<int32_t> out(size_t(v.GetDim()));
    for (int32_t i = 0; i < v.GetDim(); ++i) {
        const double lo = GetChannelMin(type, i), hi = GetChannelMax(type, i);
        const double share = (v[i] - (difference ? 0.0 : lo)) / (hi - lo);
        out[size_t(i)] = int32_t(std::lround(std::clamp(std::isfinite(share) ? share : 0.0, -2.0, 2.0) * 65535.0));
    }
    return out;
}

// A colour and its two ends must agree in channel count, and a rule needs a colour at all.
void CheckColours(std::initializer_list<const TKVector*> colours) {
    for (const TKVector* v : colours)
        if (v->IsEmpty()) TKThrowMsg(ArgErr, "a replacement rule needs colours");
}

// A rule acts on pixels of `in` channels and writes `out` channels, or stays out of the way.
bool Fits(const TKReplaceColorTrafo::Rule& rule, int32_t in, int32_t out) {
    return rule.iLoSrc.size() == size_t(in) && rule.iLoDst.size() == size_t(out);
}

int32_t Clamp16(int64_t v) { return int32_t(std::clamp<int64_t>(v, 0, 65535)); }

}  // namespace

std::vector<TKReplaceColorTrafo::Rule>& TKReplaceColorTrafo::StageRules(int32_t mode) { return fRules[StageIndex(mode)]; }
const std::vector<TKReplaceColorTrafo::Rule>& TKReplaceColorTrafo::GetRules(int32_t mode) const {
    return fRules[StageIndex(mode)];
}

void TKReplaceColorTrafo::ClearRules() {
    for (std::vector<Rule>& rules : fRules) rules.clear();
}

void TKReplaceColorTrafo::AddPointRule(const TKVector& src, const TKVector& dst, int32_t mode, double tolerance) {
    CheckColours({&src, &dst});
    std::vector<Rule>& stage = StageRules(mode);
    if (!(tolerance >= 0.0)) TKThrowMsg(ArgErr, "a replacement tolerance is not negative");
    for (const TKVector* colour : {&src, &dst})
        for (int32_t i = 0; i < colour->GetDim(); ++i)
            if (!std::isfinite((*colour)[i])) TKThrowMsg(ArgErr, "a replacement colour has a value that is no number");
    Rule rule;
    rule.type = 1;
    rule.loSrc = src;
    rule.loDst = dst;
    rule.srcDir = TKVector(src.GetDim(), src.GetType());
    rule.dstDir = TKVector(dst.GetDim(), dst.GetType());
    rule.tolerance = tolerance;
    const uint32_t srcType = RangeType(src), dstType = RangeType(dst);
    rule.iLoSrc = Scaled(src, srcType, false);
    rule.iLoDst = Scaled(dst, dstType, false);
    rule.iSrcDir.assign(size_t(src.GetDim()), 0);
    rule.iDstDir.assign(size_t(dst.GetDim()), 0);
    // A tolerance of the whole range or more matches every pixel.
    const double share8 = tolerance / (GetChannelMax(srcType, 0) - GetChannelMin(srcType, 0)) * 255.0;
    rule.tolerance8 = int32_t(std::lround(std::min(share8, 255.0)));
    for (int32_t i = 0; i < dst.GetDim(); ++i)
        rule.dst8.push_back(DoubleToByte(dst[i], GetChannelMin(dstType, i), GetChannelMax(dstType, i)));
    stage.push_back(std::move(rule));
}

void TKReplaceColorTrafo::AddLineRule(const TKVector& loSrc, const TKVector& hiSrc, const TKVector& loDst,
                                      const TKVector& hiDst, int32_t mode, double tolerance) {
    CheckColours({&loSrc, &hiSrc, &loDst, &hiDst});
    if (loSrc.GetDim() != hiSrc.GetDim() || loDst.GetDim() != hiDst.GetDim()) TKThrow(DimMismatch);
    if (loSrc.Distance(hiSrc) <= tolerance) return AddPointRule(loSrc, loDst, mode, tolerance);
    AddPointRule(loSrc, loDst, mode, tolerance);
    Rule& rule = StageRules(mode).back();
    rule.type = 2;
    rule.srcDir = hiSrc - loSrc;
    rule.dstDir = hiDst - loDst;
    rule.iSrcDir = Scaled(rule.srcDir, RangeType(loSrc), true);
    rule.iDstDir = Scaled(rule.dstDir, RangeType(loDst), true);
    rule.dirSquare = 0;
    for (int32_t d : rule.iSrcDir) rule.dirSquare += int64_t(d) * d;
    if (rule.dirSquare == 0) rule.type = 1;  // too short to have a direction in 16 bits
}

bool TKReplaceColorTrafo::ApplyRule(const Rule& rule, const TKVector& in, TKVector& out, uint32_t type) const {
    if (in.GetDim() != rule.loSrc.GetDim()) return false;
    if (type != 0 && rule.loDst.GetType() != 0 && uint32_t(rule.loDst.GetType()) != type) return false;
    double t = 0.0;
    if (rule.type == 2) {
        const double square = rule.srcDir.Dot(rule.srcDir);
        if (square > 0.0) t = (in - rule.loSrc).Dot(rule.srcDir) / square;
    } else if (rule.type != 1) {
        TKThrow(ArgErr);
    }
    const TKVector nearest = rule.loSrc + t * rule.srcDir;
    if (in.MaxDistance(nearest) > rule.tolerance) return false;
    out = rule.loDst + t * rule.dstDir;
    if (type != 0) out.SetType(int32_t(type));
    return true;
}

bool TKReplaceColorTrafo::MatchPixel(const Rule& rule, const int32_t* in, int32_t* out, bool) const {
    const size_t n = rule.iLoSrc.size();
    if (rule.type == 1) {
        // Points compare in 8 bits, the high byte, with the 8-bit tolerance.
        for (size_t i = 0; i < n; ++i)
            if (std::abs((in[i] >> 8) - (rule.iLoSrc[i] >> 8)) > rule.tolerance8) return false;
        for (size_t i = 0; i < rule.dst8.size(); ++i) out[i] = rule.dst8[i] * 0x101;
        return true;
    }
    if (rule.type != 2) TKThrow(UndefProc);
    // A line: every channel within the direction's extent of its start (by the direction's sign,
    // widened by the tolerance), then t from the integer dot product in 1/65536 steps.
    const int32_t tolerance16 = rule.tolerance8 * 257;
    int64_t dot = 0;
    for (size_t i = 0; i < n; ++i) {
        const int32_t d = in[i] - rule.iLoSrc[i], dir = rule.iSrcDir[i];
        const int32_t lo = std::min(0, dir) - tolerance16, hi = std::max(0, dir) + tolerance16;
        if (d < lo || d > hi) return false;
        dot += int64_t(d) * dir;
    }
    const int64_t t = dot * 65536 / rule.dirSquare;
    for (size_t i = 0; i < n; ++i) {
        const int64_t nearest = rule.iLoSrc[i] + ((t * rule.iSrcDir[i]) >> 16);
        if (std::abs(int64_t(in[i]) - nearest) >> 8 > rule.tolerance8) return false;
    }
    for (size_t i = 0; i < rule.iLoDst.size(); ++i) out[i] = Clamp16(rule.iLoDst[i] + ((t * rule.iDstDir[i]) >> 16));
    return true;
}

bool TKReplaceColorTrafo::ApplyRule8(const Rule& rule, const int32_t* in, int32_t* out) const {
    return MatchPixel(rule, in, out, true);
}
bool TKReplaceColorTrafo::ApplyRule16(const Rule& rule, const int32_t* in, int32_t* out) const {
    return MatchPixel(rule, in, out, false);
}

int32_t TKReplaceColorTrafo::GetSrcDim() const { return fRefTrafo ? fRefTrafo->GetSrcDim() : 0; }
int32_t TKReplaceColorTrafo::GetDstDim(int32_t srcDim) const {
    return fRefTrafo ? fRefTrafo->GetDstDim(srcDim) : TKRefTrafo::GetDstDim(srcDim);
}
int32_t TKReplaceColorTrafo::GetSrcType() const { return fRefTrafo ? fRefTrafo->GetSrcType() : 0; }
int32_t TKReplaceColorTrafo::GetDstType(int32_t srcType) const {
    return fRefTrafo ? fRefTrafo->GetDstType(srcType) : srcType;
}
int32_t TKReplaceColorTrafo::GetInfo(int32_t index) const {
    return index == kInfoIdentity ? 0 : TKRefTrafo::GetInfo(index);
}

TKVector TKReplaceColorTrafo::Trafo(const TKVector& source) const {
    if (fFlags & kVectorsAs8Bit) return Routed<uint8_t>(source);
    if (fFlags & kVectorsAs16Bit) return Routed<uint16_t>(source);
    const uint32_t srcType = uint32_t(GetSrcType()), dstType = uint32_t(GetDstType(int32_t(srcType)));
    const int32_t n = source.GetDim(), m = GetDstDim(n);
    TKVector out;
    if (fFlags & kInstead)
        for (const Rule& rule : fRules[0])
            if (Fits(rule, n, m) && ApplyRule(rule, source, out, dstType)) return out;
    TKVector in(source);
    if (fFlags & kBefore)
        for (const Rule& rule : fRules[1])
            if (Fits(rule, n, n) && ApplyRule(rule, source, in, srcType)) break;
    out = fRefTrafo ? fRefTrafo->Trafo(in) : in;
    if (fFlags & kAfter) {
        const TKVector made(out);
        for (const Rule& rule : fRules[2])
            if (Fits(rule, made.GetDim(), made.GetDim()) && ApplyRule(rule, made, out, dstType)) break;
    }
    return out;
}

template <class Sample>
TKVector TKReplaceColorTrafo::Routed(const TKVector& source) const {
    const int32_t n = GetSrcDim(), m = GetDstDim(n);
    if (n < 1 || m < 1 || source.GetDim() != n) TKThrow(DimMismatch);
    const uint32_t srcType = uint32_t(GetSrcType()) ? uint32_t(GetSrcType()) : GetDeviceType(n);
    const uint32_t dstType = uint32_t(GetDstType(int32_t(srcType))) ? uint32_t(GetDstType(int32_t(srcType))) : GetDeviceType(m);
    std::vector<Sample> in(static_cast<size_t>(n)), out(static_cast<size_t>(m));
    const TKVector srcMin = GetMinVector(srcType), srcMax = GetMaxVector(srcType);
    const TKVector dstMin = GetMinVector(dstType), dstMax = GetMaxVector(dstType);
    std::vector<const Sample*> srcPointers;
    std::vector<Sample*> dstPointers;
    for (int32_t i = 0; i < n; ++i) {
        in[size_t(i)] = sizeof(Sample) == 1 ? Sample(DoubleToByte(source[i], srcMin[i], srcMax[i]))
                                            : Sample(DoubleToWord(source[i], srcMin[i], srcMax[i]));
        srcPointers.push_back(&in[size_t(i)]);
    }
    for (int32_t i = 0; i < m; ++i) dstPointers.push_back(&out[size_t(i)]);
    const std::vector<int32_t> strides(size_t(std::max(n, m)), 1);
    Pixels<Sample>(1, srcPointers.data(), dstPointers.data(), strides.data(), strides.data(), nullptr);
    TKVector result(m, int32_t(dstType));
    for (int32_t i = 0; i < m; ++i)
        result[i] = sizeof(Sample) == 1 ? ByteToDouble(uint8_t(out[size_t(i)]), dstMin[i], dstMax[i])
                                        : WordToDouble(uint16_t(out[size_t(i)]), dstMin[i], dstMax[i]);
    return result;
}

template <class Sample>
void TKReplaceColorTrafo::Pixels(int32_t count, const Sample* const* src, Sample* const* dst,
                                 const int32_t* srcStrides, const int32_t* dstStrides, TKProgress* progress) const {
    if (!fRefTrafo) TKThrowMsg(UnexpectedErr, "replacement on pixels needs the trafo it replaces in");
    const int32_t n = GetSrcDim(), m = GetDstDim(n);
    if (n < 1 || m < 1 || n > kMaxPixelChannels || m > kMaxPixelChannels) TKThrow(DimMismatch);
    if (count <= 0) return;
    if (!src || !dst || !srcStrides || !dstStrides) TKThrow(ArgErr);
    constexpr bool eightBit = sizeof(Sample) == 1;
    const auto widen = [](Sample s) { return eightBit ? int32_t(s) * 257 : int32_t(s); };
    const auto narrow = [](int32_t v) { return eightBit ? Sample(WordToByte(uint16_t(v))) : Sample(v); };
    const uint32_t srcType = uint32_t(GetSrcType()) ? uint32_t(GetSrcType()) : GetDeviceType(n);
    const uint32_t dstType = uint32_t(GetDstType(int32_t(srcType))) ? uint32_t(GetDstType(int32_t(srcType))) : GetDeviceType(m);
    const bool refPixels = eightBit ? fRefTrafo->CanTrafo8() : fRefTrafo->CanTrafo16();

    std::vector<Sample> inBuffer(size_t(kChunk) * n), outBuffer(size_t(kChunk) * m);
    std::vector<int32_t> replaced(size_t(kChunk) * m);
    std::vector<char> done(kChunk);
    std::vector<int32_t> wide(static_cast<size_t>(std::max(n, m))), result(static_cast<size_t>(m));
    for (int64_t first = 0; first < count; first += kChunk) {
        const int32_t chunk = int32_t(std::min<int64_t>(kChunk, count - first));
        // Rules in front of the trafo: replacements instead of it, rewrites of its input.
        for (int32_t p = 0; p < chunk; ++p) {
            for (int32_t c = 0; c < n; ++c) wide[size_t(c)] = widen(src[c][(first + p) * srcStrides[c]]);
            done[size_t(p)] = 0;
            if (fFlags & kInstead)
                for (const Rule& rule : fRules[0])
                    if (Fits(rule, n, m) && MatchPixel(rule, wide.data(), &replaced[size_t(p) * m], eightBit)) {
                        done[size_t(p)] = 1;
                        break;
                    }
            if (!done[size_t(p)] && (fFlags & kBefore))
                for (const Rule& rule : fRules[1])
                    if (Fits(rule, n, n) && MatchPixel(rule, wide.data(), wide.data(), eightBit))
                        break;
            for (int32_t c = 0; c < n; ++c) inBuffer[size_t(p) * n + c] = narrow(wide[size_t(c)]);
        }
        // The held trafo, on its own pixel path where it has one.
        if (refPixels) {
            const Sample* inPointers[kMaxPixelChannels];
            Sample* outPointers[kMaxPixelChannels];
            int32_t inStrides[kMaxPixelChannels], outStrides[kMaxPixelChannels];
            for (int32_t c = 0; c < n; ++c) {
                inPointers[c] = inBuffer.data() + c;
                inStrides[c] = n;
            }
            for (int32_t c = 0; c < m; ++c) {
                outPointers[c] = outBuffer.data() + c;
                outStrides[c] = m;
            }
            if (eightBit)
                fRefTrafo->TrafoPixels8(chunk, reinterpret_cast<const uint8_t* const*>(inPointers),
                                        reinterpret_cast<uint8_t* const*>(outPointers), inStrides, outStrides, progress);
            else
                fRefTrafo->TrafoPixels16(chunk, reinterpret_cast<const uint16_t* const*>(inPointers),
                                         reinterpret_cast<uint16_t* const*>(outPointers), inStrides, outStrides, progress);
        } else {
            const TKVector srcMin = GetMinVector(srcType), srcMax = GetMaxVector(srcType);
            const TKVector dstMin = GetMinVector(dstType), dstMax = GetMaxVector(dstType);
            for (int32_t p = 0; p < chunk; ++p) {
                TKVector colour(n, int32_t(srcType));
                for (int32_t c = 0; c < n; ++c)
                    colour[c] = eightBit ? ByteToDouble(uint8_t(inBuffer[size_t(p) * n + c]), srcMin[c], srcMax[c])
                                         : WordToDouble(uint16_t(inBuffer[size_t(p) * n + c]), srcMin[c], srcMax[c]);
                const TKVector mapped = fRefTrafo->Trafo(colour);
                if (mapped.GetDim() != m) TKThrow(DimMismatch);
                for (int32_t c = 0; c < m; ++c)
                    outBuffer[size_t(p) * m + c] = eightBit ? Sample(DoubleToByte(mapped[c], dstMin[c], dstMax[c]))
                                                            : Sample(DoubleToWord(mapped[c], dstMin[c], dstMax[c]));
            }
        }
        // Rules behind the trafo, then the pixels out.
        for (int32_t p = 0; p < chunk; ++p) {
            if (done[size_t(p)]) {
                for (int32_t c = 0; c < m; ++c) result[size_t(c)] = replaced[size_t(p) * m + c];
            } else {
                for (int32_t c = 0; c < m; ++c) result[size_t(c)] = widen(outBuffer[size_t(p) * m + c]);
                if (fFlags & kAfter)
                    for (const Rule& rule : fRules[2])
                        if (Fits(rule, m, m) && MatchPixel(rule, result.data(), result.data(), eightBit)) break;
            }
            for (int32_t c = 0; c < m; ++c) dst[c][(first + p) * dstStrides[c]] = narrow(result[size_t(c)]);
        }
    }
}

bool TKReplaceColorTrafo::CanTrafo8() const { return fRefTrafo && GetSrcDim() > 0 && GetDstDim(GetSrcDim()) > 0; }
bool TKReplaceColorTrafo::CanTrafo16() const { return CanTrafo8(); }

void TKReplaceColorTrafo::TrafoPixels8(int32_t count, const uint8_t* const* src, uint8_t* const* dst,
                                       const int32_t* srcStrides, const int32_t* dstStrides, TKProgress* progress) const {
    Pixels<uint8_t>(count, src, dst, srcStrides, dstStrides, progress);
}

void TKReplaceColorTrafo::TrafoPixels16(int32_t count, const uint16_t* const* src, uint16_t* const* dst,
                                        const int32_t* srcStrides, const int32_t* dstStrides, TKProgress* progress) const {
    Pixels<uint16_t>(count, src, dst, srcStrides, dstStrides, progress);
}

int32_t TKReplaceColorTrafo::CheckRule(const TKVector& src, const TKVector& dst) const {
    int32_t bits = 0;
    const TKVector made = Trafo(src);
    if (made.GetDim() != dst.GetDim() || made.MaxDistance(dst) > 0.0) bits |= 1;
    if (made.GetDim() != GetDstDim(GetSrcDim())) return bits | 6;
    const uint32_t dstType = uint32_t(made.GetType()) ? uint32_t(made.GetType()) : GetDeviceType(made.GetDim());
    const TKVector via8 = Routed<uint8_t>(src), via16 = Routed<uint16_t>(src);
    for (int32_t i = 0; i < made.GetDim(); ++i) {
        const double lo = GetChannelMin(dstType, i), hi = GetChannelMax(dstType, i);
        if (std::abs(int32_t(DoubleToByte(via8[i], lo, hi)) - int32_t(DoubleToByte(made[i], lo, hi))) > 1) bits |= 2;
        if (std::abs(int32_t(DoubleToWord(via16[i], lo, hi)) - int32_t(DoubleToWord(made[i], lo, hi))) > 0xFF) bits |= 4;
    }
    return bits;
}
