// Re-balancing gray between CMY and black through two balance separations.
#include "linearization/TKCMYKBalanceTrafo.h"

#include "color/TKColors.h"
#include "separation/TKColorSeparation.h"

TKCMYKBalanceTrafo::TKCMYKBalanceTrafo(double balance) : TKColorTrafo(TKCMYKSpace, TKCMYKSpace), fBalance(balance) {
    if (!(balance >= 0.0 && balance <= 1.0)) TKThrowMsg(ArgErr, "balance outside 0..1");
}

TKVector TKCMYKBalanceTrafo::Evaluate(const TKVector& cmyk) const {
    TKBalanceSeparation own(0.0);
    own.SetBalanceFrom(cmyk);
    const TKVector cmy = own.CMYKOfBlack(cmyk);
    return TKBalanceSeparation(fBalance).CMY2CMYK(cmy);
}
