// The thirteen pixel kernels of TKLinkGeneric as instances of the one interpolation body, and the
// dispatch of Match16, Match8 and Match8To16 derived from the kernel table.
#include "link/TKLinkKernels.h"

#include "foundation/TKError.h"
#include "link/TKLinkKernelBody.h"
#include "link/TKLinkKernelIsa.h"
#include "link/TKLinkKernelsAvx2.h"

namespace {

using TKLinkKernelDetail::AxisTable;
using TKLinkKernelDetail::Run;

constexpr int32_t kAnyOutputs = TKLinkGeneric::kMaxDstDim;
constexpr int32_t kMaxN = TKLinkGeneric::kMaxSrcDim;
// The unrolled kernels keep one sum per output in locals: at most eight.
constexpr int32_t kUnrolledOutputs = 8;

// The instances, named once. Shape: channels, cells, split of channel 3.
template <class S, class D>
using GridUpTo3 = TKLinkKernelTraits<S, D, 1, 3, false, false, kAnyOutputs>;
template <class S, class D>
using GridN = TKLinkKernelTraits<S, D, 4, kMaxN, false, true, kAnyOutputs>;
template <class S, class D>
using ShiftUpTo3 = TKLinkKernelTraits<S, D, 1, 3, true, false, kAnyOutputs>;
template <class S, class D>
using ShiftN = TKLinkKernelTraits<S, D, 4, kMaxN, true, true, kAnyOutputs>;
template <class S, class D, int32_t Channels, bool Split, bool Shifted, int32_t Outputs>
using Unrolled = TKLinkKernelTraits<S, D, Channels, Channels, Shifted, Split, kUnrolledOutputs, Outputs>;

// One unrolled instance on the instruction set in use.
template <class S, class D, int32_t Channels, bool Split, bool Shifted, int32_t Outputs>
void RunOnIsa(TKLinkGeneric& link, const AxisTable* axis, int32_t count, const void* const* src, void* const* dst,
              const int32_t* srcStrides, const int32_t* dstStrides, TKProgress* progress) {
#if TK_LINK_HAS_AVX2
    constexpr bool kWide = (Channels == 3 && !Split) || (Channels == 4 && Split);
    if (kWide && TKLinkKernelIsa() == TKLinkIsa::kAvx2)
        if constexpr (kWide) return TKLinkRunAvx2<S, D, Channels, Split, Shifted, Outputs>(link, axis, count, src, dst, srcStrides,
                                                                      dstStrides, progress);
#endif
    Run<Unrolled<S, D, Channels, Split, Shifted, Outputs>>(link, axis, count, src, dst, srcStrides, dstStrides,
                                                           progress);
}

// An unrolled form of fixed sample types: three and four outputs (colour spaces and CMYK) get
// their own instance, other counts a loop up to eight.
template <class S, class D, int32_t Channels, bool Split, bool Shifted>
void RunFixed(TKLinkGeneric& link, const AxisTable* axis, int32_t count, const void* const* src, void* const* dst,
              const int32_t* srcStrides, const int32_t* dstStrides, TKProgress* progress) {
    switch (link.GetDstDim()) {
        case 3:
            return RunOnIsa<S, D, Channels, Split, Shifted, 3>(link, axis, count, src, dst, srcStrides, dstStrides,
                                                               progress);
        case 4:
            return RunOnIsa<S, D, Channels, Split, Shifted, 4>(link, axis, count, src, dst, srcStrides, dstStrides,
                                                               progress);
        default:
            return RunOnIsa<S, D, Channels, Split, Shifted, 0>(link, axis, count, src, dst, srcStrides, dstStrides,
                                                               progress);
    }
}

// A divided-cell kernel on a link of exactly the unrolled shape (3 channels, or 4 with channel 3
// split) runs the unrolled form with divided cells: the same integers, without the loops.
template <class S, class D, template <class, class> class Shape, int32_t Channels, bool Split>
void RunDivided(TKLinkGeneric& link, const AxisTable* axis, int32_t count, const void* const* src, void* const* dst,
                const int32_t* srcStrides, const int32_t* dstStrides, TKProgress* progress) {
    if (link.GetSrcDim() == Channels && link.GetDstDim() >= 1 && link.GetDstDim() <= kUnrolledOutputs)
        return RunFixed<S, D, Channels, Split, false>(link, axis, count, src, dst, srcStrides, dstStrides, progress);
    Run<Shape<S, D>>(link, axis, count, src, dst, srcStrides, dstStrides, progress);
}

// The unrolled shifted forms take their sample sizes as arguments.
template <int32_t Channels, bool Split>
void RunUnrolled(TKLinkGeneric& link, const AxisTable* axis, int32_t count, const void* const* src, void* const* dst,
                 const int32_t* srcStrides, const int32_t* dstStrides, int32_t srcBits, int32_t dstBits,
                 TKProgress* progress) {
    auto withTypes = [&](auto srcSample, auto dstSample) {
        using S = decltype(srcSample);
        using D = decltype(dstSample);
        RunFixed<S, D, Channels, Split, true>(link, axis, count, src, dst, srcStrides, dstStrides, progress);
    };
    if (srcBits == 16 && dstBits == 16) withTypes(uint16_t(), uint16_t());
    else if (srcBits == 8 && dstBits == 8) withTypes(uint8_t(), uint8_t());
    else if (srcBits == 8 && dstBits == 16) withTypes(uint8_t(), uint16_t());
    else if (srcBits == 16 && dstBits == 8) withTypes(uint16_t(), uint8_t());
    else TKThrowMsg(ArgErr, "link kernels take 8 or 16 bits per sample");
}

}  // namespace

