// Linearization curves from step wedges: picking the wedge of a channel, turning it into
// positions and tones by the chosen measure, and storing the inverted tone function.
#include "linearization/TKCalcColorLinearization.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "color/TKCIEConverter.h"
#include "color/TKCIETools.h"
#include "color/TKColors.h"
#include "linearization/TKToneFit.h"

namespace {
constexpr double kLineTolerance = 1e-4;  // of the line's length: device values carry no noise
constexpr double kSmoothingWeight = 1000000.0;

void CheckFinite(const TKMatrix& matrix) {
    const double* v = matrix.Values();
    const int64_t n = int64_t(matrix.GetHeight()) * matrix.GetWidth();
    for (int64_t i = 0; i < n; ++i)
        if (!std::isfinite(v[i])) TKThrowMsg(IllegalMeasurementData, "chart values must be finite numbers");
}

// The density of a measured colour through the filter that sees `channel` of a CMY(K) device
// (cyan the red filter, ... black the broad one); for other inks the broad filter.
double FilterDensity(const TKVector& measured, uint32_t deviceType, int32_t channel) {
    const TKVector xyz = ConvertColor(TKXYZSpace, measured);
    const TKVector white = GetWhite(TKXYZSpace);
    double dens[4];
    XYZToDens(xyz.Values(), white.Values(), dens);
    const bool cmy = deviceType == TKCMYSpace || deviceType == TKCMYKSpace;
    return dens[cmy && channel >= 0 && channel < 3 ? channel : 3];
}

double Share(double part, double whole) { return whole > 0.0 ? 100.0 * part / whole : 0.0; }
}  // namespace

TKCalcColorLinearization::TKCalcColorLinearization(const TKMatrix& device, const TKMatrix& measured)
    : fDevice(device), fMeasured(measured) {
    if (device.GetHeight() != measured.GetHeight()) TKThrowMsg(DimMismatch, "device and measured rows differ");
    uint32_t type = uint32_t(device.GetType());
    if (!type) type = ::GetDeviceType(device.GetWidth());
    if (!IsDeviceSpace(type) || GetChannelCount(type) != device.GetWidth())
        TKThrowMsg(ArgErr, "device values need a device colour type of their width");
    if (!measured.GetType() || GetChannelCount(uint32_t(measured.GetType())) != measured.GetWidth())
        TKThrowMsg(ArgErr, "measurements need a colour type of their width");
    fDevice.SetType(int32_t(type));
    CheckFinite(device);
    CheckFinite(measured);
    for (int32_t r = 0; r < device.GetHeight(); ++r)
        for (int32_t c = 0; c < device.GetWidth(); ++c) {
            const double v = device(r, c);
            if (v < GetChannelMin(type, c) - 1e-9 || v > GetChannelMax(type, c) + 1e-9)
                TKThrowMsg(OutOfRange, "device value outside the range of its type");
        }
}

TKCalcColorLinearization::~TKCalcColorLinearization() = default;

void TKCalcColorLinearization::SetSmoothing(double smoothing) {
    if (std::isnan(smoothing)) TKThrow(ArgErr);
    fSmoothing = smoothing;
}

