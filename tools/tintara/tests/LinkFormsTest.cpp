// The host's two link forms, its manners and its default grid: ICC device links written by
// `tintara link` against Little CMS 2 applying them, `-l` reading either form, `info` on links,
// and the one-line failures on damaged or misplaced links.
#include <lcms2.h>

#include <random>
#include <sstream>

#include "HostFixture.h"

// Every case needs profile chains.
#if TINTARA_HOST_PROFILES
namespace {

// How far Little CMS, applying the ICC form of a link as written (no optimisation of its own),
// lands from our kernels applying the link file, on random pixels of `bits` per sample.
struct PeerDifference {
    double mean = 0, withinOneCode = 0;  // in 8-bit codes; the share of samples within one code
    int largest = 0;                     // in codes of `bits`
};

PeerDifference CompareWithLittleCms(const std::string& lnk, const std::string& icc, int bits, int count) {
    LoadedLink ours(lnk);
    const int32_t in = TKGetTrafoSrcDim(ours.ref), out = TKGetTrafoDstDim(ours.ref);
    cmsHPROFILE profile = cmsOpenProfileFromFile(icc.c_str(), "r");
    EXPECT_NE(profile, nullptr) << icc;
    if (!profile) return {};
    auto format = [&](int32_t channels, cmsColorSpaceSignature space) {
        return COLORSPACE_SH(_cmsLCMScolorSpace(space)) | CHANNELS_SH(channels) | BYTES_SH(bits / 8);
    };
    cmsHTRANSFORM peer = cmsCreateTransform(profile, format(in, cmsGetColorSpace(profile)), nullptr,
                                            format(out, cmsGetPCS(profile)), INTENT_PERCEPTUAL, cmsFLAGS_NOOPTIMIZE);
    cmsCloseProfile(profile);
    EXPECT_NE(peer, nullptr);
    if (!peer) return {};
    std::mt19937 random(7);
    std::uniform_int_distribution<int> sample(0, (1 << bits) - 1);
    const size_t samples = size_t(count) * size_t(out), width = size_t(bits / 8);
    std::vector<uint8_t> src(size_t(count) * size_t(in) * width), mine(samples * width), theirs(mine.size());
    auto at = [&](const std::vector<uint8_t>& v, size_t i) {
        uint16_t word = v[i];
        if (bits == 16) std::memcpy(&word, &v[2 * i], 2);
        return int(word);
    };
    for (size_t i = 0; i < src.size() / width; ++i) {
        const uint16_t value = uint16_t(sample(random));
        std::memcpy(&src[i * width], &value, width);  // little-endian: the low byte is the 8-bit sample
    }
    const auto match = bits == 8 ? TKLink8Match : TKLink16Match;
    EXPECT_EQ(match(ours.ref, count, src.data(), mine.data(), 0, 0, nullptr, nullptr), 0);
    cmsDoTransform(peer, src.data(), theirs.data(), cmsUInt32Number(count));
    cmsDeleteTransform(peer);
    PeerDifference d;
    const double perCode = bits == 8 ? 1.0 : 257.0;
    for (size_t i = 0; i < samples; ++i) {
        const int difference = std::abs(at(mine, i) - at(theirs, i));
        d.largest = std::max(d.largest, difference);
        d.mean += difference / perCode / double(samples);
        d.withinOneCode += difference <= perCode ? 1.0 / double(samples) : 0.0;
    }
    return d;
}

std::string Chain(const std::string& from, const std::string& to) {
    return "-i relative -p '" + kData + "/" + from + "' -p '" + kData + "/" + to + "'";
}

TEST_F(Host, IccDeviceLinksAgreeWithLittleCms) {
    // The ICC table holds the link's own curves and nodes; Little CMS interpolates between the
    // nodes its own way. Three channels: both split cells into the same tetrahedra, so one code.
    // Four: Little CMS runs linearly along the first channel and ours along the fourth, which in
    // the steep black-generation cells of FOGRA29 costs several codes at a few per cent of the
    // pixels (measured on 20000 random pixels: mean 0.33 codes, 92 % within one code).
    struct Case {
        const char* from;
        const char* to;
        double mean, withinOne;
        int largest8, largest16;
    } const cases[] = {{"sRGB.icc", "FOGRA39L.icc", 0.05, 0.99, 1, 257},
                       {"FOGRA39L.icc", "FOGRA29L.icc", 0.45, 0.9, 20, 20 * 257}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.from);
        ASSERT_EQ(Run("link " + Chain(c.from, c.to) + " -o '" + Path("a.lnk") + "'").code, 0);
        const Result r = Run("link " + Chain(c.from, c.to) + " -o '" + Path("a.icc") + "'");
        ASSERT_EQ(r.code, 0) << r.err;
        for (int bits : {8, 16}) {
            const PeerDifference d = CompareWithLittleCms(Path("a.lnk"), Path("a.icc"), bits, 20000);
            EXPECT_LE(d.mean, c.mean) << bits;
            EXPECT_GE(d.withinOneCode, c.withinOne) << bits;
            EXPECT_LE(d.largest, bits == 8 ? c.largest8 : c.largest16) << bits;
        }

        // -l takes the ICC form too, and gives what the link file gives.
        const Result fromIcc = Run("convert -l '" + Path("a.icc") + "' 20 40 60 10 80 5 5 90 0 0 0 0");
        const Result fromLnk = Run("convert -l '" + Path("a.lnk") + "' 20 40 60 10 80 5 5 90 0 0 0 0");
        ASSERT_EQ(fromIcc.code, 0) << fromIcc.err;
        ASSERT_EQ(fromLnk.code, 0) << fromLnk.err;
        std::istringstream a(fromIcc.out), b(fromLnk.out);
        double x, y;
        while (b >> y) {
            ASSERT_TRUE(a >> x);
            EXPECT_NEAR(x, y, 0.2);  // percent or RGB units: the same table baked again on its own grid
        }
    }
}

