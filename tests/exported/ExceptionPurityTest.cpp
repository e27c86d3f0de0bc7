// Pure colours through a real print-to-print chain (FOGRA39 to FOGRA29, relative colorimetric)
// wrapped in exception logic: the double trafo and links baked from it, in 8 and 16 bits,
// interleaved and planar, at the default grid and at 17 and 33 points. Black text stays black
// ink only, one-ink ramps stay one ink, two-ink mixtures stay two inks, paper stays unprinted.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "color/TKColors.h"
#include "io/TKGlobalData.h"
#include "link/TKLinkGenericTrafo.h"
#include "separation/TKColorExceptionModes.h"
#include "support/TestSupport.h"
#include "tintara.h"

namespace {

constexpr int32_t kPureMode =
    kTKPureBlack | kTKPurePrimaries | kTKPureSecondaries | kTKPureWhite | kTKLinearizeGray;

struct Spec {
    explicit Spec(const char* name) : spec(TKNewFileSpecRef()) {
        TKName2FileSpec(spec, TestDataPath(std::string("concat/") + name).c_str());
    }
    ~Spec() { TKFreeFileSpecRef(spec); }
    TKFileSpec* spec;
};

// Pixels of one kind: the inks that must stay empty in the result.
struct PixelSet {
    const char* what;
    std::vector<uint16_t> pixels;  // 16-bit CMYK, four per pixel
    std::vector<int> emptyInks;    // channels that must come out 0
};

uint16_t Level(int32_t i, int32_t steps) { return uint16_t((int64_t(i) * 65535 + steps / 2) / steps); }

// K-only, one-ink ramps, two-ink mixtures and paper white, on `steps` + 1 levels.
std::vector<PixelSet> PurePixels(int32_t steps) {
    std::vector<PixelSet> sets;
    PixelSet black{"K only", {}, {0, 1, 2}};
    for (int32_t i = 0; i <= steps; ++i) black.pixels.insert(black.pixels.end(), {0, 0, 0, Level(i, steps)});
    sets.push_back(black);
    for (int ink = 0; ink < 3; ++ink) {
        PixelSet ramp{"one ink", {}, {}};
        for (int c = 0; c < 4; ++c)
            if (c != ink) ramp.emptyInks.push_back(c);
        for (int32_t i = 0; i <= steps; ++i) {
            uint16_t p[4] = {0, 0, 0, 0};
            p[ink] = Level(i, steps);
            ramp.pixels.insert(ramp.pixels.end(), p, p + 4);
        }
        sets.push_back(ramp);
    }
    // Two inks on a coarser lattice: every pair of the three chromatic inks.
    const int pairs[3][3] = {{0, 1, 2}, {0, 2, 1}, {1, 2, 0}};
    for (const auto& pair : pairs) {
        PixelSet mix{"two inks", {}, {pair[2], 3}};
        for (int32_t i = 0; i <= 32; ++i)
            for (int32_t j = 0; j <= 32; ++j) {
                uint16_t p[4] = {0, 0, 0, 0};
                p[pair[0]] = Level(i, 32);
                p[pair[1]] = Level(j, 32);
                mix.pixels.insert(mix.pixels.end(), p, p + 4);
            }
        sets.push_back(mix);
    }
    sets.push_back(PixelSet{"paper", {0, 0, 0, 0}, {0, 1, 2, 3}});
    return sets;
}

class ExceptionPurityTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        Spec f39("FOGRA39L.icc"), f29("FOGRA29L.icc");
        TKFileSpec* specs[2] = {f39.spec, f29.spec};
        const int32_t intents[2] = {1, 1};
        ASSERT_EQ(TKConcatICCProfiles(&sChain, 2, specs, intents), 0);
        sPure = TKNewExceptionTrafoRef(sChain, kPureMode, 1.0, "");
        ASSERT_NE(sPure, nullptr);
    }
    static void TearDownTestSuite() {
        TKFreeTKTrafoRef(sPure);
        TKFreeTKTrafoRef(sChain);
        sPure = sChain = nullptr;
    }
    // Lazy links compute only the nodes the pixels reach: the test stays fast at 33 points.
    void SetUp() override { TKGlobalData::SetInt(TKLinkGenericTrafo::kLinkDefaultOptionsKey, 1); }
    void TearDown() override { TKGlobalData::SetInt(TKLinkGenericTrafo::kLinkDefaultOptionsKey, 0); }

    static TKTrafoRef sChain;
    static TKTrafoRef sPure;
};
TKTrafoRef ExceptionPurityTest::sChain = nullptr;
TKTrafoRef ExceptionPurityTest::sPure = nullptr;

