// TKHyperSquareTrafo: weight interpolation with a weight rule of its own and training, which
// nudges the stored corner values towards scattered (source, target) pairs.
#pragma once

#include "numeric/TKHyperSquareWeights.h"
#include "numeric/TKWeightInterpolation.h"

class TKHyperSquareTrafo : public TKWeightInterpolation {
    TK_DECLARE_CLASS(TKHyperSquareTrafo, TKWeightInterpolation)
public:
    // Train flags.
    enum TrainFlags : int32_t {
        kTrainClampWeights = 1,  // each scaled weight is clamped into 0..1
        kTrainMaxNorm = 2,       // the norm term is the largest weight, not the weights' scalar square
    };

    // Creates the weight rule of `mode` (UndefProc for an unknown rule).
    explicit TKHyperSquareTrafo(int32_t mode);
    TKHyperSquareTrafo(const TKHyperSquareTrafo& other);
    ~TKHyperSquareTrafo() override;

    // Runs TrainPoint for each row pair. DimMismatch unless both matrices have as many rows.
    virtual void Train(const TKMatrix& sources, const TKMatrix& targets, int32_t flags);
    // What a stored value lacks to reach the target: target - value.
    virtual TKVector CalcError(const TKVector& value, const TKVector& target) const;
    virtual void TrainPoint(const TKVector& source, const TKVector& target);
    // Adds `delta` to a corner; `weight` is the share of that corner in the update.
    virtual void AddToCorner(uint32_t corner, double weight, const TKVector& delta, int32_t cell);
    virtual double GetTrainRate() const;

    int32_t GetFlags() const { return fFlags; }
    TKHyperSquareWeights* GetWeights() const { return fWeights.Get(); }
    // Replaces the weight rule, e.g. by a TKLinearizeEdgesWeights; owned as in Append.
    void SetWeights(TKHyperSquareWeights* weights, bool owned) { fWeights.Reset(weights, owned); }

protected:
    // The rule, or PtrInvalid when there is none.
    const TKHyperSquareWeights& Rule() const;

    int32_t fFlags = 0;
    TKRefPtr<TKHyperSquareWeights> fWeights;
};
