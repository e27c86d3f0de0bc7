// The stage trafos of ICC tables: curves, grids and matrices of "mft1"/"mft2" and "mAB "/"mBA ",
// the Lab norm adaption of 4-LUTs, the v4 perceptual reference black, gray TRC and matrix-shaper.
// Every stage that reads a tag keeps a counted reference to it, so the tag outlives the stage.
#pragma once

#include <vector>

#include "color/TKColorTrafo.h"
#include "color/TKXYZStages.h"
#include "icc/TKICCLutTags.h"
#include "numeric/TKLutTrafo.h"
#include "numeric/TKVectorLinearization.h"

// The lightness of the v4 perceptual reference black (Y 0.3473 of 100).
constexpr double kTKICC4PerceptualBlackL = 3.1372549019607843;
// The same black as D50-neutral XYZ, Y = 100 for white.
TKVector TKICC4PerceptualBlackXYZ();

// A curve of an ICC curve tag ("curv" or "para") as the engine's curve; identity for an empty "curv".
// MissingICCTagData for a tag of another type.
TKCurveLinearization TKCurveFromICCTag(TKICCTag* tag);

// The interpolation parameter of an ICC stage: (2, grid) tells a curve or grid stage the grid
// it feeds, (1, 0) marks the M curves of a 4-LUT. It is kept for those who bake the pipeline;
// evaluation does not depend on it.
struct TKICCInterpolationParameter {
    int32_t kind = 0;
    int32_t value = 0;
};

// The input or output curves of an "mft1"/"mft2" tag. Values normalized 0 to 1. The bound
// colour type (0 when unbound) is the type the curves encode; the stage reports norm types.
class TKICCLutLinTrafo : public TKVectorLinearization {
    TK_DECLARE_CLASS(TKICCLutLinTrafo, TKVectorLinearization)
public:
    // InvalidICCTag for a tag that is not "mft1"/"mft2" or whose tables are shorter than announced.
    TKICCLutLinTrafo(TKICCLutTag* tag, bool input, uint32_t colorType);

    int32_t GetSrcType() const override;
    int32_t GetDstType(int32_t srcType) const override;
    uint32_t GetBoundType() const { return fColorType; }
    bool IsInput() const { return fInput; }
    void SetInterpolationParameter(int32_t kind, int32_t value) { fParameter = {kind, value}; }
    TKICCInterpolationParameter GetInterpolationParameter() const { return fParameter; }

    // The tag itself if it is of `type`, else InvalidICCTag (PtrInvalid for null).
    static TKICCLutTag* Require(TKICCLutTag* tag, uint32_t type);

private:
    TKRefPtr<TKICCLutTag> fTag;
    bool fInput;
    uint32_t fColorType;
    TKICCInterpolationParameter fParameter;
};

class TKICCLut8InputTrafo : public TKICCLutLinTrafo {
    TK_DECLARE_CLASS(TKICCLut8InputTrafo, TKICCLutLinTrafo)
public:
    TKICCLut8InputTrafo(TKICCLutTag* tag, uint32_t colorType)
        : TKICCLutLinTrafo(Require(tag, TKICCSig("mft1")), true, colorType) {}
};
class TKICCLut16InputTrafo : public TKICCLutLinTrafo {
    TK_DECLARE_CLASS(TKICCLut16InputTrafo, TKICCLutLinTrafo)
public:
    TKICCLut16InputTrafo(TKICCLutTag* tag, uint32_t colorType)
        : TKICCLutLinTrafo(Require(tag, TKICCSig("mft2")), true, colorType) {}
};
class TKICCLut8OutputTrafo : public TKICCLutLinTrafo {
    TK_DECLARE_CLASS(TKICCLut8OutputTrafo, TKICCLutLinTrafo)
public:
    TKICCLut8OutputTrafo(TKICCLutTag* tag, uint32_t colorType)
        : TKICCLutLinTrafo(Require(tag, TKICCSig("mft1")), false, colorType) {}
};
class TKICCLut16OutputTrafo : public TKICCLutLinTrafo {
    TK_DECLARE_CLASS(TKICCLut16OutputTrafo, TKICCLutLinTrafo)
public:
    TKICCLut16OutputTrafo(TKICCLutTag* tag, uint32_t colorType)
        : TKICCLutLinTrafo(Require(tag, TKICCSig("mft2")), false, colorType) {}
};

