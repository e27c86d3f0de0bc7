// TKCurveLinearization: kinds, evaluation both ways, resampling, inversion, concatenation and
// the text form. The fits that build tables from measured points live in the Fit file.
#include "numeric/TKCurveLinearization.h"

#include <climits>
#include <cmath>
#include <cstring>

#include "numeric/TKCurveLinearizationMath.h"
#include "numeric/TKNumberText.h"
#include "io/TKStream.h"

namespace {
constexpr double kIdentityTolerance = 1e-08;
// A table inverted with fewer samples than this loses the detail of steep regions.
constexpr int32_t kMinInverseSamples = 4096;
// Tables for curves that have no table of their own when concatenated.
constexpr int32_t kConcatSamples = 256;

bool IsNamed(int32_t length) {
    return length <= TKCurveLinearization::kLStarToY && length >= TKCurveLinearization::kSRGBEncode;
}

double ApplyNamed(int32_t length, double x) {
    switch (length) {
        case TKCurveLinearization::kLStarToY: return TKCurveLStarToY(x);
        case TKCurveLinearization::kYToLStar: return TKCurveYToLStar(x);
        case TKCurveLinearization::kSRGBDecode: return TKCurveSRGBDecode(x);
        case TKCurveLinearization::kSRGBEncode: return TKCurveSRGBEncode(x);
        default: TKThrowMsg(ArgErr, "unknown curve kind");
    }
}

// The named curve that undoes `length`: -2 and -3 are a pair, so are -4 and -5.
int32_t InverseNamed(int32_t length) {
    switch (length) {
        case TKCurveLinearization::kLStarToY: return TKCurveLinearization::kYToLStar;
        case TKCurveLinearization::kYToLStar: return TKCurveLinearization::kLStarToY;
        case TKCurveLinearization::kSRGBDecode: return TKCurveLinearization::kSRGBEncode;
        case TKCurveLinearization::kSRGBEncode: return TKCurveLinearization::kSRGBDecode;
        default: TKThrowMsg(ArgErr, "unknown curve kind");
    }
}

double CheckedGamma(double g) {
    if (!(g > 0.0)) TKThrowMsg(ArgErr, "gamma must be above 0");
    return g;
}
}  // namespace

TKCurveLinearization::TKCurveLinearization(const TKVector& samples) { SetSamples(samples); }

TKCurveLinearization::TKCurveLinearization(const TKCurveLinearization& other)
    : TKObject(other), fSamples(other.fSamples), fLength(other.fLength) {}

TKCurveLinearization& TKCurveLinearization::operator=(const TKCurveLinearization& other) {
    TKObject::operator=(other);
    fSamples = other.fSamples;
    fLength = other.fLength;
    return *this;
}

bool TKCurveLinearization::IsIdentity() const {
    if (fLength == 0) return true;
    if (fLength == 1) return std::fabs(fSamples[0] - 1.0) <= kIdentityTolerance;
    if (fLength < 0) return false;
    const double scale = double(fLength - 1);
    for (int32_t i = 0; i < fLength; ++i)
        if (!(std::fabs(fSamples[i] - double(i) / scale) <= kIdentityTolerance)) return false;
    return true;
}

void TKCurveLinearization::SetIdentity() {
    fSamples = TKVector();
    fLength = 0;
}

double TKCurveLinearization::Apply(double x) const {
    if (fLength == 0) return x;
    if (fLength < 0) return ApplyNamed(fLength, x);
    if (fLength == 1) return TKCurveGamma(CheckedGamma(fSamples[0]), x);
    return TKCurveTableLookup(fSamples.Values(), fLength, x);
}

double TKCurveLinearization::ApplyInverse(double y) const {
    if (fLength == 0) return y;
    if (fLength < 0) return ApplyNamed(InverseNamed(fLength), y);
    if (fLength == 1) return TKCurveGammaInverse(CheckedGamma(fSamples[0]), y);
    return TKCurveTableInverse(fSamples.Values(), fLength, y);
}

void TKCurveLinearization::SetSamples(const TKVector& samples) {
    fSamples = samples;
    fLength = samples.GetDim();
}

TKVector TKCurveLinearization::GetSamples() const { return fSamples; }

void TKCurveLinearization::SetGamma(double g) {
    if (std::isnan(g) || std::isinf(g)) TKThrowMsg(ArgErr, "gamma must be finite");
    if (g == 0.0) {
        SetIdentity();
        fLength = kLStarToY;
    } else if (g < 0.0) {
        // Truncation selects the named curve; lengths beyond -5 stay invalid and fail on use.
        SetIdentity();
        fLength = g > double(INT32_MIN) ? int32_t(g) : INT32_MIN;
    } else {
        TKVector entry(1);
        entry[0] = g;
        SetSamples(entry);
    }
}

void TKCurveLinearization::SetGammaFromMidpoint(double y) {
    // Only a midpoint strictly inside (0, 1) belongs to a positive, finite gamma.
    if (!(y > 0.0 && y < 1.0)) TKThrowMsg(ArgErr, "midpoint must lie between 0 and 1");
    SetGamma(std::log(y) / std::log(0.5));
}

