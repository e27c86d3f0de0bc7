// Inverse colour trafos that let the search move only a few parameters and derive the full ink
// vector from them, so that black follows a separation, stays as it was, or is all that moves.
// Each colour starts from a frame (the full device colour the parameters are laid onto) and may
// keep the ink build of a reference colour.
#pragma once

#include <vector>

#include "color/TKInvColorTrafo.h"
#include "separation/TKCIESeparation.h"
#include "separation/TKColorSeparation.h"

class TKParametricInvColorTrafo : public TKInvColorTrafo {
    TK_DECLARE_CLASS(TKParametricInvColorTrafo, TKInvColorTrafo)
public:
    using TKInvColorTrafo::TKInvColorTrafo;

    // The start: the fixed start vector, else the start trafo's answer, else the frame laid
    // through the parameters, else half of white and black. With a CIE separation (made from
    // the forward trafo for devices of more than four inks) its inks are the start where no
    // other is given, and hold each ink from the fifth on near them. It becomes the frame.
    TKVector CalcStart() override;
    // Starts over: the CIE separation belongs to the forward trafo.
    void SetRefTrafo(TKTrafo* forward, bool owned) override;
    // The CIE separation that gives starts (null removes it; the next colour of a device of more
    // than four inks makes one again). DimMismatch when it gives another device.
    void SetCIESeparation(TKCIESeparation* separation, bool owned);
    TKCIESeparation* GetCIESeparation() const { return fCIESeparation.Get(); }
    double CalcError(const TKVector& p, TKVector& out) override;

    // Virtual operations added.
    virtual TKVector FromParameters(const TKVector& p);
    virtual TKVector ToParameters(const TKVector& colour);

    // The full device colour the parameters are laid onto; set by CalcStart for each colour.
    void SetFrame(const TKVector& frame) { fFrame = frame; }
    const TKVector& GetFrame() const { return fFrame; }
    // Bounds of the black the separation-driven forms may choose (default 0 and 100).
    void SetBlackRange(double minBlack, double maxBlack);

protected:
    TKVector ToSearch(const TKVector& device) override { return ToParameters(device); }
    TKVector FromSearch(const TKVector& x) override { return FromParameters(x); }
    // The frame as device values: the frame given, or the default start without one.
    TKVector FrameOrDefault() const;
    // The reference colour as device values; the frame without one.
    TKVector ReferenceOrFrame() const;
    // A four-channel device is needed (DimMismatch otherwise).
    void NeedFourInks() const;

    TKVector fFrame;
    TKRefPtr<TKCIESeparation> fCIESeparation;
    double fMinBlack = 0.0;
    double fMaxBlack = 100.0;
};

// The channels of a chosen list move; the others stay as in the frame.
class TKInvColorTrafoChannels : public TKParametricInvColorTrafo {
    TK_DECLARE_CLASS(TKInvColorTrafoChannels, TKParametricInvColorTrafo)
public:
    // IndexError for a channel outside the device or given twice; ArgErr for an empty list.
    TKInvColorTrafoChannels(TKTrafo* startTrafo, TKTrafo* forward, const std::vector<int32_t>& channels, bool owned);
    TKVector FromParameters(const TKVector& p) override;
    TKVector ToParameters(const TKVector& colour) override;

private:
    std::vector<int32_t> fChannels;
};

// C, M and Y move; black is 0.
class TKInvColorTrafoNoBlack : public TKParametricInvColorTrafo {
    TK_DECLARE_CLASS(TKInvColorTrafoNoBlack, TKParametricInvColorTrafo)
public:
    using TKParametricInvColorTrafo::TKParametricInvColorTrafo;
    TKVector FromParameters(const TKVector& p) override;
    TKVector ToParameters(const TKVector& colour) override;
};

// Black alone moves; CMY are those of the reference colour.
class TKInvColorTrafoOptimizeBlack : public TKParametricInvColorTrafo {
    TK_DECLARE_CLASS(TKInvColorTrafoOptimizeBlack, TKParametricInvColorTrafo)
public:
    using TKParametricInvColorTrafo::TKParametricInvColorTrafo;
    TKVector FromParameters(const TKVector& p) override;
    TKVector ToParameters(const TKVector& colour) override;
};

// C, M and Y move; black and any further inks stay as in the frame: black is kept.
class TKInvColorTrafoOptimizeCMY : public TKParametricInvColorTrafo {
    TK_DECLARE_CLASS(TKInvColorTrafoOptimizeCMY, TKParametricInvColorTrafo)
public:
    using TKParametricInvColorTrafo::TKParametricInvColorTrafo;
    TKVector FromParameters(const TKVector& p) override;
    TKVector ToParameters(const TKVector& colour) override;
};

// The bases of the forms whose black comes from a separation.
class TKSeparationInvColorTrafoBase : public TKParametricInvColorTrafo {
    TK_DECLARE_CLASS(TKSeparationInvColorTrafoBase, TKParametricInvColorTrafo)
public:
    // `separation` may be null where a form can do without.
    TKSeparationInvColorTrafoBase(TKTrafo* startTrafo, TKTrafo* forward, TKColorSeparationBase* separation, bool owned);
    ~TKSeparationInvColorTrafoBase() noexcept override;
    TKColorSeparationBase* GetSeparation() const { return fSeparation.Get(); }

protected:
    // The separation; PtrInvalid (null reference) without one.
    const TKColorSeparationBase& Separation() const;
    // CMYK from the separation, further inks from the frame.
    TKVector WithFrameExtras(const TKVector& cmyk) const;

