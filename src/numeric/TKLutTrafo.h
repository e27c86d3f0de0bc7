// TKLutTrafo: a trafo read from an n-dimensional grid of nodes (a TKCLUT) by weights on the
// corners of the cell that holds the source; input beyond the grid is clamped, never extrapolated.
#pragma once

#include <vector>

#include "numeric/TKCLUT.h"
#include "numeric/TKHyperSquareTrafo.h"

class TKLutTrafo : public TKHyperSquareTrafo {
    TK_DECLARE_CLASS(TKLutTrafo, TKHyperSquareTrafo)
public:
    // Train flags of grids: the updates of one pass are summed per node and applied at its end
    // (FinishTraining); with kTrainNodeList the touched nodes come from the list of trained nodes.
    enum LutTrainFlags : int32_t {
        kTrainAccumulate = 0x100,
        kTrainAccumulateWeighted = 0x200,
        kTrainNodeList = 0x400,
        kTrainAccumulateMask = 0x700,
    };
    // The list of trained nodes grows by this many entries at a time.
    static constexpr int32_t kNodeListGrowth = 10000;

    // mode: the weight rule; 2 (simplex with channel 3 linear) is the rule of links and ICC tables.
    explicit TKLutTrafo(int32_t mode = 2);
    TKLutTrafo(const TKLutTrafo& other);
    ~TKLutTrafo() override;

    // The grid: gridPoints per input channel, outDim samples per node of sampleSize bytes.
    void SetupGrid(const std::vector<int32_t>& gridPoints, int32_t outDim, int32_t sampleSize);
    // The grid's shape alone, for subclasses that store their nodes elsewhere (TKCLUT::SetShape).
    void SetGridShape(const std::vector<int32_t>& gridPoints, int32_t outDim, int32_t sampleSize);
    const TKCLUT& GetCLUT() const { return fCLUT; }
    TKCLUT& GetCLUT() { return fCLUT; }
    void SetTypes(int32_t srcType, int32_t dstType);

    // ---- Operations added to TKHyperSquareTrafo, in table order ----
    // Input range; empty vectors (or any not of the source dimension) mean 0..1.
    virtual void SetSrcRange(const TKVector& min, const TKVector& max);
    // Source position of a node: its grid coordinates divided back, scaled into the range.
    virtual TKVector GetNodeSrc(int32_t node) const;
    virtual TKVector GetNodeDst(int32_t node) const;
    virtual void SetNodeDst(int32_t node, const TKVector& value);
    // Weighted sums of node positions and node values; weights[i] belongs to nodes[i].
    virtual TKVector TrafoByCornerSrc(const std::vector<double>& weights, const std::vector<int32_t>& nodes) const;
    virtual TKVector TrafoByCornerDst(const std::vector<double>& weights, const std::vector<int32_t>& nodes) const;
    // Applies the sums of an accumulating training pass: each touched node moves by its summed
    // update divided by its summed weight.
    virtual void FinishTraining();

    // ---- TKTrafo and interpolation ----
    int32_t GetSrcDim() const override;
    int32_t GetDstDim(int32_t srcDim) const override;
    int32_t GetSrcType() const override;
    int32_t GetDstType(int32_t srcType) const override;
    TKVector GetCornerSrc(uint32_t corner, int32_t cell) const override;
    TKVector GetCornerDst(uint32_t corner, int32_t cell) const override;
    void SetCornerDst(uint32_t corner, const TKVector& value, int32_t cell) override;
    int32_t CornerNode(uint32_t corner, int32_t cell) const override;
    TKVector CalcWeights(const TKVector& source, int32_t& cell) const override;
    void Train(const TKMatrix& sources, const TKMatrix& targets, int32_t flags) override;
    void AddToCorner(uint32_t corner, double weight, const TKVector& delta, int32_t cell) override;

    const TKVector& GetSrcMin() const { return fSrcMin; }
    const TKVector& GetSrcMax() const { return fSrcMax; }
    // Normalized position of a source: (source - min) / (max - min) when the range is set.
    TKVector NormalizeSource(const TKVector& source) const;

protected:
    bool HasSrcRange() const;

    TKCLUT fCLUT;
    TKVector fSrcMin;
    TKVector fSrcMax;
    std::vector<double> fNodeWeights;  // per node, while training accumulates
    std::vector<double> fNodeSums;     // per node and output channel
    int32_t fTrainedCount = 0;
    std::vector<int32_t> fTrainedNodes;
    int32_t fSrcType = 0;
    int32_t fDstType = 0;
};
