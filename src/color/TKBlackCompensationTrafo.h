// TKBlackCompensationTrafo: black point compensation on XYZ, the stage of intents 9 and 10.
// The source black is taken to the destination black, white to white, linearly in between; the
// blacks are made neutral first, so a black keeps only its lightness and takes the chromaticity
// of its white.
#pragma once

#include "color/TKXYZTrafoBase.h"

class TKBlackCompensationTrafo : public TKXYZTrafoBase {
    TK_DECLARE_CLASS(TKBlackCompensationTrafo, TKXYZTrafoBase)
public:
    // With smoothBlack the real (coloured) blacks map onto each other as well: a black blend in
    // front moves the source black onto its neutral form, one behind moves the neutral
    // destination black onto the real one, each fading out with the distance from black.
    explicit TKBlackCompensationTrafo(bool smoothBlack = false) : TKXYZTrafoBase(smoothBlack) {}

    void Update() override;
    // The neutral blacks: the white times the black's Y over the white's Y (brought up to date).
    TKVector GetNeutralSourceBlack() const;
    TKVector GetNeutralDestBlack() const;

protected:
    TKVector Evaluate(const TKVector& xyz) const override;

private:
    TKVector fNeutralSrcBlack, fNeutralDstBlack;
};
