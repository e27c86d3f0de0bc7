// TKColorContainer: the sample tables of a chart, one matrix per colour type, all with one row
// per sample.
#pragma once

#include <cstdint>
#include <vector>

#include "foundation/TKObject.h"
#include "numeric/TKMatrix.h"

class TKColorContainer : public TKObject {
    TK_DECLARE_CLASS(TKColorContainer, TKObject)
public:
    TKColorContainer() = default;
    TKColorContainer(const TKColorContainer& other) = default;

    // The types held, in the order in which they were first set.
    std::vector<uint32_t> ColorTypes() const;
    bool HasType(uint32_t type) const;
    // The matrix of a type; an empty matrix for a type that is not held.
    TKMatrix Matrix(uint32_t type) const;
    // Replaces the block of the matrix's type, or adds one. A matrix of type 0 is ArgErr, a width
    // other than the type's channel count (where the type fixes one) DimMismatch.
    void SetMatrix(const TKMatrix& matrix);
    // Removes the block of a type; false when there was none.
    bool Remove(uint32_t type);
    void Clear() { fBlocks.clear(); }
    bool IsEmpty() const { return fBlocks.empty(); }
    // Rows of the blocks (they all agree); 0 without blocks.
    int32_t RowCount() const;
    // Keeps the rows at the given indices, in that order, in every block.
    void SelectRows(const std::vector<int32_t>& rows);

private:
    struct Block {
        uint32_t type;
        TKMatrix matrix;
    };
    std::vector<Block> fBlocks;
};
