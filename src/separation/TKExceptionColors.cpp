// Fall-off, blending, classification, purification and merging of exception colours.
#include "separation/TKExceptionColors.h"

#include <algorithm>
#include <vector>
#include <cmath>

#include "color/TKCIEConverter.h"
#include "color/TKColors.h"
#include "separation/TKDirectColor.h"

namespace {

double BendWeight(double w, int32_t curve) {
    switch (curve) {
        case 1: return w < 0.5 ? 2.0 * w * w : 1.0 - 2.0 * (1.0 - w) * (1.0 - w);
        case 2: return w * w;
        case 3: return 1.0 - (1.0 - w) * (1.0 - w);
        default: return w;
    }
}

// The darkness of an ink colour: black and the gray of CMY combined multiplicatively.
double Darkness(const TKVector& v) {
    return 100.0 - (100.0 - v[3]) * (100.0 - std::min({v[0], v[1], v[2]})) * 0.01;
}

bool IsInkLike(const TKVector& v) {
    const uint32_t type = uint32_t(v.GetType());
    return type == 0 || IsInkSpace(type);
}

double MaxFrom(const TKVector& v, int32_t first) {
    double m = 0.0;
    for (int32_t i = first; i < v.GetDim(); ++i) m = std::max(m, v[i]);
    return m;
}

// The three channels a purification works on: the one the source has least of, the middle one
// and the one it has most of.
struct ChannelChoice {
    int32_t lo, mid, hi;
};

// Among channels 0..2 the one strictly below (or above) both others in s; failing that, the
// smallest (largest) of v.
int32_t StrictExtreme(const TKVector& s, const TKVector& v, bool above) {
    for (int32_t i = 0; i < 3; ++i) {
        const double a = s[(i + 1) % 3], b = s[(i + 2) % 3];
        if (above ? (s[i] > a && s[i] > b) : (s[i] < a && s[i] < b)) return i;
    }
    return above ? v.MaxIndex(0, 2) : v.MinIndex(0, 2);
}

ChannelChoice ChooseChannels(const TKVector& s, const TKVector& v, bool extended) {
    const int32_t n = v.GetDim();
    if (n <= 4 || !extended) {
        ChannelChoice c{StrictExtreme(s, v, false), 0, StrictExtreme(s, v, true)};
        if (c.lo == c.hi) c.hi = (c.lo + 1) % 3;
        c.mid = 3 - c.lo - c.hi;
        return c;
    }
    // Every channel but black competes; on equal source amounts the colour decides.
    std::vector<int32_t> order;
    for (int32_t i = 0; i < std::min(n, s.GetDim()); ++i)
        if (i != 3) order.push_back(i);
    std::stable_sort(order.begin(), order.end(), [&](int32_t a, int32_t b) {
        if (s[a] != s[b]) return s[a] > s[b];
        return v[a] > v[b];
    });
    return ChannelChoice{order[2], order[1], order[0]};
}

// Inks beyond the fourth that are small against the chromatic ones are noise of the transform.
void DropSmallExtraInks(TKVector& v, int32_t first) {
    const double floor = 0.1 * std::max({v[0], v[1], v[2]}) + 2.0;
    for (int32_t i = first; i < v.GetDim(); ++i)
        if (v[i] <= floor) v[i] = 0.0;
}

void KeepOnly(TKVector& v, int32_t channel) {
    const double keep = v[channel];
    v.Fill(0.0);
    v[channel] = keep;
}

uint32_t ClassifyInks(const TKVector& v, uint32_t type, double eps) {
    const int32_t n = v.GetDim();
    int32_t z = 0, f = 0, last = -1;
    for (int32_t i = 0; i < n; ++i) {
        if (v[i] <= eps) {
            ++z;
        } else {
            last = i;
            if (std::fabs(v[i] - 100.0) <= eps) ++f;
        }
    }
    const int32_t a = n - z;
    uint32_t bits = 0;
    if (z + f == n) bits |= kTKClassVertice;
    if (z + f > 0) bits |= kTKClassBorder;
    if (z + f + 1 >= n) bits |= kTKClassEdge;
    if (z > 0 && f > 0) bits |= kTKClassChromaEdge;
    if (a == 0) bits |= kTKClassWhite;
    if (a == 2) bits |= kTKClass2Channels;
    if (a == 3) bits |= kTKClass3Channels;
    if (n == 3 && f == 3) bits |= kTKClassBlack;
    const bool blackEmpty = n < 4 || v[3] <= eps;
    if (a == 1) {
        if (n >= 4 && std::fabs(v[3] - 100.0) <= eps) bits |= kTKClassBlack;
        bits |= kTKClassPrimary;
        if (f == 1) bits |= kTKClassFullPrimary;
        if (n < 4 || MaxFrom(v, 3) <= eps) bits |= kTKClassCMYPrimary;
    }
    if (a == 2) bits |= blackEmpty ? kTKClassSecondary : kTKClassDuplex;
    if (a == 3 && !blackEmpty) bits |= kTKClassTriplex;
    if (last < 3) bits |= kTKClassCMYonly;
    if (last < 4) bits |= kTKClassCMYKonly;
    if (type == TKGraySpace || n == 1) {
        bits |= kTKClassGray;
    } else if (n == 3) {
        if (v.Max() - v.Min() <= eps) bits |= kTKClassGray;
    } else if (n >= 4 && std::max({v[0], v[1], v[2]}) <= eps) {
        bits |= kTKClassGray;
    }
    return bits;
}

}  // namespace