// ICC gray is a device value with 0 for black; the engine's gray is ink. A gray ICC device link
// must read the same way in Little CMS as the chain does in ours: white stays white, and a gray
// output lands on the device value of the ink ours gives (within one 8-bit code).
TEST_F(Host, GrayIccDeviceLinksKeepTheIccGrayConvention) {
    const std::string gray = "'" + kData + "/../icc/Gray-v2.icc'", srgb = "'" + kData + "/sRGB.icc'";
    ASSERT_EQ(Run("link -i relative -p " + gray + " -p " + srgb + " -o '" + Path("g2rgb.icc") + "'").code, 0);
    ASSERT_EQ(Run("link -i relative -p " + srgb + " -p " + gray + " -o '" + Path("rgb2g.icc") + "'").code, 0);
    auto peer = [&](const std::string& file, cmsUInt32Number in, cmsUInt32Number out) {
        cmsHPROFILE link = cmsOpenProfileFromFile(Path(file).c_str(), "r");
        EXPECT_NE(link, nullptr);
        cmsHTRANSFORM t = cmsCreateTransform(link, in, nullptr, out, INTENT_PERCEPTUAL, cmsFLAGS_NOOPTIMIZE);
        cmsCloseProfile(link);
        return t;
    };
    cmsHTRANSFORM toRgb = peer("g2rgb.icc", TYPE_GRAY_8, TYPE_RGB_8), toGray = peer("rgb2g.icc", TYPE_RGB_8, TYPE_GRAY_8);
    ASSERT_TRUE(toRgb && toGray);
    for (int device : {255, 191, 64}) {
        const uint8_t in = uint8_t(device);
        uint8_t rgb[3];
        cmsDoTransform(toRgb, &in, rgb, 1);
        const Result ours = Run("convert -i relative -p " + gray + " -p " + srgb + " " + std::to_string(100.0 - device / 2.55));
        std::istringstream values(ours.out);
        for (uint8_t channel : rgb) {
            double expected = 0;
            ASSERT_TRUE(values >> expected) << ours.err;
            EXPECT_NEAR(channel, expected, 1.0) << device;
        }
    }
    const uint8_t rgb[3] = {200, 200, 200};
    uint8_t device = 0;
    cmsDoTransform(toGray, rgb, &device, 1);
    const double ink = std::stod(Run("convert -i relative -p " + srgb + " -p " + gray + " 200 200 200").out);
    EXPECT_NEAR(device, 2.55 * (100.0 - ink), 1.0);
    cmsDeleteTransform(toRgb);
    cmsDeleteTransform(toGray);
}

