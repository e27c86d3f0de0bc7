// TKLinearizeEdgesWeights: multilinear weights along cell edges that are non-linear in the
// image of a trafo, so that equal steps of the fraction are equal steps of the result.
#pragma once

#include "numeric/TKHyperSquareWeights.h"

class TKLinearizeEdgesWeights : public TKHyperSquareWeights {
    TK_DECLARE_CLASS(TKLinearizeEdgesWeights, TKHyperSquareWeights)
public:
    static constexpr int32_t kMode = 6;

    // The edge trafo maps positions in the unit cell; owned as in TKTrafoList::Append.
    TKLinearizeEdgesWeights(TKTrafo* edgeTrafo, bool owned);

    void CalcWeights(const double* f, int32_t n, double* w) const override;

    // The fraction along the edge of channel d from the corner `mask` (bits of the channels
    // before d) at which the edge's image has covered the share t of its length. t outside
    // (0, 1) and edges whose image has no length give t.
    double LinearizeEdge(int32_t n, int32_t d, uint32_t mask, double t) const;

    TKTrafo* GetEdgeTrafo() const { return fEdgeTrafo.Get(); }

private:
    TKRefPtr<TKTrafo> fEdgeTrafo;
};
