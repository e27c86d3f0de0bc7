// TKLutTrafo: cells, corners and nodes of a grid.
#include "numeric/TKLutTrafo.h"

#include <cmath>

TKLutTrafo::TKLutTrafo(int32_t mode) : TKHyperSquareTrafo(mode) {}

TKLutTrafo::TKLutTrafo(const TKLutTrafo& other) = default;

TKLutTrafo::~TKLutTrafo() = default;

void TKLutTrafo::SetupGrid(const std::vector<int32_t>& gridPoints, int32_t outDim, int32_t sampleSize) {
    if (int32_t(gridPoints.size()) > TKHyperSquareWeights::kMaxChannels) TKThrow(ArgErr);
    fCLUT.Setup(gridPoints, outDim, sampleSize);
    fNodeWeights.clear();
    fNodeSums.clear();
    fTrainedNodes.clear();
    fTrainedCount = 0;
}

void TKLutTrafo::SetGridShape(const std::vector<int32_t>& gridPoints, int32_t outDim, int32_t sampleSize) {
    if (int32_t(gridPoints.size()) > TKHyperSquareWeights::kMaxChannels) TKThrow(ArgErr);
    fCLUT.SetShape(gridPoints, outDim, sampleSize);
    fNodeWeights.clear();
    fNodeSums.clear();
    fTrainedNodes.clear();
    fTrainedCount = 0;
}

void TKLutTrafo::SetTypes(int32_t srcType, int32_t dstType) {
    fSrcType = srcType;
    fDstType = dstType;
}

void TKLutTrafo::SetSrcRange(const TKVector& min, const TKVector& max) {
    fSrcMin = min;
    fSrcMax = max;
}

bool TKLutTrafo::HasSrcRange() const {
    const int32_t n = fCLUT.GetInDim();
    return fSrcMin.GetDim() == n && fSrcMax.GetDim() == n;
}

int32_t TKLutTrafo::GetSrcDim() const { return fCLUT.GetInDim(); }
int32_t TKLutTrafo::GetDstDim(int32_t) const { return fCLUT.GetOutDim(); }
int32_t TKLutTrafo::GetSrcType() const { return fSrcType; }
int32_t TKLutTrafo::GetDstType(int32_t) const { return fDstType; }

TKVector TKLutTrafo::GetNodeSrc(int32_t node) const {
    const int32_t n = fCLUT.GetInDim();
    if (node < 0 || node >= fCLUT.GetNodeCount()) TKThrow(IndexError);
    TKVector position(n, HasSrcRange() ? fSrcMin.GetType() : fSrcType);
    int32_t rest = node;
    for (int32_t c = n - 1; c >= 0; --c) {
        const int32_t g = fCLUT.GetGridPoints(c);
        position[c] = fCLUT.AxisPosition(c, rest % g);
        rest /= g;
    }
    if (HasSrcRange())
        for (int32_t c = 0; c < n; ++c) position[c] = position[c] * (fSrcMax[c] - fSrcMin[c]) + fSrcMin[c];
    return position;
}

TKVector TKLutTrafo::GetNodeDst(int32_t node) const {
    TKVector value(fCLUT.GetOutDim(), fDstType);
    fCLUT.GetNode(node, value.MutableValues());
    return value;
}

void TKLutTrafo::SetNodeDst(int32_t node, const TKVector& value) {
    if (value.GetDim() != fCLUT.GetOutDim()) TKThrow(DimMismatch);
    fCLUT.SetNode(node, value.Values());
}

int32_t TKLutTrafo::CornerNode(uint32_t corner, int32_t cell) const {
    // Corner masks hold channel 0 in the top bit, the layout's slowest axis; folding the bits
    // through the grid sizes gives the corner's offset from the cell's first node. An axis of one
    // point has no far side: its bit moves nothing.
    const int32_t n = fCLUT.GetInDim();
    int32_t offset = 0;
    for (int32_t d = 0; d < n; ++d) {
        const int32_t g = fCLUT.GetGridPoints(d);
        offset *= g;
        if (g > 1 && (corner >> (n - 1 - d)) & 1u) offset += 1;
    }
    return cell + offset;
}

TKVector TKLutTrafo::GetCornerSrc(uint32_t corner, int32_t cell) const { return GetNodeSrc(CornerNode(corner, cell)); }

TKVector TKLutTrafo::GetCornerDst(uint32_t corner, int32_t cell) const { return GetNodeDst(CornerNode(corner, cell)); }

void TKLutTrafo::SetCornerDst(uint32_t corner, const TKVector& value, int32_t cell) {
    SetNodeDst(CornerNode(corner, cell), value);
}

TKVector TKLutTrafo::NormalizeSource(const TKVector& source) const {
    TKVector f = source;
    if (HasSrcRange() && source.GetDim() == fSrcMin.GetDim())
        for (int32_t i = 0; i < f.GetDim(); ++i) f[i] = (f[i] - fSrcMin[i]) / (fSrcMax[i] - fSrcMin[i]);
    return f;
}

