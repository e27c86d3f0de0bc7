// TKLinkGeneric: table allocation, baking through the evaluation hooks, lazy nodes and copies.
#include "link/TKLinkGeneric.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <new>

#include "foundation/TKDebug.h"
#include "foundation/TKError.h"
#include "foundation/TKProgress.h"
#include "numeric/TKSampleConversions.h"

namespace {

// A zero-filled table of `count` elements, or MemFullErr.
template <class T>
std::unique_ptr<T[]> NewTable(uint64_t count) {
    T* table = new (std::nothrow) T[count]();
    if (!table) TKThrow(MemFullErr);
    return std::unique_ptr<T[]>(table);
}

template <class T>
void CopyTable(std::unique_ptr<T[]>& to, const std::unique_ptr<T[]>& from, uint64_t count) {
    if (from && to && count) std::memcpy(to.get(), from.get(), count * sizeof(T));
}

// Position i of a table of `size` entries spread over the 16-bit range.
uint16_t CurvePosition(int32_t i, int32_t size) {
    return size < 2 ? 0 : static_cast<uint16_t>(uint32_t(i) * 65535u / uint32_t(size - 1));
}

constexpr const char* kIncompleteMessage = "TKLinkGeneric: Unexpected LUTState in FillWordCLut()";

}  // namespace

TKLinkGeneric::TKLinkGeneric() = default;

TKLinkGeneric::TKLinkGeneric(const TKLinkGeneric& other) { CopyFrom(other); }

TKLinkGeneric& TKLinkGeneric::operator=(const TKLinkGeneric& other) {
    CopyFrom(other);
    return *this;
}

TKLinkGeneric::~TKLinkGeneric() = default;

int32_t TKLinkGeneric::GridShiftOf(int32_t gridPoints) {
    for (int32_t k = 1; k <= 6; ++k)
        if (gridPoints == (1 << k) + 1) return k;
    return 0;
}

uint16_t TKLinkGeneric::NodePosition(int32_t k, int32_t gridPoints) {
    if (gridPoints < 2) return 0;
    if (k + 1 < gridPoints) return static_cast<uint16_t>((uint32_t(k) << 16) / uint32_t(gridPoints - 1));
    return 0xFFFF;
}

void TKLinkGeneric::ClearTables() {
    fInputCurves.reset();
    fOutputCurves.reset();
    fNodes.reset();
    fInput8.reset();
    fOutput8.reset();
    fNodeDone.store(nullptr, std::memory_order_release);
    fNodeDoneBlock.reset();
    fNodeDoneCount.store(0, std::memory_order_release);
    fSrcDim = fDstDim = fGridPoints = fGridShift = 0;
    fNodeCount = 0;
    fHasInputCurves = fHasOutputCurves = false;
    std::memset(fAxisOffset, 0, sizeof fAxisOffset);
    std::memset(fStride, 0, sizeof fStride);
}

void TKLinkGeneric::Init(int32_t srcDim, int32_t dstDim, int32_t grid, int32_t lazy) {
    if (srcDim < 1 || srcDim > kMaxSrcDim || dstDim < 1 || dstDim > kMaxDstDim) TKThrow(ArgErr);
    if (grid < kMinGridPoints || grid > kMaxGridPoints) TKThrow(ArgErr);
    // The node count is checked in 64 bits before anything is allocated: 65^16 nodes must be
    // refused, not wrapped around.
    uint64_t nodeCount = 1;
    for (int32_t c = 0; c < srcDim; ++c) {
        nodeCount *= uint64_t(grid);
        if (nodeCount * uint64_t(dstDim) * 2u > kMaxNodeBytes) TKThrow(MemFullErr);
    }

    ClearTables();
    fInputCurveSize = fOutputCurveSize = kCurveSize;
    fInput8Size = kInput8Size;
    fOutput8Size = fOutputCurveSize;

    fInputCurves = NewTable<uint16_t>(uint64_t(srcDim) * fInputCurveSize + kTablePadding);
    fOutputCurves = NewTable<uint16_t>(uint64_t(dstDim) * fOutputCurveSize + kTablePadding);
    fNodes = NewTable<uint16_t>(nodeCount * uint64_t(dstDim) + kTablePadding);
    fInput8 = NewTable<uint16_t>(uint64_t(srcDim) * fInput8Size + kTablePadding);
    fOutput8 = NewTable<uint8_t>(uint64_t(dstDim) * fOutput8Size + kTablePadding);
    if ((lazy & 3) == 1) {
        fNodeDoneBlock = NewTable<std::atomic<uint8_t>>(nodeCount);
        for (uint64_t i = 0; i < nodeCount; ++i) fNodeDoneBlock[i].store(0, std::memory_order_relaxed);
        fNodeDone.store(fNodeDoneBlock.get(), std::memory_order_release);
    }

    fSrcDim = srcDim;
    fDstDim = dstDim;
    fGridPoints = grid;
    fGridShift = GridShiftOf(grid);
    fNodeCount = static_cast<uint32_t>(nodeCount);
    int32_t stride = 1;
    for (int32_t c = srcDim - 1; c >= 0; --c) {
        fStride[c] = stride;
        // Entries past the grid are never read; leaving them 0 keeps k * stride from overflowing
        // for the large strides of many-channel grids.
        for (int32_t k = 0; k < grid; ++k) fAxisOffset[c][k] = k * stride;
        if (c > 0) stride *= grid;
    }
}

