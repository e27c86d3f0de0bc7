// Links baked from chains that begin or end in a connection space, against the same chain in
// doubles: a chain whose profile delivers XYZ and is asked for Lab (and the reverse), and chains
// that take Lab, at the host's grids. Colour differences are CIEDE2000 on the colours the
// outputs stand for: Lab and XYZ outputs directly, device outputs through the destination
// profile's own forward table in doubles.
#include <algorithm>
#include <cmath>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "color/TKCIETools.h"
#include "color/TKColorDifference.h"
#include "support/TestSupport.h"
#include "tintara.h"

namespace {

constexpr uint32_t kLab = 0x4C616220;  // 'Lab '
constexpr uint32_t kXYZ = 0x58595A20;  // 'XYZ '
constexpr double kD50[3] = {96.42, 100.0, 82.49};
constexpr int32_t kRelative = 1;

struct Spec {
    explicit Spec(const std::string& name) : spec(TKNewFileSpecRef()) {
        TKName2FileSpec(spec, TestDataPath("concat/" + name).c_str());
    }
    ~Spec() { TKFreeFileSpecRef(spec); }
    TKFileSpec* spec;
};

struct Trafo {
    ~Trafo() { TKFreeTKTrafoRef(ref); }
    TKTrafoRef ref = nullptr;
};

struct Link {
    Link() : ref(TKNewTKLink16Ref()) {}
    ~Link() { TKFreeTKLink16Ref(ref); }
    TKLinkRef ref;
};

// The real range of channel c of the link's colour types (the link spans them in 16 bits).
void ChannelRange(uint32_t type, int32_t c, double& lo, double& hi) {
    lo = 0.0;
    hi = 100.0;  // ink percent, L*
    if (type == kLab && c > 0) lo = -128.0, hi = 128.0;
    if (type == kXYZ) hi = 200.0;
    if (type == 0x52474220) hi = 255.0;  // 'RGB '
}

uint16_t Code(uint32_t type, int32_t c, double value) {
    double lo, hi;
    ChannelRange(type, c, lo, hi);
    return uint16_t(std::lround(std::clamp((value - lo) / (hi - lo), 0.0, 1.0) * 65535.0));
}

double Value(uint32_t type, int32_t c, uint16_t code) {
    double lo, hi;
    ChannelRange(type, c, lo, hi);
    return lo + code / 65535.0 * (hi - lo);
}

struct Figures {
    double mean = 0, max = 0;
};

// The profile's forward table in doubles, device values to its connection space.
void ReadForward(const Spec& spec, Trafo& forward) {
    TKICCProfile* read = TKNewICCProfileRef();
    EXPECT_EQ(TKReadProfile(read, spec.spec), 0);
    EXPECT_EQ(TKGetICCProfileTrafo(&forward.ref, read, 1, kRelative), 0);
    TKFreeICCProfileRef(read);
}

void ConnectionSpaceToLab(uint32_t type, const double* pcs, double* lab) {
    if (type == kXYZ)
        XYZToLab(pcs, kD50, lab);
    else
        std::copy(pcs, pcs + 3, lab);
}

// A chain, its link at `gridBits`, and what an output colour stands for in Lab.
class Comparison {
public:
    Comparison(uint32_t srcType, uint32_t dstType, const std::string& profile, int32_t gridBits) {
        Spec spec(profile);
        TKFileSpec* specs[] = {spec.spec};
        const int32_t intents[] = {kRelative};
        EXPECT_EQ(TKConcatICCProfilesEx(&chain_.ref, srcType, dstType, 1, specs, intents), 0) << profile;
        EXPECT_EQ(TKColorTrafo2Link16(link_.ref, chain_.ref, gridBits), 0) << profile;
        src_ = TKGetTrafoSrcType(chain_.ref);
        dst_ = TKGetTrafoDstType(chain_.ref);
        if (dst_ != kLab && dst_ != kXYZ) ReadForward(spec, forward_);
    }

    // The colour a chain output stands for.
    void ToLab(const double* out, double* lab) const {
        if (dst_ == kLab || dst_ == kXYZ) return ConnectionSpaceToLab(dst_, out, lab);
        double pcs[3];
        TKDoTrafo(forward_.ref, out, pcs);
        ConnectionSpaceToLab(TKGetTrafoDstType(forward_.ref), pcs, lab);
    }