TEST_F(Host, InfoDescribesBothLinkForms) {
    ASSERT_EQ(Run("link " + Chain("FOGRA39L.icc", "FOGRA29L.icc") + " -b -o '" + Path("a.icc") + "'").code, 0);
    ASSERT_EQ(Run("link " + Chain("FOGRA39L.icc", "FOGRA29L.icc") + " -o '" + Path("a.lnk") + "'").code, 0);
    const Result icc = Run("info '" + Path("a.icc") + "'");
    EXPECT_EQ(icc.code, 0) << icc.err;
    for (const char* part : {"'link' (device link)", "2 profiles", "17 grid points", "black point compensation",
                             "FOGRA39L.icc (relative) -> FOGRA29L.icc"})
        EXPECT_NE(icc.out.find(part), std::string::npos) << part << "\n" << icc.out;
    // The host's default grid for four channels is 17 points, not the library's 11.
    const Result lnk = Run("info '" + Path("a.lnk") + "'");
    EXPECT_EQ(lnk.code, 0) << lnk.err;
    for (const char* part : {"'CMYK' (4) -> 'CMYK' (4)", "17^4 = 83521 nodes", "0..100"})
        EXPECT_NE(lnk.out.find(part), std::string::npos) << part << "\n" << lnk.out;
    // And 33 points for three, where the library's 17 lose more than Little CMS's 33.
    ASSERT_EQ(Run("link " + Chain("sRGB.icc", "FOGRA39L.icc") + " -o '" + Path("rgb.lnk") + "'").code, 0);
    EXPECT_NE(Run("info '" + Path("rgb.lnk") + "'").out.find("33^3 = 35937 nodes"), std::string::npos);
}

TEST_F(Host, DamagedOrMisplacedLinksFailInOneLine) {
    ASSERT_EQ(Run("link " + Chain("FOGRA39L.icc", "FOGRA29L.icc") + " -g 2 -o '" + Path("a.icc") + "'").code, 0);
    ASSERT_EQ(Run("link " + Chain("FOGRA39L.icc", "FOGRA29L.icc") + " -g 2 -o '" + Path("a.lnk") + "'").code, 0);
    const std::string icc = Slurp(Path("a.icc")), lnk = Slurp(Path("a.lnk"));
    std::ofstream(Path("short.icc"), std::ios::binary) << icc.substr(0, icc.size() / 2);
    std::ofstream(Path("short.lnk"), std::ios::binary) << lnk.substr(0, lnk.size() - 100);
    std::ofstream(Path("half.lnk"), std::ios::binary) << lnk.substr(0, lnk.size() / 2);
    std::string wrongTag = icc;
    wrongTag[132 + 3 * 12 + 8] = '\x7F';  // the A2B0 entry's size runs past the end
    std::ofstream(Path("badtag.icc"), std::ios::binary) << wrongTag;
    std::ofstream(Path("text.lnk")) << "hello";
    struct Case {
        std::string arguments, mentions;
        int code;
    } const cases[] = {
        {"convert -l '" + Path("short.icc") + "' 1 2 3 4", "short.icc", 1},
        {"convert -l '" + Path("short.lnk") + "' 1 2 3 4", "short.lnk", 1},
        {"convert -l '" + Path("text.lnk") + "' 1 2 3 4", "nor an ICC device-link profile", 1},
        {"convert -l '" + kData + "/sRGB.icc' 1 2 3", "class 'mntr', not a device link", 1},
        {"info '" + Path("short.lnk") + "'", "does not end with 'EEGT'", 1},
        {"info '" + Path("half.lnk") + "'", "ends early", 1},
        {"link -l '" + Path("short.icc") + "' -o '" + Path("out.icc") + "'", "short.icc", 1},
        {"convert -q -l '" + Path("a.lnk") + "' 1 2 3 4", "-q does not apply", 2},
        {"convert -b -i saturation -p '" + kData + "/FOGRA39L.icc' --to lab 1 2 3 4", "black point", 2},
        {"convert -i nosuch -p '" + kData + "/FOGRA39L.icc' 1 2 3 4", "unknown rendering intent", 2},
        {"convert -p '" + Path("a.icc") + "' --to lab 1 2 3 4", "does not deliver a connection space", 1},
        {"convert --from xyz -p '" + Path("a.icc") + "' 1 2 3", "does not take colours from a connection", 1},
    };
    for (const Case& c : cases) {
        const Result r = Run(c.arguments);
        EXPECT_EQ(r.code, c.code) << c.arguments << "\n" << r.err;
        EXPECT_NE(r.err.find(c.mentions), std::string::npos) << c.arguments << "\n" << r.err;
        EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
    }
    EXPECT_EQ(Run("info '" + Path("badtag.icc") + "'").code, 1);
    EXPECT_EQ(Run("info -q '" + Path("a.icc") + "'").out, "");
    for (const std::string& name : Files()) EXPECT_EQ(name.find("out.icc"), std::string::npos) << name;
}