// ---- The kernels ----

#define TK_LINK_TYPED_KERNEL(Name, S, D, Shape)                                                              \
    void TKLinkGeneric::Name(int32_t count, const S* const* src, D* const* dst, const int32_t* srcStrides,   \
                             const int32_t* dstStrides, TKProgress* progress) {                              \
        Run<Shape<S, D>>(*this, fAxisOffset, count, reinterpret_cast<const void* const*>(src),               \
                         reinterpret_cast<void* const*>(dst), srcStrides, dstStrides, progress);             \
    }

#define TK_LINK_DIVIDED_KERNEL(Name, S, D, Shape, Channels, Split)                                          \
    void TKLinkGeneric::Name(int32_t count, const S* const* src, D* const* dst, const int32_t* srcStrides,   \
                             const int32_t* dstStrides, TKProgress* progress) {                              \
        RunDivided<S, D, Shape, Channels, Split>(*this, fAxisOffset, count,                                  \
                                                 reinterpret_cast<const void* const*>(src),                  \
                                                 reinterpret_cast<void* const*>(dst), srcStrides, dstStrides, \
                                                 progress);                                                  \
    }

TK_LINK_DIVIDED_KERNEL(MatchGrid8, uint8_t, uint8_t, GridUpTo3, 3, false)
TK_LINK_DIVIDED_KERNEL(MatchGrid16, uint16_t, uint16_t, GridUpTo3, 3, false)
TK_LINK_DIVIDED_KERNEL(MatchGrid8To16, uint8_t, uint16_t, GridUpTo3, 3, false)
TK_LINK_TYPED_KERNEL(MatchShift16, uint16_t, uint16_t, ShiftUpTo3)
TK_LINK_TYPED_KERNEL(MatchShift8, uint8_t, uint8_t, ShiftUpTo3)
TK_LINK_DIVIDED_KERNEL(MatchGridN8, uint8_t, uint8_t, GridN, 4, true)
TK_LINK_DIVIDED_KERNEL(MatchGridN16, uint16_t, uint16_t, GridN, 4, true)
TK_LINK_DIVIDED_KERNEL(MatchGridN8To16, uint8_t, uint16_t, GridN, 4, true)
TK_LINK_TYPED_KERNEL(MatchShiftN16, uint16_t, uint16_t, ShiftN)
TK_LINK_TYPED_KERNEL(MatchShiftN8, uint8_t, uint8_t, ShiftN)
#undef TK_LINK_TYPED_KERNEL
#undef TK_LINK_DIVIDED_KERNEL

void TKLinkGeneric::Match3(int32_t count, const void* const* src, void* const* dst, const int32_t* srcStrides,
                           const int32_t* dstStrides, int32_t srcBits, int32_t dstBits, TKProgress* progress) {
    RunUnrolled<3, false>(*this, fAxisOffset, count, src, dst, srcStrides, dstStrides, srcBits, dstBits, progress);
}

void TKLinkGeneric::Match4Simplex(int32_t count, const void* const* src, void* const* dst, const int32_t* srcStrides,
                                  const int32_t* dstStrides, int32_t srcBits, int32_t dstBits, TKProgress* progress) {
    RunUnrolled<4, false>(*this, fAxisOffset, count, src, dst, srcStrides, dstStrides, srcBits, dstBits, progress);
}

void TKLinkGeneric::Match4(int32_t count, const void* const* src, void* const* dst, const int32_t* srcStrides,
                           const int32_t* dstStrides, int32_t srcBits, int32_t dstBits, TKProgress* progress) {
    RunUnrolled<4, true>(*this, fAxisOffset, count, src, dst, srcStrides, dstStrides, srcBits, dstBits, progress);
}

// ---- Running a kernel by identity ----

