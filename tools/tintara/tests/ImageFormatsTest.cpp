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

// A sample as a number: CIELab stores a and b signed.
double Value(const host::Image& image, uint32_t x, uint32_t y, uint16_t s) {
    const uint32_t raw = Sample(image, x, y, s);
    if (image.photometric != PHOTOMETRIC_CIELAB || s == 0) return raw;
    return image.bits == 8 ? double(int8_t(raw)) : double(int16_t(raw));
}

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
                const double diff = std::fabs(Value(a, x, y, s) - Value(b, x, y, s));
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
    const host::Image rgb = host::ReadImage(Path("rgb.tif"));
    // White stays white: the first ramp's right end is 255 in the source.
    EXPECT_EQ(Sample(rgb, 127, 0, 0), 255u);
    // Linear gray into sRGB: the library's 65-point grid against Little CMS's 1-D curves; the
    // steep sRGB toe costs a few codes in the darkest steps (measured: mean 0.33, max 8).
    const Difference d = Compare(rgb, host::ReadImage(Path("peer.tif")));
    EXPECT_LE(d.mean, 0.5);
    EXPECT_LE(d.largest, 8.0);

    // The same pixels stored white-is-zero convert to the same result, and a gray result keeps
    // the source's convention.
    host::Image white = host::ReadImage(Path("gray.tif"));
    for (auto& plane : white.planes)
        for (auto& byte : plane) byte = uint8_t(255 - byte);
    white.photometric = PHOTOMETRIC_MINISWHITE;
    host::WriteTiff(Path("white.tif"), white, "white.tif");
    Apply("-i relative -p " + gray + " -p " + srgb + " '" + Path("white.tif") + "' '" + Path("rgb2.tif") + "'");
    EXPECT_TRUE(host::ReadImage(Path("rgb2.tif")).planes == rgb.planes);

    // Back from RGB to gray: black zero by default, as the peer writes it.
    Apply("-i relative -p " + srgb + " -p " + gray + " '" + Path("rgb.tif") + "' '" + Path("back.tif") + "'");
    ASSERT_TRUE(Peer("tificc -t1 -i" + srgb + " -o" + gray + " '" + Path("rgb.tif") + "' '" + Path("peerback.tif") + "'"));
    const host::Image back = host::ReadImage(Path("back.tif"));
    EXPECT_EQ(back.photometric, PHOTOMETRIC_MINISBLACK);
    const Difference round = Compare(back, host::ReadImage(Path("peerback.tif")));
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
    const host::Image emb = host::ReadImage(Path("emb.tif"));
    EXPECT_TRUE(emb.planes == host::ReadImage(Path("named.tif")).planes);
    EXPECT_TRUE(emb.planes == host::ReadImage(Path("again.tif")).planes);
    EXPECT_TRUE(emb.iccProfile == host::ReadFileBytes(fogra));
    // tificc takes the embedded profile too. RGB into a CMYK table of 33 points against our
    // 17-point link: a few codes where the separation bends (measured: mean 0.49, max 23).
    ASSERT_TRUE(Peer("tificc -t1 -o'" + fogra + "' '" + Path("in.tif") + "' '" + Path("peer.tif") + "'"));
    const Difference d = Compare(emb, host::ReadImage(Path("peer.tif")));
    EXPECT_LE(d.mean, 0.6);
    EXPECT_LE(d.largest, 24.0);
    // Ignoring it makes the first -p the source: sRGB gives other pixels.
    Apply("-i relative --no-embedded -p '" + kData + "/sRGB.icc' -p '" + fogra + "' '" + Path("in.tif") + "' '" + Path("srgb.tif") + "'");
    EXPECT_FALSE(host::ReadImage(Path("srgb.tif")).planes == emb.planes);
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
    const host::Image out = host::ReadImage(Path("out.tif"));
    EXPECT_EQ(out.ColourChannels(), 4);
    EXPECT_TRUE(out.iccProfile.empty());
    const Result r = Run("apply -p '" + link + "' -e '" + link + "' '" + Path("in.tif") + "' '" + Path("out2.tif") + "'");
    EXPECT_EQ(r.code, 1);
    EXPECT_NE(r.err.find("cannot embed"), std::string::npos) << r.err;
    // A profile of other colours than the result's is refused as well.
    EXPECT_EQ(Run("apply -p '" + link + "' -e '" + kData + "/sRGB.icc' '" + Path("in.tif") + "' '" + Path("out2.tif") + "'").code, 1);
}

