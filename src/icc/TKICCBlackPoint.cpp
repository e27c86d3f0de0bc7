// Black points of a profile: the media black seen absolutely, the device values of black, and
// the two generations of black points for black point compensation (a direct one and a
// round-trip fit through the tables), chosen by the global option "UseOldBPC".
#include <algorithm>
#include <cmath>
#include <vector>

#include "color/TKCIEConverter.h"
#include "color/TKColors.h"
#include "color/TKInvColorTrafo.h"
#include "icc/TKICCTrafoBuilder.h"
#include "io/TKGlobalData.h"

namespace {

constexpr uint32_t kXYZ = TKColorSig("XYZ ");
constexpr uint32_t kLab = TKColorSig("Lab ");
constexpr const char* kUseOldBPC = "UseOldBPC";

TKVector Lab(double l, double a, double b) { return TKVector({l, a, b}, kLab); }
TKVector ToLab(const TKVector& colour) { return ConvertColor(kLab, colour); }
TKVector ToXYZ(const TKVector& colour) { return ConvertColor(kXYZ, colour); }

bool UseOldBPC() { return TKGlobalData::GetBool(kUseOldBPC, false); }

// Least squares c0 + c1 x + c2 x^2 through the points; false when the normal equations are singular.
bool FitQuadratic(const std::vector<double>& x, const std::vector<double>& y, double c[3]) {
    double s[5] = {}, t[3] = {};
    for (size_t i = 0; i < x.size(); ++i) {
        double p = 1.0;
        for (int k = 0; k < 5; ++k, p *= x[i]) {
            s[k] += p;
            if (k < 3) t[k] += p * y[i];
        }
    }
    TKMatrix normal(3, 3);
    for (int r = 0; r < 3; ++r)
        for (int k = 0; k < 3; ++k) normal(r, k) = s[r + k];
    if (std::fabs(normal.Determinant()) < 1e-300) return false;
    const TKMatrix inverse = normal.Inverse();
    for (int r = 0; r < 3; ++r) c[r] = inverse(r, 0) * t[0] + inverse(r, 1) * t[1] + inverse(r, 2) * t[2];
    return true;
}

// The lightness where the fitted quadratic crosses zero, by the rules of the current routine.
double RootOfFit(const double c[3]) {
    if (std::fabs(c[2]) < 1e-10) {
        if (c[1] == 0.0) return c[0] <= 0.0 ? 0.0 : 50.0;
        return std::clamp(-c[0] / c[1], 0.0, 50.0);
    }
    const double discriminant = c[1] * c[1] - 4.0 * c[2] * c[0];
    if (discriminant <= 0.0) return 0.0;
    const double root = (std::sqrt(discriminant) - c[1]) / (2.0 * c[2]);
    return std::clamp(root, 0.0, 50.0);
}

}  // namespace

TKVector TKICCTrafoBuilder::DarkestInks() {
    // The inks nearest to Lab 0 by search against the perceptual forward table, started from
    // what the perceptual B2A table makes of black: a table's guess can miss the darkest corner.
    // The forward table also answers for ink sums no press carries, so the search stays within
    // the largest total the profile's own B2A table uses.
    double maxInk = 0.0;
    GetDeviceBlackPoint(0, &maxInk);
    TKRefPtr<TKInvColorTrafo> search(new TKInvColorTrafo(GetB2ATrafo(0).Get(), GetA2BTrafo(0).Get(), false), true);
    if (maxInk > 0.0) search->SetLimitTrafo(new TKTotalInkCapTrafo(maxInk), true);
    return search->Trafo(Lab(0.0, 0.0, 0.0));
}

TKVector TKICCTrafoBuilder::GetMediaBlackPoint(int32_t b2aIntent, int32_t a2bIntent) {
    if (!PCSIsCIE() || fProfile->GetHeader().deviceClass == TKICCSig("scnr")) return TKVector(3, kXYZ);
    TKRefPtr<TKTrafo> b2a = GetB2ATrafo(b2aIntent);
    TKRefPtr<TKTrafo> a2b = GetA2BTrafo(a2bIntent);
    return ToXYZ(a2b->Trafo(b2a->Trafo(TKVector(3, kXYZ))));
}

