// TKTrafoRefTrafo: a trafo reference of the host seen as a trafo, reached through the exported
// functions only, so that a host's handle can stand anywhere a trafo goes.
#pragma once

#include "numeric/TKTrafo.h"
#include "tintara.h"

class TKTrafoRefTrafo : public TKTrafo {
    TK_DECLARE_CLASS(TKTrafoRefTrafo, TKTrafo)
public:
    // owned: the handle is freed with this object.
    TKTrafoRefTrafo(TKTrafoRef handle, bool owned);
    ~TKTrafoRefTrafo() override;
    TKTrafoRefTrafo(const TKTrafoRefTrafo&) = delete;
    TKTrafoRefTrafo& operator=(const TKTrafoRefTrafo&) = delete;

    int32_t GetSrcDim() const override;
    int32_t GetDstDim(int32_t srcDim) const override;
    int32_t GetSrcType() const override;
    int32_t GetDstType(int32_t srcType) const override;
    // Through TKDoTrafo; a code other than 0 is raised.
    TKVector Trafo(const TKVector& source) const override;

private:
    TKTrafoRef fHandle;
    bool fOwned;
};