TEST_F(Host, BlackPointCompensationAndIntentNames) {
    const std::string values = " 0 0 0 100 30 20 20 95";
    const std::string plain = Run("convert " + Chain("FOGRA39L.icc", "FOGRA29L.icc") + values).out;
    const std::string bpc = Run("convert -b " + Chain("FOGRA39L.icc", "FOGRA29L.icc") + values).out;
    const std::string named = Run("convert -i relative-bpc -p '" + kData + "/FOGRA39L.icc' -p '" + kData +
                                  "/FOGRA29L.icc'" + values).out;
    const std::string numbered =
        Run("convert -i 10 -p '" + kData + "/FOGRA39L.icc' -p '" + kData + "/FOGRA29L.icc'" + values).out;
    EXPECT_FALSE(bpc.empty());
    EXPECT_NE(plain, bpc);
    EXPECT_EQ(bpc, named);
    EXPECT_EQ(bpc, numbered);
    const Result version = Run("--version");
    EXPECT_EQ(version.code, 0);
    EXPECT_EQ(version.out.rfind("tintara ", 0), 0u) << version.out;
}

TEST_F(Host, MergeLinkFilesApplyLikeTheirProfiles) {
    const std::string merge =
        " -m '" + Link("press.icc") + "' -m '" + Link("orange.icc") + "' -m '" + Link("green.icc") + "' ";
    const Result saved = Run("link" + merge + "-o '" + Path("spots.tml") + "'");
    ASSERT_EQ(saved.code, 0) << saved.err;
    const Result info = Run("info '" + Path("spots.tml") + "'");
    EXPECT_EQ(info.code, 0) << info.err;
    EXPECT_NE(info.out.find("3 members"), std::string::npos) << info.out;
    EXPECT_NE(info.out.find("'5CLR' -> 'CMYK', grid 9"), std::string::npos) << info.out;

    ASSERT_EQ(Run("testimage -b 8 -s 64x48 '" + Path("in.tif") + "'").code, 0);
    ASSERT_EQ(Run("apply -l '" + Link("rgb-to-6.lnk") + "' '" + Path("in.tif") + "' '" + Path("six.tif") + "'").code, 0);
    // The members' tables have 9 points, which the file keeps; the direct build is asked for them.
    ASSERT_EQ(Run("apply -g 3" + merge + "'" + Path("six.tif") + "' '" + Path("direct.tif") + "'").code, 0);
    const Result applied = Run("apply -l '" + Path("spots.tml") + "' '" + Path("six.tif") + "' '" + Path("saved.tif") + "'");
    ASSERT_EQ(applied.code, 0) << applied.err;
    // Each member's table went through a bake and an ICC table of the same grid: one code at most.
    const host::Image direct = host::ReadImage(Path("direct.tif")), fromFile = host::ReadImage(Path("saved.tif"));
    ASSERT_EQ(direct.samples, fromFile.samples);
    uint32_t largest = 0;
    for (uint32_t y = 0; y < direct.height; ++y)
        for (uint32_t x = 0; x < direct.width; ++x)
            for (uint16_t s = 0; s < 4; ++s) {
                const uint32_t a = Sample(direct, x, y, s), b = Sample(fromFile, x, y, s);
                largest = std::max(largest, a > b ? a - b : b - a);
            }
    EXPECT_LE(largest, 1u);

    const std::string bytes = Slurp(Path("spots.tml"));
    std::ofstream(Path("cut.tml"), std::ios::binary) << bytes.substr(0, bytes.size() / 2);
    const Result cut = Run("apply -l '" + Path("cut.tml") + "' '" + Path("six.tif") + "' '" + Path("cut.tif") + "'");
    EXPECT_EQ(cut.code, 1);
    EXPECT_NE(cut.err.find("member 2 runs past the end"), std::string::npos) << cut.err;
    EXPECT_EQ(Run("link -l '" + Path("spots.tml") + "' -o '" + Path("again.lnk") + "'").code, 2);
    for (const std::string& name : Files()) EXPECT_EQ(name.find("cut.tif"), std::string::npos) << name;
}

}  // namespace
#endif
