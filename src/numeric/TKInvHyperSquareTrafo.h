// TKInvHyperSquareTrafo: inverts one simplex-interpolated cube: finds the position whose
// interpolated corner values give the source.
#pragma once

#include "numeric/TKHyperSquareDataTrafo.h"

class TKInvHyperSquareTrafo : public TKTrafo {
    TK_DECLARE_CLASS(TKInvHyperSquareTrafo, TKTrafo)
public:
    // The walk tries up to n! simplices: cubes of more channels are refused (ArgErr) rather than
    // searched for ever.
    static constexpr int32_t kMaxChannels = 8;

    // The cube must interpolate by the simplex rule (mode 1), else InvalidTrafo. Owned as in Append.
    TKInvHyperSquareTrafo(TKHyperSquareDataTrafo* cube, bool owned);

    int32_t GetSrcDim() const override;
    int32_t GetDstDim(int32_t srcDim) const override;
    // Walks the n! simplices of the cube in lexicographic order of their channel order and returns
    // the position in the first that holds the source. If none does, the position in the simplex
    // whose smallest barycentric coordinate was largest: the nearest extrapolation.
    TKVector Trafo(const TKVector& source) const override;

    TKHyperSquareDataTrafo* GetCube() const { return fCube.Get(); }

private:
    TKRefPtr<TKHyperSquareDataTrafo> fCube;
};