TKVector TKICCTrafoBuilder::GetDeviceBlackPoint(int32_t intent, double* outMaxInk) {
    const uint32_t space = ColorSpace();
    TKVector black = GetBlack(space, 1);
    const bool viaTable = PCSIsCIE() && fProfile->GetHeader().deviceClass != TKICCSig("scnr");
    TKRefPtr<TKTrafo> b2a = viaTable ? GetB2ATrafo(intent) : TKRefPtr<TKTrafo>();
    if (b2a) black = b2a->Trafo(Lab(0.0, 0.0, 0.0));
    if (outMaxInk) {
        if (space == TKRGBSpace) {
            *outMaxInk = 300.0 - black.Sum() / 255.0 * 100.0;
        } else if (IsInkSpace(space) && b2a) {
            // The darkest corner of the device may not be where the black maps: scan a Lab chart.
            double most = black.Sum();
            for (int li = 0; li < 7; ++li)
                for (int ai = 0; ai < 7; ++ai)
                    for (int bi = 0; bi < 7; ++bi) {
                        TKVector ink = b2a->Trafo(Lab(li * 100.0 / 6.0, -128.0 + ai * 256.0 / 6.0, -128.0 + bi * 256.0 / 6.0));
                        most = std::max(most, ink.Sum());
                    }
            *outMaxInk = most;
        }
    }
    return black;
}

TKVector TKICCTrafoBuilder::GetBlackPointForBPC(int32_t intent, TKTrafo* chart, bool neutral) {
    if (UseOldBPC()) return GetBlackPointForBPCOld(intent, chart, neutral);
    if (!PCSIsCIE()) return ToXYZ(Lab(0.0, 0.0, 0.0));
    const uint32_t space = ColorSpace();
    TKRefPtr<TKTrafo> a2b = GetA2BTrafo(intent);
    TKVector dark;
    if (fProfile->GetHeader().deviceClass == TKICCSig("prtr") && GetChannelCount(space) > 3) {
        dark = DarkestInks();
    } else if (IsCIESpace(space)) {
        dark = Lab(0.0, 0.0, 0.0);
    } else {
        const TKVector white = GetWhite(space), black = GetBlack(space, 0);
        dark = ToLab(a2b->Trafo(white))[0] < ToLab(a2b->Trafo(black))[0] ? white : black;
    }
    if (chart) dark = chart->Trafo(dark);
    TKVector lab = ToLab(a2b->Trafo(dark));
    if (neutral) lab[1] = lab[2] = 0.0;
    lab[0] = std::min(lab[0], 50.0);
    return ToXYZ(lab);
}

TKVector TKICCTrafoBuilder::GetBlackPointForBPCOld(int32_t intent, TKTrafo* chart, bool neutral) {
    if (!PCSIsCIE()) return ToXYZ(Lab(0.0, 0.0, 0.0));
    const uint32_t space = ColorSpace();
    TKRefPtr<TKTrafo> a2b = GetA2BTrafo(intent);
    TKVector dark = fProfile->GetHeader().deviceClass == TKICCSig("prtr") && GetChannelCount(space) > 3
                        ? DarkestInks()
                        : GetBlack(space, 1);
    if (IsCIESpace(space)) dark = ConvertColor(space, Lab(0.0, 0.0, 0.0));
    if (chart) dark = chart->Trafo(dark);
    TKVector lab = ToLab(a2b->Trafo(dark));
    if (neutral) lab[1] = lab[2] = 0.0;
    lab[0] = std::min(lab[0], 50.0);
    return ToXYZ(lab);
}

TKVector TKICCTrafoBuilder::GetBlackPointForBPCWithTable(int32_t intent, TKTrafo* chart, bool neutral) {
    if (UseOldBPC()) return GetBlackPointForBPCWithTableOld(intent, chart, neutral);
    return TableBlackPoint(intent, chart, neutral, false);
}

