// The numerical inverse of a forward colour trafo (device to a CIE type): colour by colour, a
// pattern search moves the device values until the forward trafo meets the target within an
// error limit, or as near as the device can come. The search needs only the forward trafo, a
// colour difference and the minimizers, which is why it lives below the profiles: a profile
// refines its own B2A table with it. The parametric forms that pin black through a separation
// build on it one layer up.
#pragma once

#include <cstdint>

#include "color/TKColorDifference.h"
#include "numeric/TKErrorFunc.h"
#include "numeric/TKRefTrafo.h"

// An inverse of the trafo it holds as its reference trafo.
class TKInvTrafo : public TKRefTrafo {
    TK_DECLARE_CLASS(TKInvTrafo, TKRefTrafo)
public:
    TKInvTrafo() = default;
    TKInvTrafo(TKTrafo* forward, bool owned) : TKRefTrafo(forward, owned) {}

    // The forward trafo's sides, swapped. PtrInvalid without a forward trafo.
    int32_t GetSrcDim() const override;
    int32_t GetDstDim(int32_t srcDim) const override;
    int32_t GetSrcType() const override;
    int32_t GetDstType(int32_t srcType) const override;
};

class TKInvColorTrafo : public TKInvTrafo, public TKErrorFunc {
    TK_DECLARE_CLASS(TKInvColorTrafo, TKInvTrafo)
public:
    TKInvColorTrafo();
    // `forward` maps device values to a CIE colour; `startTrafo` (may be null), an approximate
    // inverse such as a profile's B2A table, gives each search its start. owned: true takes over
    // the caller's counts of both, false adds counts of its own. DimMismatch when the two do not
    // fit together, WrongDataType when the forward trafo's result is no CIE colour.
    TKInvColorTrafo(TKTrafo* startTrafo, TKTrafo* forward, bool owned);
    ~TKInvColorTrafo() noexcept override;

    // Starts over: default start, darkest point and reference colour are forgotten.
    void SetRefTrafo(TKTrafo* forward, bool owned) override;
    void SetStartTrafo(TKTrafo* startTrafo, bool owned);
    TKTrafo* GetStartTrafo() const { return fStartTrafo.Get(); }

    // SetTarget, CalcStart, Minimize, FinishColor; the result becomes the reference colour.
    // Writes the search state: one object serves one thread at a time.
    TKVector Trafo(const TKVector& source) const override;

    // Virtual operations, in table order.
    virtual double GetError() const { return fError; }
    virtual TKVector GetTarget() const { return fTarget; }
    virtual TKVector GetStart() const { return fStart; }
    // The error of the device colour x against the target; `out` gets the error vector.
    virtual double CalcError(const TKVector& x, TKVector& out);
    virtual TKTrafo* ForwardTrafo() const { return fRefTrafo.Get(); }
    virtual double GetErrLimit() const { return fErrLimit; }
    // A limit at or below 0 leaves the global default.
    virtual void SetErrLimit(double limit);
    virtual void SetMinStep(double step) { fMinStep = step; }
    virtual double GetMinStep() const { return fMinStep; }
    virtual void SetStartStep(double step) { fStartStep = step; }
    virtual double GetStartStep() const { return fStartStep; }
    // 0 stands for the global default; otherwise it must lie in (0, 1) (ArgErr).
    virtual void SetRho(double rho);
    virtual double GetRho() const { return fRho; }
    // A trafo that every candidate passes, such as an ink limit; null removes it.
    virtual void SetLimitTrafo(TKTrafo* limit, bool owned);
    // The candidate through the limiting trafo and clipped to the device type's range.
    virtual TKVector FinishColor(const TKVector& x);
    virtual void SetTarget(const TKVector& input);
    virtual TKVector CalcStart();
    // Searches from x; leaves the error reached in GetError and returns the best point.
    virtual TKVector Minimize(const TKVector& x);

    // TKErrorFunc: the minimizer sees this object only through CalcError.
    double Error(const TKVector& x, TKVector& out) override { return CalcError(x, out); }

    void SetDifferenceMethod(int32_t method) { fDifference.SetMethod(method); }
    void SetInkPenalty(double penalty, double start) {
        fInkPenalty = penalty;
        fInkPenaltyStart = start;
    }
    void SetStartVector(const TKVector& start) { fStartVector = start; }
    void SetKeepWeight(double weight) { fKeepWeight = weight; }
    // The darkest printable colour and its device values; an empty Lab removes the shortcut.
    void SetBlackPoint(const TKVector& lab, const TKVector& device);
    // Searches made and error evaluations spent, for measurements.
    int64_t GetEvaluations() const { return fEvaluations; }

    // The device type of the forward trafo's input, and the type its result is compared in.
    uint32_t DeviceType() const;
    uint32_t TargetType() const;

protected:
    // The search's own coordinates of a device colour and back; the identity here, the
    // parameters of the parametric forms.
    virtual TKVector ToSearch(const TKVector& device);
    virtual TKVector FromSearch(const TKVector& x);
    // Half of white and the black of the first four inks: the start without any other.
    TKVector DefaultStart() const;
    // The error of a device colour (not yet clipped): the colour difference, then the ink
    // penalty and the keep weight as further components.
    double DeviceError(const TKVector& device, TKVector& out);
    // The two passes of the search on a vector of the search's own coordinates.
    double SearchPasses(TKVector& x);
    // One pass of the pattern search from x with the given shrink factor and start step.
    double SearchPass(TKVector& x, double rho, double startStep, bool swarm);
    // The darkest-point shortcut of a target at or below the darkest printable colour.
    bool BelowBlackPoint() const;
    // Device values from any vector: typed, and of another ink type converted directly.
    TKVector ToDevice(const TKVector& colour) const;
    // How far device values lie outside the device range, summed over the channels; 0 for a
    // vector of the search's own coordinates of another size.
    double RangeExcess(const TKVector& x) const;
    // The device range, for default steps and clipping.
    double DeviceRange() const;
    void CheckForward(TKTrafo* forward, TKTrafo* startTrafo) const;

    TKColorDifference fDifference{kTKDeltaE76};
    TKRefPtr<TKTrafo> fLimitTrafo;
    TKRefPtr<TKTrafo> fStartTrafo;
    double fInkPenalty = 0.0;
    double fInkPenaltyStart = 0.0;
    TKVector fTarget;
    TKVector fStart;
    double fError = 0.0;
    double fErrLimit;
    TKVector fStartVector;
    double fMinStep = 0.0;
    double fStartStep = 0.0;
    double fRho = 0.0;
    double fKeepWeight = 0.0;
    TKVector fBlackLab;
    TKVector fBlackDevice;
    int64_t fEvaluations = 0;
};

// Caps the total of an ink colour: above the cap, the inks other than black (channel 3) shrink
// in proportion until the total is the cap, or black alone if it is over the cap by itself.
// Keeps an inverse search inside the volume a press can print.
class TKTotalInkCapTrafo : public TKTrafo {
    TK_DECLARE_CLASS(TKTotalInkCapTrafo, TKTrafo)
public:
    // ArgErr for a cap that is not above 0.
    explicit TKTotalInkCapTrafo(double cap);
    TKVector Trafo(const TKVector& source) const override;
    double GetCap() const { return fCap; }

private:
    double fCap;
};
