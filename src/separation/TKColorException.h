// TKColorException: the exception logic of device links. Standing behind an ordinary colour
// transform, it sees each source colour S and the colour D the transform made of it, and pulls
// D towards a purer candidate where S is black, white, gray, one or two inks, a user spot or a
// user range, with a weight that falls off with the distance from that colour.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "numeric/TKRefTrafo.h"

class TKInkLimitTrafo;

// A user rule: the box [lo, hi] around a colour, widened by a radius, falling off over a border.
struct TKSpotRule {
    TKVector lo;
    TKVector hi;
    double border = 0.0;
    double radius = 0.0;
    bool useInkLimit = true;
};

class TKColorException : public TKRefTrafo {
    TK_DECLARE_CLASS(TKColorException, TKRefTrafo)
public:
    // Colours of inType come in, destination colours of outType; 0 takes the colours' own types.
    TKColorException(uint32_t inType, uint32_t outType);
    TKColorException(const TKColorException& other);
    ~TKColorException() override;

    int32_t GetSrcDim() const override;
    int32_t GetDstDim(int32_t srcDim) const override;
    int32_t GetSrcType() const override;
    int32_t GetDstType(int32_t srcType) const override;
    // With a stored reference vector (the source colour a TKSetRefVectorTrafo handed over) the
    // input is the destination colour; otherwise the held trafo, or the identity, makes it.
    TKVector Trafo(const TKVector& source) const override;
    // Never claims to be the identity: what it does depends on the colour handed aside.
    int32_t GetInfo(int32_t index) const override;

    // Virtual operations, in table order.
    // Trafos around the base colour (pre on the source, post on the result) and the gray curve
    // (0..1 to 0..1); any may be null. release: the counts of the caller go to this object.
    virtual void SetSideTrafos(TKTrafo* pre, TKTrafo* post, TKTrafo* grayCurve, bool release);
    virtual void SetMode(uint32_t mode);
    virtual uint32_t GetMode() const;
    virtual void SetExtendedMode(int32_t mode);
    virtual int32_t GetExtendedMode() const;
    // A fraction of each channel's range; all border widths derive from it.
    virtual void SetTolerance(double tolerance);
    virtual double GetTolerance() const;
    // Reads "GridSize", "Spot", "Range" and "TAC" lines; malformed lines are skipped.
    virtual void ParseSettings(const TKString& text);
    // The limits exception colours are brought under; the fourth entry (black) is never limited.
    virtual void SetInkLimit(const TKVector& limits, double total);
    virtual TKVector ApplyExceptions(const TKVector& source, const TKVector& destination) const;
    // Row by row up to the smaller height; further destination rows stay as they are.
    virtual void ApplyExceptionsToMatrix(const TKMatrix& sources, TKMatrix& destinations) const;
    // The rows of `colours` the logic changes (wantAffected) or leaves alone (otherwise).
    virtual TKMatrix SelectAffectedColors(const TKMatrix& colours, bool wantAffected);
    virtual double CalcRuleWeight(const TKVector& source, bool& useInkLimit) const;
    virtual double CalcFalloff(double distance, double width) const;
    virtual TKVector CalcBaseColor(const TKVector& source, const TKVector& destination) const;
    virtual TKVector CalcPurifiedColor(const TKVector& source, const TKVector& destination) const;
    virtual TKVector ApplyGraySource(const TKVector& source, const TKVector& destination, const TKVector& base) const;
    virtual TKVector ApplyRGBSource(const TKVector& source, const TKVector& destination, const TKVector& base) const;
    virtual TKVector ApplyCMYKSource(const TKVector& source, const TKVector& destination, const TKVector& base) const;
    virtual TKVector ApplyFilteredSource(const TKVector& source, const TKVector& destination, const TKVector& base) const;
    virtual TKVector KeepFarthest(const TKVector& reference, const TKVector& a, const TKVector& b) const;

    const std::vector<TKSpotRule>& GetRules() const { return fRules; }
    double GetTACMin() const { return fTACMin; }
    double GetTACMax() const { return fTACMax; }
    int32_t GetGridSize() const { return fGridSize; }
    const TKInkLimitTrafo& GetInkLimit() const { return *fInkLimit; }

private:
    // The twelve colours the rules are measured against, for one pair of colour types.
    struct References {
        uint32_t srcType = 0xFFFFFFFFu;
        uint32_t dstType = 0xFFFFFFFFu;
        TKVector srcWhite, srcKBlack, srcFullBlack;
        TKVector srcCMY[3], srcRGB[3];
        TKVector dstWhite, dstKBlack, dstFullBlack;
    };

    void Refresh(uint32_t srcType, uint32_t dstType) const;
    uint32_t TypeOf(const TKVector& colour, uint32_t fallback) const;
    TKVector PassInkLimit(const TKVector& colour) const;
    double GrayCurve(double g) const;
    // The steps the CMYK and filter paths share at their end.
    TKVector FinishInkResult(const TKVector& source, TKVector result, double black, bool useLimit) const;
    bool HasRules() const;

    uint32_t fMode = 0;
    int32_t fExtendedMode = 0;
    double fTolerance = 0.01;
    uint32_t fInType;
    uint32_t fOutType;
    std::unique_ptr<TKInkLimitTrafo> fInkLimit;
    TKRefPtr<TKTrafo> fPre;
    TKRefPtr<TKTrafo> fPost;
    TKRefPtr<TKTrafo> fGrayCurve;
    std::vector<TKSpotRule> fRules;
    double fTACMin = -1.0;
    double fTACMax = -1.0;
    int32_t fGridSize = 0;
    mutable References fRefs;
};
