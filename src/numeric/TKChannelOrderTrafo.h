// TKChannelOrderTrafo: moves channels to other positions, scattering (source channel i goes
// to Order[i]) or, inverted, gathering (channel i comes from Order[i]).
#pragma once

#include <vector>

#include "numeric/TKTrafo.h"

class TKChannelOrderTrafo : public TKTrafo {
    TK_DECLARE_CLASS(TKChannelOrderTrafo, TKTrafo)
public:
    TKChannelOrderTrafo() = default;
    TKChannelOrderTrafo(const int32_t* order, int32_t count, bool gather);

    // Starts from a copy of the source and moves the channels below the smaller of the order's
    // count and the source dimension. An order entry outside the vector is IndexError.
    TKVector Trafo(const TKVector& source) const override;
    void Load(const TKDataBase& base) override;
    void Save(TKDataBase& base) const override;

    // ArgErr for a negative count or a null order with a positive count.
    virtual void SetOrder(const int32_t* order, int32_t count, bool gather);
    virtual std::vector<int32_t> GetOrder() const { return fOrder; }
    virtual bool IsGather() const { return fGather; }

private:
    std::vector<int32_t> fOrder;
    bool fGather = false;
};
