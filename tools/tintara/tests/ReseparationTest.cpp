// Black generation in the host: the re-separating link keeps colour and saves ink, the
// keep-black link keeps black, separations by name from the command line, and the refusals.
// Colour is measured with Little CMS 2 (its own FOGRA39L transform and CIEDE2000), so nothing
// of our engine judges its own result.
#include <lcms2.h>

#include <random>
#include <sstream>

#include "HostFixture.h"

#if TINTARA_HOST_PROFILES
namespace {

const std::string kFogra = "'" + kData + "/FOGRA39L.icc'";

// Photo-like CMYK as an old separation with a skeleton black makes it: mostly grayish colours
// (a random gray with tints of up to 12 % per ink), the gray carried by CMY and black only in
// the shadows. Ink for a re-separation to save.
std::vector<uint16_t> PhotoLikeCmyk(int count) {
    std::mt19937 random(11);
    std::uniform_real_distribution<double> gray(0.0, 90.0), tint(-12.0, 12.0);
    std::vector<uint16_t> cmyk;
    for (int i = 0; i < count; ++i) {
        const double level = gray(random);
        for (int c = 0; c < 3; ++c) cmyk.push_back(uint16_t(std::lround(std::clamp(level + tint(random), 0.0, 100.0) * 655.35)));
        cmyk.push_back(uint16_t(std::lround(std::max(0.0, level - 60.0) * 0.6 * 655.35)));
    }
    return cmyk;
}

// Lab of CMYK colours (0-65535) through a profile relative colorimetric, by Little CMS.
std::vector<cmsCIELab> LabOf(const std::vector<uint16_t>& cmyk, const std::string& profile) {
    cmsHPROFILE fogra = cmsOpenProfileFromFile((kData + "/" + profile).c_str(), "r");
    cmsHPROFILE lab = cmsCreateLab4Profile(nullptr);
    cmsHTRANSFORM toLab = cmsCreateTransform(fogra, TYPE_CMYK_16, lab, TYPE_Lab_DBL, INTENT_RELATIVE_COLORIMETRIC,
                                             cmsFLAGS_NOOPTIMIZE);
    std::vector<cmsCIELab> result(cmyk.size() / 4);
    cmsDoTransform(toLab, cmyk.data(), result.data(), cmsUInt32Number(result.size()));
    cmsDeleteTransform(toLab);
    cmsCloseProfile(lab);
    cmsCloseProfile(fogra);
    return result;
}

struct Saving {
    double meanDelta = 0, p95Delta = 0;  // CIEDE2000 between the renderings
    double inkBefore = 0, inkAfter = 0;  // mean total ink, percent
    double largestKChange = 0;           // percent
};

// The colours through a device link (`deviceLink` not empty) as Little CMS applies it, or
// through Little CMS's own relative colorimetric conversion from `source` to `destination`,
// against the colours as they came.
Saving Compare(const std::string& deviceLink, const std::vector<uint16_t>& cmyk, const std::string& source,
               const std::string& destination) {
    cmsHPROFILE first = cmsOpenProfileFromFile((deviceLink.empty() ? kData + "/" + source : deviceLink).c_str(), "r");
    cmsHPROFILE second = deviceLink.empty() ? cmsOpenProfileFromFile((kData + "/" + destination).c_str(), "r") : nullptr;
    EXPECT_NE(first, nullptr);
    cmsHTRANSFORM through =
        cmsCreateTransform(first, TYPE_CMYK_16, second, TYPE_CMYK_16, INTENT_RELATIVE_COLORIMETRIC, 0);
    std::vector<uint16_t> result(cmyk.size());
    cmsDoTransform(through, cmyk.data(), result.data(), cmsUInt32Number(cmyk.size() / 4));
    cmsDeleteTransform(through);
    cmsCloseProfile(first);
    if (second) cmsCloseProfile(second);
    const std::vector<cmsCIELab> before = LabOf(cmyk, source), after = LabOf(result, destination);
    Saving s;
    std::vector<double> deltas;
    const double n = double(before.size());
    for (size_t i = 0; i < before.size(); ++i) {
        deltas.push_back(cmsCIE2000DeltaE(&before[i], &after[i], 1, 1, 1));
        s.meanDelta += deltas.back() / n;
        for (int c = 0; c < 4; ++c) {
            s.inkBefore += cmyk[i * 4 + size_t(c)] / 655.35 / n;
            s.inkAfter += result[i * 4 + size_t(c)] / 655.35 / n;
        }
        s.largestKChange = std::max(s.largestKChange, std::fabs(double(cmyk[i * 4 + 3]) - result[i * 4 + 3]) / 655.35);
    }
    std::sort(deltas.begin(), deltas.end());
    s.p95Delta = deltas[size_t(0.95 * double(deltas.size() - 1))];
    return s;
}

std::vector<double> Numbers(const std::string& text) {
    std::istringstream in(text);
    std::vector<double> values;
    for (double v; in >> v;) values.push_back(v);
    return values;
}

}  // namespace

