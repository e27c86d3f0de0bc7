// Two trafos that pass a colour around a chain: TKSetRefVectorTrafo, placed in front, hands
// each source colour to the TKRefTrafo it holds, and TKUseRefVectorTrafo answers with its
// reference vector whatever it is given.
#pragma once

#include "numeric/TKRefTrafo.h"

class TKUseRefVectorTrafo : public TKRefTrafo {
    TK_DECLARE_CLASS(TKUseRefVectorTrafo, TKRefTrafo)
public:
    TKUseRefVectorTrafo() = default;
    explicit TKUseRefVectorTrafo(const TKVector& vector) { SetRefVector(vector); }

    int32_t GetDstDim(int32_t srcDim) const override;
    int32_t GetDstType(int32_t srcType) const override;
    TKVector Trafo(const TKVector& source) const override;
    // A constant is never the identity.
    int32_t GetInfo(int32_t index) const override;
};

class TKSetRefVectorTrafo : public TKRefTrafo {
    TK_DECLARE_CLASS(TKSetRefVectorTrafo, TKRefTrafo)
public:
    TKSetRefVectorTrafo() = default;
    TKSetRefVectorTrafo(TKTrafo* trafo, bool owned) : TKRefTrafo(trafo, owned) {}

    // What the held trafo takes in passes through unchanged.
    int32_t GetSrcDim() const override;
    int32_t GetDstDim(int32_t srcDim) const override;
    int32_t GetSrcType() const override;
    int32_t GetDstType(int32_t srcType) const override;
    // Hands the source to the held trafo's SetRefVector and returns it unchanged. Not for
    // several threads at once: the held trafo's reference vector is shared state.
    TKVector Trafo(const TKVector& source) const override;
    // Without a held trafo the identity; with one, whatever it answers.
    int32_t GetInfo(int32_t index) const override;
};