int32_t TKLinkGeneric::GetSrcDim() const { return fSrcDim; }

int32_t TKLinkGeneric::GetDstDim() const { return fDstDim; }

void TKLinkGeneric::Finish(bool hasIn, bool hasOut, TKProgress* progress) {
    if (!fNodes || !fInputCurves || !fOutputCurves) TKThrow(PtrInvalid);
    fHasInputCurves = hasIn;
    fHasOutputCurves = hasOut;
    uint16_t in[kMaxDstDim];
    uint16_t out[kMaxDstDim];
    uint8_t bytes[kMaxDstDim];

    // Every channel of a curve table is computed from one sample array with the same position in
    // each channel, so a trafo that mixes channels still sees a neutral input.
    for (int32_t i = 0; i < fInputCurveSize; ++i) {
        std::fill(in, in + fSrcDim, CurvePosition(i, fInputCurveSize));
        if (fHasInputCurves)
            EvalInput16(in, out);
        else
            std::copy(in, in + fSrcDim, out);
        for (int32_t c = 0; c < fSrcDim; ++c) fInputCurves[size_t(c) * fInputCurveSize + i] = out[c];
    }
    for (int32_t b = 0; b < fInput8Size; ++b) {
        std::fill(bytes, bytes + fSrcDim, static_cast<uint8_t>(b));
        if (fHasInputCurves)
            EvalInput8(bytes, out);
        else
            std::fill(out, out + fSrcDim, ByteToWord(static_cast<uint8_t>(b)));
        for (int32_t c = 0; c < fSrcDim; ++c) fInput8[size_t(c) * fInput8Size + b] = out[c];
    }

    // A lazy link leaves its nodes to their first use.
    if (!NodeFlags()) ComputeNodes(progress, nullptr, true);

    for (int32_t i = 0; i < fOutputCurveSize; ++i) {
        std::fill(in, in + fDstDim, CurvePosition(i, fOutputCurveSize));
        if (fHasOutputCurves)
            EvalOutput16(in, out);
        else
            std::copy(in, in + fDstDim, out);
        for (int32_t o = 0; o < fDstDim; ++o) fOutputCurves[size_t(o) * fOutputCurveSize + i] = out[o];
    }
    for (int32_t i = 0; i < fOutput8Size; ++i) {
        std::fill(in, in + fDstDim, CurvePosition(i, fOutput8Size));
        if (fHasOutputCurves)
            EvalOutput8(in, bytes);
        else
            for (int32_t o = 0; o < fDstDim; ++o) bytes[o] = WordToByte(in[o]);
        for (int32_t o = 0; o < fDstDim; ++o) fOutput8[size_t(o) * fOutput8Size + i] = bytes[o];
    }
}