    TKRefPtr<TKColorSeparationBase> fSeparation;
};

// C, M and Y move; black follows the separation (CMY2CMYK). Without a separation the CMY go to
// the device by the direct conversion.
class TKInvColorTrafoSeparation : public TKSeparationInvColorTrafoBase {
    TK_DECLARE_CLASS(TKInvColorTrafoSeparation, TKSeparationInvColorTrafoBase)
public:
    using TKSeparationInvColorTrafoBase::TKSeparationInvColorTrafoBase;
    TKVector FromParameters(const TKVector& p) override;
    TKVector ToParameters(const TKVector& colour) override;
};

// C, M, Y and a black amount move: black is that share of the full black, within the range.
class TKInvColorTrafoBlackAmount : public TKSeparationInvColorTrafoBase {
    TK_DECLARE_CLASS(TKInvColorTrafoBlackAmount, TKSeparationInvColorTrafoBase)
public:
    using TKSeparationInvColorTrafoBase::TKSeparationInvColorTrafoBase;
    TKVector FromParameters(const TKVector& p) override;
    TKVector ToParameters(const TKVector& colour) override;
};

// C, M and Y move; black is the separation's, kept between its least and most, and in range.
class TKInvColorTrafoPreferBlack : public TKSeparationInvColorTrafoBase {
    TK_DECLARE_CLASS(TKInvColorTrafoPreferBlack, TKSeparationInvColorTrafoBase)
public:
    using TKSeparationInvColorTrafoBase::TKSeparationInvColorTrafoBase;
    TKVector FromParameters(const TKVector& p) override;
    TKVector ToParameters(const TKVector& colour) override;
};

// Three shares move; black keeps its share of the gray part by a ratio (mode 0 or 1).
class TKInvColorTrafoKeepSeparation : public TKParametricInvColorTrafo {
    TK_DECLARE_CLASS(TKInvColorTrafoKeepSeparation, TKParametricInvColorTrafo)
public:
    // ArgErr for a mode other than 0 or 1, or a ratio outside 0..1.
    TKInvColorTrafoKeepSeparation(TKTrafo* startTrafo, TKTrafo* forward, double ratio, int32_t mode, bool owned);
    TKVector FromParameters(const TKVector& p) override;
    TKVector ToParameters(const TKVector& colour) override;
    double GetRatio() const { return fRatio; }
    int32_t GetMode() const { return fMode; }

private:
    double fRatio;
    int32_t fMode;
};

// The change of CMY against the frame moves; a share (Ratio) of the gray it adds or takes goes
// to black.
class TKInvColorTrafoOptimizeCMYK : public TKParametricInvColorTrafo {
    TK_DECLARE_CLASS(TKInvColorTrafoOptimizeCMYK, TKParametricInvColorTrafo)
public:
    using TKParametricInvColorTrafo::TKParametricInvColorTrafo;
    TKVector FromParameters(const TKVector& p) override;
    TKVector ToParameters(const TKVector& colour) override;
    // ArgErr outside 0..1.
    void SetRatio(double ratio);
    double GetRatio() const { return fRatio; }

private:
    double fRatio = 1.0;
};

// Two of the first three channels move; the third keeps the sum of the three as in the frame.
class TKInvColorTrafoBalanceColorants : public TKParametricInvColorTrafo {
    TK_DECLARE_CLASS(TKInvColorTrafoBalanceColorants, TKParametricInvColorTrafo)
public:
    using TKParametricInvColorTrafo::TKParametricInvColorTrafo;
    TKVector FromParameters(const TKVector& p) override;
    TKVector ToParameters(const TKVector& colour) override;
    // Clipped to range, with what clipping takes from the third channel given to the other two.
    TKVector FinishColor(const TKVector& x) override;
};

// As TKInvColorTrafoOptimizeCMY, with a start from a CIE separation of its own: the separated
// inks, or the fixed start vector with each ink from the fifth on held near the separated one.
// Holds the given CIE separation; a base in front, so that its count is taken before the
// inverse's own checks can throw.
struct TKCIESeparationHolder {
    TKCIESeparationHolder(TKCIESeparation* separation, bool owned) : fGiven(separation, owned) {}
    TKRefPtr<TKCIESeparation> fGiven;
};

class TKInvColorTrafoCIESeparation : private TKCIESeparationHolder, public TKInvColorTrafoOptimizeCMY {
    TK_DECLARE_CLASS(TKInvColorTrafoCIESeparation, TKInvColorTrafoOptimizeCMY)
public:
    // PtrInvalid (null reference) without a separation; DimMismatch when it gives another device.
    TKInvColorTrafoCIESeparation(TKTrafo* startTrafo, TKTrafo* forward, TKCIESeparation* separation, bool owned);
    ~TKInvColorTrafoCIESeparation() noexcept override;
    // Keeps its own separation through a new forward trafo.
    void SetRefTrafo(TKTrafo* forward, bool owned) override;
};
