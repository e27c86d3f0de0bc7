// The simple XYZ stages of the rendering intents: the copy, lightness-only and paper-relative
// scalings, the plain linear black and white map, a black shift and the mix of two stages.
#pragma once

#include "color/TKXYZTrafoBase.h"

// "AbsoluteColorimetric": the colour as it is.
class TKDummyXYZTrafo : public TKXYZTrafoBase {
    TK_DECLARE_CLASS(TKDummyXYZTrafo, TKXYZTrafoBase)
public:
    explicit TKDummyXYZTrafo(bool smoothBlack = false) : TKXYZTrafoBase(smoothBlack) {}

protected:
    TKVector Evaluate(const TKVector& xyz) const override;
};

// "RelativeLightness": scales the luminance of the source white onto that of the destination
// white, all three channels by Yd / Ys, and keeps every chromaticity as it is (no adaptation
// of the white's colour).
class TKWhiteYTrafo : public TKXYZTrafoBase {
    TK_DECLARE_CLASS(TKWhiteYTrafo, TKXYZTrafoBase)
public:
    explicit TKWhiteYTrafo(bool smoothBlack = false) : TKXYZTrafoBase(smoothBlack) {}

protected:
    TKVector Evaluate(const TKVector& xyz) const override;
};

// Paper simulation by the subtractive model: the medium filters the light that every ink layer
// lets through, so each channel is multiplied by the ratio of the destination to the source
// white. White goes to white, black stays near black (its offset is not moved).
class TKPaperXYZTrafo : public TKXYZTrafoBase {
    TK_DECLARE_CLASS(TKPaperXYZTrafo, TKXYZTrafoBase)
public:
    explicit TKPaperXYZTrafo(bool smoothBlack = false) : TKXYZTrafoBase(smoothBlack) {}

protected:
    TKVector Evaluate(const TKVector& xyz) const override;
};

// A constant factor on all three channels (between the Y = 100 and Y = 1 conventions, or an
// exposure change); the points play no part.
class TKScaleCIETrafo : public TKXYZTrafoBase {
    TK_DECLARE_CLASS(TKScaleCIETrafo, TKXYZTrafoBase)
public:
    explicit TKScaleCIETrafo(double factor = 1.0) : fFactor(factor) {}
    void SetFactor(double factor) { fFactor = factor; }
    double GetFactor() const { return fFactor; }

protected:
    TKVector Evaluate(const TKVector& xyz) const override;

private:
    double fFactor;
};

// The channel-wise linear map from source black and white to destination black and white,
// never with the smooth black: the form reference-black conversions need.
class TKXYZLinearBlackWhiteTrafo : public TKXYZTrafoBase {
    TK_DECLARE_CLASS(TKXYZLinearBlackWhiteTrafo, TKXYZTrafoBase)
public:
    TKXYZLinearBlackWhiteTrafo() : TKXYZTrafoBase(false) {}
    TKXYZLinearBlackWhiteTrafo(const TKVector& srcBlack, const TKVector& srcWhite, const TKVector& dstBlack,
                               const TKVector& dstWhite);
};

// Moves the source black onto the destination black and leaves the white where it is: the
// shift dstBlack - srcBlack is added in full at the source black's luminance and fades
// linearly to nothing at the source white's.
class TKBlackOffsetTrafo : public TKXYZTrafoBase {
    TK_DECLARE_CLASS(TKBlackOffsetTrafo, TKXYZTrafoBase)
public:
    explicit TKBlackOffsetTrafo(bool smoothBlack = false) : TKXYZTrafoBase(smoothBlack) {}

protected:
    TKVector Evaluate(const TKVector& xyz) const override;
};

// (1 - weight) stage1 + weight stage2; the points set here go to both stages.
class TKMergeXYZTrafo : public TKXYZTrafoBase {
    TK_DECLARE_CLASS(TKMergeXYZTrafo, TKXYZTrafoBase)
public:
    // owned: true takes over the caller's counts. A null stage is ArgErr.
    TKMergeXYZTrafo(TKXYZTrafoBase* stage1, TKXYZTrafoBase* stage2, double weight, bool owned);
    // The stages are held, not cloned: a copy would change its original's points.
    TKMergeXYZTrafo(const TKMergeXYZTrafo&) = delete;

    void SetSourceBlack(const TKVector& black) override;
    void SetSourceWhite(const TKVector& white) override;
    void SetDestBlack(const TKVector& black) override;
    void SetDestWhite(const TKVector& white) override;
    void SetWeight(double weight) { fWeight = weight; }
    double GetWeight() const { return fWeight; }

protected:
    TKVector Evaluate(const TKVector& xyz) const override;

private:
    TKRefPtr<TKXYZTrafoBase> fStage1, fStage2;
    double fWeight;
};
