// TKColorContainer: the per-type sample matrices of a chart.
#include "charts/TKColorContainer.h"

#include "color/TKColors.h"

std::vector<uint32_t> TKColorContainer::ColorTypes() const {
    std::vector<uint32_t> types;
    types.reserve(fBlocks.size());
    for (const Block& block : fBlocks) types.push_back(block.type);
    return types;
}

bool TKColorContainer::HasType(uint32_t type) const {
    for (const Block& block : fBlocks)
        if (block.type == type) return true;
    return false;
}

TKMatrix TKColorContainer::Matrix(uint32_t type) const {
    for (const Block& block : fBlocks)
        if (block.type == type) return block.matrix;
    return TKMatrix();
}

void TKColorContainer::SetMatrix(const TKMatrix& matrix) {
    const uint32_t type = uint32_t(matrix.GetType());
    if (type == 0) TKThrowMsg(ArgErr, "A chart matrix needs a colour type");
    const int32_t channels = GetChannelCount(type);
    if (channels > 0 && matrix.GetWidth() != channels && !matrix.IsEmpty())
        TKThrowMsg(DimMismatch, TKString::Format("%d values per row for a type of %d channels",
                                                 matrix.GetWidth(), channels));
    if (!fBlocks.empty() && matrix.GetHeight() != fBlocks.front().matrix.GetHeight() &&
        !(fBlocks.size() == 1 && fBlocks.front().type == type))
        TKThrowMsg(DimMismatch, TKString::Format("%d rows beside tables of %d rows", matrix.GetHeight(),
                                                 fBlocks.front().matrix.GetHeight()));
    for (Block& block : fBlocks) {
        if (block.type == type) {
            block.matrix = matrix;
            return;
        }
    }
    fBlocks.push_back({type, matrix});
}

bool TKColorContainer::Remove(uint32_t type) {
    for (size_t i = 0; i < fBlocks.size(); ++i) {
        if (fBlocks[i].type == type) {
            fBlocks.erase(fBlocks.begin() + long(i));
            return true;
        }
    }
    return false;
}

int32_t TKColorContainer::RowCount() const { return fBlocks.empty() ? 0 : fBlocks.front().matrix.GetHeight(); }

void TKColorContainer::SelectRows(const std::vector<int32_t>& rows) {
    for (Block& block : fBlocks) {
        const TKMatrix& from = block.matrix;
        TKMatrix to(int32_t(rows.size()), from.GetWidth(), from.GetType());
        for (size_t r = 0; r < rows.size(); ++r) {
            if (rows[r] < 0 || rows[r] >= from.GetHeight()) TKThrow(IndexError);
            for (int32_t c = 0; c < from.GetWidth(); ++c) to(int32_t(r), c) = from(rows[r], c);
        }
        block.matrix = to;
    }
}