TKVector TKLutTrafo::CalcWeights(const TKVector& source, int32_t& cell) const {
    const int32_t n = fCLUT.GetInDim();
    if (source.GetDim() != n) TKThrow(DimMismatch);
    const TKVector f = NormalizeSource(source);
    double fraction[TKHyperSquareWeights::kMaxChannels] = {};
    cell = 0;
    for (int32_t i = 0; i < n; ++i) {
        const int32_t g = fCLUT.GetGridPoints(i);
        if (g == 1) continue;
        cell *= g;
        if (f[i] >= 1.0) {
            cell += g - 2;  // the last cell, at its far edge
            fraction[i] = 1.0;
        } else if (f[i] > 0.0) {
            const double p = (g - 1) * f[i];
            int32_t k = int32_t(p);
            double rest = p - k;
            if (k > g - 2) {  // rounding of (g - 1) * f may reach the far edge
                k = g - 2;
                rest = 1.0;
            }
            cell += k;
            fraction[i] = rest;
        }
        // At or below 0, and NaN: the first cell, fraction 0.
    }
    TKVector weights(1 << n);
    Rule().CalcWeights(fraction, n, weights.MutableValues());
    return weights;
}

TKVector TKLutTrafo::TrafoByCornerSrc(const std::vector<double>& weights, const std::vector<int32_t>& nodes) const {
    if (weights.size() != nodes.size()) TKThrow(DimMismatch);
    TKVector result(fCLUT.GetInDim(), HasSrcRange() ? fSrcMin.GetType() : fSrcType);
    for (size_t i = 0; i < nodes.size(); ++i) result += GetNodeSrc(nodes[i]) * weights[i];
    return result;
}

TKVector TKLutTrafo::TrafoByCornerDst(const std::vector<double>& weights, const std::vector<int32_t>& nodes) const {
    if (weights.size() != nodes.size()) TKThrow(DimMismatch);
    TKVector result(fCLUT.GetOutDim(), fDstType);
    for (size_t i = 0; i < nodes.size(); ++i) result += GetNodeDst(nodes[i]) * weights[i];
    return result;
}

void TKLutTrafo::Train(const TKMatrix& sources, const TKMatrix& targets, int32_t flags) {
    if (!(flags & kTrainAccumulateMask)) {
        TKHyperSquareTrafo::Train(sources, targets, flags);
        return;
    }
    const int32_t nodes = fCLUT.GetNodeCount();
    fNodeWeights.assign(size_t(nodes), 0.0);
    fNodeSums.assign(size_t(nodes) * size_t(fCLUT.GetOutDim()), 0.0);
    fTrainedNodes.clear();
    fTrainedCount = 0;
    TKHyperSquareTrafo::Train(sources, targets, flags);
    FinishTraining();
}

void TKLutTrafo::AddToCorner(uint32_t corner, double weight, const TKVector& delta, int32_t cell) {
    if (!(fFlags & kTrainAccumulateMask) || fNodeWeights.empty()) {
        TKHyperSquareTrafo::AddToCorner(corner, weight, delta, cell);
        return;
    }
    const int32_t node = CornerNode(corner, cell);
    if (node < 0 || node >= fCLUT.GetNodeCount()) TKThrow(IndexError);
    if (delta.GetDim() != fCLUT.GetOutDim()) TKThrow(DimMismatch);
    if (fNodeWeights[node] == 0.0) {
        if (fTrainedNodes.size() == fTrainedNodes.capacity()) fTrainedNodes.reserve(fTrainedNodes.size() + kNodeListGrowth);
        fTrainedNodes.push_back(node);
        ++fTrainedCount;
    }
    fNodeWeights[node] += weight;
    double* sums = &fNodeSums[size_t(node) * fCLUT.GetOutDim()];
    for (int32_t o = 0; o < delta.GetDim(); ++o) sums[o] += delta[o];
}

void TKLutTrafo::FinishTraining() {
    if (fNodeWeights.empty()) return;
    const int32_t outs = fCLUT.GetOutDim();
    auto apply = [&](int32_t node) {
        const double weight = fNodeWeights[node];
        if (weight == 0.0) return;
        TKVector value = GetNodeDst(node);
        for (int32_t o = 0; o < outs; ++o) value[o] += fNodeSums[size_t(node) * outs + o] / weight;
        SetNodeDst(node, value);
    };
    if (fFlags & kTrainNodeList) {
        for (int32_t i = 0; i < fTrainedCount; ++i) apply(fTrainedNodes[i]);
    } else {
        for (int32_t node = 0; node < fCLUT.GetNodeCount(); ++node) apply(node);
    }
    fNodeWeights.clear();
    fNodeSums.clear();
}
