// TKLinearizeEdgesWeights: weights from the arc length of each cell edge's image.
#include "numeric/TKLinearizeEdgesWeights.h"

#include <algorithm>

#include "numeric/TKHyperSquareWeightRules.h"

TKLinearizeEdgesWeights::TKLinearizeEdgesWeights(TKTrafo* edgeTrafo, bool owned)
    : TKHyperSquareWeights(kMode, OwnRule{}), fEdgeTrafo(edgeTrafo, owned) {}

double TKLinearizeEdgesWeights::LinearizeEdge(int32_t n, int32_t d, uint32_t mask, double t) const {
    if (!(t > 0.0 && t < 1.0)) return t;
    if (!fEdgeTrafo) TKThrow(PtrInvalid);
    TKVector start(n);
    for (int32_t j = 0; j < n; ++j) start[j] = (mask & TKWeightRules::Bit(n, j)) ? 1.0 : 0.0;
    TKVector end = start;
    end[d] = 1.0;
    TKVector x = start;
    x[d] = start[d] + t * (end[d] - start[d]);
    const TKVector image = fEdgeTrafo->Trafo(x);
    const double a = image.Distance(fEdgeTrafo->Trafo(start));
    const double b = image.Distance(fEdgeTrafo->Trafo(end));
    return a + b > 0.0 ? a / (a + b) : t;
}

void TKLinearizeEdgesWeights::CalcWeights(const double* f, int32_t n, double* w) const {
    if (n < 0 || n > kMaxChannels) TKThrow(DimMismatch);
    const uint32_t corners = 1u << n;
    double sum = 0.0;
    for (uint32_t m = 0; m < corners; ++m) {
        double product = 1.0;
        for (int32_t d = 0; d < n && product != 0.0; ++d) {
            const uint32_t bit = TKWeightRules::Bit(n, d);
            // The corner's bits of the channels before d pick the edge.
            const uint32_t higher = m & ~((bit << 1) - 1);
            const double e = LinearizeEdge(n, d, higher, f[d]);
            product *= (m & bit) ? e : 1.0 - e;
        }
        w[m] = product;
        sum += product;
    }
    for (uint32_t m = 0; m < corners; ++m) w[m] = sum == 0.0 ? 1.0 / corners : w[m] / sum;
}