TEST_F(Formats, JpegInAndOutAgreesWithJpgicc) {
    const std::string srgb = kData + "/sRGB.icc", fogra = kData + "/FOGRA39L.icc";
    ASSERT_EQ(Run("testimage -n 2 -s 160x120 '" + Path("rgb.tif") + "'").code, 0);
    // A .jpg name gives a JPEG that carries its profile in APP2 markers.
    Apply("-p '" + srgb + "' -p '" + srgb + "' -Q 100 '" + Path("rgb.tif") + "' '" + Path("in.jpg") + "'");
    EXPECT_EQ(Slurp(Path("in.jpg")).substr(0, 3), "\xff\xd8\xff");
    const host::Image in = host::ReadImage(Path("in.jpg"));
    EXPECT_TRUE(in.iccProfile == host::ReadFileBytes(srgb));
    // The embedded sRGB is the source. jpgicc at quality 100 against our exact TIFF: the peer's
    // JPEG coding noise plus the two engines' separations (measured: mean 0.49, max 22).
    Apply("-i relative -p '" + fogra + "' '" + Path("in.jpg") + "' '" + Path("ours.tif") + "'");
    ASSERT_TRUE(Peer("jpgicc -t1 -q100 -i'" + srgb + "' -o'" + fogra + "' '" + Path("in.jpg") + "' '" + Path("peer.jpg") + "'"));
    const host::Image ours = host::ReadImage(Path("ours.tif"));
    const Difference d = Compare(ours, host::ReadImage(Path("peer.jpg")));
    EXPECT_LE(d.mean, 0.6);
    EXPECT_LE(d.largest, 24.0);
    // CMYK JPEGs are written inverted with Adobe's marker and read back the same way: only the
    // coding noise of quality 100 remains (measured: mean 0.3, max 3).
    Apply("-i relative -p '" + fogra + "' -Q 100 '" + Path("in.jpg") + "' '" + Path("cmyk.jpg") + "'");
    const host::Image cmyk = host::ReadImage(Path("cmyk.jpg"));
    EXPECT_EQ(cmyk.ColourChannels(), 4);
    EXPECT_TRUE(cmyk.iccProfile == host::ReadFileBytes(fogra));
    const Difference coding = Compare(cmyk, ours);
    EXPECT_LE(coding.mean, 0.6);
    EXPECT_LE(coding.largest, 4.0);
    // jpgicc reads our CMYK JPEG as we do: its result from it matches ours from the same file.
    const std::string fogra29 = kData + "/FOGRA29L.icc";
    Apply("-i relative -p '" + fogra29 + "' '" + Path("cmyk.jpg") + "' '" + Path("c29.tif") + "'");
    ASSERT_TRUE(Peer("jpgicc -t1 -q100 -i'" + fogra + "' -o'" + fogra29 + "' '" + Path("cmyk.jpg") + "' '" + Path("p29.jpg") + "'"));
    // CMYK to CMYK through the library's 11-point default grid (measured: mean 1.1, max 42).
    const Difference cmyk29 = Compare(host::ReadImage(Path("c29.tif")), host::ReadImage(Path("p29.jpg")));
    EXPECT_LE(cmyk29.mean, 1.5);
    EXPECT_LE(cmyk29.largest, 48.0);
    // A gray JPEG stores light, as PNG does: white paper stays 255.
    Apply("-p '" + srgb + "' -p '" + kIcc + "/Gray-v2.icc' '" + Path("rgb.tif") + "' '" + Path("gray.jpg") + "'");
    const host::Image gray = host::ReadImage(Path("gray.jpg"));
    EXPECT_EQ(gray.ColourChannels(), 1);
    EXPECT_GE(Sample(gray, 159, 0, 0), 253u);
}

