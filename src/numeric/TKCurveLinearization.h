// TKCurveLinearization: the one-dimensional curve of the engine. Its signed length says what it
// is: 0 identity, 1 a gamma, 2 or more an equally spaced table over 0..1, and -2..-5 the named
// curves L*->Y, Y->L*, sRGB decoding and sRGB encoding. Curves are values that travel inside
// ICC tags, device-link front and back curves and linearizations.
#pragma once

#include <cstdint>

#include "foundation/TKObject.h"
#include "foundation/TKString.h"
#include "numeric/TKVector.h"

class TKStream;
class TKTrafo;

class TKCurveLinearization : public TKObject {
    TK_DECLARE_CLASS(TKCurveLinearization, TKObject)
public:
    // The signed lengths that are not tables.
    enum Kind : int32_t {
        kIdentity = 0,
        kGamma = 1,
        kLStarToY = -2,   // input L*/100, output Y/100
        kYToLStar = -3,   // the inverse of kLStarToY
        kSRGBDecode = -4,
        kSRGBEncode = -5
    };
    // Spline types of SetFromSplineFit and SetFromTrafo.
    enum SplineType : int32_t {
        kSplineSmooth = 0,
        kSplineBezier = 1,         // plain Bezier, peak rescaled to the largest input y
        kSplineBezierThrough = 2,  // Bezier drawn through the points
        kSplineSmoothAlt = 3       // the smooth spline again
    };

    // The longest table a curve builds (16M samples, 128 MB); longer requests are ArgErr.
    static constexpr int32_t kMaxSamples = 1 << 24;

    TKCurveLinearization() = default;
    // A table (or identity, or gamma) from the samples, length included.
    explicit TKCurveLinearization(const TKVector& samples);
    TKCurveLinearization(const TKCurveLinearization& other);
    TKCurveLinearization& operator=(const TKCurveLinearization& other);

    // True for the identity, a gamma within 1e-8 of 1, a table within 1e-8 of i/(n-1).
    virtual bool IsIdentity() const;
    virtual void SetIdentity();
    // The curve at x. ArgErr for an unknown negative length or a gamma not above 0.
    virtual double Apply(double x) const;
    // The inverse curve at y (a table inverts by bisection, so it must be monotonic).
    virtual double ApplyInverse(double y) const;
    // Copies the vector; its length decides the kind (0 identity, 1 gamma, 2+ table).
    virtual void SetSamples(const TKVector& samples);
    // The stored samples; empty for the identity and the named curves.
    virtual TKVector GetSamples() const;
    // 0: L*->Y; below 0: the length g truncated (-2..-5 the named curves); above 0: a gamma.
    // NaN or an infinite gamma is ArgErr.
    virtual void SetGamma(double g);
    // The gamma through (0.5, y); y must lie strictly between 0 and 1, else ArgErr.
    virtual void SetGammaFromMidpoint(double y);
    // y on evenly spaced x through a gamma fit; fewer than 2 entries are taken as samples.
    virtual void SetFromValues(const TKVector& y, int32_t count);
    // Fits of measured points (x ascending in 0..1) to a table of `count` samples.
    virtual void SetFromGammaFit(const TKVector& x, const TKVector& y, int32_t count);
    virtual void SetFromBulgeFit(const TKVector& x, const TKVector& y, int32_t count);
    virtual void SetFromLinearFit(const TKVector& x, const TKVector& y, int32_t count);
    // `count` samples of the ICC parametric function type 0..4, clipped to 0..1. Parameters
    // in ICC order g, a, b, c, d, e, f. OutOfRange for a type outside 0..4; ArgErr for too few
    // or non-finite parameters or a count below 2.
    virtual void SetFromParametric(int32_t functionType, const TKVector& params, int32_t count);
    // Tone curve of a trafo along the straight line from colour a to colour b.
    virtual void SetFromTrafo(TKTrafo* trafo, const TKVector& a, const TKVector& b, int32_t splineType,
                              int32_t count);
    virtual void SetFromSplineFit(const TKVector& x, const TKVector& y, int32_t splineType, int32_t count);
    virtual bool IsGamma() const;
    // Makes the curve a table of `count` samples of itself; ArgErr below 2.
    virtual void Resample(int32_t count);
    // Replaces the curve by its inverse; a table becomes one of at least 4096 samples.
    virtual void Invert();
    // This curve followed by `other`, as a table of at least `minimum` samples where needed.
    virtual void Concat(const TKCurveLinearization& other, int32_t minimum);

    // The signed length described above.
    int32_t GetLength() const { return fLength; }
    // The gamma of a length-1 curve, else 0.
    double GetGamma() const { return fLength == 1 ? fSamples[0] : 0.0; }

    // Text form: the vector block "DIM", "TYPE", "BEGIN_DATA" ... "END_DATA"; a named curve
    // writes its negative length as DIM and no values.
    TKString ToText(const char* format = nullptr) const;
    // Reads the text form back. Returns 0 or EOFReached like TKVector::FromText; FormatErr for
    // malformed text.
    int32_t FromText(const char* text, int32_t length, int32_t* consumed = nullptr);

    // The text form through a stream; Read stops right after "END_DATA".
    int32_t Read(TKStream& stream);
    void Write(TKStream& stream, const char* format = nullptr) const;

    // The ICC parametric function at x in 0..1, unclipped. OutOfRange for x outside 0..1 or a
    // type outside 0..4; ArgErr for too few parameters.
    static double EvalParametric(int32_t functionType, const TKVector& params, double x);

private:
    // Replaces the samples by a table of `count` entries taken from `sample(t)`, t = k/(count-1).
    template <class F>
    void FillTable(int32_t count, F sample);
    void ClipSamples();

    TKVector fSamples;
    int32_t fLength = 0;
};

template <class F>
void TKCurveLinearization::FillTable(int32_t count, F sample) {
    if (count < 2) TKThrowMsg(ArgErr, "a table needs at least 2 samples");
    if (count > kMaxSamples) TKThrowMsg(ArgErr, "too many curve samples");
    TKVector table(count);
    double* out = table.MutableValues();
    const double scale = double(count - 1);
    for (int32_t k = 0; k < count; ++k) out[k] = sample(double(k) / scale);
    SetSamples(table);
}