void TKLinkGeneric::ComputeNodeValues(uint32_t index, TKLinkGeneric* from, uint16_t* values) {
    uint16_t position[kMaxSrcDim];
    uint32_t rest = index;
    for (int32_t c = fSrcDim - 1; c >= 0; --c) {
        position[c] = NodePosition(int32_t(rest % uint32_t(fGridPoints)), fGridPoints);
        rest /= uint32_t(fGridPoints);
    }
    if (!from) {
        EvalNode(position, values);
        return;
    }
    // One pixel through the other link, planar with one sample per channel. Its channel counts
    // must be these: the kernel writes every one of its outputs.
    if (from->GetSrcDim() != fSrcDim || from->GetDstDim() != fDstDim) TKThrow(DimMismatch);
    const uint16_t* src[kMaxSrcDim];
    uint16_t* dst[kMaxDstDim];
    int32_t srcStrides[kMaxSrcDim];
    int32_t dstStrides[kMaxDstDim];
    for (int32_t c = 0; c < fSrcDim; ++c) {
        src[c] = position + c;
        srcStrides[c] = int32_t(sizeof(uint16_t));
    }
    for (int32_t o = 0; o < fDstDim; ++o) {
        dst[o] = values + o;
        dstStrides[o] = int32_t(sizeof(uint16_t));
    }
    from->Match16(1, src, dst, srcStrides, dstStrides, nullptr);
}

void TKLinkGeneric::StoreNode(uint32_t index, const uint16_t* values) {
    std::memcpy(fNodes.get() + size_t(index) * fDstDim, values, size_t(fDstDim) * sizeof(uint16_t));
    std::atomic<uint8_t>* flags = fNodeDone.load(std::memory_order_acquire);
    if (!flags || flags[index].load(std::memory_order_relaxed)) return;
    // The flag is published only after the values: a kernel that sees it set reads whole nodes.
    flags[index].store(1, std::memory_order_release);
    uint32_t done = fNodeDoneCount.fetch_add(1, std::memory_order_acq_rel) + 1;
    if (done >= fNodeCount) fNodeDone.store(nullptr, std::memory_order_release);
}

void TKLinkGeneric::CalcNode(uint32_t index, TKLinkGeneric* from) {
    if (index >= fNodeCount || !fNodes) TKThrow(IndexError);
    std::lock_guard<std::mutex> guard(fLock);
    std::atomic<uint8_t>* flags = fNodeDone.load(std::memory_order_acquire);
    if (!flags || flags[index].load(std::memory_order_acquire)) return;
    uint16_t values[kMaxDstDim];
    ComputeNodeValues(index, from, values);
    StoreNode(index, values);
}

void TKLinkGeneric::ComputeNodes(TKProgress* progress, TKLinkGeneric* from, bool all) {
    using Clock = std::chrono::steady_clock;
    auto lastReport = Clock::now();
    uint16_t values[kMaxDstDim];
    for (uint32_t i = 0; i < fNodeCount; ++i) {
        if (all) {
            ComputeNodeValues(i, from, values);
            std::memcpy(fNodes.get() + size_t(i) * fDstDim, values, size_t(fDstDim) * sizeof(uint16_t));
        } else {
            const std::atomic<uint8_t>* flags = fNodeDone.load(std::memory_order_acquire);
            if (!flags) break;
            if (flags[i].load(std::memory_order_acquire)) continue;
            CalcNode(i, from);  // tests the flag again under the lock
        }
        if (progress && Clock::now() - lastReport > std::chrono::milliseconds(1000)) {
            progress->SetProgress(double(i) / double(fNodeCount));
            lastReport = Clock::now();
        }
    }
    if (progress) progress->SetProgress(1.0);
}

void TKLinkGeneric::FillNodes(TKProgress* progress, TKLinkGeneric* from) {
    ComputeNodes(progress, from, false);
    if (!IsComplete()) DebugWrite(kDebugGeneral, kIncompleteMessage);
}

void TKLinkGeneric::CopyNode(uint32_t node, const uint16_t* values) {
    if (!values) TKThrow(ArgErr);
    if (node >= fNodeCount || !fNodes) TKThrow(IndexError);
    std::lock_guard<std::mutex> guard(fLock);
    StoreNode(node, values);
}

bool TKLinkGeneric::IsComplete() const {
    return !fNodeDone.load(std::memory_order_acquire) ||
           fNodeDoneCount.load(std::memory_order_acquire) >= fNodeCount;
}