TKVector TKICCTrafoBuilder::GetBlackPointForBPCWithTableOld(int32_t intent, TKTrafo* chart, bool neutral) {
    return TableBlackPoint(intent, chart, neutral, true);
}

// The round trip of a Lab ramp from black to white through B2A and the relative A2B; the black
// point is where a quadratic fit of the dark part of the returned lightness meets zero.
TKVector TKICCTrafoBuilder::TableBlackPoint(int32_t intent, TKTrafo* chart, bool neutral, bool old) {
    auto direct = [&](int32_t i, bool n) {
        return old ? GetBlackPointForBPCOld(i, chart, n) : GetBlackPointForBPC(i, chart, n);
    };
    if (!HasTag(GetA2BTag(intent))) return direct(intent, true);
    TKRefPtr<TKTrafo> a2b = GetB2ATrafo(intent);
    TKRefPtr<TKTrafo> fwd = GetA2BTrafo(1);

    TKVector initial = intent == 1 ? ToLab(direct(1, ColorSpace() == TKCMYKSpace)) : Lab(0.0, 0.0, 0.0);
    initial[1] = std::clamp(initial[1], -50.0, 50.0);
    initial[2] = std::clamp(initial[2], -50.0, 50.0);

    const int32_t count = old ? 101 : 256;
    std::vector<double> x(static_cast<size_t>(count)), y(static_cast<size_t>(count));
    for (int32_t i = 0; i < count; ++i) {
        const double t = double(i) / double(count - 1);
        x[size_t(i)] = 100.0 * t;
        const TKVector lab = Lab(100.0 * t, (1.0 - t) * initial[1], (1.0 - t) * initial[2]);
        y[size_t(i)] = ToLab(fwd->Trafo(a2b->Trafo(lab)))[0];
    }
    for (int32_t i = count - 2; i >= 0; --i) y[size_t(i)] = std::min(y[size_t(i)], y[size_t(i) + 1]);

    TKVector result = Lab(0.0, 0.0, 0.0);
    const double yFirst = y.front(), yLast = y.back();
    bool decided = !(yFirst < yLast);
    if (!decided && intent == 1) {
        bool straight = true;
        for (int32_t i = 0; i < count; ++i)
            if (y[size_t(i)] > yFirst + 0.2 * (yLast - yFirst) && std::fabs(y[size_t(i)] - x[size_t(i)]) >= 4.0) straight = false;
        if (straight) {
            result = initial;
            decided = true;
        }
    }
    if (!decided) {
        const double lo = intent == 1 ? 0.1 : 0.03, hi = intent == 1 ? 0.5 : 0.25;
        std::vector<double> fx, fy;
        for (int32_t i = 0; i < count; ++i) {
            const double n = (y[size_t(i)] - yFirst) / (yLast - yFirst);
            if (n > lo && (old ? n <= hi : n < hi)) {
                fx.push_back(x[size_t(i)]);
                fy.push_back(n);
            }
        }
        double c[3];
        if (fx.size() >= 3 && FitQuadratic(fx, fy, c)) {
            if (!old) {
                result = Lab(RootOfFit(c), 0.0, 0.0);
            } else {
                // The older routine keeps its starting black whenever the root comes out negative.
                const double root = RootOfFit(c);
                const double raw = std::fabs(c[2]) < 1e-10 ? (c[1] == 0.0 ? root : -c[0] / c[1])
                                                           : (std::sqrt(std::max(0.0, c[1] * c[1] - 4.0 * c[2] * c[0])) - c[1]) / (2.0 * c[2]);
                result = raw < 0.0 || raw > std::max(2.0, 2.0 * raw) ? initial : Lab(root, 0.0, 0.0);
            }
        }
    }
    if (chart) result = ToLab(fwd->Trafo(chart->Trafo(a2b->Trafo(result))));
    if (neutral) result[1] = result[2] = 0.0;
    return ToXYZ(result);
}
