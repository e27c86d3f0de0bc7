// TKHyperSquareWeights: the trafo from the n fractions of a position in a cell to the 2^n
// weights of the cell's corners, by one of the weight rules.
#pragma once

#include "numeric/TKTrafo.h"

class TKHyperSquareWeights : public TKTrafo {
    TK_DECLARE_CLASS(TKHyperSquareWeights, TKTrafo)
public:
    // The low byte of `mode` selects the rule (0 to 5, see TKHyperSquareWeightRules.h);
    // UndefProc for any other rule.
    explicit TKHyperSquareWeights(int32_t mode);

    int32_t GetMode() const { return fMode; }
    // 2^n weights for n fractions.
    int32_t GetDstDim(int32_t srcDim) const override;
    TKVector Trafo(const TKVector& fractions) const override;

    // The rule on plain arrays: w receives 2^n weights. The path of interpolation's inner loop.
    virtual void CalcWeights(const double* f, int32_t n, double* w) const;

    // Channels a weight vector may have: 2^16 corners.
    static constexpr int32_t kMaxChannels = 16;

protected:
    // For subclasses with rules of their own (mode 6 and up).
    struct OwnRule {};
    TKHyperSquareWeights(int32_t mode, OwnRule) : fMode(mode) {}

    int32_t fMode;
};
