// Analytic trafos for merge-chain tests: a press-to-press CMYK conversion, spot colours printed
// over CMYK, and a merge chain of plain trafos that evaluates the members in double precision.
#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include "color/TKColors.h"
#include "link/TKMCMergeTrafoBase.h"

namespace merge_test {

constexpr int32_t kCMYK = int32_t(TKCMYKSpace);

inline double Clamp100(double v) { return std::min(100.0, std::max(0.0, v)); }

// CMYK to CMYK in percent: dot gain, a little grey balance from black, not separable.
class PressCMYK : public TKTrafo {
public:
    int32_t GetSrcDim() const override { return 4; }
    int32_t GetDstDim(int32_t) const override { return 4; }
    int32_t GetSrcType() const override { return kCMYK; }
    int32_t GetDstType(int32_t) const override { return kCMYK; }
    TKVector Trafo(const TKVector& v) const override {
        const double k = v[3] / 100.0;
        TKVector out(4, kCMYK);
        for (int32_t i = 0; i < 3; ++i) {
            const double c = v[i] / 100.0, next = v[(i + 1) % 3] / 100.0;
            out[i] = Clamp100(100.0 * (std::pow(c, 1.1) * (1.0 - 0.1 * k) + 0.05 * next * k));
        }
        out[3] = Clamp100(100.0 * std::pow(k, 0.9));
        return out;
    }
};

// CMYK plus one spot (percent) to CMYK: the spot's CMYK build `recipe` printed over the colour,
// inks multiplying as transmissions. At a spot of 0 the colour passes unchanged, unless `tint`
// adds cyan everywhere (a member that changes colours even without its spot).
class SpotOverCMYK : public TKTrafo {
public:
    SpotOverCMYK(std::vector<double> recipe, double tint = 0.0) : fRecipe(std::move(recipe)), fTint(tint) {}
    int32_t GetSrcDim() const override { return 5; }
    int32_t GetDstDim(int32_t) const override { return 4; }
    int32_t GetSrcType() const override { return int32_t(GetDeviceType(5)); }
    int32_t GetDstType(int32_t) const override { return kCMYK; }
    TKVector Trafo(const TKVector& v) const override {
        const double s = std::pow(v[4] / 100.0, 0.9);
        TKVector out(4, kCMYK);
        for (int32_t i = 0; i < 4; ++i)
            out[i] = Clamp100(100.0 * (1.0 - (1.0 - v[i] / 100.0) * (1.0 - fRecipe[size_t(i)] * s)));
        out[0] = Clamp100(out[0] + fTint);
        return out;
    }

private:
    std::vector<double> fRecipe;
    double fTint;
};

// Orange and green in CMYK fractions.
inline std::vector<double> OrangeRecipe() { return {0.0, 0.55, 0.95, 0.0}; }
inline std::vector<double> GreenRecipe() { return {0.85, 0.0, 0.9, 0.05}; }

// A merge chain of any trafos, held without checks so that tests can build bad chains too.
class TrafoMerge : public TKMCMergeTrafoBase {
public:
    void Add(TKTrafo* trafo) { fMembers.emplace_back(trafo, false); }
    int32_t GetMemberCount() const override { return int32_t(fMembers.size()); }
    TKTrafo* GetMember(int32_t index) const override {
        if (index < 0 || size_t(index) >= fMembers.size()) TKThrow(IndexError);
        return fMembers[size_t(index)].Get();
    }

private:
    std::vector<TKRefPtr<TKTrafo>> fMembers;
};

}  // namespace merge_test
