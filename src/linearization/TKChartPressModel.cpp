// The chart-built press model: ink wedges, their product and the gray correction.
#include "linearization/TKChartPressModel.h"

#include <algorithm>
#include <cmath>

#include "color/TKCIEConverter.h"
#include "color/TKColors.h"
#include "linearization/TKCalcColorLinearization.h"

namespace {
constexpr double kLeastTristimulus = 1e-6;
}  // namespace

TKVector TKChartPressModel::Wedge::At(double t) const {
    if (position.empty()) return TKVector();
    if (!(t > position.front())) return xyz.front();  // NaN included
    if (t >= position.back()) return xyz.back();
    const size_t k = size_t(std::upper_bound(position.begin(), position.end(), t) - position.begin()) - 1;
    const double f = (t - position[k]) / (position[k + 1] - position[k]);
    TKVector result = xyz[k];
    for (int32_t c = 0; c < result.GetDim(); ++c) result[c] += f * (xyz[k + 1][c] - xyz[k][c]);
    return result;
}

TKChartPressModel::TKChartPressModel(const TKMatrix& device, const TKMatrix& measured) : fDevice(device) {
    if (device.GetHeight() != measured.GetHeight()) TKThrowMsg(DimMismatch, "device and measured rows differ");
    fType = uint32_t(device.GetType());
    fChannels = device.GetWidth();
    if (!IsInkSpace(fType) || fChannels < 3 || GetChannelCount(fType) != fChannels)
        TKThrowMsg(ArgErr, "a press model needs an ink type of three or more channels");
    ConvertColors(fXYZ, TKXYZSpace, measured);
    // Inks only take light away: no measurement can have negative tristimulus values, and the
    // ratios below need them above zero.
    for (int32_t r = 0; r < fXYZ.GetHeight(); ++r)
        for (int32_t k = 0; k < 3; ++k) {
            double& v = fXYZ(r, k);
            if (!(v >= 0.0)) TKThrowMsg(IllegalMeasurementData, "a measurement has negative tristimulus values");
            v = std::max(v, kLeastTristimulus);
        }

    const TKVector white = GetWhite(fType);
    for (int32_t r = 0; r < device.GetHeight() && fPaper.IsEmpty(); ++r)
        if (device.GetRow(r).Distance(white) < 1e-6) fPaper = fXYZ.GetRow(r);
    if (fPaper.IsEmpty() || fPaper.Min() <= 0.0) TKThrowMsg(NoMeasurementData, "the chart has no paper white");

    fInks.resize(size_t(fChannels));
    for (int32_t c = 0; c < fChannels; ++c) {
        TKVector solid = white;
        solid[c] = GetChannelMax(fType, c);
        if (ReadWedge(solid, fInks[size_t(c)])) continue;
        if (c < 3) TKThrowMsg(NoMeasurementData, "the chart lacks the wedge of a chromatic ink");
        fInks[size_t(c)] = Wedge();
    }
    TKVector grayEnd = white;
    for (int32_t c = 0; c < 3; ++c) grayEnd[c] = GetChannelMax(fType, c);
    Wedge gray;
    if (!ReadWedge(grayEnd, gray) || gray.position.size() < 3)
        TKThrowMsg(NoMeasurementData, "the chart lacks a gray wedge of three or more steps");
    // The ratio of measured to modelled gray, per XYZ component.
    for (size_t i = 0; i < gray.position.size(); ++i) {
        TKVector grayDevice = white;
        for (int32_t c = 0; c < 3; ++c) grayDevice[c] = gray.position[i] * GetChannelMax(fType, c);
        const TKVector model = Uncorrected(grayDevice);
        TKVector ratio(3, 0, 1.0);
        for (int32_t c = 0; c < 3; ++c)
            if (model[c] > 0.0) ratio[c] = gray.xyz[i][c] / model[c];
        fGrayRatio.position.push_back(gray.position[i]);
        fGrayRatio.xyz.push_back(ratio);
    }
}

bool TKChartPressModel::ReadWedge(const TKVector& end, Wedge& wedge) const {
    TKMatrix lineDevice, lineXYZ;
    const TKVector white = GetWhite(fType);
    TKCalcColorLinearization::PickLine(white, end, fDevice, fXYZ, lineDevice, lineXYZ);
    const TKVector along = end - white;
    for (int32_t r = 0; r < lineDevice.GetHeight(); ++r) {
        const double t = (lineDevice.GetRow(r) - white).Dot(along) / along.SqrNorm();
        // Repeated steps: the first measurement of a position stands.
        if (!wedge.position.empty() && t <= wedge.position.back() + 1e-9) continue;
        wedge.position.push_back(t);
        wedge.xyz.push_back(lineXYZ.GetRow(r));
    }
    // A wedge needs its paper end and at least one further step.
    return wedge.position.size() >= 2 && wedge.position.front() < 1e-9;
}

TKVector TKChartPressModel::Uncorrected(const TKVector& source) const {
    TKVector xyz = fPaper;
    for (int32_t c = 0; c < fChannels; ++c) {
        const Wedge& ink = fInks[size_t(c)];
        if (ink.position.empty()) continue;
        const TKVector alone = ink.At(source[c] / GetChannelMax(fType, c));
        for (int32_t k = 0; k < 3; ++k) xyz[k] *= alone[k] / fPaper[k];
    }
    return xyz;
}

bool TKChartPressModel::HasWedge(int32_t channel) const {
    return channel >= 0 && channel < fChannels && !fInks[size_t(channel)].position.empty();
}

int32_t TKChartPressModel::GetDstType(int32_t) const { return int32_t(TKXYZSpace); }

TKVector TKChartPressModel::Trafo(const TKVector& source) const {
    if (source.GetDim() != fChannels) TKThrow(DimMismatch);
    TKVector xyz = Uncorrected(source);
    // The correction of the mean gray level counts in the share the gray component (the
    // smallest of the three) has in it: fully on the gray wedge, not at all on single inks and
    // two-colour overprints, which stay as their own wedges predict.
    double mean = 0.0, smallest = 1.0;
    for (int32_t c = 0; c < 3; ++c) {
        const double v = std::clamp(source[c] / GetChannelMax(fType, c), 0.0, 1.0);
        mean += v / 3.0;
        smallest = std::min(smallest, v);
    }
    if (mean > 0.0) {
        const TKVector ratio = fGrayRatio.At(mean);
        for (int32_t k = 0; k < 3; ++k) xyz[k] *= std::pow(ratio[k], smallest / mean);
    }
    xyz.SetType(int32_t(TKXYZSpace));
    return xyz;
}