// The grid of an "mft1"/"mft2" tag, copied into a 16-bit grid store.
class TKICCLutLutTrafo : public TKLutTrafo {
    TK_DECLARE_CLASS(TKICCLutLutTrafo, TKLutTrafo)
public:
    TKICCLutLutTrafo(TKICCLutTag* tag, int32_t mode);
    void SetInterpolationParameter(int32_t kind, int32_t value) { fParameter = {kind, value}; }
    TKICCInterpolationParameter GetInterpolationParameter() const { return fParameter; }

private:
    TKRefPtr<TKICCLutTag> fTag;
    TKICCInterpolationParameter fParameter;
};
class TKICCLut8LutTrafo : public TKICCLutLutTrafo {
    TK_DECLARE_CLASS(TKICCLut8LutTrafo, TKICCLutLutTrafo)
public:
    TKICCLut8LutTrafo(TKICCLutTag* tag, int32_t mode);
};
class TKICCLut16LutTrafo : public TKICCLutLutTrafo {
    TK_DECLARE_CLASS(TKICCLut16LutTrafo, TKICCLutLutTrafo)
public:
    TKICCLut16LutTrafo(TKICCLutTag* tag, int32_t mode);
};

// The 3 x 3 matrix of an "mft1"/"mft2" tag on normalized XYZ.
class TKICCLutMatrixTrafo : public TKTrafo {
    TK_DECLARE_CLASS(TKICCLutMatrixTrafo, TKTrafo)
public:
    explicit TKICCLutMatrixTrafo(TKICCLutTag* tag);
    int32_t GetSrcDim() const override { return 3; }
    int32_t GetDstDim(int32_t) const override { return 3; }
    int32_t GetSrcType() const override;
    int32_t GetDstType(int32_t) const override;
    TKVector Trafo(const TKVector& source) const override;
    const TKMatrix& GetMatrix() const { return fMatrix; }

private:
    TKRefPtr<TKICCLutTag> fTag;
    TKMatrix fMatrix;
};
class TKICCLut8MatrixTrafo : public TKICCLutMatrixTrafo {
    TK_DECLARE_CLASS(TKICCLut8MatrixTrafo, TKICCLutMatrixTrafo)
public:
    explicit TKICCLut8MatrixTrafo(TKICCLutTag* tag);
};
class TKICCLut16MatrixTrafo : public TKICCLutMatrixTrafo {
    TK_DECLARE_CLASS(TKICCLut16MatrixTrafo, TKICCLutMatrixTrafo)
public:
    explicit TKICCLut16MatrixTrafo(TKICCLutTag* tag);
};

// The A, B or M curves of a 4-LUT.
class TKICCLinTrafo : public TKVectorLinearization {
    TK_DECLARE_CLASS(TKICCLinTrafo, TKVectorLinearization)
public:
    TKICCLinTrafo(TKICC4LutTag* tag, TKICC4LutTag::CurveSet set);
    TKICC4LutTag::CurveSet GetSet() const { return fSet; }
    void SetInterpolationParameter(int32_t kind, int32_t value) { fParameter = {kind, value}; }
    TKICCInterpolationParameter GetInterpolationParameter() const { return fParameter; }

private:
    TKRefPtr<TKICC4LutTag> fTag;
    TKICC4LutTag::CurveSet fSet;
    TKICCInterpolationParameter fParameter;
};

// The CLUT of a 4-LUT, grid points per channel as stored.
class TKICC4LutLutTrafo : public TKLutTrafo {
    TK_DECLARE_CLASS(TKICC4LutLutTrafo, TKLutTrafo)
public:
    TKICC4LutLutTrafo(TKICC4LutTag* tag, int32_t mode);

private:
    TKRefPtr<TKICC4LutTag> fTag;
};

// The 3 x 4 matrix of a 4-LUT: nine factors and three offsets, on norm values.
class TKICC4LutMatrixTrafo : public TKTrafo {
    TK_DECLARE_CLASS(TKICC4LutMatrixTrafo, TKTrafo)
public:
    explicit TKICC4LutMatrixTrafo(TKICC4LutTag* tag);
    int32_t GetSrcDim() const override { return 3; }
    int32_t GetDstDim(int32_t) const override { return 3; }
    int32_t GetSrcType() const override;
    int32_t GetDstType(int32_t) const override;
    TKVector Trafo(const TKVector& source) const override;

private:
    TKRefPtr<TKICC4LutTag> fTag;
    TKMatrix fMatrix;
};

// Between the two norm encodings of Lab: forward scales the 0xFF00-is-100 norm to the
// 0xFFFF-is-100 norm (x 256/255), backward the other way.
class TKAdaptICC4LabNorm : public TKColorTrafo {
    TK_DECLARE_CLASS(TKAdaptICC4LabNorm, TKColorTrafo)
public:
    static constexpr double kForwardFactor = 1.003921568627451;
    static constexpr double kBackwardFactor = 0.9961089494163424;

    explicit TKAdaptICC4LabNorm(bool forward);
    bool IsForward() const { return fForward; }

protected:
    TKVector Evaluate(const TKVector& input) const override;

private:
    bool fForward;
};