    // CIEDE2000 between the chain in doubles and the link on the 16-bit codes of each source.
    Figures Measure(const std::vector<std::vector<double>>& sources) const {
        Figures figures;
        const int32_t n = TKGetTrafoSrcDim(chain_.ref), m = TKGetTrafoDstDim(chain_.ref);
        for (const auto& source : sources) {
            uint16_t in[8], out[8];
            double exact[8], baked[8], exactLab[3], bakedLab[3], snapped[8];
            for (int32_t c = 0; c < n; ++c) {
                in[c] = Code(src_, c, source[size_t(c)]);
                snapped[c] = Value(src_, c, in[c]);  // the chain sees what the link sees
            }
            EXPECT_EQ(TKDoTrafo(chain_.ref, snapped, exact), 0);
            EXPECT_EQ(TKLink16Match(link_.ref, 1, in, out, 0, 0, nullptr, nullptr), 0);
            for (int32_t c = 0; c < m; ++c) baked[c] = Value(dst_, c, out[c]);
            ToLab(exact, exactLab);
            ToLab(baked, bakedLab);
            const double e = DeltaE2000(exactLab, bakedLab);
            figures.mean += e / double(sources.size());
            figures.max = std::max(figures.max, e);
        }
        return figures;
    }

private:
    Trafo chain_, forward_;
    Link link_;
    uint32_t src_ = 0, dst_ = 0;
};

std::vector<std::vector<double>> RandomColours(int32_t count, const std::vector<double>& lo,
                                               const std::vector<double>& hi) {
    std::mt19937 random(19);
    std::vector<std::vector<double>> colours(size_t(count), std::vector<double>(lo.size()));
    for (auto& colour : colours)
        for (size_t c = 0; c < lo.size(); ++c)
            colour[c] = std::uniform_real_distribution<double>(lo[c], hi[c])(random);
    return colours;
}

// A chain from device values to the profile's connection space, asked for the other one: the
// link must carry the conversion at the chain's end inside its grid, where it mixes channels
// (taken for per-channel curves it gave mean 27 / 48 for sRGB to Lab). Bounds: 1.5 times the
// figures measured at the library's default grid, 2000 random device colours; the chains that
// end in the profile's own connection space are the yardstick (0.08 / 0.47 sRGB to XYZ, 0.09 /
// 0.62 FOGRA39L to Lab). XYZ outputs lose a little more: linear interpolation of a convex
// function of Lab.
TEST(ConnectionSpaceLinkTest, ChainEndingInTheOtherConnectionSpaceMatchesTheDoubleChain) {
    struct Case {
        const char* profile;
        uint32_t dst;
        std::vector<double> hi;
        double mean, max;
    };
    const Case cases[] = {{"sRGB.icc", kLab, {255, 255, 255}, 0.06, 1.5},
                          {"sRGB.icc", kXYZ, {255, 255, 255}, 0.12, 0.7},
                          {"FOGRA39L.icc", kXYZ, {100, 100, 100, 100}, 0.24, 1.5},
                          {"FOGRA39L.icc", kLab, {100, 100, 100, 100}, 0.13, 0.9}};
    for (const Case& c : cases) {
        const Comparison comparison(0, c.dst, c.profile, 0);
        const Figures figures =
            comparison.Measure(RandomColours(2000, std::vector<double>(c.hi.size(), 0.0), c.hi));
        EXPECT_LT(figures.mean, c.mean) << c.profile << " to " << (c.dst == kLab ? "Lab" : "XYZ");
        EXPECT_LT(figures.max, c.max) << c.profile << " to " << (c.dst == kLab ? "Lab" : "XYZ");
    }
}

// Lab colours the profile reproduces: its forward table on random device values.
std::vector<std::vector<double>> InGamutLab(const std::string& profile, int32_t count) {
    Trafo forward;
    ReadForward(Spec(profile), forward);
    const int32_t n = TKGetTrafoSrcDim(forward.ref);
    const double top = n == 4 ? 100.0 : 255.0;
    std::vector<std::vector<double>> colours;
    for (auto device : RandomColours(count, std::vector<double>(size_t(n), 0.0), std::vector<double>(size_t(n), top))) {
        double pcs[3], lab[3];
        TKDoTrafo(forward.ref, device.data(), pcs);
        ConnectionSpaceToLab(TKGetTrafoDstType(forward.ref), pcs, lab);
        colours.push_back({lab[0], lab[1], lab[2]});
    }
    return colours;
}

std::vector<std::vector<double>> Where(const std::vector<std::vector<double>>& colours,
                                       const std::function<bool(const std::vector<double>&)>& keep) {
    std::vector<std::vector<double>> kept;
    std::copy_if(colours.begin(), colours.end(), std::back_inserter(kept), keep);
    return kept;
}

// Links that take Lab, by region, at the grids the host offers for three channels. Bounds: 1.5
// times the figures measured with 20000 colours. The floor on the neutral axis (0.04 at both
// grids) is the 4096-entry output curves: 16 codes of ink. In gamut, the largest errors sit next
// to the gamut's edge, where neighbouring nodes are clipped (sRGB: a channel near 0 or 255).
TEST(ConnectionSpaceLinkTest, LabInputLinksMatchTheDoubleChainByRegion) {
    struct Case {
        const char* profile;
        int32_t gridBits;
        Figures inGamut, chromatic, neutral;
    };
    const Case cases[] = {{"FOGRA39L.icc", 4, {0.45, 3.0}, {0.3, 1.7}, {0.06, 0.09}},
                          {"FOGRA39L.icc", 6, {0.045, 0.3}, {0.032, 0.12}, {0.062, 0.1}},
                          {"sRGB.icc", 4, {0.75, 7.0}, {0.73, 5.0}, {0.08, 0.44}},
                          {"sRGB.icc", 6, {0.1, 1.5}, {0.11, 1.1}, {0.07, 0.085}}};
    std::vector<std::vector<double>> neutral;
    for (int32_t i = 0; i <= 1000; ++i) neutral.push_back({i / 10.0, 0.0, 0.0});
    for (const Case& c : cases) {
        const auto inGamut = InGamutLab(c.profile, 20000);
        const auto chromatic =
            Where(inGamut, [](const std::vector<double>& lab) { return std::hypot(lab[1], lab[2]) > 50; });
        const Comparison comparison(kLab, 0, c.profile, c.gridBits);
        const std::pair<const std::vector<std::vector<double>>*, Figures> regions[] = {
            {&inGamut, c.inGamut}, {&chromatic, c.chromatic}, {&neutral, c.neutral}};
        for (const auto& [colours, bound] : regions) {
            const Figures figures = comparison.Measure(*colours);
            EXPECT_LT(figures.mean, bound.mean) << c.profile << " grid bits " << c.gridBits;
            EXPECT_LT(figures.max, bound.max) << c.profile << " grid bits " << c.gridBits;
        }
    }
}

}  // namespace