double TKCalcFalloff(double distance, double width) {
    const double a = std::fabs(distance);
    if (a <= 0.0) return 1.0;
    if (a >= width) return 0.0;
    return 1.0 - a / width;
}

TKVector TKBlendColors(const TKVector& a, const TKVector& b, double w, int32_t curve) {
    const TKVector target = TKDirectConvert(b, uint32_t(a.GetType()));
    const double bent = BendWeight(w, curve);
    TKVector r(a);
    for (int32_t i = 0; i < std::min(r.GetDim(), target.GetDim()); ++i) r[i] += bent * (target[i] - r[i]);
    if (r.GetDim() > 3 && target.GetDim() > 3 && IsInkLike(a)) {
        const double er = Darkness(r);
        if (er > 0.0) {
            const double ea = Darkness(a);
            const double factor = (ea + bent * (Darkness(target) - ea)) / er;
            const double gray = std::min({r[0], r[1], r[2]});
            for (int32_t i = 0; i < 3; ++i) r[i] += (factor - 1.0) * gray;
            r[3] *= factor;
            for (int32_t i = 0; i < 4; ++i) r[i] = std::clamp(r[i], 0.0, 100.0);
        }
    }
    return r;
}

double TKGrayDistance(const TKVector& colour) {
    if (colour.IsEmpty()) return 0.0;
    const double mean = colour.Mean();
    double sum = 0.0;
    for (int32_t i = 0; i < colour.GetDim(); ++i) sum += (colour[i] - mean) * (colour[i] - mean);
    return std::sqrt(sum);
}

uint32_t TKClassifyColor(const TKVector& colour, double eps) {
    const uint32_t type = uint32_t(colour.GetType());
    if (colour.IsEmpty()) return 0;
    // RGB is light: its classes are those of its ink complement.
    if (type == TKRGBSpace) return ClassifyInks(TKDirectConvert(colour, TKCMYSpace), TKCMYSpace, eps);
    if (IsCIESpace(type)) {
        const TKVector lab = ConvertColor(TKLabSpace, colour);
        uint32_t bits = 0;
        if (std::fabs(lab[1]) <= eps && std::fabs(lab[2]) <= eps) {
            bits |= kTKClassGray;
            if (lab[0] >= 100.0 - eps) bits |= kTKClassWhite;
            if (lab[0] <= eps) bits |= kTKClassBlack;
        }
        return bits;
    }
    return ClassifyInks(colour, type, eps);
}

