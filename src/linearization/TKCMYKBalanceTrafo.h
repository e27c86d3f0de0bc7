// TKCMYKBalanceTrafo: moves the gray of a CMYK colour between the chromatic inks and black.
// The colour is first read back to the CMY that prints like it, with the weights of gray and
// black it has itself, and then separated again with the trafo's balance (the share of gray
// that goes to black), so the printed colour stays and only the ink split changes.
#pragma once

#include "color/TKColorTrafo.h"

class TKCMYKBalanceTrafo : public TKColorTrafo {
    TK_DECLARE_CLASS(TKCMYKBalanceTrafo, TKColorTrafo)
public:
    // ArgErr for a balance outside 0..1.
    explicit TKCMYKBalanceTrafo(double balance);
    double GetBalance() const { return fBalance; }

protected:
    TKVector Evaluate(const TKVector& cmyk) const override;

private:
    double fBalance;
};
