// Separations of CIE colours through a colorant table.
#include "separation/TKCIESeparation.h"

#include <algorithm>
#include <cmath>

#include "color/TKCIEConverter.h"
#include "charts/TKColorChart.h"
#include "color/TKColors.h"

namespace {

constexpr uint32_t kLab = TKColorSig("Lab ");
constexpr uint32_t kLcs = TKColorSig("Lcs ");

double Clip100(double value) { return std::clamp(value, 0.0, 100.0); }

double Chroma(const TKVector& lcs) { return std::hypot(lcs[1], lcs[2]); }

}  // namespace

// ---- TKCIESeparationBase ---------------------------------------------------------------------

TKCIESeparationBase::TKCIESeparationBase(uint32_t deviceType) : fDeviceType(deviceType) {
    if (!IsInkSpace(deviceType) || GetChannelCount(deviceType) < 1)
        TKThrowMsg(WrongDataType, "a CIE separation gives inks");
    fBlackIndex = GetChannelCount(deviceType) >= 4 ? 3 : -1;
}

void TKCIESeparationBase::SetBlackIndex(int32_t index) {
    if (index != -1 && (index < 0 || index >= GetChannelCount(fDeviceType))) TKThrowMsg(IndexError, "black channel");
    fBlackIndex = index;
}

void TKCIESeparationBase::Clear() {
    fDevice.clear();
    fLab.clear();
    fPaper = fDarkest = TKVector();
    fTone.clear();
    fBlackIndex = 3;
    TableChanged();
}

void TKCIESeparationBase::AddColorant(const TKVector& device, const TKVector& colour) {
    if (device.GetDim() != GetChannelCount(fDeviceType) || colour.GetDim() != 3)
        TKThrowMsg(DimMismatch, "colorant of the wrong size");
    TKVector lab = colour;
    if (lab.GetType() == 0) lab.SetType(int32_t(kLab));
    lab = ConvertColor(kLab, lab);
    TKVector ink = device;
    ink.SetType(int32_t(fDeviceType));
    fDevice.push_back(ink);
    fLab.push_back(lab);
    if (ink.MaxAbs() == 0.0) fPaper = lab;
    if (fDarkest.IsEmpty() || lab[0] < fDarkest[0]) fDarkest = lab;
    TableChanged();
}

void TKCIESeparationBase::Init(const TKTrafo& forward) {
    const int32_t n = GetChannelCount(fDeviceType);
    if (forward.GetSrcDim() != n) TKThrowMsg(DimMismatch, "forward trafo of another device");
    Clear();
    if (n < 4) fBlackIndex = -1;
    // A grid over the ink cube: five steps per ink up to four inks, three above (at most 3^8).
    const int32_t steps = n <= 4 ? 5 : 3;
    if (n > 8) TKThrowMsg(DimMismatch, "colorant grid of more than eight inks");
    int32_t total = 1;
    for (int32_t c = 0; c < n; ++c) total *= steps;
    for (int32_t index = 0; index < total; ++index) {
        TKVector ink(n, int32_t(fDeviceType));
        for (int32_t c = n - 1, rest = index; c >= 0; --c, rest /= steps) ink[c] = 100.0 * (rest % steps) / (steps - 1);
        fDevice.push_back(ink);
        TKVector lab = ConvertColor(kLab, forward.Trafo(ink));
        fLab.push_back(lab);
        if (index == 0) fPaper = lab;
        if (fDarkest.IsEmpty() || lab[0] < fDarkest[0]) fDarkest = lab;
    }
    Linearize(fDevice, fLab);
    TableChanged();
}

void TKCIESeparationBase::SetLinearization(const TKColorChart& chart) {
    const TKMatrix device = chart.Matrix(fDeviceType);
    if (device.GetHeight() < 1) TKThrowMsg(WrongDataType, "the chart has no device values of this type");
    TKColorChart measured(chart);
    measured.ConvertMeasured(kLab);
    const TKMatrix lab = measured.Matrix(kLab);
    std::vector<TKVector> devices, labs;
    for (int32_t row = 0; row < device.GetHeight(); ++row) {
        devices.push_back(device.GetRow(row));
        const TKVector measuredRow = lab.GetRow(row);
        labs.push_back(TKVector({measuredRow[0], measuredRow[1], measuredRow[2]}, int32_t(kLab)));
    }
    Linearize(devices, labs);
}