void ExpectEmpty(const PixelSet& set, const std::vector<uint16_t>& out, int shift, const std::string& path) {
    for (size_t p = 0; p < set.pixels.size() / 4; ++p)
        for (int c : set.emptyInks)
            ASSERT_EQ(out[p * 4 + size_t(c)], 0) << path << ": " << set.what << " pixel " << p << " ("
                                                  << (set.pixels[p * 4] >> shift) << " " << (set.pixels[p * 4 + 1] >> shift)
                                                  << " " << (set.pixels[p * 4 + 2] >> shift) << " "
                                                  << (set.pixels[p * 4 + 3] >> shift) << ") channel " << c;
}

}  // namespace

TEST_F(ExceptionPurityTest, DoubleTrafoKeepsPureColoursPure) {
    for (const PixelSet& set : PurePixels(255)) {
        std::vector<uint16_t> out(set.pixels.size());
        for (size_t p = 0; p < set.pixels.size() / 4; ++p) {
            double in[4], result[4];
            for (int c = 0; c < 4; ++c) in[c] = set.pixels[p * 4 + size_t(c)] * (100.0 / 65535.0);
            ASSERT_EQ(TKDoTrafo(sPure, in, result), 0);
            for (int c = 0; c < 4; ++c) out[p * 4 + size_t(c)] = result[c] == 0.0 ? 0 : 1;
        }
        ExpectEmpty(set, out, 8, "vectors");
    }
    // Without the exceptions the same chain makes four-colour black of black text.
    double k50[4] = {0, 0, 0, 50}, plain[4];
    ASSERT_EQ(TKDoTrafo(sChain, k50, plain), 0);
    EXPECT_GT(plain[0] + plain[1] + plain[2], 1.0);
}

TEST_F(ExceptionPurityTest, BakedLinksKeepPureColoursPureInEveryPixelPath) {
    for (int32_t gridBits : {0, 4, 5}) {
        TKLinkRef link = TKNewTKLink16Ref();
        ASSERT_EQ(TKColorTrafo2Link16(link, sPure, gridBits), 0);
        const std::string grid = "grid bits " + std::to_string(gridBits);
        // 8 bits: all 256 levels of every ramp, interleaved.
        for (const PixelSet& set : PurePixels(255)) {
            const size_t n = set.pixels.size();
            std::vector<uint8_t> in8(n), out8(n);
            for (size_t i = 0; i < n; ++i) in8[i] = uint8_t(set.pixels[i] >> 8);
            ASSERT_EQ(TKLink8Match(link, int32_t(n / 4), in8.data(), out8.data(), 0, 0, nullptr, nullptr), 0);
            ExpectEmpty(set, std::vector<uint16_t>(out8.begin(), out8.end()), 8, "8-bit, " + grid);
        }
        // 16 bits: 4096 evenly spaced levels, interleaved and in planes.
        for (const PixelSet& set : PurePixels(4095)) {
            const size_t n = set.pixels.size(), count = n / 4;
            std::vector<uint16_t> out(n);
            ASSERT_EQ(TKLink16Match(link, int32_t(count), set.pixels.data(), out.data(), 0, 0, nullptr, nullptr), 0);
            ExpectEmpty(set, out, 0, "16-bit, " + grid);
            std::vector<uint16_t> planes(n), outPlanes(n);
            const void* srcPlanes[4];
            void* dstPlanes[4];
            for (size_t c = 0; c < 4; ++c) {
                for (size_t p = 0; p < count; ++p) planes[c * count + p] = set.pixels[p * 4 + c];
                srcPlanes[c] = planes.data() + c * count;
                dstPlanes[c] = outPlanes.data() + c * count;
            }
            ASSERT_EQ(TKLink16MatchPlanes(link, int32_t(count), srcPlanes, dstPlanes, 1, 1, nullptr, nullptr), 0);
            for (size_t p = 0; p < count; ++p)
                for (size_t c = 0; c < 4; ++c) out[p * 4 + c] = outPlanes[c * count + p];
            ExpectEmpty(set, out, 0, "16-bit planes, " + grid);
        }
        // The pure black keeps its tone: K 50 % stays a visible black.
        const uint8_t k50[4] = {0, 0, 0, 128};
        uint8_t out[4];
        ASSERT_EQ(TKLink8Match(link, 1, k50, out, 0, 0, nullptr, nullptr), 0);
        EXPECT_NEAR(out[3], 128, 40) << grid;
        TKFreeTKLink16Ref(link);
    }
    // The same link without the exceptions prints black text with all four inks.
    TKLinkRef plain = TKNewTKLink16Ref();
    ASSERT_EQ(TKColorTrafo2Link16(plain, sChain, 0), 0);
    const uint8_t k50[4] = {0, 0, 0, 128};
    uint8_t out[4];
    ASSERT_EQ(TKLink8Match(plain, 1, k50, out, 0, 0, nullptr, nullptr), 0);
    EXPECT_GT(out[0] + out[1] + out[2], 3);
    TKFreeTKLink16Ref(plain);
}
