// TKTrafoLutTrafo: a grid sampled from another trafo, node by node on first use (lazy), all at
// once (eager), or evaluated on every read without storing (direct).
#pragma once

#include <atomic>
#include <memory>

#include "numeric/TKLutTrafo.h"

class TKTrafoLutTrafo : public TKLutTrafo {
    TK_DECLARE_CLASS(TKTrafoLutTrafo, TKLutTrafo)
public:
    enum FillMode : int32_t { kFillLazy = 0, kFillEager = 1, kFillDirect = 2 };

    explicit TKTrafoLutTrafo(int32_t mode = 2);
    TKTrafoLutTrafo(const TKTrafoLutTrafo& other);
    ~TKTrafoLutTrafo() override;

    // Resets the grid to gridPoints per input channel with outDim samples per node, and takes
    // the source range from the source type (SetSrcRangeFromType). ArgErr for an unknown fill mode.
    virtual void Setup(int32_t outDim, int32_t srcType, int32_t dstType, const std::vector<int32_t>& gridPoints,
                       int32_t sampleSize, int32_t fillMode);
    // Takes the trafo that fills the grid (owned as in Append); dimensions and types follow it.
    // An eager grid is filled at once and the trafo released.
    virtual void SetTrafo(TKTrafo* trafo, bool owned);
    TKTrafo* GetTrafo() const { return fTrafo.Get(); }
    int32_t GetFillMode() const { return fFillMode; }
    // The trafo at a node's position.
    virtual TKVector CalcNode(int32_t node) const;
    // True when node is stored in the grid.
    bool IsNodeDone(int32_t node) const;

    TKVector GetNodeDst(int32_t node) const override;
    void SetNodeDst(int32_t node, const TKVector& value) override;

protected:
    // The input range of a colour type; here every type reads 0..1 (empty range). Colour
    // subclasses override it with the channel ranges of their types.
    virtual void SetSrcRangeFromType(int32_t srcType);

private:
    enum NodeState : uint8_t { kEmpty = 0, kComputing = 1, kDone = 2 };
    void ResetFlags();
    void FillAll();

    TKRefPtr<TKTrafo> fTrafo;
    int32_t fFillMode = kFillLazy;
    // Lazy nodes are a cache written from const reads on any thread. A node is claimed before it
    // is computed, so two threads never write one node at once; a thread that finds a node being
    // computed evaluates it itself, rounded as the grid would store it.
    std::unique_ptr<std::atomic<uint8_t>[]> fDone;
};
