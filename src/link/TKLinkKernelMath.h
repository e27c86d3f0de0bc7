// TKLinkCellMath: the integer cell, fraction, weight-split and result arithmetic that every pixel
// kernel of a link shares, so that no two kernels can round differently. The operations take
// one pixel's words or a vector of lanes alike (TKLinkLanes.h): the same integers per lane.
#pragma once

#include <cstdint>
#include <type_traits>

#include "link/TKLinkLanes.h"

inline namespace TK_LINK_KERNEL_ISA {

struct TKLinkCellMath {
    uint32_t cell = 0xFFFF;   // size of a grid cell in 16-bit position units
    uint32_t mask = 0xFFFF;   // shifted cells: the fraction bits of a position
    uint32_t cellShift = 16;  // shifted cells: 16 - k, position to cell index and sum to result
    uint32_t lastCell = 0;    // divided cells: GridPoints - 2, the cell of the top node
    // A cell of 2^cellLog2 units divides by a shift; 0 when the cell is no power of two.
    uint32_t cellLog2 = 0;
    bool cellIsPowerOfTwo = false;
    // floor(2^64 / cell) + 1 (2^64 / cell for a power of two): for any x below 2^32 the high
    // word of x * reciprocal is x / cell exactly, since the error x * (reciprocal - 2^64 / cell)
    // / 2^64 stays below 2^-32 < 1 / cell. A multiply instead of a division on every pixel.
    uint64_t reciprocal = 0;

    template <class V>
    constexpr V Divide(V x) const {
        return TKLaneDivide(x, reciprocal, cell);
    }

    // gridShift is k for 2^k + 1 points, else 0. A 2-point grid takes the shifted arithmetic
    // with k = 0: its cell is 0xFFFF, not 0x10000, so a full-scale node comes out as 0xFFFE.
    // That is kept deliberately: 2-node links must match bit for bit whatever kernel runs.
    static constexpr TKLinkCellMath For(int32_t gridPoints, int32_t gridShift) {
        TKLinkCellMath m;
        if (gridShift >= 1) {
            m.mask = 0xFFFFu >> gridShift;
            m.cell = m.mask + 1;
            m.cellShift = 16 - uint32_t(gridShift);
        } else if (gridPoints > 2) {
            // 65535 / (GridPoints - 1) rounded up: the nodes sit at k * 65536 / (GridPoints - 1),
            // so the cell is a little larger than the exact spacing and the top node is read
            // with a fraction just below a full cell. Node placement and kernels differ on purpose.
            m.cell = (uint32_t(gridPoints) + 65533u) / uint32_t(gridPoints - 1);
        }
        m.lastCell = gridPoints >= 2 ? uint32_t(gridPoints - 2) : 0;
        m.cellIsPowerOfTwo = (m.cell & (m.cell - 1)) == 0;
        if (m.cellIsPowerOfTwo)
            while ((1u << m.cellLog2) < m.cell) ++m.cellLog2;
        // (2^64 - 1) / cell is floor(2^64 / cell), less one for a power of two: +1 gives both.
        m.reciprocal = ~uint64_t(0) / m.cell + 1;
        return m;
    }

    // Cell index of position v; its fraction goes to f. The top position 0xFFFF is a full cell
    // into the last cell, so it reads the last node exactly.
    template <bool Shifted, class V>
    constexpr V Locate(std::common_type_t<V> v, V& f) const {
        if constexpr (Shifted) {
            f = TKLaneSelect(v == V(0xFFFFu), V(cell), v & V(mask));
            return v >> cellShift;
        } else {
            const V q = Divide(v);
            const V last = V(lastCell);
            f = TKLaneSelect(TKLaneMin(q, last) == q, v - q * V(cell), V(cell));
            return TKLaneMin(q, last);
        }
    }

    // The grid result of an accumulated sum whose weights add up to one cell.
    template <bool Shifted, class V>
    constexpr V Result(V sum) const {
        if constexpr (Shifted) return sum >> cellShift;
        else return Divide(sum);
    }

    // The share of weight w that goes to the node one step further along channel 3, whose
    // fraction is f3: linear interpolation on top of the simplex of the other channels.
    // Locate never gives a fraction above the cell, and a full cell gives w * cell / cell = w
    // exactly, so no test for it is needed; w * f3 fits 32 bits since both are at most 0xFFFF.
    // Shifted grids of 2^k + 1 points have a power-of-two cell: a shift instead of a division,
    // the same quotient. The branch is taken the same way for every pixel of a call.
    template <class V>
    constexpr V UpperShare(V w, V f3) const {
        return cellIsPowerOfTwo ? (w * f3) >> cellLog2 : Divide(w * f3);
    }
};

}  // inline namespace TK_LINK_KERNEL_ISA
