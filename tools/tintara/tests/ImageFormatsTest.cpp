// End-to-end tests of what apply reads and writes: the conventions of the files at the boundary
// and the profiles they carry, held against Little CMS's tificc on the same files where a peer
// exists (liblcms2-utils, installed by scripts/install-deps.sh).
#include "HostFixture.h"

namespace {

const std::string kIcc = kData + "/../icc";

// Mean and largest difference in codes over the colour channels of two rasters of one shape.
struct Difference {
    double mean = 0, largest = 0;
};

Difference Compare(const host::Image& a, const host::Image& b) {
    EXPECT_EQ(a.width, b.width);
    EXPECT_EQ(a.height, b.height);
    EXPECT_EQ(a.ColourChannels(), b.ColourChannels());
    Difference d;
    if (a.width != b.width || a.height != b.height || a.ColourChannels() != b.ColourChannels()) return d;
    double sum = 0;
    for (uint32_t y = 0; y < a.height; ++y)
        for (uint32_t x = 0; x < a.width; ++x)
            for (uint16_t s = 0; s < a.ColourChannels(); ++s) {
                const double diff = std::fabs(double(Sample(a, x, y, s)) - double(Sample(b, x, y, s)));
                sum += diff;
                d.largest = std::max(d.largest, diff);
            }
    d.mean = sum / (double(a.width) * a.height * a.ColourChannels());
    return d;
}

class Formats : public Host {
protected:
    // Runs a peer tool with its banner and messages out of the way; true when it succeeded.
    bool Peer(const std::string& command) const {
        return std::system((command + " >/dev/null 2>&1").c_str()) == 0;
    }
    // An apply that must succeed.
    void Apply(const std::string& arguments) const {
        const Result r = Run("apply " + arguments);
        ASSERT_EQ(r.code, 0) << r.err;
    }
};

TEST_F(Formats, GrayKeepsItsConventionBothWays) {
    ASSERT_EQ(Run("testimage --space gray -s 128x96 '" + Path("gray.tif") + "'").code, 0);
    const std::string gray = "'" + kIcc + "/Gray-v2.icc'", srgb = "'" + kData + "/sRGB.icc'";
    Apply("-i relative -p " + gray + " -p " + srgb + " '" + Path("gray.tif") + "' '" + Path("rgb.tif") + "'");
    ASSERT_TRUE(Peer("tificc -t1 -i" + gray + " -o" + srgb + " '" + Path("gray.tif") + "' '" + Path("peer.tif") + "'"));
    const host::Image rgb = host::ReadTiff(Path("rgb.tif"));
    // White stays white: the first ramp's right end is 255 in the source.
    EXPECT_EQ(Sample(rgb, 127, 0, 0), 255u);
    // Linear gray into sRGB: the library's 65-point grid against Little CMS's 1-D curves; the
    // steep sRGB toe costs a few codes in the darkest steps (measured: mean 0.33, max 8).
    const Difference d = Compare(rgb, host::ReadTiff(Path("peer.tif")));
    EXPECT_LE(d.mean, 0.5);
    EXPECT_LE(d.largest, 8.0);

    // The same pixels stored white-is-zero convert to the same result, and a gray result keeps
    // the source's convention.
    host::Image white = host::ReadTiff(Path("gray.tif"));
    for (auto& plane : white.planes)
        for (auto& byte : plane) byte = uint8_t(255 - byte);
    white.photometric = PHOTOMETRIC_MINISWHITE;
    host::WriteTiff(Path("white.tif"), white, "white.tif");
    Apply("-i relative -p " + gray + " -p " + srgb + " '" + Path("white.tif") + "' '" + Path("rgb2.tif") + "'");
    EXPECT_TRUE(host::ReadTiff(Path("rgb2.tif")).planes == rgb.planes);

    // Back from RGB to gray: black zero by default, as the peer writes it.
    Apply("-i relative -p " + srgb + " -p " + gray + " '" + Path("rgb.tif") + "' '" + Path("back.tif") + "'");
    ASSERT_TRUE(Peer("tificc -t1 -i" + srgb + " -o" + gray + " '" + Path("rgb.tif") + "' '" + Path("peerback.tif") + "'"));
    const host::Image back = host::ReadTiff(Path("back.tif"));
    EXPECT_EQ(back.photometric, PHOTOMETRIC_MINISBLACK);
    const Difference round = Compare(back, host::ReadTiff(Path("peerback.tif")));
    EXPECT_LE(round.mean, 0.5);
    EXPECT_LE(round.largest, 2.0);
}

TEST_F(Formats, TheEmbeddedProfileIsTheSource) {
    const std::string adobe = kIcc + "/AdobeCompat-v2.icc", fogra = kData + "/FOGRA39L.icc";
    ASSERT_EQ(Run("testimage -s 96x72 -e '" + adobe + "' '" + Path("in.tif") + "'").code, 0);
    Apply("-i relative -p '" + fogra + "' '" + Path("in.tif") + "' '" + Path("emb.tif") + "'");
    Apply("-i relative --no-embedded -p '" + adobe + "' -p '" + fogra + "' '" + Path("in.tif") + "' '" + Path("named.tif") + "'");
    // Giving the embedded profile again as the first one changes nothing.
    Apply("-i relative -p '" + adobe + "' -p '" + fogra + "' '" + Path("in.tif") + "' '" + Path("again.tif") + "'");
    const host::Image emb = host::ReadTiff(Path("emb.tif"));
    EXPECT_TRUE(emb.planes == host::ReadTiff(Path("named.tif")).planes);
    EXPECT_TRUE(emb.planes == host::ReadTiff(Path("again.tif")).planes);
    EXPECT_TRUE(emb.iccProfile == host::ReadFileBytes(fogra));
    // tificc takes the embedded profile too. RGB into a CMYK table of 33 points against our
    // 17-point link: a few codes where the separation bends (measured: mean 0.49, max 23).
    ASSERT_TRUE(Peer("tificc -t1 -o'" + fogra + "' '" + Path("in.tif") + "' '" + Path("peer.tif") + "'"));
    const Difference d = Compare(emb, host::ReadTiff(Path("peer.tif")));
    EXPECT_LE(d.mean, 0.6);
    EXPECT_LE(d.largest, 24.0);
    // Ignoring it makes the first -p the source: sRGB gives other pixels.
    Apply("-i relative --no-embedded -p '" + kData + "/sRGB.icc' -p '" + fogra + "' '" + Path("in.tif") + "' '" + Path("srgb.tif") + "'");
    EXPECT_FALSE(host::ReadTiff(Path("srgb.tif")).planes == emb.planes);
}

TEST_F(Formats, EmbeddedProfilesThatCannotServeAreNamed) {
    const std::string fogra = kData + "/FOGRA39L.icc";
    const std::vector<uint8_t> srgb = host::ReadFileBytes(kData + "/sRGB.icc");
    std::ofstream(Path("short.icc"), std::ios::binary).write(reinterpret_cast<const char*>(srgb.data()), 300);
    struct Case {
        const char* embed;
        const char* says;
    } const cases[] = {{"short.icc", "is broken"}, {"FOGRA39L.icc", "does not fit the 3 colour channels"},
                       {"link.icc", "not one of the image's colours"}};
    std::system(("cp '" + fogra + "' '" + Path("FOGRA39L.icc") + "' && cp '" + kIcc +
                 "/FOGRA39-to-FOGRA29-link-v2.icc' '" + Path("link.icc") + "'").c_str());
    for (const Case& c : cases) {
        SCOPED_TRACE(c.embed);
        ASSERT_EQ(Run(std::string("testimage -s 20x10 -e '") + Path(c.embed) + "' '" + Path("in.tif") + "'").code, 0);
        const Result r = Run("apply -p '" + kData + "/sRGB.icc' -p '" + fogra + "' '" + Path("in.tif") + "' '" + Path("out.tif") + "'");
        EXPECT_EQ(r.code, 1);
        EXPECT_NE(r.err.find("the profile embedded in"), std::string::npos) << r.err;
        EXPECT_NE(r.err.find(c.says), std::string::npos) << r.err;
        EXPECT_NE(r.err.find("--no-embedded"), std::string::npos) << r.err;
        EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1);
        struct stat info {};
        EXPECT_NE(stat(Path("out.tif").c_str(), &info), 0);
        // The way around it works.
        EXPECT_EQ(Run("apply --no-embedded -p '" + kData + "/sRGB.icc' -p '" + fogra + "' '" + Path("in.tif") + "' '" +
                      Path("out.tif") + "'").code, 0);
        std::remove(Path("out.tif").c_str());
    }
}

TEST_F(Formats, ADeviceLinkIsNeverEmbedded) {
    const std::string link = kIcc + "/FOGRA39-to-FOGRA29-link-v2.icc";
    ASSERT_EQ(Run("testimage --space cmyk -s 40x30 '" + Path("in.tif") + "'").code, 0);
    Apply("-p '" + link + "' '" + Path("in.tif") + "' '" + Path("out.tif") + "'");
    const host::Image out = host::ReadTiff(Path("out.tif"));
    EXPECT_EQ(out.ColourChannels(), 4);
    EXPECT_TRUE(out.iccProfile.empty());
    const Result r = Run("apply -p '" + link + "' -e '" + link + "' '" + Path("in.tif") + "' '" + Path("out2.tif") + "'");
    EXPECT_EQ(r.code, 1);
    EXPECT_NE(r.err.find("cannot embed"), std::string::npos) << r.err;
    // A profile of other colours than the result's is refused as well.
    EXPECT_EQ(Run("apply -p '" + link + "' -e '" + kData + "/sRGB.icc' '" + Path("in.tif") + "' '" + Path("out2.tif") + "'").code, 1);
}

}  // namespace