void TKCalcColorLinearization::PickLine(const TKVector& start, const TKVector& end, const TKMatrix& device,
                                        const TKMatrix& measured, TKMatrix& lineDevice, TKMatrix& lineMeasured) {
    const TKVector along = end - start;
    const double length2 = along.SqrNorm();
    const double tolerance = kLineTolerance * std::sqrt(length2);
    std::vector<std::pair<double, int32_t>> onLine;
    for (int32_t r = 0; r < device.GetHeight(); ++r) {
        if (length2 <= 0.0 || device.GetWidth() != start.GetDim()) break;
        const TKVector offset = device.GetRow(r) - start;
        const double t = offset.Dot(along) / length2;
        if (t < -kLineTolerance || t > 1.0 + kLineTolerance) continue;
        TKVector foot = along;
        foot.Multiply(t);
        if (offset.Distance(foot) > tolerance) continue;
        onLine.emplace_back(t, r);
    }
    std::stable_sort(onLine.begin(), onLine.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    const int32_t n = int32_t(onLine.size());
    lineDevice = TKMatrix(n, device.GetWidth(), device.GetType());
    lineMeasured = TKMatrix(n, measured.GetWidth(), measured.GetType());
    for (int32_t i = 0; i < n; ++i) {
        lineDevice.SetRow(i, device.GetRow(onLine[size_t(i)].second));
        lineMeasured.SetRow(i, measured.GetRow(onLine[size_t(i)].second));
    }
}

void TKCalcColorLinearization::MeasureRamp(int32_t channel, const TKMatrix& device, const TKMatrix& measured,
                                           TKVector& x, TKVector& y, double minStep) const {
    const int32_t n = device.GetHeight();
    x = TKVector(n);
    y = TKVector(n);
    if (n < 1) return;
    const TKColorDifference plain(kTKDeltaRaw);
    const TKVector s = device.GetRow(0), e = device.GetRow(n - 1);
    const TKVector ms = measured.GetRow(0), me = measured.GetRow(n - 1);
    const int32_t method = fDifference.GetMethod();
    double densityStart = 0.0, densityRange = 0.0;
    if (method == kTKDeltaDensity) {
        densityStart = FilterDensity(ms, GetDeviceType(), channel);
        densityRange = FilterDensity(me, GetDeviceType(), channel) - densityStart;
    }
    int32_t accepted = 1;
    double lastP = 0.0;
    for (int32_t r = 1; r < n; ++r) {
        const TKVector v = device.GetRow(r);
        const double toStart = plain.GetDifference(v, s), toEnd = plain.GetDifference(v, e);
        const double p = Share(toStart, toStart + toEnd);
        if (!(p > lastP + minStep)) continue;  // not advancing: keeps the positions rising
        const TKVector mv = measured.GetRow(r);
        double value;
        if (method == kTKDeltaDensity) {
            value = densityRange != 0.0 ? 100.0 * (FilterDensity(mv, GetDeviceType(), channel) - densityStart) / densityRange
                                        : 0.0;
        } else if (method == kTKDeltaISO20654) {
            value = Share(fDifference.GetDifference(ms, mv), fDifference.GetDifference(ms, me));
        } else if (method == kTKDeltaRaw) {
            const double a = fDifference.GetDifference(mv, ms), b = fDifference.GetDifference(mv, me);
            value = Share(a, a + b);
        } else {
            const double a = fDifference.GetDifference(ms, mv), b = fDifference.GetDifference(me, mv);
            value = Share(a, a + b);
        }
        x[accepted] = p;
        y[accepted] = value;
        lastP = p;
        ++accepted;
    }
    x.SetDim(accepted);
    y.SetDim(accepted);
}

void TKCalcColorLinearization::SmoothVector(TKVector& vector, double smoothing) const {
    const int32_t n = vector.GetDim();
    if (n < 1) return;
    const double lo = std::min(vector[0], vector[n - 1]), hi = std::max(vector[0], vector[n - 1]);
    vector.LimitScalar(lo, hi);
    if (smoothing < 0.0) return;
    std::vector<double> values(vector.Values(), vector.Values() + n);
    values = TKSmoothValues(values, smoothing, kSmoothingWeight);
    for (int32_t i = 0; i < n; ++i) vector[i] = values[size_t(i)];
}

void TKCalcColorLinearization::NormalizeAndSmooth(TKVector& vector) const {
    if (vector.GetDim() > 0) {
        const double top = vector.Max();
        if (top > 0.0) vector.Divide(top);
    }
    SmoothVector(vector, fSmoothing);
}

void TKCalcColorLinearization::SetLine(const TKVector& start, const TKVector& end) {
    fLineStart = start;
    fLineEnd = end;
}

bool TKCalcColorLinearization::MeasureChannel(int32_t channel, TKVector& x, TKVector& y) {
    const uint32_t type = GetDeviceType();
    const TKVector white = GetWhite(type);
    TKVector solid = white;
    solid[channel] = GetBlack(type, 0)[channel];
    SetLine(white, solid);
    TKMatrix lineDevice, lineMeasured;
    PickLine(white, solid, fDevice, fMeasured, lineDevice, lineMeasured);
    if (lineDevice.GetHeight() < 3) return false;
    MeasureRamp(channel, lineDevice, lineMeasured, x, y);
    return true;
}

void TKCalcColorLinearization::CalcChannelCurves(TKColorLinearization* linearization) {
    if (!linearization) return;
    const uint32_t type = GetDeviceType();
    linearization->Reset(type, GetChannelCount(type));
    for (int32_t channel = 0; channel < GetChannelCount(type); ++channel) {
        TKVector x, y;
        if (MeasureChannel(channel, x, y)) FitChannel(channel, x, y, linearization);
    }
}

void TKCalcColorLinearization::CalcSameCurve(TKColorLinearization* linearization) {
    if (!linearization) return;
    const uint32_t type = GetDeviceType();
    const int32_t count = GetChannelCount(type);
    linearization->Reset(type, count);
    const TKVector start = GetMinVector(type), end = GetMaxVector(type);
    SetLine(start, end);
    TKMatrix lineDevice, lineMeasured;
    PickLine(start, end, fDevice, fMeasured, lineDevice, lineMeasured);
    if (lineDevice.GetHeight() < 3) return;
    TKVector x, y;
    MeasureRamp(-1, lineDevice, lineMeasured, x, y, kDefaultMinStep);
    for (int32_t channel = 0; channel < count; ++channel) FitChannel(channel, x, y, linearization);
}

void TKCalcColorLinearization::FitChannel(int32_t channel, TKVector x, TKVector y,
                                          TKColorLinearization* linearization) {
    if (!linearization) return;
    if (x.GetDim() < 3 || y.GetDim() != x.GetDim()) {
        linearization->GetCurveRef(channel).SetIdentity();
        return;
    }
    NormalizeAndSmooth(x);
    NormalizeAndSmooth(y);
    StoreChannel(channel, x, y, linearization);
}

void TKCalcColorLinearization::StoreChannel(int32_t channel, const TKVector& x, const TKVector& y,
                                            TKColorLinearization* linearization) {
    if (!linearization) return;
    // The process maps position x to tone y; the curve is its inverse: from the tone wanted
    // (which equals the position of a linear process) to the position that prints it.
    // Tones are made rising along the positions first (monotonic regression), so a fold-back in
    // the measurements flattens the process curve instead of making its inverse ambiguous.
    TKTonePoints inverse;
    inverse.x = TKMakeNonDecreasing(std::vector<double>(y.Values(), y.Values() + y.GetDim()));
    inverse.y.assign(x.Values(), x.Values() + x.GetDim());
    inverse.PrepareForFit();
    StoreFunction(channel, [&](double tone) { return inverse.Eval(tone); }, linearization);
}

void TKCalcColorLinearization::StoreFunction(int32_t channel, const std::function<double(double)>& positionCurve,
                                             TKColorLinearization* linearization) const {
    TKCurveLinearization& curve = linearization->GetCurveRef(channel);
    const uint32_t type = linearization->GetColorType() ? linearization->GetColorType() : GetDeviceType();
    const double scale = GetChannelMax(type, channel) > 0.0 ? GetChannelMax(type, channel) : 1.0;
    const double from = fLineStart.GetDim() > channel ? fLineStart[channel] / scale : 0.0;
    const double to = fLineEnd.GetDim() > channel ? fLineEnd[channel] / scale : 1.0;
    if (from == to) {
        curve.SetIdentity();
        return;
    }
    // The line may run against the channel (RGB runs from 255 down to 0): the curve in channel
    // units is the position curve seen through that linear map on both sides.
    TKVector samples(kCurveSamples);
    for (int32_t k = 0; k < kCurveSamples; ++k) {
        const double u = double(k) / double(kCurveSamples - 1);
        const double position = std::clamp((u - from) / (to - from), 0.0, 1.0);
        samples[k] = std::clamp(from + positionCurve(position) * (to - from), 0.0, 1.0);
    }
    curve.SetSamples(samples);
}