TEST_F(Formats, PngInputGivesTheSamePixelsAsTiff) {
    const std::string srgb = kData + "/sRGB.icc", fogra = kData + "/FOGRA39L.icc";
    for (const char* options : {"-b 8", "-b 16 -a"}) {
        SCOPED_TRACE(options);
        ASSERT_EQ(Run(std::string("testimage ") + options + " -s 90x60 -e '" + srgb + "' '" + Path("rgb.tif") + "'").code, 0);
        for (const char* name : {"rgb.png", "rgb2.tif"})
            Apply("-p '" + srgb + "' -p '" + srgb + "' '" + Path("rgb.tif") + "' '" + Path(name) + "'");
        // The PNG carries the profile as iCCP and is the source of the next job.
        Apply("-p '" + fogra + "' '" + Path("rgb.png") + "' '" + Path("from-png.tif") + "'");
        Apply("-p '" + fogra + "' '" + Path("rgb2.tif") + "' '" + Path("from-tif.tif") + "'");
        const host::Image png = host::ReadImage(Path("from-png.tif")), tif = host::ReadImage(Path("from-tif.tif"));
        EXPECT_EQ(png.extra, tif.extra);
        EXPECT_TRUE(png.planes == tif.planes);
    }
}

TEST_F(Formats, LabTiffsGoThroughTheConnectionSpace) {
    const std::string srgb = kData + "/sRGB.icc", fogra = kData + "/FOGRA39L.icc";
    ASSERT_EQ(Run("testimage -n 2 -s 120x90 '" + Path("rgb.tif") + "'").code, 0);
    // Out: our CIELab against tificc's from the same RGB (measured: mean 0.12, max 1).
    Apply("-i relative -p '" + srgb + "' --to lab '" + Path("rgb.tif") + "' '" + Path("lab.tif") + "'");
    ASSERT_TRUE(Peer("tificc -t1 -i'" + srgb + "' -o'*Lab' '" + Path("rgb.tif") + "' '" + Path("peerlab.tif") + "'"));
    const host::Image lab = host::ReadImage(Path("lab.tif"));
    EXPECT_EQ(lab.photometric, PHOTOMETRIC_CIELAB);
    EXPECT_TRUE(lab.iccProfile.empty());
    const Difference out = Compare(lab, host::ReadImage(Path("peerlab.tif")));
    EXPECT_LE(out.mean, 0.3);
    EXPECT_LE(out.largest, 2.0);
    // In: the peer's Lab file into CMYK, against tificc (measured: mean 1.0, max 30).
    Apply("-i relative -p '" + fogra + "' '" + Path("peerlab.tif") + "' '" + Path("cmyk.tif") + "'");
    ASSERT_TRUE(Peer("tificc -t1 -i'*Lab' -o'" + fogra + "' '" + Path("peerlab.tif") + "' '" + Path("peercmyk.tif") + "'"));
    const Difference in = Compare(host::ReadImage(Path("cmyk.tif")), host::ReadImage(Path("peercmyk.tif")));
    EXPECT_LE(in.mean, 1.2);
    EXPECT_LE(in.largest, 32.0);
    // 16 bits, both Lab encodings: RGB to Lab and back to RGB keeps the colours.
    ASSERT_EQ(Run("testimage -b 16 -s 120x90 '" + Path("rgb16.tif") + "'").code, 0);
    Apply("-i relative -p '" + srgb + "' --to lab '" + Path("rgb16.tif") + "' '" + Path("lab16.tif") + "'");
    for (uint16_t photometric : {PHOTOMETRIC_CIELAB, PHOTOMETRIC_ICCLAB}) {
        host::Image lab16 = host::ReadImage(Path("lab16.tif"));
        if (photometric == PHOTOMETRIC_ICCLAB) {
            // Rewritten by hand into ICCLab: a and b from signed /256 to 0..65535 for -128..127.
            for (uint64_t i = 0; i < uint64_t(lab16.width) * lab16.height; ++i)
                for (int c = 1; c < 3; ++c) {
                    int16_t v;
                    std::memcpy(&v, &lab16.planes[0][(i * 3 + c) * 2], 2);
                    const uint16_t icc = uint16_t(std::lround((v / 256.0 + 128.0) * 257.0));
                    std::memcpy(&lab16.planes[0][(i * 3 + c) * 2], &icc, 2);
                }
            lab16.photometric = PHOTOMETRIC_ICCLAB;
            host::WriteTiff(Path("lab16.tif"), lab16, "lab16.tif");
        }
        Apply("-g 5 -i relative -p '" + srgb + "' '" + Path("lab16.tif") + "' '" + Path("back16.tif") + "'");
        // The grid from Lab clips most of its nodes outside sRGB, so saturated colours come
        // back a few codes off even with 33 points (measured for both encodings: mean 2.0, max 37
        // in 8-bit codes);
        // the gray ramp of the first row, where an encoding slip would show first, within one.
        const host::Image back = host::ReadImage(Path("back16.tif")), rgb16 = host::ReadImage(Path("rgb16.tif"));
        const Difference round = Compare(back, rgb16);
        EXPECT_LE(round.mean / 257.0, 2.5);
        double grayRamp = 0;
        for (uint32_t x = 0; x < back.width; ++x)
            for (uint16_t c = 0; c < 3; ++c)
                grayRamp = std::max(grayRamp, std::fabs(double(Sample(back, x, 0, c)) - double(Sample(rgb16, x, 0, c))));
        EXPECT_LE(grayRamp / 257.0, 1.0);
    }
}

