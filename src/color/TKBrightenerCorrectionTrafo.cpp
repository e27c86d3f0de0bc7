// Partial removal of the optical brightener effect, on XYZ or on a spectrum.
#include "color/TKBrightenerCorrectionTrafo.h"

#include <algorithm>

#include "color/TKCIEConverter.h"
#include "color/TKColors.h"
#include "foundation/TKError.h"
#include "io/TKGlobalData.h"

TKBrightenerCorrectionTrafo::TKBrightenerCorrectionTrafo(int32_t code, bool smoothBlack) : TKWhiteXYZTrafo(code) {
    fSmoothBlack = smoothBlack;
}

void TKBrightenerCorrectionTrafo::Update() {
    fFactor = TKGlobalData::GetDouble(kTKGlobalBrightenerSrc2DstFactor, 0.15);
    // The white trafo adapts to its destination white: for the length of its update that is the
    // partly moved white, and the real destination white is put back afterwards.
    const TKVector destination = fDstWhite;
    TKVector target(3, int32_t(TKXYZSpace));
    for (int i = 0; i < 3; ++i) target[i] = fSrcWhite[i] + fFactor * (destination[i] - fSrcWhite[i]);
    fDstWhite = target;
    try {
        TKWhiteXYZTrafo::Update();
    } catch (...) {
        fDstWhite = destination;
        throw;
    }
    fDstWhite = destination;
}

void TKBrightenerCorrectionTrafo::SetCorrectionSpectrum(const TKVector& spectrum) {
    if (spectrum.GetDim() != 0 && spectrum.GetDim() != kTKSpectralChannels)
        TKThrowMsg(ArgErr, "a correction spectrum has 36 samples");
    fCorrection = spectrum;
}

double TKBrightenerCorrectionTrafo::Share(const TKVector& xyz) const {
    const double zw = fSrcWhite[2];
    if (zw <= 0.0) return 0.0;
    const double t = std::clamp(xyz[2] / zw, 0.0, 1.0);
    double s = 1.0 - (1.0 - t) * (1.0 - t);
    if (xyz[2] > 0.0 && xyz[0] < zw) s *= xyz[0] / zw;
    return s;
}

TKVector TKBrightenerCorrectionTrafo::Evaluate(const TKVector& xyz) const {
    const double s = Share(xyz);
    const TKVector adapted = TKWhiteXYZTrafo::Evaluate(xyz);
    TKVector out(3, int32_t(TKXYZSpace));
    for (int i = 0; i < 3; ++i) out[i] = (1.0 - s) * xyz[i] + s * adapted[i];
    return out;
}

TKVector TKBrightenerCorrectionTrafo::Trafo(const TKVector& source) const {
    if (uint32_t(source.GetType()) != TKReflSpace || fCorrection.GetDim() != kTKSpectralChannels ||
        source.GetDim() != kTKSpectralChannels)
        return TKWhiteXYZTrafo::Trafo(source);
    const double s = Share(ConvertColor(TKXYZSpace, source));
    TKVector corrected(source);
    for (int32_t i = 0; i < kTKSpectralChannels; ++i)
        corrected[i] = (1.0 - s) * source[i] + s * fCorrection[i] * source[i];
    return ConvertColor(TKXYZSpace, corrected);
}