TKVector TKPurifyColor(const TKVector& colour, const TKVector& source, uint32_t flags, int32_t extended) {
    if ((flags == 0 && extended == 0) || colour.GetDim() < 3) return colour;
    const bool rgb = uint32_t(colour.GetType()) == TKRGBSpace;
    TKVector v = rgb ? TKDirectConvert(colour, TKCMYSpace) : colour;
    TKVector s = uint32_t(source.GetType()) == TKRGBSpace ? TKDirectConvert(source, TKCMYSpace) : source;
    if (s.GetDim() < 3) s = v;
    const int32_t n = v.GetDim();
    ChannelChoice ch{0, 1, 2};
    if (flags & (0x3F01020u | 0x300u)) ch = ChooseChannels(s, v, (extended & 1) != 0);
    const double a = v[ch.lo], b = v[ch.mid], c = v[ch.hi];
    const double share = n > 4 ? std::max(0.0, 0.25 - 0.01 * MaxFrom(v, 4)) : 0.25;
    auto keepTwo = [&](TKVector& w) {
        w[ch.mid] = std::max(b, share * s[ch.mid]);
        w[ch.hi] = std::max(c, share * s[ch.hi]);
    };

    if (flags & 0x20u) {
        v.Fill(0.0);
        v[ch.hi] = c;
    }
    if ((flags & 0x100000u) && ch.hi == 0) KeepOnly(v, 0);
    if ((flags & 0x200000u) && ch.hi == 1) KeepOnly(v, 1);
    if ((flags & 0x400000u) && ch.hi == 2) {
        // Yellow is carried over into channel 3; a colour without one has no place for it.
        const double yellow = v[2];
        v.Fill(0.0);
        v.GetElementRef(3) = yellow;
    }
    if (flags & 0x1000u) {
        for (int32_t i = 0; i < 3; ++i) v[i] = 0.0;
        keepTwo(v);
        if (n > 3) DropSmallExtraInks(v, 3);
    }
    if (((flags & 0x800000u) && ch.lo == 0) || ((flags & 0x1000000u) && ch.lo == 1) ||
        ((flags & 0x2000000u) && ch.lo == 2)) {
        v.Fill(0.0);
        keepTwo(v);
    }
    if (n > 3 && (flags & 0x300u)) {
        const double q = std::max({v[0], v[1], v[2]});
        TKFoldIntoBlack(v, (flags & 0x100u) ? b : a);
        if (n > 4) DropSmallExtraInks(v, 4);
        const double top = std::max({v[0], v[1], v[2]});
        if (top > 0.0)
            for (int32_t i = 0; i < 3; ++i) v[i] *= q / top;
    }
    if (n > 3 && (flags & 0x4000u)) v[3] = 0.0;
    if (flags & 0x4000000u) {
        double top = 0.0;
        for (int32_t i = 0; i < n; ++i)
            if (i != 3) top = std::max(top, v[i]);
        if (top > 0.0)
            for (int32_t i = 0; i < n; ++i)
                if (i != 3) v[i] *= 100.0 / top;
    }
    TKClipToRange(v);
    if (rgb) v = TKDirectConvert(v, TKRGBSpace);
    if (flags & 0x10000u) {
        const double full = rgb ? 255.0 : 100.0, low = rgb ? 2.0 : 1.0, high = rgb ? 253.0 : 98.0;
        for (int32_t i = 0; i < v.GetDim(); ++i) {
            if (v[i] <= low) v[i] = 0.0;
            else if (v[i] >= high) v[i] = full;
        }
    }
    return v;
}

TKVector TKKeepFarthest(const TKVector& g, const TKVector& a, const TKVector& b) {
    TKVector r(a);
    for (int32_t i = 0; i < std::min({g.GetDim(), a.GetDim(), b.GetDim()}); ++i)
        if (std::fabs(g[i] - b[i]) > std::fabs(g[i] - a[i])) r[i] = b[i];
    return r;
}