TEST_F(Formats, TiledTiffsStayTiled) {
    const std::string srgb = kData + "/sRGB.icc", fogra = kData + "/FOGRA39L.icc";
    ASSERT_EQ(Run("testimage -t 64 -s 200x150 '" + Path("tiled.tif") + "'").code, 0);
    ASSERT_EQ(Run("testimage -s 200x150 '" + Path("strips.tif") + "'").code, 0);
    for (const char* name : {"tiled", "strips"})
        Apply("-p '" + srgb + "' -p '" + fogra + "' '" + Path(std::string(name) + ".tif") + "' '" + Path(std::string(name) + "-out.tif") + "'");
    const host::Image tiled = host::ReadImage(Path("tiled-out.tif"));
    EXPECT_TRUE(tiled.tiled);
    EXPECT_EQ(tiled.tileWidth, 64u);
    EXPECT_TRUE(tiled.planes == host::ReadImage(Path("strips-out.tif")).planes);
    ASSERT_TRUE(Peer("tificc -t0 -i'" + srgb + "' -o'" + fogra + "' '" + Path("tiled.tif") + "' '" + Path("peer.tif") + "'"));
    // RGB into CMYK, perceptual (measured: mean 0.42, max 13).
    const Difference d = Compare(tiled, host::ReadImage(Path("peer.tif")));
    EXPECT_LE(d.mean, 0.6);
    EXPECT_LE(d.largest, 16.0);
}