void TKLinkRunKernel(TKLinkGeneric& link, TKLinkKernel kernel, int32_t srcBits, int32_t dstBits, int32_t count,
                     const void* const* src, void* const* dst, const int32_t* srcStrides, const int32_t* dstStrides,
                     TKProgress* progress) {
    const TKLinkKernelRow& row = kLinkKernelRows[size_t(kernel)];
    if ((row.srcBits && row.srcBits != srcBits) || (row.dstBits && row.dstBits != dstBits))
        TKThrowMsg(ArgErr, "link kernel run with samples of other bits");
    auto s8 = reinterpret_cast<const uint8_t* const*>(src);
    auto s16 = reinterpret_cast<const uint16_t* const*>(src);
    auto d8 = reinterpret_cast<uint8_t* const*>(dst);
    auto d16 = reinterpret_cast<uint16_t* const*>(dst);
    switch (kernel) {
        case TKLinkKernel::MatchGrid8: return link.MatchGrid8(count, s8, d8, srcStrides, dstStrides, progress);
        case TKLinkKernel::MatchGrid16: return link.MatchGrid16(count, s16, d16, srcStrides, dstStrides, progress);
        case TKLinkKernel::MatchGrid8To16:
            return link.MatchGrid8To16(count, s8, d16, srcStrides, dstStrides, progress);
        case TKLinkKernel::MatchShift16: return link.MatchShift16(count, s16, d16, srcStrides, dstStrides, progress);
        case TKLinkKernel::MatchShift8: return link.MatchShift8(count, s8, d8, srcStrides, dstStrides, progress);
        case TKLinkKernel::Match3:
            return link.Match3(count, src, dst, srcStrides, dstStrides, srcBits, dstBits, progress);
        case TKLinkKernel::Match4Simplex:
            return link.Match4Simplex(count, src, dst, srcStrides, dstStrides, srcBits, dstBits, progress);
        case TKLinkKernel::MatchGridN8: return link.MatchGridN8(count, s8, d8, srcStrides, dstStrides, progress);
        case TKLinkKernel::MatchGridN16: return link.MatchGridN16(count, s16, d16, srcStrides, dstStrides, progress);
        case TKLinkKernel::MatchGridN8To16:
            return link.MatchGridN8To16(count, s8, d16, srcStrides, dstStrides, progress);
        case TKLinkKernel::MatchShiftN16:
            return link.MatchShiftN16(count, s16, d16, srcStrides, dstStrides, progress);
        case TKLinkKernel::MatchShiftN8: return link.MatchShiftN8(count, s8, d8, srcStrides, dstStrides, progress);
        case TKLinkKernel::Match4:
            return link.Match4(count, src, dst, srcStrides, dstStrides, srcBits, dstBits, progress);
    }
    TKThrow(ArgErr);
}

// ---- Dispatch ----

namespace {

void Dispatch(TKLinkGeneric& link, int32_t srcBits, int32_t dstBits, int32_t count, const void* const* src,
              void* const* dst, const int32_t* srcStrides, const int32_t* dstStrides, TKProgress* progress) {
    if (count < 1 || link.GetSrcDim() < 1 || link.GetDstDim() < 1) return;
    const TKLinkKernelRow* row = TKLinkPickKernel(srcBits, dstBits, link.GridPoints(), link.GridShift(),
                                                  link.GetSrcDim(), link.GetDstDim());
    if (!row) TKThrowMsg(ArgErr, "no link kernel serves these pixels");
    TKLinkRunKernel(link, row->kernel, srcBits, dstBits, count, src, dst, srcStrides, dstStrides, progress);
}

}  // namespace

void TKLinkGeneric::Match16(int32_t count, const uint16_t* const* src, uint16_t* const* dst,
                           const int32_t* srcStrides, const int32_t* dstStrides, TKProgress* progress) {
    Dispatch(*this, 16, 16, count, reinterpret_cast<const void* const*>(src), reinterpret_cast<void* const*>(dst),
             srcStrides, dstStrides, progress);
}

void TKLinkGeneric::Match8(int32_t count, const uint8_t* const* src, uint8_t* const* dst, const int32_t* srcStrides,
                          const int32_t* dstStrides, TKProgress* progress) {
    Dispatch(*this, 8, 8, count, reinterpret_cast<const void* const*>(src), reinterpret_cast<void* const*>(dst),
             srcStrides, dstStrides, progress);
}

void TKLinkGeneric::Match8To16(int32_t count, const uint8_t* const* src, uint16_t* const* dst,
                              const int32_t* srcStrides, const int32_t* dstStrides, TKProgress* progress) {
    Dispatch(*this, 8, 16, count, reinterpret_cast<const void* const*>(src), reinterpret_cast<void* const*>(dst),
             srcStrides, dstStrides, progress);
}
