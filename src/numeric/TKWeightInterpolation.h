// TKWeightInterpolation: a trafo that reads a value as a weighted sum of stored corner values,
// the common ground of cubes, grids and device links.
#pragma once

#include <vector>

#include "numeric/TKTrafo.h"

class TKWeightInterpolation : public TKTrafo {
    TK_DECLARE_CLASS(TKWeightInterpolation, TKTrafo)
public:
    // Source position of corner `corner` (a mask, channel 0 the top bit) of cell `cell`.
    // UndefProc unless a subclass knows its positions.
    virtual TKVector GetCornerSrc(uint32_t corner, int32_t cell) const;
    // Value stored at a corner.
    virtual TKVector GetCornerDst(uint32_t corner, int32_t cell) const = 0;
    // The 2^n corner weights of the source's position and, through `cell`, its cell.
    virtual TKVector CalcWeights(const TKVector& source, int32_t& cell) const = 0;
    // The node indices of the corners with a non-zero weight, in corner order.
    virtual void CalcCornerList(const TKVector& source, std::vector<int32_t>& nodes) const;
    // UndefProc unless a subclass stores corner values.
    virtual void SetCornerDst(uint32_t corner, const TKVector& value, int32_t cell);
    // Node index of a corner of a cell; the corner mask itself unless a subclass lays out a grid.
    virtual int32_t CornerNode(uint32_t corner, int32_t cell) const;

    // The weighted sum of corner values; corners of weight exactly 0 are not read, except
    // corner 0, which always gives the result its shape.
    TKVector Trafo(const TKVector& source) const override;

    // The non-zero weights with their corner masks.
    void CalcCornerWeights(const TKVector& source, std::vector<double>& weights, std::vector<uint32_t>& corners,
                           int32_t& cell) const;
};