TEST_F(Formats, OutputsThatCannotCarryTheResultAreRefused) {
    ASSERT_EQ(Run("testimage -s 40x30 '" + Path("rgb.tif") + "'").code, 0);
    ASSERT_EQ(Run("testimage -a -s 40x30 '" + Path("rgba.tif") + "'").code, 0);
    const std::string fogra = " -p '" + kData + "/sRGB.icc' -p '" + kData + "/FOGRA39L.icc' ";
    struct Case {
        std::string arguments, says;
    } const cases[] = {
        {fogra + "'" + Path("rgb.tif") + "' '" + Path("cmyk.png") + "'", "PNG holds gray or RGB"},
        {fogra + "'" + Path("rgba.tif") + "' '" + Path("cmyka.jpg") + "'", "JPEG holds gray, RGB or CMYK without extra"},
        {" -p '" + kData + "/sRGB.icc' --to lab '" + Path("rgb.tif") + "' '" + Path("lab.jpg") + "'", "Lab"},
        {" -p '" + kData + "/sRGB.icc' --to xyz '" + Path("rgb.tif") + "' '" + Path("xyz.tif") + "'", "xyz"},
    };
    const std::vector<std::string> before = Files();
    for (const Case& c : cases) {
        SCOPED_TRACE(c.arguments);
        const Result r = Run("apply" + c.arguments);
        EXPECT_NE(r.code, 0);
        EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
        EXPECT_NE(r.err.find(c.says), std::string::npos) << r.err;
    }
    EXPECT_EQ(Files(), before);
}

TEST_F(Formats, MetadataInkNamesAndSpotExtrasCarryOver) {
    const std::string fogra = kData + "/FOGRA39L.icc", fogra29 = kData + "/FOGRA29L.icc";
    ASSERT_EQ(Run("testimage --space cmyk -s 50x40 -e '" + fogra + "' '" + Path("in.tif") + "'").code, 0);
    host::Image in = host::ReadImage(Path("in.tif"));
    in.description = "proof of page 3";
    in.xmp = {'<', 'x', ':', 'x', 'm', 'p', 'm', 'e', 't', 'a', '/', '>'};
    in.iptc = {0x1C, 0x02, 0x05, 0x00, 0x04, 'T', 'e', 's', 't'};
    in.photoshop = {'8', 'B', 'I', 'M', 0x03, 0xED, 0, 0, 0, 0, 0, 0};
    in.inkNames = {"Cyan", "Magenta", "Yellow", "Black"};
    host::WriteTiff(Path("in.tif"), in, "in.tif");
    Apply("-p '" + fogra29 + "' '" + Path("in.tif") + "' '" + Path("out.tif") + "'");
    Apply("-p '" + fogra29 + "' '" + Path("in.tif") + "' '" + Path("out.jpg") + "'");
    for (const char* name : {"out.tif", "out.jpg"}) {
        SCOPED_TRACE(name);
        const host::Image out = host::ReadImage(Path(name));
        EXPECT_EQ(out.description, in.description);
        EXPECT_EQ(out.xmp, in.xmp);
        EXPECT_EQ(out.photoshop, in.photoshop);
    }
    const host::Image out = host::ReadImage(Path("out.tif"));
    EXPECT_EQ(out.iptc, in.iptc);
    EXPECT_EQ(out.inkNames, in.inkNames);
    // PNG keeps the description and the XMP packet in text chunks.
    ASSERT_EQ(Run("testimage -s 20x10 '" + Path("rgb.tif") + "'").code, 0);
    host::Image rgb = host::ReadImage(Path("rgb.tif"));
    rgb.description = in.description;
    rgb.xmp = in.xmp;
    host::WriteTiff(Path("rgb.tif"), rgb, "rgb.tif");
    const std::string srgb = " -p '" + kData + "/sRGB.icc'";
    Apply(srgb + srgb + " '" + Path("rgb.tif") + "' '" + Path("out.png") + "'");
    const host::Image png = host::ReadImage(Path("out.png"));
    EXPECT_EQ(png.description, rgb.description);
    EXPECT_EQ(png.xmp, rgb.xmp);

    // A CMYK + two spots file whose spots are unspecified extra samples, as Photoshop writes them,
    // feeds a merge link as six inks; the alpha after them stays an alpha.
    const std::string merge =
        " -m '" + Link("press.icc") + "' -m '" + Link("orange.icc") + "' -m '" + Link("green.icc") + "' ";
    ASSERT_EQ(Run("testimage -a -s 60x40 '" + Path("rgb.tif") + "'").code, 0);
    Apply("-l '" + Link("rgb-to-6.lnk") + "' '" + Path("rgb.tif") + "' '" + Path("six.tif") + "'");
    Apply(merge + "'" + Path("six.tif") + "' '" + Path("inks.tif") + "'");
    host::Image spots = host::ReadImage(Path("six.tif"));
    spots.inkSet = INKSET_CMYK;
    spots.extra = 3;
    spots.extraKinds = {EXTRASAMPLE_UNSPECIFIED, EXTRASAMPLE_UNSPECIFIED, EXTRASAMPLE_UNASSALPHA};
    host::WriteTiff(Path("spots.tif"), spots, "spots.tif");
    ASSERT_EQ(host::ReadImage(Path("spots.tif")).ColourChannels(), 4);
    Apply(merge + "'" + Path("spots.tif") + "' '" + Path("extras.tif") + "'");
    const host::Image extras = host::ReadImage(Path("extras.tif"));
    EXPECT_EQ(extras.extra, 1);
    EXPECT_TRUE(extras.planes == host::ReadImage(Path("inks.tif")).planes);
}

