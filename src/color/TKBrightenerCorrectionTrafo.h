// TKBrightenerCorrectionTrafo: the stage of "AbsLightenerCompensation", which takes back part of
// the bluish lift that optical brighteners give a paper under light with ultraviolet content.
#pragma once

#include "color/TKWhiteXYZTrafo.h"

class TKBrightenerCorrectionTrafo : public TKWhiteXYZTrafo {
    TK_DECLARE_CLASS(TKBrightenerCorrectionTrafo, TKWhiteXYZTrafo)
public:
    // The adaptation code of the correction; Bradford by default.
    explicit TKBrightenerCorrectionTrafo(int32_t code = 2, bool smoothBlack = false);

    // The correction adapts from the source white to a white moved from it towards the
    // destination white by the global "gBrightenerSrc2DstFactor" (0.15 built in): only part of
    // the brightener's effect is taken back, read when the stage updates.
    void Update() override;
    double GetSrc2DstFactor() const { return fFactor; }

    // A per-wavelength factor ("refl", 36 samples) that removes the brightener's emission from a
    // reflectance: with it, spectral colours are corrected in the spectrum. ArgErr for another
    // length; an empty vector removes it.
    void SetCorrectionSpectrum(const TKVector& spectrum);
    // A spectral colour with a correction spectrum is corrected spectrally; the result is XYZ.
    TKVector Trafo(const TKVector& source) const override;

    // How much of the correction a colour gets: 1 at the paper, fading to 0 for colours without
    // blue content. Colours are XYZ.
    double Share(const TKVector& xyz) const;

protected:
    TKVector Evaluate(const TKVector& xyz) const override;

private:
    double fFactor = 0.0;
    TKVector fCorrection;
};
