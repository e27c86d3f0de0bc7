// TKLinkGeneric: the fixed-point table model of a device link (input curves, a grid of
// 16-bit nodes, output curves) with lazy node computation and the pixel-kernel interface.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>

class TKProgress;
class TKStream;

// What the pixel kernels and the link file may rely on
// ----------------------------------------------------
// The kernels (MatchGrid8 ... Match4), the dispatch (Match16, Match8, Match8To16) and the file
// form (Read, Write) are members of this class defined in their own sources
// (src/link/TKLinkKernels*.cpp, src/link/TKLinkFile*.cpp). They may rely on:
//  - fSrcDim 1..16, fDstDim 1..36, fGridPoints 2..65, fGridShift = k when fGridPoints is
//    2^k + 1 (k = 1..6), else 0; fNodeCount = fGridPoints^fSrcDim, fitting in 32 bits.
//  - fInputCurves: fSrcDim curves of fInputCurveSize (4096) words, curve after curve;
//    fOutputCurves: fDstDim curves of fOutputCurveSize (4096) words; fInput8: fSrcDim curves of
//    256 words; fOutput8: fDstDim curves of fOutput8Size (4096) bytes; fNodes: fNodeCount nodes of
//    fDstDim words, first input channel slowest. All are allocated by Init (zero-filled).
//  - fAxisOffset[c][k] = k * fStride[c] for every k below fGridPoints (entries past the grid are 0
//    and never needed); fStride[c] = fGridPoints^(fSrcDim - 1 - c).
//  - Lazy links: NodeFlags() is null on a complete link. Otherwise a kernel that is about to read
//    node i calls EnsureNode(i), which returns at once when the node is done and else computes it
//    under the link's lock. Flags are only set after the node's values are stored, and the flag
//    block stays allocated until the next Init, so a kernel may keep the pointer it read.
//  - Read calls Init(srcDim, dstDim, grid, 0) and then fills the tables and the two Has*Curves
//    flags; Init validates the dimensions (ArgErr) and the table size (MemFullErr).
//  - tests/link/LinkReference.h is a slow, obvious evaluator of these tables by the integer
//    rules of the kernels: every kernel must agree with it bit for bit.
class TKLinkGeneric {
public:
    static constexpr int32_t kMaxSrcDim = 16;
    static constexpr int32_t kMaxDstDim = 36;
    // AxisOffset holds 65 entries per channel: the largest grid a link can have.
    static constexpr int32_t kMaxGridPoints = 65;
    static constexpr int32_t kMinGridPoints = 2;
    static constexpr int32_t kCurveSize = 4096;
    static constexpr int32_t kInput8Size = 256;
    // No link table may exceed this many bytes; a file that asks for more is refused before any
    // allocation (a 6-channel grid of 17 with 8 outputs is 386 MB).
    static constexpr uint64_t kMaxNodeBytes = uint64_t(1) << 30;
    // Every table has this many zero entries past its end, so that the wide kernels may read a
    // whole 32- or 64-bit word at any entry without reading past the allocation.
    static constexpr uint64_t kTablePadding = 8;

    TKLinkGeneric();
    TKLinkGeneric(const TKLinkGeneric& other);
    TKLinkGeneric& operator=(const TKLinkGeneric& other);