TEST_F(Formats, DamagedImagesFailInOneLine) {
    const std::string chain = " -p '" + kData + "/sRGB.icc' -p '" + kData + "/FOGRA39L.icc' ";
    ASSERT_EQ(Run("testimage -n 2 -s 200x150 '" + Path("rgb.tif") + "'").code, 0);
    Apply(chain + "-Q 95 '" + Path("rgb.tif") + "' '" + Path("good.jpg") + "'");
    ASSERT_EQ(Run("testimage -n 2 -t 64 -c deflate -s 200x150 '" + Path("tiled.tif") + "'").code, 0);
    const std::string jpeg = Slurp(Path("good.jpg")), tiled = Slurp(Path("tiled.tif"));
    ASSERT_GT(jpeg.size(), 6000u);
    ASSERT_GT(tiled.size(), 6000u);
    std::string garbled = jpeg;
    garbled.replace(jpeg.size() / 2, 400, std::string(400, '\x55'));
    std::ofstream(Path("garbled.jpg"), std::ios::binary) << garbled;
    std::ofstream(Path("short.jpg"), std::ios::binary) << jpeg.substr(0, jpeg.size() / 2);
    std::string tiles = tiled;
    tiles.replace(8, 100, std::string(100, '\0'));  // the first tile's deflate stream loses its header
    std::ofstream(Path("tiles.tif"), std::ios::binary) << tiles;
    // A Lab image of 32-bit samples: a depth the host does not take.
    host::Image lab(host::ReadImage(Path("rgb.tif")));
    lab.photometric = PHOTOMETRIC_CIELAB;
    lab.bits = 16;
    lab.planes[0].resize(lab.planes[0].size() * 2);
    host::WriteTiff(Path("lab32.tif"), lab, "lab32.tif");
    std::string deep = Slurp(Path("lab32.tif"));
    // The BitsPerSample values (16) become 32 in the file: patch the three shorts of the tag.
    for (size_t at = deep.find(std::string("\x10\x00\x10\x00\x10\x00", 6)); at != std::string::npos;
         at = std::string::npos)
        for (int i = 0; i < 3; ++i) deep[at + 2 * i] = '\x20';
    std::ofstream(Path("lab32.tif"), std::ios::binary) << deep;
    const std::vector<std::string> before = Files();
    for (const auto& [file, says] : std::vector<std::pair<std::string, std::string>>{
             {"garbled.jpg", "garbled.jpg"}, {"short.jpg", "short.jpg"}, {"tiles.tif", "damaged"},
             {"lab32.tif", "a Lab image of 32 bits"}}) {
        SCOPED_TRACE(file);
        ExpectOneLineError(Run("apply -l '" + Link("rgb-to-rgb.lnk") + "' '" + Path(file) + "' '" + Path("out.tif") + "'"), says);
    }
    EXPECT_EQ(Files(), before);
}

}  // namespace