// "kTRC" between "GRAY" and the PCS. GRAY is an ink type here: 0 is white, 100 full black, so
// the ICC device value is 1 - gray / 100. With an XYZ PCS the curve gives Y (D50 scaled by it),
// with a Lab PCS it gives L* / 100 on the neutral axis.
class TKGrayTRCTrafo : public TKTrafo {
    TK_DECLARE_CLASS(TKGrayTRCTrafo, TKTrafo)
public:
    TKGrayTRCTrafo(const TKCurveLinearization& curve, bool forward, uint32_t pcs = TKColorSig("XYZ "));
    uint32_t GetPCS() const { return fPCS; }
    int32_t GetSrcDim() const override;
    int32_t GetDstDim(int32_t) const override;
    int32_t GetSrcType() const override;
    int32_t GetDstType(int32_t) const override;
    TKVector Trafo(const TKVector& source) const override;
    bool IsForward() const { return fForward; }
    TKCurveLinearization& GetCurveRef() { return fCurve; }

private:
    TKCurveLinearization fCurve;
    bool fForward;
    uint32_t fPCS;
};

// The matrix-shaper: forward RGB 0..255 through three curves and the colorant matrix to XYZ
// (Y = 100 for white); backward XYZ through the inverse matrix, limited to 0..1, and the
// inverse curves to RGB.
class TKRGBXYZBaseTrafo : public TKTrafo {
    TK_DECLARE_CLASS(TKRGBXYZBaseTrafo, TKTrafo)
public:
    explicit TKRGBXYZBaseTrafo(bool forward);
    int32_t GetSrcDim() const override { return 3; }
    int32_t GetDstDim(int32_t) const override { return 3; }
    int32_t GetSrcType() const override;
    int32_t GetDstType(int32_t) const override;
    TKVector Trafo(const TKVector& source) const override;

    bool IsForward() const { return fForward; }
    // Columns are the red, green and blue colorants as XYZ; SingularMatrixErr if not invertible.
    void SetMatrix(const TKMatrix& colorants);
    const TKMatrix& GetMatrix() const { return fMatrix; }
    void SetCurve(int32_t channel, const TKCurveLinearization& curve);  // IndexError outside 0..2
    const TKCurveLinearization& GetCurve(int32_t channel) const;

private:
    bool fForward;
    TKMatrix fMatrix;
    TKMatrix fInverse;
    TKCurveLinearization fCurves[3];
};

// Filled by a profile from its colorant and TRC tags.
class TKRGBXYZMatrixTrafo : public TKRGBXYZBaseTrafo {
    TK_DECLARE_CLASS(TKRGBXYZMatrixTrafo, TKRGBXYZBaseTrafo)
public:
    using TKRGBXYZBaseTrafo::TKRGBXYZBaseTrafo;
};
// Three curves of the caller's.
class TKRGBXYZCurveTrafo : public TKRGBXYZBaseTrafo {
    TK_DECLARE_CLASS(TKRGBXYZCurveTrafo, TKRGBXYZBaseTrafo)
public:
    TKRGBXYZCurveTrafo(bool forward, const TKMatrix& colorants, const std::vector<TKCurveLinearization>& curves);
};
// One gamma on all channels.
class TKRGBXYZGammaTrafo : public TKRGBXYZBaseTrafo {
    TK_DECLARE_CLASS(TKRGBXYZGammaTrafo, TKRGBXYZBaseTrafo)
public:
    TKRGBXYZGammaTrafo(bool forward, const TKMatrix& colorants, double gamma);
};

// The v4 perceptual reference black to zero and back, linearly in XYZ with the D50 white fixed.
class TKICC4ToZeroPerceptualBlackPointTrafo : public TKXYZLinearBlackWhiteTrafo {
    TK_DECLARE_CLASS(TKICC4ToZeroPerceptualBlackPointTrafo, TKXYZLinearBlackWhiteTrafo)
public:
    TKICC4ToZeroPerceptualBlackPointTrafo();
};
class TKZeroToICC4PerceptualBlackPointTrafo : public TKXYZLinearBlackWhiteTrafo {
    TK_DECLARE_CLASS(TKZeroToICC4PerceptualBlackPointTrafo, TKXYZLinearBlackWhiteTrafo)
public:
    TKZeroToICC4PerceptualBlackPointTrafo();
};

// The same scaling on L alone, a and b unchanged, in "Lab ".
class TKICC4ToZeroLScalingTrafo : public TKColorTypeTrafo {
    TK_DECLARE_CLASS(TKICC4ToZeroLScalingTrafo, TKColorTypeTrafo)
public:
    int32_t GetSrcType() const override;
    int32_t GetDstType(int32_t) const override;
    TKVector Trafo(const TKVector& source) const override;

protected:
    virtual bool ToZero() const { return true; }
};
class TKZeroToICC4LScalingTrafo : public TKICC4ToZeroLScalingTrafo {
    TK_DECLARE_CLASS(TKZeroToICC4LScalingTrafo, TKICC4ToZeroLScalingTrafo)

protected:
    bool ToZero() const override { return false; }
};