void TKCIESeparationBase::Linearize(const std::vector<TKVector>& device, const std::vector<TKVector>& lab) {
    const int32_t n = GetChannelCount(fDeviceType);
    std::vector<TKCurveLinearization> tone(static_cast<size_t>(n));
    // The paper: the row without ink (measurements of it are averaged).
    TKVector paper(3, int32_t(kLcs));
    int32_t papers = 0;
    for (size_t row = 0; row < device.size(); ++row)
        if (device[row].MaxAbs() == 0.0) paper.Add(ConvertColor(kLcs, lab[row])), ++papers;
    if (papers == 0) {
        fTone = tone;
        return;
    }
    paper.Multiply(1.0 / papers);
    for (int32_t c = 0; c < n; ++c) {
        // The wedge of channel c: rows with ink in c alone, by ink.
        std::vector<std::pair<double, TKVector>> wedge{{0.0, paper}};
        for (size_t row = 0; row < device.size(); ++row) {
            const TKVector& ink = device[row];
            if (ink[c] > 0.0 && ink.MaxAbs() == ink[c] && ink.Sum() == ink[c])
                wedge.emplace_back(ink[c] / GetChannelMax(fDeviceType, c), ConvertColor(kLcs, lab[row]) - paper);
        }
        std::sort(wedge.begin(), wedge.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
        const TKVector& solid = wedge.back().second;
        const double length2 = solid.Dot(solid);
        if (wedge.size() < 3 || wedge.back().first < 1.0 || !(length2 > 0.0)) continue;
        // Shares along the solid's direction, held rising.
        std::vector<double> ink, share;
        for (const auto& [value, offset] : wedge) {
            const double s = std::clamp(offset.Dot(solid) / length2, share.empty() ? 0.0 : share.back(), 1.0);
            ink.push_back(value);
            share.push_back(s);
        }
        // The inverse table: ink for 256 equal shares, linear between the wedge's steps.
        TKVector samples(256);
        for (int32_t i = 0; i < 256; ++i) {
            const double want = i / 255.0;
            size_t k = 1;
            while (k + 1 < share.size() && share[k] < want) ++k;
            const double span = share[k] - share[k - 1];
            const double t = span > 0.0 ? std::clamp((want - share[k - 1]) / span, 0.0, 1.0) : 1.0;
            samples[i] = ink[k - 1] + t * (ink[k] - ink[k - 1]);
        }
        tone[size_t(c)].SetSamples(samples);
    }
    fTone = tone;
}

double TKCIESeparationBase::InkForShare(int32_t channel, double share) const {
    if (channel < 0 || channel >= GetChannelCount(fDeviceType)) TKThrow(IndexError);
    const double clipped = std::clamp(share, 0.0, 1.0);
    return 100.0 * (size_t(channel) < fTone.size() ? fTone[size_t(channel)].Apply(clipped) : clipped);
}

int32_t TKCIESeparationBase::SolidRow(int32_t channel) const {
    for (size_t row = 0; row < fDevice.size(); ++row) {
        const TKVector& ink = fDevice[row];
        if (ink[channel] >= 100.0 && ink.Sum() <= 100.0) return int32_t(row);
    }
    return -1;
}

TKVector TKCIESeparationBase::Trafo(const TKVector& source) const {
    if (fLab.empty() || fPaper.IsEmpty()) TKThrowMsg(PtrInvalid, "CIE separation without a colorant table");
    TKVector lab = source;
    if (lab.GetType() == 0) lab.SetType(int32_t(kLab));
    if (lab.GetDim() != 3) TKThrowMsg(DimMismatch, "CIE colour of other than three channels");
    TKVector inks = Separate(ConvertColor(kLab, lab));
    for (int32_t c = 0; c < inks.GetDim(); ++c) inks[c] = Clip100(inks[c]);
    inks.SetType(int32_t(fDeviceType));
    return inks;
}

// ---- 1: the interpolated table -------------------------------------------------------------

void TKCIESeparation1::TableChanged() {
    fInterpolation.reset();
    if (fLab.empty()) return;
    TKMatrix points(int32_t(fLab.size()), 3), values(int32_t(fLab.size()), GetChannelCount(fDeviceType));
    for (size_t row = 0; row < fLab.size(); ++row) {
        TKVector lab = fLab[row], ink = fDevice[row];
        lab.SetType(0);
        ink.SetType(0);
        points.SetRow(int32_t(row), lab);
        values.SetRow(int32_t(row), ink);
    }
    fInterpolation = std::make_shared<const TKScatteredInterpolation>(points, values, kExponent);
}

TKVector TKCIESeparation1::Separate(const TKVector& lab) const {
    TKVector plain = lab;
    plain.SetType(0);
    TKVector inks = fInterpolation->Evaluate(plain);
    const int32_t n = inks.GetDim();
    if (n <= 4) return inks;
    // Extra inks only as far as the colour has their chroma...
    const double chroma = std::hypot(lab[1], lab[2]);
    for (int32_t c = 3; c < n; ++c) {
        if (c == fBlackIndex) continue;
        const int32_t row = SolidRow(c);
        const double inkChroma = row < 0 ? 0.0 : std::hypot(fLab[size_t(row)][1], fLab[size_t(row)][2]);
        const double share = inkChroma > 0.0 ? chroma / inkChroma : 0.0;
        inks[c] = std::min(inks[c], 100.0 * std::clamp(1.1 * share - 0.1, 0.0, 1.0));
    }
    // ...and only the strongest: the second largest of CMY and extras comes off each extra ink.
    std::vector<double> chromatic;
    for (int32_t c = 0; c < n; ++c)
        if (c != fBlackIndex) chromatic.push_back(Clip100(inks[c]));
    std::sort(chromatic.rbegin(), chromatic.rend());
    const double top = chromatic[0], second = chromatic.size() > 1 ? chromatic[1] : 0.0;
    for (int32_t c = 3; c < n; ++c) {
        if (c == fBlackIndex || top - second <= 0.0) continue;
        inks[c] = std::max(0.0, inks[c] - second) * top / (top - second);
    }
    return inks;
}

// ---- 2: hue angles ---------------------------------------------------------------------------

TKVector TKCIESeparation2::Separate(const TKVector& lab) const {
    const int32_t n = GetChannelCount(fDeviceType);
    TKVector inks(n);
    const TKVector colour = ConvertColor(kLcs, lab), paper = ConvertColor(kLcs, fPaper);
    const double chroma = Chroma(colour);
    double gray = 0.0;
    if (fBlackIndex >= 0 && fDarkest[0] < fPaper[0]) {
        // Black by lightness between paper and the darkest point, less where the colour is vivid.
        gray = Clip100(100.0 * (lab[0] - fPaper[0]) / (fDarkest[0] - fPaper[0]));
        inks[fBlackIndex] = InkForShare(fBlackIndex, 0.01 * gray * 2000.0 / (chroma * chroma + 2000.0));
    }
    const double hue = std::atan2(colour[2], colour[1]);
    for (int32_t c = 0; c < n; ++c) {
        if (c == fBlackIndex) continue;
        const int32_t row = SolidRow(c);
        if (row < 0) continue;
        const TKVector solid = ConvertColor(kLcs, fLab[size_t(row)]);
        const double solidChroma = Chroma(solid - paper);
        if (solidChroma <= 0.0) continue;
        // An ink serves colours within a right angle of its hue, most near its own.
        double angle = std::fabs(hue - std::atan2(solid[2] - paper[2], solid[1] - paper[1]));
        if (angle > M_PI) angle = 2.0 * M_PI - angle;
        const double alignment = std::max(0.0, std::cos(angle));
        inks[c] = InkForShare(c, alignment * chroma / solidChroma);
    }
    return inks;
}

// ---- 3: frames of two inks and black ---------------------------------------------------------

TKVector TKCIESeparation3::Separate(const TKVector& lab) const {
    const int32_t n = GetChannelCount(fDeviceType);
    const TKVector paper = ConvertColor(kLcs, fPaper);
    const TKVector target = ConvertColor(kLcs, lab) - paper;
    const TKVector black = fBlackIndex >= 0 && SolidRow(fBlackIndex) >= 0
                               ? ConvertColor(kLcs, fLab[size_t(SolidRow(fBlackIndex))]) - paper
                               : ConvertColor(kLcs, fDarkest) - paper;
    TKVector best;
    double bestTotal = HUGE_VAL;
    for (int32_t a = 0; a < n; ++a)
        for (int32_t b = a + 1; b < n; ++b) {
            if (a == fBlackIndex || b == fBlackIndex || SolidRow(a) < 0 || SolidRow(b) < 0) continue;
            const TKVector ia = ConvertColor(kLcs, fLab[size_t(SolidRow(a))]) - paper;
            const TKVector ib = ConvertColor(kLcs, fLab[size_t(SolidRow(b))]) - paper;
            TKMatrix frame(3, 3);
            for (int32_t r = 0; r < 3; ++r) frame(r, 0) = ia[r], frame(r, 1) = ib[r], frame(r, 2) = black[r];
            if (std::fabs(frame.Determinant()) < 1e-9) continue;
            const TKMatrix inverse = frame.Inverse();
            double share[3];
            for (int32_t r = 0; r < 3; ++r)
                share[r] = inverse(r, 0) * target[0] + inverse(r, 1) * target[1] + inverse(r, 2) * target[2];
            if (share[0] < -1e-9 || share[1] < -1e-9 || share[2] < -1e-9) continue;
            const double total = share[0] + share[1] + share[2];
            if (total >= bestTotal) continue;
            bestTotal = total;
            best = TKVector(n);
            best[a] = InkForShare(a, share[0]);
            best[b] = InkForShare(b, share[1]);
            if (fBlackIndex >= 0) best[fBlackIndex] = InkForShare(fBlackIndex, share[2]);
        }
    return best.IsEmpty() ? TKCIESeparation2::Separate(lab) : best;
}

// ---- The shell -------------------------------------------------------------------------------

TKCIESeparation::TKCIESeparation(int32_t method, uint32_t deviceType) {
    switch (method) {
        case 1: fSeparation.Reset(new TKCIESeparation1(deviceType), true); break;
        case 2: fSeparation.Reset(new TKCIESeparation2(deviceType), true); break;
        case 3: fSeparation.Reset(new TKCIESeparation3(deviceType), true); break;
        default: TKThrowMsg(ArgErr, "CIE separation method must be 1, 2 or 3");
    }
}

TKCIESeparation::~TKCIESeparation() noexcept {}