    // ---- Virtual operations, in table order ----
    virtual ~TKLinkGeneric();
    // Allocates every table for the dimensions and grid. lazy: the low two bits equal to 1 make a
    // lazy link, whose nodes are computed on first use. ArgErr for dimensions or a grid out of
    // range, MemFullErr when the tables can't be allocated.
    virtual void Init(int32_t srcDim, int32_t dstDim, int32_t grid, int32_t lazy);
    virtual int32_t GetSrcDim() const;
    virtual int32_t GetDstDim() const;
    // Bakes the tables through the evaluation hooks: input curves, Input8, all nodes unless lazy,
    // output curves, Output8.
    virtual void Finish(bool hasIn, bool hasOut, TKProgress* progress);
    // Pixel dispatch: picks one of the thirteen kernels below. Strides are in bytes.
    virtual void Match16(int32_t count, const uint16_t* const* src, uint16_t* const* dst,
                         const int32_t* srcStrides, const int32_t* dstStrides, TKProgress* progress);
    virtual void Match8(int32_t count, const uint8_t* const* src, uint8_t* const* dst,
                        const int32_t* srcStrides, const int32_t* dstStrides, TKProgress* progress);
    virtual void Match8To16(int32_t count, const uint8_t* const* src, uint16_t* const* dst,
                            const int32_t* srcStrides, const int32_t* dstStrides, TKProgress* progress);
    // The inner record of the link file.
    virtual void Read(TKStream& stream);
    virtual void Write(TKStream& stream);
    // Duplicates every table of another link (its lazy state included).
    virtual void CopyFrom(const TKLinkGeneric& link);
    // Takes another link's transformation at a new grid: a copy for the same grid, else the
    // other link is completed and this one re-baked through its Match16.
    virtual void ResampleFrom(TKLinkGeneric& link, int32_t grid);
    // Evaluation hooks: what the link learns its transformation from. Input and node positions
    // are 16-bit; null arguments are ArgErr.
    virtual void EvalInput16(const uint16_t* in, uint16_t* out);  // SrcDim -> SrcDim
    virtual void EvalInput8(const uint8_t* in, uint16_t* out);    // SrcDim -> SrcDim
    virtual void EvalNode(const uint16_t* position, uint16_t* out);  // SrcDim -> DstDim
    virtual void EvalOutput16(const uint16_t* in, uint16_t* out);  // DstDim -> DstDim
    virtual void EvalOutput8(const uint16_t* in, uint8_t* out);    // DstDim -> DstDim
    // Stores a node computed elsewhere and marks it done. IndexError for a bad node.
    virtual void CopyNode(uint32_t node, const uint16_t* values);
    // False only while a lazy link still lacks nodes.
    virtual bool IsComplete() const;

    // The thirteen pixel kernels. Source and destination are per-channel sample pointers with
    // byte strides; Match3, Match4 and Match4Simplex take the sample bits (8 or 16) of each side.
    virtual void MatchGrid8(int32_t count, const uint8_t* const* src, uint8_t* const* dst,
                            const int32_t* srcStrides, const int32_t* dstStrides, TKProgress* progress);
    virtual void MatchGrid16(int32_t count, const uint16_t* const* src, uint16_t* const* dst,
                             const int32_t* srcStrides, const int32_t* dstStrides, TKProgress* progress);
    virtual void MatchGrid8To16(int32_t count, const uint8_t* const* src, uint16_t* const* dst,
                                const int32_t* srcStrides, const int32_t* dstStrides, TKProgress* progress);
    virtual void MatchShift16(int32_t count, const uint16_t* const* src, uint16_t* const* dst,
                              const int32_t* srcStrides, const int32_t* dstStrides, TKProgress* progress);
    virtual void MatchShift8(int32_t count, const uint8_t* const* src, uint8_t* const* dst,
                             const int32_t* srcStrides, const int32_t* dstStrides, TKProgress* progress);
    virtual void Match3(int32_t count, const void* const* src, void* const* dst, const int32_t* srcStrides,
                        const int32_t* dstStrides, int32_t srcBits, int32_t dstBits, TKProgress* progress);
    virtual void Match4Simplex(int32_t count, const void* const* src, void* const* dst,
                               const int32_t* srcStrides, const int32_t* dstStrides, int32_t srcBits,
                               int32_t dstBits, TKProgress* progress);
    virtual void MatchGridN8(int32_t count, const uint8_t* const* src, uint8_t* const* dst,
                             const int32_t* srcStrides, const int32_t* dstStrides, TKProgress* progress);
    virtual void MatchGridN16(int32_t count, const uint16_t* const* src, uint16_t* const* dst,
                              const int32_t* srcStrides, const int32_t* dstStrides, TKProgress* progress);
    virtual void MatchGridN8To16(int32_t count, const uint8_t* const* src, uint16_t* const* dst,
                                 const int32_t* srcStrides, const int32_t* dstStrides, TKProgress* progress);
    virtual void MatchShiftN16(int32_t count, const uint16_t* const* src, uint16_t* const* dst,
                               const int32_t* srcStrides, const int32_t* dstStrides, TKProgress* progress);
    virtual void MatchShiftN8(int32_t count, const uint8_t* const* src, uint8_t* const* dst,
                              const int32_t* srcStrides, const int32_t* dstStrides, TKProgress* progress);
    virtual void Match4(int32_t count, const void* const* src, void* const* dst, const int32_t* srcStrides,
                        const int32_t* dstStrides, int32_t srcBits, int32_t dstBits, TKProgress* progress);