bool TKCurveLinearization::IsGamma() const { return fLength == 1 && fSamples[0] > 0.0; }

void TKCurveLinearization::ClipSamples() {
    if (fLength < 2) return;
    double* s = fSamples.MutableValues();
    for (int32_t i = 0; i < fLength; ++i) s[i] = s[i] > 0.0 ? (s[i] < 1.0 ? s[i] : 1.0) : 0.0;  // NaN gives 0
}

void TKCurveLinearization::Resample(int32_t count) {
    if (count < 2) TKThrowMsg(ArgErr, "a table needs at least 2 samples");
    if (fLength == count) return;
    // The source is copied first: the fill replaces the samples it reads from.
    const TKCurveLinearization source(*this);
    FillTable(count, [&source](double t) { return source.Apply(t); });
}

void TKCurveLinearization::Invert() {
    if (fLength == 0) return;
    if (fLength < 0) {
        fLength = InverseNamed(fLength);
        return;
    }
    if (fLength == 1) {
        // A gamma of 0 has no inverse; guard it rather than store infinity.
        fSamples[0] = 1.0 / CheckedGamma(fSamples[0]);
        return;
    }
    const int32_t count = fLength < kMinInverseSamples + 1 ? kMinInverseSamples : fLength;
    const TKCurveLinearization source(*this);
    FillTable(count, [&source](double t) { return source.ApplyInverse(t); });
}

void TKCurveLinearization::Concat(const TKCurveLinearization& other, int32_t minimum) {
    if (&other == this) {
        // The resampling below would change `other` while it is being applied.
        const TKCurveLinearization self(other);
        Concat(self, minimum);
        return;
    }
    if (IsIdentity()) {
        fSamples = other.fSamples;
        fLength = other.fLength;
        return;
    }
    if (minimum > 1 && fLength < minimum) {
        Resample(minimum);
    } else if (other.fLength > fLength && other.fLength >= 3) {
        Resample(other.fLength);
    }
    // A gamma, a named curve or a two-point table cannot hold the composition as samples.
    if (fLength <= 2) Resample(kConcatSamples);
    double* s = fSamples.MutableValues();
    for (int32_t i = 0; i < fLength; ++i) s[i] = other.Apply(s[i]);
}

TKString TKCurveLinearization::ToText(const char* format) const {
    if (fLength >= 0) return fSamples.ToText(format);
    return TKString::Format("DIM %2d\nTYPE 0\nBEGIN_DATA\n\nEND_DATA\n", int(fLength));
}

int32_t TKCurveLinearization::FromText(const char* text, int32_t length, int32_t* consumed) {
    if (!text || length < 0) TKThrow(ArgErr);
    // A named curve announces a negative dimension, which the vector reader rejects; look for
    // it before the data block and read such a block here.
    TKTextTokenReader reader(text, length);
    char token[TKTextTokenReader::kMaxToken + 1];
    int64_t dim = 0;
    bool expectDim = false;
    bool inData = false;
    while (reader.Next(token)) {
        if (inData) {
            if (std::strcmp(token, "END_DATA") != 0) TKThrowMsg(FormatErr, "a named curve has no values");
            if (!IsNamed(int32_t(dim))) TKThrowMsg(FormatErr, "unknown curve kind");
            SetIdentity();
            fLength = int32_t(dim);
            if (consumed) *consumed = reader.Position();
            return 0;
        }
        if (expectDim) {
            if (!TKParseInt(token, &dim)) TKThrowMsg(FormatErr, "bad curve dimension");
            expectDim = false;
        } else if (std::strcmp(token, "DIM") == 0) {
            expectDim = true;
        } else if (std::strcmp(token, "BEGIN_DATA") == 0) {
            if (dim >= 0) break;
            inData = true;
        }
    }
    if (inData) TKThrowMsg(FormatErr, "curve text ends inside its block");
    TKVector samples;
    int32_t status = samples.FromText(text, length, consumed);
    if (status == 0) SetSamples(samples);
    return status;
}

int32_t TKCurveLinearization::Read(TKStream& stream) {
    const TKString text = TKReadTextBlock(stream, "END_DATA");
    return FromText(text.CString(), text.Length());
}

void TKCurveLinearization::Write(TKStream& stream, const char* format) const {
    const TKString text = ToText(format);
    stream.Write(text.CString(), size_t(text.Length()));
}

double TKCurveLinearization::EvalParametric(int32_t functionType, const TKVector& params, double x) {
    const int needed = TKCurveParametricParamCount(functionType);
    if (needed < 0) TKThrowMsg(OutOfRange, "unknown parametric curve type");
    if (params.GetDim() < needed) TKThrowMsg(ArgErr, "too few parametric curve parameters");
    if (!(x >= 0.0 && x <= 1.0)) TKThrowMsg(OutOfRange, "parametric curve input outside 0..1");
    return TKCurveParametric(functionType, params.Values(), x);
}
