// Numeric tag types: "XYZ ", the chromatic adaptation matrix, "curv" and "para" curves.
#pragma once

#include "icc/TKICCTag.h"
#include "numeric/TKMatrix.h"
#include "numeric/TKVector.h"

// "XYZ ": three s15Fixed16 values, returned as stored (Y of 1 means 1).
class TKICCXYZTag : public TKICCTag {
    TK_DECLARE_CLASS(TKICCXYZTag, TKICCTag)
public:
    explicit TKICCXYZTag(uint32_t signature = 0) : TKICCTag(TKICCSig("XYZ "), signature) {}
    // Without a block, the D50 white in unit scale. InvalidICCTag below 12 bytes.
    virtual TKVector GetXYZ();
    // Takes an "XYZ " colour (or one without a type) in the tag's unit scale; a colour of another
    // CIE type is converted to XYZ first (Y = 100 for white there, so scaled by 0.01).
    virtual void SetXYZ(const TKVector& colour);
    void SwapBytes() override;
    void Dump(TKStream& stream) override;
    // Three numbers X, Y, Z.
    void SetFromText(const TKString& text) override;
    // "XYZ = " and the values, times 100 unless the tag is "lumi".
    TKString GetSummary() override;
};

// "chad" ("sf32"): nine s15Fixed16, row by row.
class TKChromaticAdaptationTag : public TKICCTag {
    TK_DECLARE_CLASS(TKChromaticAdaptationTag, TKICCTag)
public:
    explicit TKChromaticAdaptationTag(uint32_t signature = TKICCSig("chad"))
        : TKICCTag(TKICCSig("sf32"), signature) {}
    // The identity without a block; InvalidICCTag below 36 bytes.
    virtual TKMatrix GetMatrix();
    virtual void SetMatrix(const TKMatrix& matrix);  // DimMismatch unless 3 x 3
    void SwapBytes() override;
    void Dump(TKStream& stream) override;
    TKString GetSummary() override;
};

// "curv": a count, then one 8.8 gamma or count samples.
class TKICCCurveTag : public TKICCTag {
    TK_DECLARE_CLASS(TKICCCurveTag, TKICCTag)
public:
    explicit TKICCCurveTag(uint32_t signature = 0) : TKICCTag(TKICCSig("curv"), signature) {}
    // MissingICCTagData without a block, InvalidICCTag when it is shorter than its count says.
    // Count 0 gives an empty vector, count 1 the gamma, more the samples mapped to lo..hi.
    virtual TKVector GetCurve(double lo = 0.0, double hi = 1.0);
    // One value is stored as an 8.8 gamma, more as 16-bit samples of lo..hi.
    virtual void SetCurve(const TKVector& curve, double lo = 0.0, double hi = 1.0);
    uint32_t GetCount();
    void SwapBytes() override;
    void Dump(TKStream& stream) override;
    TKString GetSummary() override;
};

// "para": a function type 0 to 4 and its 1, 3, 4, 5 or 7 parameters.
class TKICCParametricCurveTag : public TKICCTag {
    TK_DECLARE_CLASS(TKICCParametricCurveTag, TKICCTag)
public:
    explicit TKICCParametricCurveTag(uint32_t signature = 0) : TKICCTag(TKICCSig("para"), signature) {}
    static int32_t ParameterCount(int32_t functionType);  // -1 for an unknown type
    // MissingICCTagData without a block, InvalidICCTag when short, ArgErr for a type above 4.
    virtual TKVector GetCurve(int32_t* functionType);
    virtual void SetCurve(int32_t functionType, const TKVector& parameters);
    void SwapBytes() override;
    void Dump(TKStream& stream) override;
    TKString GetSummary() override;
};
