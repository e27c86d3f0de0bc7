// TKInvHyperSquareTrafo: barycentric inversion of a simplex-interpolated cube.
#include "numeric/TKInvHyperSquareTrafo.h"

#include <algorithm>
#include <numeric>
#include <vector>

#include "numeric/TKHyperSquareWeightRules.h"

TKInvHyperSquareTrafo::TKInvHyperSquareTrafo(TKHyperSquareDataTrafo* cube, bool owned) : fCube(cube, owned) {
    if (!fCube) TKThrow(PtrInvalid);
    if (!fCube->GetWeights() || (fCube->GetWeights()->GetMode() & 0xFF) != TKWeightRules::kSimplex ||
        fCube->GetWeights()->Cast("TKLinearizeEdgesWeights"))
        TKThrow(InvalidTrafo);
}

int32_t TKInvHyperSquareTrafo::GetSrcDim() const { return fCube->GetDstDim(0); }

int32_t TKInvHyperSquareTrafo::GetDstDim(int32_t) const { return fCube->GetSrcDim(); }

TKVector TKInvHyperSquareTrafo::Trafo(const TKVector& source) const {
    const int32_t n = fCube->GetSrcDim();
    const int32_t m = fCube->GetDstDim(0);
    if (source.GetDim() != m) TKThrow(DimMismatch);
    if (n > kMaxChannels) TKThrow(ArgErr);

    // Barycentric coordinates solve [values; 1 ... 1] * lambda = [source; 1]. The pseudo-inverse
    // also serves cubes whose value space has more or fewer dimensions than the cube.
    TKVector right(m + 1);
    for (int32_t r = 0; r < m; ++r) right[r] = source[r];
    right[m] = 1.0;

    std::vector<int32_t> order(static_cast<size_t>(n));
    std::iota(order.begin(), order.end(), 0);
    TKVector best;
    double bestSmallest = 0.0;
    bool first = true;
    do {
        TKMatrix values(m + 1, n + 1);
        TKMatrix positions(n, n + 1);
        uint32_t mask = 0;
        for (int32_t k = 0; k <= n; ++k) {
            if (k > 0) mask |= 1u << order[size_t(k - 1)];
            const TKVector value = fCube->GetCornerDst(mask, 0);
            const TKVector position = fCube->GetCornerSrc(mask, 0);
            for (int32_t r = 0; r < m; ++r) values(r, k) = value[r];
            values(m, k) = 1.0;
            for (int32_t d = 0; d < n; ++d) positions(d, k) = position[d];
        }
        const TKVector lambda = values.PseudoInverse() * right;
        const double smallest = n >= 0 ? lambda.Min() : 0.0;
        if (first || smallest > bestSmallest) {
            best = positions * lambda;
            bestSmallest = smallest;
            first = false;
        }
        if (smallest >= 0.0) return best;
    } while (std::next_permutation(order.begin(), order.end()));
    return best;
}