    // ---- Non-virtual services ----
    // Computes node `index` unless it is done: through EvalNode, or through from->Match16 when
    // another link is given. Takes the lock. IndexError for a bad index.
    void CalcNode(uint32_t index, TKLinkGeneric* from = nullptr);
    // Computes every node not yet done, in index order, reporting at most once a second.
    void FillNodes(TKProgress* progress, TKLinkGeneric* from = nullptr);
    // The kernels' lazy check: one load on a complete link.
    void EnsureNode(uint32_t index) {
        const std::atomic<uint8_t>* flags = fNodeDone.load(std::memory_order_acquire);
        if (flags && !flags[index].load(std::memory_order_acquire)) CalcNode(index);
    }
    // The 16-bit position of grid coordinate k: k cells of 65536 / (GridPoints - 1), with the last
    // node at 0xFFFF. Kernels and node computation share this scale.
    static uint16_t NodePosition(int32_t k, int32_t gridPoints);
    // 2^k + 1 for k = 1..6 gives k, anything else 0.
    static int32_t GridShiftOf(int32_t gridPoints);

    // ---- Read access to the tables (for kernels, files and tests) ----
    int32_t GridPoints() const { return fGridPoints; }
    int32_t GridShift() const { return fGridShift; }
    bool HasInputCurves() const { return fHasInputCurves; }
    bool HasOutputCurves() const { return fHasOutputCurves; }
    int32_t InputCurveSize() const { return fInputCurveSize; }
    int32_t OutputCurveSize() const { return fOutputCurveSize; }
    int32_t Input8Size() const { return fInput8Size; }
    int32_t Output8Size() const { return fOutput8Size; }
    uint32_t NodeCount() const { return fNodeCount; }
    const uint16_t* InputCurves() const { return fInputCurves.get(); }
    const uint16_t* OutputCurves() const { return fOutputCurves.get(); }
    const uint16_t* Nodes() const { return fNodes.get(); }
    const uint16_t* Input8() const { return fInput8.get(); }
    const uint8_t* Output8() const { return fOutput8.get(); }
    const std::atomic<uint8_t>* NodeFlags() const { return fNodeDone.load(std::memory_order_acquire); }
    uint32_t NodeDoneCount() const { return fNodeDoneCount.load(std::memory_order_acquire); }
    int32_t AxisOffset(int32_t channel, int32_t k) const { return fAxisOffset[channel][k]; }
    int32_t Stride(int32_t channel) const { return fStride[channel]; }

protected:
    // Releases every table and returns to the empty state.
    void ClearTables();

    // ---- Fields, in the order of the data model ----
    int32_t fSrcDim = 0;
    int32_t fDstDim = 0;
    int32_t fGridPoints = 0;
    int32_t fGridShift = 0;
    bool fHasInputCurves = false;
    bool fHasOutputCurves = false;
    int32_t fInputCurveSize = kCurveSize;
    int32_t fOutputCurveSize = kCurveSize;
    int32_t fInput8Size = kInput8Size;
    int32_t fOutput8Size = kCurveSize;
    uint32_t fNodeCount = 0;
    std::unique_ptr<uint16_t[]> fInputCurves;
    std::unique_ptr<uint16_t[]> fOutputCurves;
    std::unique_ptr<uint16_t[]> fNodes;
    std::unique_ptr<uint16_t[]> fInput8;
    std::unique_ptr<uint8_t[]> fOutput8;
    // The published flag block: null once every node is done. The block itself lives in
    // fNodeDoneBlock until the next Init, so a kernel racing with the last node never reads freed
    // memory.
    std::atomic<std::atomic<uint8_t>*> fNodeDone{nullptr};
    std::atomic<uint32_t> fNodeDoneCount{0};
    mutable std::mutex fLock;
    int32_t fAxisOffset[kMaxSrcDim][kMaxGridPoints] = {};
    int32_t fStride[kMaxSrcDim] = {};

private:
    // The values of one node: its 16-bit grid position through EvalNode, or through from->Match16.
    void ComputeNodeValues(uint32_t index, TKLinkGeneric* from, uint16_t* values);
    // Stores a node and publishes its flag; the caller holds fLock.
    void StoreNode(uint32_t index, const uint16_t* values);
    // The node loop of Finish, FillNodes and ResampleFrom. all: every node, flags or not.
    void ComputeNodes(TKProgress* progress, TKLinkGeneric* from, bool all);

    std::unique_ptr<std::atomic<uint8_t>[]> fNodeDoneBlock;
};