TEST_F(Host, ReseparatedLinksKeepColourAndChooseTheBlack) {
    // Measured on these 2000 colours, 9 grid points, CIEDE2000 mean / p95, mean total ink:
    //   MaxK,0,100,300 FOGRA39L -> itself: 0.54 / 1.16, 136 % -> 84 %; Little CMS's relative
    //     conversion through the profile's own tables: 0.64 / 2.76, 136 % -> 97 %.
    //   KeepK FOGRA29L -> FOGRA39L: 0.27 / 1.14, black unchanged; Little CMS: 0.62 / 2.75.
    // The nodes themselves keep their colour to 0.12 on the mean (the link's report); the rest
    // is interpolation between the nodes of a steeper black. The limits leave a margin of about
    // a third; the peer's conversion keeps colour less well and sets black by its own table.
    const std::vector<uint16_t> photo = PhotoLikeCmyk(2000);
    struct Case {
        const char *black, *source, *destination;
        double mean, p95, inkSaved, largestKChange;
    } const cases[] = {{"MaxK,0,100,300", "FOGRA39L.icc", "FOGRA39L.icc", 0.7, 1.6, 40.0, 100.0},
                       {"KeepK", "FOGRA29L.icc", "FOGRA39L.icc", 0.4, 1.6, -100.0, 0.05}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.black);
        const Result r = Run("link --reseparate " + std::string(c.black) + " -i relative -p '" + kData + "/" + c.source +
                             "' -p '" + kData + "/" + c.destination + "' -g 3 -o '" + Path("r.icc") + "'");
        ASSERT_EQ(r.code, 0) << r.err;
        EXPECT_NE(r.out.find("re-separated with black"), std::string::npos) << r.out;
        const Saving s = Compare(Path("r.icc"), photo, c.source, c.destination);
        EXPECT_LE(s.meanDelta, c.mean);
        EXPECT_LE(s.p95Delta, c.p95);
        EXPECT_GE(s.inkBefore - s.inkAfter, c.inkSaved) << s.inkBefore << " -> " << s.inkAfter;
        EXPECT_LE(s.largestKChange, c.largestKChange);
        const Saving peer = Compare("", photo, c.source, c.destination);
        EXPECT_LT(s.meanDelta, peer.meanDelta);
        EXPECT_LT(s.p95Delta, peer.p95Delta);
    }
}

TEST_F(Host, SeparationsByNameConvertValues) {
    // A CMY gray on the engine's ink model: from MaxK (all of it in black, no CMY left) over the
    // GCR curves to MinK and NoK (none in black), black falls and CMY rises.
    std::vector<double> last{0, 0, 0, 101};
    for (const char* name : {"MaxK", "GCRMax", "GCR2", "GCR", "UCR", "MinK", "NoK"}) {
        const std::vector<double> ink = Numbers(Run("convert --separation " + std::string(name) + " 60 60 60").out);
        ASSERT_EQ(ink.size(), 4u) << name;
        EXPECT_LE(ink[3], last[3]) << name;
        EXPECT_GE(ink[0], last[0]) << name;
        EXPECT_TRUE(ink[0] == ink[1] && ink[1] == ink[2]) << name;
        last = ink;
    }
    EXPECT_EQ(Numbers(Run("convert --separation MaxK 60 60 60").out)[0], 0.0);
    EXPECT_EQ(last, (std::vector<double>{60, 60, 60, 0}));

    // Lab into FOGRA39L ink with the most black: Little CMS prints it back to the Lab asked for.
    const Result r = Run("convert --separation MaxK -p " + kFogra + " --from lab 50 0 0 62 -20 -30");
    ASSERT_EQ(r.code, 0) << r.err;
    const std::vector<double> ink = Numbers(r.out);
    ASSERT_EQ(ink.size(), 8u);
    std::vector<uint16_t> words;
    for (double v : ink) words.push_back(uint16_t(std::lround(v * 655.35)));
    const std::vector<cmsCIELab> lab = LabOf(words, "FOGRA39L.icc");
    const cmsCIELab asked[] = {{50, 0, 0}, {62, -20, -30}};
    for (int i = 0; i < 2; ++i) EXPECT_LT(cmsCIE2000DeltaE(&lab[size_t(i)], &asked[i], 1, 1, 1), 0.5) << i;
    EXPECT_GT(ink[3], 60.0);  // the gray is printed almost by black alone
}

TEST_F(Host, BadBlackGenerationsFailInOneLine) {
    struct Case {
        std::string arguments, mentions;
        int code;
    } const cases[] = {
        {"link --reseparate Foo -p " + kFogra + " -o '" + Path("x.icc") + "'", "unknown black generation 'Foo'", 2},
        {"link --reseparate MaxK,0,100,50 -p " + kFogra + " -o '" + Path("x.icc") + "'", "total ink", 2},
        {"link --reseparate GCR,x -p " + kFogra + " -o '" + Path("x.icc") + "'", "not 'x'", 2},
        {"link --reseparate MaxK -o '" + Path("x.icc") + "'", "needs the CMYK profile", 2},
        {"link --reseparate MaxK -i perceptual-bpc -p " + kFogra + " -o '" + Path("x.icc") + "'", "colorimetrically", 2},
        {"link --reseparate MaxK -p '" + kData + "/sRGB.icc' -o '" + Path("x.icc") + "'", "no CMYK printer profile", 1},
        {"convert --separation KeepK 10 20 30", "CMY values have none", 2},
        {"convert --separation MaxK -l '" + Path("x.lnk") + "' 1 2 3 4", "not from a saved link", 2},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.arguments);
        const Result r = Run(c.arguments);
        EXPECT_EQ(r.code, c.code) << r.err;
        EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
        EXPECT_NE(r.err.find(c.mentions), std::string::npos) << r.err;
        EXPECT_TRUE(Files().empty());
    }
}
#endif