void TKLinkGeneric::CopyFrom(const TKLinkGeneric& link) {
    if (&link == this) return;
    if (link.fSrcDim > kMaxSrcDim || link.fDstDim > kMaxDstDim) TKThrow(ArgErr);
    if (!link.fNodes) {
        ClearTables();
        return;
    }
    // The source may be a lazy link in use on other threads: its lock gives a consistent
    // snapshot of nodes and flags.
    std::lock_guard<std::mutex> guard(link.fLock);
    const std::atomic<uint8_t>* flags = link.fNodeDone.load(std::memory_order_acquire);
    Init(link.fSrcDim, link.fDstDim, link.fGridPoints, flags ? 1 : 0);
    fHasInputCurves = link.fHasInputCurves;
    fHasOutputCurves = link.fHasOutputCurves;
    CopyTable(fInputCurves, link.fInputCurves, uint64_t(fSrcDim) * fInputCurveSize);
    CopyTable(fOutputCurves, link.fOutputCurves, uint64_t(fDstDim) * fOutputCurveSize);
    CopyTable(fNodes, link.fNodes, uint64_t(fNodeCount) * fDstDim);
    CopyTable(fInput8, link.fInput8, uint64_t(fSrcDim) * fInput8Size);
    CopyTable(fOutput8, link.fOutput8, uint64_t(fDstDim) * fOutput8Size);
    if (flags) {
        for (uint32_t i = 0; i < fNodeCount; ++i)
            fNodeDoneBlock[i].store(flags[i].load(std::memory_order_relaxed), std::memory_order_relaxed);
        fNodeDoneCount.store(link.fNodeDoneCount.load(std::memory_order_acquire), std::memory_order_release);
    }
}

void TKLinkGeneric::ResampleFrom(TKLinkGeneric& link, int32_t grid) {
    if (grid == link.fGridPoints || !link.fNodes) {
        CopyFrom(link);
        return;
    }
    link.FillNodes(nullptr);
    const bool hasIn = link.fHasInputCurves, hasOut = link.fHasOutputCurves;
    // The new nodes sample the other link's grid alone: its curves are copied as they are, so
    // the resampled grid must neither see the input curves nor the output curves twice.
    TKLinkGeneric gridOnly(link);
    gridOnly.fHasInputCurves = gridOnly.fHasOutputCurves = false;
    Init(gridOnly.fSrcDim, gridOnly.fDstDim, grid, 0);
    fHasInputCurves = hasIn;
    fHasOutputCurves = hasOut;
    CopyTable(fInputCurves, gridOnly.fInputCurves, uint64_t(fSrcDim) * fInputCurveSize);
    CopyTable(fOutputCurves, gridOnly.fOutputCurves, uint64_t(fDstDim) * fOutputCurveSize);
    CopyTable(fInput8, gridOnly.fInput8, uint64_t(fSrcDim) * fInput8Size);
    CopyTable(fOutput8, gridOnly.fOutput8, uint64_t(fDstDim) * fOutput8Size);
    ComputeNodes(nullptr, &gridOnly, true);
}

void TKLinkGeneric::EvalInput16(const uint16_t* in, uint16_t* out) {
    if (!in || !out) TKThrow(ArgErr);
    std::copy(in, in + fSrcDim, out);
}

void TKLinkGeneric::EvalInput8(const uint8_t* in, uint16_t* out) {
    if (!in || !out) TKThrow(ArgErr);
    uint16_t wide[kMaxSrcDim];
    for (int32_t c = 0; c < fSrcDim; ++c) wide[c] = ByteToWord(in[c]);
    EvalInput16(wide, out);
}

void TKLinkGeneric::EvalNode(const uint16_t* position, uint16_t* out) {
    if (!position || !out) TKThrow(ArgErr);
    int32_t shared = std::min(fSrcDim, fDstDim);
    std::copy(position, position + shared, out);
    std::fill(out + shared, out + fDstDim, uint16_t(0));
}

void TKLinkGeneric::EvalOutput16(const uint16_t* in, uint16_t* out) {
    if (!in || !out) TKThrow(ArgErr);
    std::copy(in, in + fDstDim, out);
}

void TKLinkGeneric::EvalOutput8(const uint16_t* in, uint8_t* out) {
    if (!in || !out) TKThrow(ArgErr);
    uint16_t words[kMaxDstDim];
    EvalOutput16(in, words);
    for (int32_t o = 0; o < fDstDim; ++o) out[o] = WordToByte(words[o]);
}
