// The thirteen pixel kernels of a link, named once in a table: which samples each reads and
// writes, which grids and channel counts it serves, and whether the dispatch may pick it.
// The dispatch of TKLinkGeneric::Match16/Match8/Match8To16 is derived from this table.
#pragma once

#include <cstdint>

#include "link/TKLinkGeneric.h"

// Kernel identities, in the order of the kernel operations of TKLinkGeneric.
enum class TKLinkKernel : uint8_t {
    MatchGrid8,
    MatchGrid16,
    MatchGrid8To16,
    MatchShift16,
    MatchShift8,
    Match3,
    Match4Simplex,
    MatchGridN8,
    MatchGridN16,
    MatchGridN8To16,
    MatchShiftN16,
    MatchShiftN8,
    Match4,
};

struct TKLinkKernelRow {
    TKLinkKernel kernel;
    const char* name;
    int32_t srcBits;     // 8 or 16; 0: given by argument (8 or 16)
    int32_t dstBits;
    bool anyGrid;        // true: divided cells on any grid; false: shifted cells (2^k + 1 or 2 points)
    int32_t minChannels;
    int32_t maxChannels;
    int32_t maxOutputs;
    bool dispatched;     // false: kept as a reference form that no dispatch path selects
    int32_t preference;  // lower wins when several rows fit a call
};

// Shifted kernels are preferred on grids that allow them, the unrolled 3- and 4-channel forms
// before the loops; the divided-cell kernels serve every other grid, and also 8-to-16-bit pixels
// on shifted grids, for which no shifted kernel exists.
inline constexpr TKLinkKernelRow kLinkKernelRows[] = {
    {TKLinkKernel::MatchGrid8, "MatchGrid8", 8, 8, true, 1, 3, TKLinkGeneric::kMaxDstDim, true, 6},
    {TKLinkKernel::MatchGrid16, "MatchGrid16", 16, 16, true, 1, 3, TKLinkGeneric::kMaxDstDim, true, 6},
    {TKLinkKernel::MatchGrid8To16, "MatchGrid8To16", 8, 16, true, 1, 3, TKLinkGeneric::kMaxDstDim, true, 6},
    {TKLinkKernel::MatchShift16, "MatchShift16", 16, 16, false, 1, 3, TKLinkGeneric::kMaxDstDim, true, 3},
    {TKLinkKernel::MatchShift8, "MatchShift8", 8, 8, false, 1, 3, TKLinkGeneric::kMaxDstDim, true, 3},
    {TKLinkKernel::Match3, "Match3", 0, 0, false, 3, 3, 8, true, 1},
    {TKLinkKernel::Match4Simplex, "Match4Simplex", 0, 0, false, 4, 4, 8, false, 0},
    {TKLinkKernel::MatchGridN8, "MatchGridN8", 8, 8, true, 4, TKLinkGeneric::kMaxSrcDim, TKLinkGeneric::kMaxDstDim,
     true, 6},
    {TKLinkKernel::MatchGridN16, "MatchGridN16", 16, 16, true, 4, TKLinkGeneric::kMaxSrcDim,
     TKLinkGeneric::kMaxDstDim, true, 6},
    {TKLinkKernel::MatchGridN8To16, "MatchGridN8To16", 8, 16, true, 4, TKLinkGeneric::kMaxSrcDim,
     TKLinkGeneric::kMaxDstDim, true, 6},
    {TKLinkKernel::MatchShiftN16, "MatchShiftN16", 16, 16, false, 4, TKLinkGeneric::kMaxSrcDim,
     TKLinkGeneric::kMaxDstDim, true, 4},
    {TKLinkKernel::MatchShiftN8, "MatchShiftN8", 8, 8, false, 4, TKLinkGeneric::kMaxSrcDim,
     TKLinkGeneric::kMaxDstDim, true, 4},
    {TKLinkKernel::Match4, "Match4", 0, 0, false, 4, 4, 8, true, 2},
};
inline constexpr int32_t kLinkKernelCount = int32_t(sizeof kLinkKernelRows / sizeof kLinkKernelRows[0]);

// True if the grid of gridPoints with shift gridShift can be read with shifted cells.
constexpr bool TKLinkHasShiftedCells(int32_t gridPoints, int32_t gridShift) {
    return gridShift >= 1 || gridPoints == 2;
}

// True if `row` can run pixels of these bits on a link of these dimensions and grid.
constexpr bool TKLinkKernelFits(const TKLinkKernelRow& row, int32_t srcBits, int32_t dstBits, bool shiftedCells,
                                int32_t srcDim, int32_t dstDim) {
    return (row.srcBits == 0 || row.srcBits == srcBits) && (row.dstBits == 0 || row.dstBits == dstBits) &&
           (row.anyGrid || shiftedCells) && srcDim >= row.minChannels && srcDim <= row.maxChannels &&
           dstDim <= row.maxOutputs;
}

// The kernel the dispatch runs for these bits, dimensions and grid; null if none fits.
constexpr const TKLinkKernelRow* TKLinkPickKernel(int32_t srcBits, int32_t dstBits, int32_t gridPoints,
                                                  int32_t gridShift, int32_t srcDim, int32_t dstDim) {
    const bool shifted = TKLinkHasShiftedCells(gridPoints, gridShift);
    const TKLinkKernelRow* best = nullptr;
    for (const TKLinkKernelRow& row : kLinkKernelRows)
        if (row.dispatched && TKLinkKernelFits(row, srcBits, dstBits, shifted, srcDim, dstDim) &&
            (!best || row.preference < best->preference))
            best = &row;
    return best;
}

// Runs one kernel by identity on untyped sample pointers of the given bits (for the dispatch,
// the exports and tests). Strides in bytes. ArgErr for bits the kernel doesn't take.
void TKLinkRunKernel(TKLinkGeneric& link, TKLinkKernel kernel, int32_t srcBits, int32_t dstBits, int32_t count,
                     const void* const* src, void* const* dst, const int32_t* srcStrides, const int32_t* dstStrides,
                     TKProgress* progress);
