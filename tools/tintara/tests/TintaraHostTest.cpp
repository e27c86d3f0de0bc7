// End-to-end tests of the tintara host: the executable runs on real files and its results are
// held against the library's own evaluation (TKDoTrafo), libtiff's view of the tags written, and
// the promises of the command line (exit codes, one-line errors, no partial output).
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <tiffio.h>
#include <unistd.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <algorithm>
#include <dirent.h>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "HostFixture.h"

namespace {

// ---- Pixels against the library's own evaluation ----

TEST_F(Host, EightBitPixelsAgreeWithDoTrafo) {
    ASSERT_EQ(Run("testimage -s 301x200 '" + Path("in.tif") + "'").code, 0);
    const Result r = Run("apply -l '" + Link("rgb-to-rgb.lnk") + "' '" + Path("in.tif") + "' '" + Path("out.tif") + "'");
    ASSERT_EQ(r.code, 0) << r.err;
    // The 8-bit kernel rounds once more than the double evaluation: one step either way
    // (measured: 0.96).
    EXPECT_LE(LargestDifference(Link("rgb-to-rgb.lnk"), host::ReadImage(Path("in.tif")), host::ReadImage(Path("out.tif")), 5), 1.0);
}

TEST_F(Host, SixteenBitCmykPixelsAgreeWithDoTrafo) {
    ASSERT_EQ(Run("testimage --space cmyk -b 16 -s 257x190 '" + Path("in.tif") + "'").code, 0);
    const Result r = Run("apply -l '" + Link("cmyk-to-rgb.lnk") + "' '" + Path("in.tif") + "' '" + Path("out.tif") + "'");
    ASSERT_EQ(r.code, 0) << r.err;
    // The library evaluates a link in doubles through the same 16-bit tables: at most a rounding
    // step apart (measured: equal).
    EXPECT_LE(LargestDifference(Link("cmyk-to-rgb.lnk"), host::ReadImage(Path("in.tif")), host::ReadImage(Path("out.tif")), 3), 1.0);
}

TEST_F(Host, GrayAndManyInkRastersConvert) {
    ASSERT_EQ(Run("testimage --space gray -s 120x90 '" + Path("gray.tif") + "'").code, 0);
    ASSERT_EQ(Run("apply -l '" + Link("gray-to-cmyk.lnk") + "' '" + Path("gray.tif") + "' '" + Path("cmyk.tif") + "'").code, 0);
    const host::Image cmyk = host::ReadImage(Path("cmyk.tif"));
    EXPECT_EQ(cmyk.samples, 4);
    EXPECT_EQ(cmyk.photometric, PHOTOMETRIC_SEPARATED);
    EXPECT_EQ(cmyk.inkSet, INKSET_CMYK);
    EXPECT_LE(LargestDifference(Link("gray-to-cmyk.lnk"), host::ReadImage(Path("gray.tif")), cmyk, 3), 1.0);

    ASSERT_EQ(Run("testimage -s 120x90 '" + Path("rgb.tif") + "'").code, 0);
    ASSERT_EQ(Run("apply -l '" + Link("rgb-to-6.lnk") + "' '" + Path("rgb.tif") + "' '" + Path("six.tif") + "'").code, 0);
    const host::Image six = host::ReadImage(Path("six.tif"));
    EXPECT_EQ(six.samples, 6);
    EXPECT_EQ(six.inkSet, INKSET_MULTIINK);
    const Result back = Run("apply -l '" + Link("6-to-rgb.lnk") + "' '" + Path("six.tif") + "' '" + Path("back.tif") + "'");
    ASSERT_EQ(back.code, 0) << back.err;
    const host::Image rgb = host::ReadImage(Path("back.tif"));
    EXPECT_EQ(rgb.photometric, PHOTOMETRIC_RGB);
    EXPECT_LE(LargestDifference(Link("6-to-rgb.lnk"), six, rgb, 3), 1.0);
}

// ---- What the output keeps ----

TEST_F(Host, TagsAreKeptAndTheProfileEmbedded) {
    ASSERT_EQ(Run("testimage -s 100x80 -c deflate -r 150 '" + Path("in.tif") + "'").code, 0);
    const std::string profile = kData + "/sRGB.icc";
    ASSERT_EQ(Run("apply -l '" + Link("rgb-to-rgb.lnk") + "' -e '" + profile + "' '" + Path("in.tif") + "' '" +
                  Path("out.tif") + "'").code, 0);
    TIFF* t = TIFFOpen(Path("out.tif").c_str(), "r");
    ASSERT_NE(t, nullptr);
    uint16_t compression = 0, unit = 0, predictor = 0;
    float xres = 0, yres = 0;
    uint32_t iccSize = 0;
    void* icc = nullptr;
    EXPECT_TRUE(TIFFGetField(t, TIFFTAG_COMPRESSION, &compression));
    EXPECT_EQ(compression, COMPRESSION_ADOBE_DEFLATE);
    EXPECT_TRUE(TIFFGetField(t, TIFFTAG_PREDICTOR, &predictor));
    EXPECT_EQ(predictor, 2);
    EXPECT_TRUE(TIFFGetField(t, TIFFTAG_XRESOLUTION, &xres));
    EXPECT_TRUE(TIFFGetField(t, TIFFTAG_YRESOLUTION, &yres));
    EXPECT_TRUE(TIFFGetField(t, TIFFTAG_RESOLUTIONUNIT, &unit));
    EXPECT_FLOAT_EQ(xres, 150.0f);
    EXPECT_FLOAT_EQ(yres, 150.0f);
    EXPECT_EQ(unit, RESUNIT_INCH);
    ASSERT_TRUE(TIFFGetField(t, TIFFTAG_ICCPROFILE, &iccSize, &icc));
    EXPECT_TRUE(std::string(static_cast<char*>(icc), iccSize) == Slurp(profile));
    TIFFClose(t);

    // Another compression on request.
    ASSERT_EQ(Run("apply -l '" + Link("rgb-to-rgb.lnk") + "' -c packbits '" + Path("in.tif") + "' '" + Path("pb.tif") + "'").code, 0);
    EXPECT_EQ(host::ReadImage(Path("pb.tif")).compression, COMPRESSION_PACKBITS);
    EXPECT_TRUE(host::ReadImage(Path("pb.tif")).iccProfile.empty());
}

TEST_F(Host, AlphaPassesUntouchedInBothLayouts) {
    for (const char* layout : {"", "--planar"}) {
        for (const char* bits : {"8", "16"}) {
            SCOPED_TRACE(std::string(layout) + " " + bits);
            ASSERT_EQ(Run(std::string("testimage -a -b ") + bits + " " + layout + " -s 90x70 '" + Path("in.tif") + "'").code, 0);
            ASSERT_EQ(Run("apply -l '" + Link("rgb-to-6.lnk") + "' '" + Path("in.tif") + "' '" + Path("out.tif") + "'").code, 0);
            const host::Image in = host::ReadImage(Path("in.tif")), out = host::ReadImage(Path("out.tif"));
            ASSERT_EQ(out.samples, 7);
            ASSERT_EQ(out.extra, 1);
            EXPECT_EQ(out.extraKinds, in.extraKinds);
            EXPECT_EQ(out.planar, in.planar);
            uint32_t differing = 0;
            for (uint32_t y = 0; y < in.height; ++y)
                for (uint32_t x = 0; x < in.width; ++x) differing += Sample(in, x, y, 3) != Sample(out, x, y, 6);
            EXPECT_EQ(differing, 0u);
        }
    }
}

TEST_F(Host, PlanarGivesTheSamePixelsAsInterleaved) {
    ASSERT_EQ(Run("testimage -b 16 -s 150x99 '" + Path("a.tif") + "'").code, 0);
    ASSERT_EQ(Run("testimage -b 16 --planar -s 150x99 '" + Path("b.tif") + "'").code, 0);
    for (const char* name : {"a", "b"})
        ASSERT_EQ(Run("apply -l '" + Link("rgb-to-6.lnk") + "' '" + Path(std::string(name) + ".tif") + "' '" +
                      Path(std::string(name) + "-out.tif") + "'").code, 0);
    const host::Image a = host::ReadImage(Path("a-out.tif")), b = host::ReadImage(Path("b-out.tif"));
    ASSERT_FALSE(a.planar);
    ASSERT_TRUE(b.planar);
    uint32_t differing = 0;
    for (uint32_t y = 0; y < a.height; ++y)
        for (uint32_t x = 0; x < a.width; ++x)
            for (uint16_t s = 0; s < 6; ++s) differing += Sample(a, x, y, s) != Sample(b, x, y, s);
    EXPECT_EQ(differing, 0u);
    // Relaying the output on request changes the layout, not the pixels.
    ASSERT_EQ(Run("apply -l '" + Link("rgb-to-6.lnk") + "' --planar '" + Path("a.tif") + "' '" + Path("c-out.tif") + "'").code, 0);
    const host::Image c = host::ReadImage(Path("c-out.tif"));
    EXPECT_TRUE(c.planar);
    EXPECT_TRUE(c.planes == b.planes);
}

TEST_F(Host, ThreadCountsGiveIdenticalBytes) {
    ASSERT_EQ(Run("testimage -a -s 333x257 '" + Path("in.tif") + "'").code, 0);
    for (const char* threads : {"1", "2", "7"})
        ASSERT_EQ(Run(std::string("apply -t ") + threads + " -l '" + Link("rgb-to-rgb.lnk") + "' '" + Path("in.tif") +
                      "' '" + Path(std::string("out") + threads + ".tif") + "'").code, 0);
    const std::string one = Slurp(Path("out1.tif"));
    EXPECT_FALSE(one.empty());
    EXPECT_TRUE(Slurp(Path("out2.tif")) == one);
    EXPECT_TRUE(Slurp(Path("out7.tif")) == one);
}

// A pipe is no terminal: the bar comes only when asked for, and -q silences it with the reports.
TEST_F(Host, ProgressIsDrawnWhenAskedForAndSilencedByQuiet) {
    ASSERT_EQ(Run("testimage -s 200x150 '" + Path("in.tif") + "'").code, 0);
    const std::string job = " -l '" + Link("rgb-to-rgb.lnk") + "' '" + Path("in.tif") + "' '" + Path("out.tif") + "'";
    const Result plain = Run("apply" + job);
    ASSERT_EQ(plain.code, 0) << plain.err;
    EXPECT_EQ(plain.out.find('\r'), std::string::npos) << plain.out;
    EXPECT_EQ(plain.out.rfind(Path("out.tif") + ":", 0), 0u) << plain.out;

    const Result asked = Run("apply --progress" + job);
    ASSERT_EQ(asked.code, 0) << asked.err;
    EXPECT_NE(asked.out.find("\rconverting 150 rows"), std::string::npos) << asked.out;
    EXPECT_NE(asked.out.find("] 100%"), std::string::npos) << asked.out;
    // The bar's line is cleared before the report, which starts a line of its own.
    const size_t lastReturn = asked.out.rfind('\r');
    ASSERT_NE(lastReturn, std::string::npos);
    const auto firstLine = [](const std::string& text) { return text.substr(0, text.find('\n')); };
    EXPECT_EQ(firstLine(asked.out.substr(lastReturn + 1)), firstLine(plain.out));

    const Result quiet = Run("apply -q --progress" + job);
    EXPECT_EQ(quiet.code, 0) << quiet.err;
    EXPECT_EQ(quiet.out, "");
    const std::string srgb = " -p '" + kData + "/sRGB.icc'";
    const Result baking = Run("link --progress" + srgb + srgb + " -o '" + Path("a.lnk") + "'");
    EXPECT_EQ(baking.code, 0) << baking.err;
    EXPECT_NE(baking.out.find("\rbaking the link"), std::string::npos) << baking.out;
    // Where the output is the result, neither applies.
    const Result convert = Run("convert --progress -l '" + Link("rgb-to-rgb.lnk") + "' 1 2 3");
    EXPECT_EQ(convert.code, 2);
    EXPECT_NE(convert.err.find("--progress does not apply"), std::string::npos) << convert.err;
}

TEST_F(Host, RgbResultsWriteAPngProof) {
    ASSERT_EQ(Run("testimage --space cmyk -b 16 -s 64x48 '" + Path("in.tif") + "'").code, 0);
    ASSERT_EQ(Run("apply -l '" + Link("cmyk-to-rgb.lnk") + "' '" + Path("in.tif") + "' '" + Path("proof.png") + "'").code, 0);
    const std::string png = Slurp(Path("proof.png"));
    ASSERT_GT(png.size(), 33u);
    EXPECT_EQ(png.substr(1, 3), "PNG");
    auto u32 = [&](size_t at) {
        return uint32_t(uint8_t(png[at])) << 24 | uint32_t(uint8_t(png[at + 1])) << 16 |
               uint32_t(uint8_t(png[at + 2])) << 8 | uint8_t(png[at + 3]);
    };
    EXPECT_EQ(u32(16), 64u);       // IHDR width
    EXPECT_EQ(u32(20), 48u);       // height
    EXPECT_EQ(uint8_t(png[24]), 16);  // bit depth
    EXPECT_EQ(uint8_t(png[25]), 2);   // RGB

    // A CMYK result has no PNG form: refused before any file is made.
    const Result r = Run("apply -l '" + Link("rgb-to-6.lnk") + "' '" + Path("in.tif") + "' '" + Path("six.png") + "'");
    EXPECT_NE(r.code, 0);
}

// ---- Values and links ----

TEST_F(Host, ConvertAgreesWithDoTrafoFromArgumentsAndStdin) {
    LoadedLink link(Link("cmyk-to-rgb.lnk"));
    const double cmyk[2][4] = {{10, 20, 30, 40}, {0, 100, 55.5, 0}};
    std::string expected;
    for (const auto& colour : cmyk) {
        double rgb[3];
        ASSERT_EQ(TKDoTrafo(link.ref, colour, rgb), 0);
        char line[128];
        std::snprintf(line, sizeof line, "%.3f %.3f %.3f\n", rgb[0], rgb[1], rgb[2]);
        expected += line;
    }
    const Result args = Run("convert -l '" + Link("cmyk-to-rgb.lnk") + "' 10 20 30 40 0 100 55.5 0");
    EXPECT_EQ(args.code, 0) << args.err;
    EXPECT_EQ(args.out, expected);
    const Result input = Run("convert -l '" + Link("cmyk-to-rgb.lnk") + "'", "10 20 30 40\n# a comment\n0, 100, 55.5, 0\n");
    EXPECT_EQ(input.code, 0) << input.err;
    EXPECT_EQ(input.out, expected);

    const Result shortLine = Run("convert -l '" + Link("cmyk-to-rgb.lnk") + "'", "10 20 30\n");
    EXPECT_EQ(shortLine.code, 1);
    EXPECT_NE(shortLine.err.find("line 1"), std::string::npos) << shortLine.err;
    EXPECT_EQ(Run("convert -l '" + Link("cmyk-to-rgb.lnk") + "' 1 2 3").code, 2);
    EXPECT_EQ(Run("convert -l '" + Link("cmyk-to-rgb.lnk") + "' 1 2 x 4").code, 1);
}

TEST_F(Host, LinkBakesASavedLinkOntoAnotherGrid) {
    const Result r = Run("link -l '" + Link("rgb-to-rgb.lnk") + "' -g 3 -o '" + Path("g9.lnk") + "'");
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_NE(r.out.find("9^3"), std::string::npos) << r.out;
    LoadedLink link(Path("g9.lnk"));
    EXPECT_EQ(TKGetTrafoSrcDim(link.ref), 3);
    EXPECT_EQ(TKGetTrafoDstDim(link.ref), 3);
    EXPECT_EQ(Run("link -l '" + Link("rgb-to-rgb.lnk") + "' -g 9 -o '" + Path("x.lnk") + "'").code, 2);
    EXPECT_EQ(Run("link -l '" + Link("rgb-to-rgb.lnk") + "'").code, 2);
}

TEST_F(Host, InfoShowsHeaderAndTags) {
    const Result r = Run("info '" + kData + "/FOGRA39L.icc'");
    ASSERT_EQ(r.code, 0) << r.err;
    // Values as iccdump shows them for this file.
    EXPECT_NE(r.out.find("'prtr' (output)"), std::string::npos);
    EXPECT_NE(r.out.find("16 tags"), std::string::npos);
    EXPECT_NE(r.out.find("'B2A0' mft2      54436    53692  ok       3 in, 4 out, 17 grid points"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("4 colorants: Cyan, Magenta, Yellow, Black"), std::string::npos);

    // A cut profile: the tags that run past the end are marked, not read, and the exit code says so.
    std::string cut = Slurp(kData + "/FOGRA39L.icc").substr(0, 60000);
    std::ofstream(Path("cut.icc"), std::ios::binary) << cut;
    const Result damaged = Run("info '" + Path("cut.icc") + "'");
    EXPECT_EQ(damaged.code, 1);
    EXPECT_NE(damaged.out.find("invalid"), std::string::npos);
    std::ofstream(Path("junk.icc"), std::ios::binary) << std::string(500, 'x');
    const Result junk = Run("info '" + Path("junk.icc") + "'");
    EXPECT_EQ(junk.code, 1);
    EXPECT_NE(junk.err.find("junk.icc"), std::string::npos);
}

// ---- Failures: one line naming the file and the reason, non-zero exit, nothing left behind ----

TEST_F(Host, BadInputFailsCleanly) {
    ASSERT_EQ(Run("testimage -s 40x30 '" + Path("in.tif") + "'").code, 0);
    ASSERT_EQ(Run("testimage --space cmyk -s 40x30 '" + Path("cmyk.tif") + "'").code, 0);
    const std::string corrupt = Path("corrupt.lnk");
    std::ofstream(corrupt, std::ios::binary) << Slurp(Link("rgb-to-rgb.lnk")).substr(0, 5000);
    std::ofstream(Path("corrupt.tif"), std::ios::binary) << Slurp(Path("in.tif")).substr(0, 300);
    const std::vector<std::string> before = Files();

    ExpectOneLineError(Run("apply -l '" + Path("missing.lnk") + "' '" + Path("in.tif") + "' '" + Path("o.tif") + "'"),
                       "missing.lnk");
    const Result bad = Run("apply -l '" + corrupt + "' '" + Path("in.tif") + "' '" + Path("o.tif") + "'");
    ExpectOneLineError(bad, "corrupt.lnk");
    ExpectOneLineError(Run("apply -l '" + Link("rgb-to-rgb.lnk") + "' '" + Path("cmyk.tif") + "' '" + Path("o.tif") + "'"),
                       "4 colour channels; the trafo takes 3");
    ExpectOneLineError(Run("apply -l '" + Link("rgb-to-rgb.lnk") + "' '" + Path("corrupt.tif") + "' '" + Path("o.tif") + "'"),
                       "corrupt.tif");
    ExpectOneLineError(Run("apply -l '" + Link("rgb-to-rgb.lnk") + "' '" + Path("nothere.tif") + "' '" + Path("o.tif") + "'"),
                       "nothere.tif");
    ExpectOneLineError(Run("convert -l '" + corrupt + "' 1 2 3"), "corrupt.lnk");
    EXPECT_EQ(Files(), before);

    // A directory that cannot be written: the output's name and the reason.
    ASSERT_EQ(mkdir(Path("locked").c_str(), 0555), 0);
    if (access(Path("locked").c_str(), W_OK) != 0) {  // root may write anyway
        ExpectOneLineError(Run("apply -l '" + Link("rgb-to-rgb.lnk") + "' '" + Path("in.tif") + "' '" +
                               Path("locked/o.tif") + "'"),
                           "locked/o.tif");
        ExpectOneLineError(Run("testimage '" + Path("locked/t.tif") + "'"), "locked/t.tif");
    }
    ExpectOneLineError(Run("apply -l '" + Link("rgb-to-rgb.lnk") + "' '" + Path("in.tif") + "' '" +
                           Path("nodir/o.tif") + "'"),
                       "nodir/o.tif");
}

TEST_F(Host, DamagedStripsFailCleanly) {
    ASSERT_EQ(Run("testimage -s 200x150 -c lzw '" + Path("in.tif") + "'").code, 0);
    std::string bytes = Slurp(Path("in.tif"));
    ASSERT_GT(bytes.size(), 4000u);
    bytes.replace(200, 3800, std::string(3800, '\xff'));  // garbage codes in the first strips
    std::ofstream(Path("damaged.tif"), std::ios::binary) << bytes;
    const std::vector<std::string> before = Files();
    for (const char* threads : {"1", "2"})
        ExpectOneLineError(Run(std::string("apply -t ") + threads + " -l '" + Link("rgb-to-rgb.lnk") + "' '" +
                               Path("damaged.tif") + "' '" + Path("o.tif") + "'"),
                           "damaged");
    EXPECT_EQ(Files(), before);
}

// A planar gray TIFF of many samples per pixel: the reader takes a handle per plane, so a forged
// sample count must be refused first (11521 planes took 2.4 GB and seconds).
TEST_F(Host, ManySamplesPerPixelAreRefusedBeforeOpeningThePlanes) {
    TIFF* t = TIFFOpen(Path("planes.tif").c_str(), "w");
    ASSERT_NE(t, nullptr);
    TIFFSetField(t, TIFFTAG_IMAGEWIDTH, 4);
    TIFFSetField(t, TIFFTAG_IMAGELENGTH, 4);
    TIFFSetField(t, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(t, TIFFTAG_SAMPLESPERPIXEL, 300);
    TIFFSetField(t, TIFFTAG_PLANARCONFIG, PLANARCONFIG_SEPARATE);
    TIFFSetField(t, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    TIFFSetField(t, TIFFTAG_ROWSPERSTRIP, 4);
    std::vector<uint8_t> plane(16, 0);
    for (uint32_t s = 0; s < 300; ++s) ASSERT_GE(TIFFWriteEncodedStrip(t, s, plane.data(), 16), 0);
    TIFFClose(t);
    ExpectOneLineError(Run("apply -l '" + Link("rgb-to-rgb.lnk") + "' '" + Path("planes.tif") + "' '" + Path("o.tif") + "'"),
                       "300 samples per pixel; at most 64");
}

// A deflate TIFF of zeros in many strips; with `shareOffsets` every strip entry points at the
// first strip's bytes, so that little data claims a large image.
void WriteStripTiff(const std::string& path, uint32_t width, uint32_t height, uint32_t rowsPerStrip,
                    bool shareOffsets) {
    TIFF* t = TIFFOpen(path.c_str(), "w");
    ASSERT_NE(t, nullptr);
    TIFFSetField(t, TIFFTAG_IMAGEWIDTH, width);
    TIFFSetField(t, TIFFTAG_IMAGELENGTH, height);
    TIFFSetField(t, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(t, TIFFTAG_SAMPLESPERPIXEL, 1);
    TIFFSetField(t, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    TIFFSetField(t, TIFFTAG_COMPRESSION, COMPRESSION_ADOBE_DEFLATE);
    TIFFSetField(t, TIFFTAG_ROWSPERSTRIP, rowsPerStrip);
    std::vector<uint8_t> strip(size_t(width) * rowsPerStrip, 0);
    for (uint32_t s = 0; s < height / rowsPerStrip; ++s)
        ASSERT_GE(TIFFWriteEncodedStrip(t, s, strip.data(), tmsize_t(strip.size())), 0);
    TIFFClose(t);
    if (!shareOffsets) return;
    // Little-endian classic TIFF: the first directory's StripOffsets (273) array gets its first value everywhere.
    std::string bytes = Slurp(path);
    auto u16 = [&](size_t at) { return uint32_t(uint8_t(bytes[at])) | uint32_t(uint8_t(bytes[at + 1])) << 8; };
    auto u32 = [&](size_t at) { return u16(at) | u16(at + 2) << 16; };
    ASSERT_EQ(bytes.substr(0, 2), "II");
    const size_t ifd = u32(4);
    for (uint32_t e = 0; e < u16(ifd); ++e) {
        const size_t entry = ifd + 2 + 12 * e;
        if (u16(entry) != TIFFTAG_STRIPOFFSETS) continue;
        ASSERT_EQ(u16(entry + 2), uint32_t(TIFF_LONG));
        const size_t array = u32(entry + 8);
        for (uint32_t i = 1; i < u32(entry + 4); ++i) bytes.replace(array + 4 * i, 4, bytes, array, 4);
    }
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

TEST_F(Host, StripsSharingTheirBytesAreRefusedBeforeAllocating) {
    // 4096 x 4096 zeros in 256 strips: a few kilobytes on disk for 16 MiB of pixels.
    WriteStripTiff(Path("honest.tif"), 4096, 4096, 16, false);
    EXPECT_EQ(host::ReadImage(Path("honest.tif")).TotalBytes(), uint64_t(16) << 20);
    WriteStripTiff(Path("shared.tif"), 4096, 4096, 16, true);
    try {
        host::ReadImage(Path("shared.tif"));
        ADD_FAILURE() << "read";
    } catch (const host::Failure& failure) {
        EXPECT_NE(std::string(failure.what()).find("too few"), std::string::npos) << failure.what();
    }
}

TEST_F(Host, MaxImageLimitsInputAndOutput) {
    ASSERT_EQ(Run("testimage -s 1200x900 '" + Path("in.tif") + "'").code, 0);  // 3.1 MiB of RGB
    const std::string files = " '" + Path("in.tif") + "' '" + Path("o.tif") + "'";
    ExpectOneLineError(Run("apply --max-image 3 -l '" + Link("rgb-to-rgb.lnk") + "'" + files), "3 MiB");
    ExpectOneLineError(Run("apply --max-image 4 -l '" + Link("rgb-to-6.lnk") + "'" + files), "4 MiB");
    EXPECT_EQ(Run("apply --max-image 7 -l '" + Link("rgb-to-6.lnk") + "'" + files).code, 0);
    EXPECT_EQ(Run("apply --max-image 0 -l '" + Link("rgb-to-rgb.lnk") + "'" + files).code, 2);
}

TEST_F(Host, EveryCompressionKeepsThePixelsOfEveryStrip) {
    // 16-bit planar with alpha: many strips per plane, the last one short.
    ASSERT_EQ(Run("testimage -a -b 16 --planar -s 301x157 '" + Path("in.tif") + "'").code, 0);
    std::vector<host::Image> results;
    for (const char* compression : {"none", "lzw", "deflate", "packbits"}) {
        const std::string out = Path(std::string(compression) + ".tif");
        ASSERT_EQ(Run("apply -t 2 -c " + std::string(compression) + " -l '" + Link("rgb-to-rgb.lnk") + "' '" +
                      Path("in.tif") + "' '" + out + "'").code, 0);
        results.push_back(host::ReadImage(out));
    }
    TIFF* t = TIFFOpen(Path("none.tif").c_str(), "r");
    ASSERT_NE(t, nullptr);
    EXPECT_GE(TIFFNumberOfStrips(t), 8u);  // at least two strips in each of four planes
    TIFFClose(t);
    for (size_t i = 1; i < results.size(); ++i) EXPECT_TRUE(results[i].planes == results[0].planes) << i;
    const host::Image in = host::ReadImage(Path("in.tif"));
    uint32_t differing = 0;
    for (uint32_t y = 0; y < in.height; ++y)
        for (uint32_t x = 0; x < in.width; ++x) differing += Sample(in, x, y, 3) != Sample(results[0], x, y, 3);
    EXPECT_EQ(differing, 0u);
}

#if TINTARA_HOST_PROFILES
// ---- Profile chains (built when the library has its profile functions) ----

std::vector<double> Numbers(const std::string& text) {
    std::istringstream in(text);
    std::vector<double> values;
    for (double v; in >> v;) values.push_back(v);
    return values;
}

TEST_F(Host, ConvertReachesBothConnectionSpaces) {
    const std::string srgb = "'" + kData + "/sRGB.icc'";
    // The white of sRGB, relative colorimetric, is the connection-space white D50: Lab 100 0 0,
    // XYZ 96.42 100 82.49 (the ICC's D50).
    const Result lab = Run("convert -i relative -p " + srgb + " --to lab 255 255 255");
    ASSERT_EQ(lab.code, 0) << lab.err;
    const std::vector<double> l = Numbers(lab.out);
    ASSERT_EQ(l.size(), 3u) << lab.out;
    EXPECT_NEAR(l[0], 100.0, 0.5);
    EXPECT_NEAR(l[1], 0.0, 0.5);
    EXPECT_NEAR(l[2], 0.0, 0.5);
    const Result xyz = Run("convert -i relative -p " + srgb + " --to xyz 255 255 255");
    ASSERT_EQ(xyz.code, 0) << xyz.err;
    const std::vector<double> x = Numbers(xyz.out);
    ASSERT_EQ(x.size(), 3u) << xyz.out;
    EXPECT_NEAR(x[0], 96.42, 0.5);
    EXPECT_NEAR(x[1], 100.0, 0.5);
    EXPECT_NEAR(x[2], 82.49, 0.5);
    // And back: the connection-space white to sRGB is full white, from either space.
    for (const char* from : {"--from lab 100 0 0", "--from xyz 96.42 100 82.49"}) {
        const Result back = Run("convert -i relative -p " + srgb + " " + from);
        ASSERT_EQ(back.code, 0) << back.err;
        for (double v : Numbers(back.out)) EXPECT_NEAR(v, 255.0, 1.5) << from;
    }
}

// --refine searches the ink whose colour FOGRA39's forward table meets: from Lab the refined
// ink lands within 0.2 dE76 of the colour asked for, closer than the plain table's ink.
TEST_F(Host, RefineMeetsTheColourCloserThanTheTable) {
    const std::string fogra = "'" + kData + "/FOGRA39L.icc'";
    const std::vector<double> target = {50.0, 20.0, -30.0};
    double error[2];
    for (int refine = 0; refine < 2; ++refine) {
        const Result ink = Run(std::string("convert ") + (refine ? "--refine " : "") + "-i relative --from lab -p " +
                               fogra + " 50 20 -30");
        ASSERT_EQ(ink.code, 0) << ink.err;
        const Result lab = Run("convert -i relative -p " + fogra + " --to lab", ink.out);
        ASSERT_EQ(lab.code, 0) << lab.err;
        const std::vector<double> l = Numbers(lab.out);
        ASSERT_EQ(l.size(), 3u) << lab.out;
        error[refine] = std::hypot(l[0] - target[0], l[1] - target[1], l[2] - target[2]);
    }
    EXPECT_LT(error[1], 0.2);
    EXPECT_LT(error[1], error[0]);
}

TEST_F(Host, ApplyThroughAProfileChainAgreesWithTheChainsLink) {
    const std::string chain = "-i perceptual -p '" + kData + "/sRGB.icc' -p '" + kData + "/FOGRA39L.icc'";
    ASSERT_EQ(Run("testimage -s 120x90 '" + Path("in.tif") + "'").code, 0);
    const Result apply = Run("apply -g 4 " + chain + " '" + Path("in.tif") + "' '" + Path("out.tif") + "'");
    ASSERT_EQ(apply.code, 0) << apply.err;
    const Result link = Run("link -g 4 " + chain + " -o '" + Path("chain.lnk") + "'");
    ASSERT_EQ(link.code, 0) << link.err;
    EXPECT_NE(link.out.find("17^3"), std::string::npos) << link.out;
    const host::Image out = host::ReadImage(Path("out.tif"));
    EXPECT_EQ(out.photometric, PHOTOMETRIC_SEPARATED);
    EXPECT_TRUE(std::string(out.iccProfile.begin(), out.iccProfile.end()) == Slurp(kData + "/FOGRA39L.icc"));
    EXPECT_LE(LargestDifference(Path("chain.lnk"), host::ReadImage(Path("in.tif")), out, 3), 1.0);
}

TEST_F(Host, MissingOrDamagedProfilesFailCleanly) {
    std::ofstream(Path("junk.icc"), std::ios::binary) << std::string(400, 'j');
    ExpectOneLineError(Run("convert -p '" + Path("nothere.icc") + "' 1 2 3"), "nothere.icc");
    ExpectOneLineError(Run("convert -p '" + Path("junk.icc") + "' 1 2 3"), "junk.icc");
    ASSERT_EQ(Run("testimage -s 20x20 '" + Path("in.tif") + "'").code, 0);
    const std::vector<std::string> before = Files();
    ExpectOneLineError(Run("apply -p '" + Path("junk.icc") + "' -p '" + kData + "/FOGRA39L.icc' '" + Path("in.tif") +
                           "' '" + Path("o.tif") + "'"),
                       "junk.icc");
    EXPECT_EQ(Files(), before);
}

TEST_F(Host, LinksKeepPureColoursAndTheInkLimit) {
    const std::string chain = "-i relative -p '" + kData + "/FOGRA39L.icc' -p '" + kData + "/FOGRA29L.icc'";
    const Result made = Run("link " + chain + " -x 'PureBlack+PurePrimaries|PureSecondaries,PureWhite+4' --ink-limit 300 -o '" +
                            Path("pure.lnk") + "'");
    ASSERT_EQ(made.code, 0) << made.err;
    EXPECT_NE(made.out.find("built with exceptions 0x10A5"), std::string::npos) << made.out;
    const Result k = Run("convert -l '" + Path("pure.lnk") + "' 0 0 0 50 100 100 100 100 40 0 0 0");
    ASSERT_EQ(k.code, 0) << k.err;
    const std::vector<double> v = Numbers(k.out);
    ASSERT_EQ(v.size(), 12u);
    EXPECT_EQ(v[0] + v[1] + v[2], 0.0);
    EXPECT_NEAR(v[3], 50.0, 0.1);
    EXPECT_LE(v[4] + v[5] + v[6] + v[7], 300.1);
    EXPECT_EQ(v[9] + v[10] + v[11], 0.0);
    // Mode words that are no flags, and settings or limits that do not read, fail cleanly.
    for (const char* bad : {"-x PureBlak", "-x ''", "-x 1+", "--ink-limit 300,x", "--ink-limit ''", "--exception-tolerance -1",
                            "--exception-settings @" "/nonexistent/settings.txt"}) {
        const Result r = Run("link " + chain + " " + bad + " -o '" + Path("bad.lnk") + "'");
        EXPECT_NE(r.code, 0) << bad;
        EXPECT_NE(r.err.find("tintara link"), std::string::npos) << bad;
    }
    EXPECT_EQ(Files(), std::vector<std::string>{"pure.lnk"});
}

#endif

TEST_F(Host, UsageMistakesExitWithTwo) {
    EXPECT_EQ(Run("").code, 2);
    EXPECT_EQ(Run("frobnicate").code, 2);
    EXPECT_EQ(Run("apply --bogus a b").code, 2);
    EXPECT_EQ(Run("apply -t 0 -l x a b").code, 2);
    EXPECT_EQ(Run("testimage -s 0x5 '" + Path("t.tif") + "'").code, 2);
    for (const char* command : {"info", "convert", "link", "apply", "testimage"}) {
        const Result help = Run(std::string(command) + " --help");
        EXPECT_EQ(help.code, 0) << command;
        EXPECT_NE(help.out.find("usage: tintara"), std::string::npos) << command;
    }
}

}  // namespace

namespace {

// Calibration from the simulated press's wedges (dot gain gamma 0.8) towards the same press
// without dot gain: the curves are u^1.25, here at 50 % 42.04 %. The curve file, the device
// link and its use by convert and apply agree.
TEST_F(Host, CalibrateWritesCurvesAndALink) {
    const std::string wedges = kData + "/../linearization/printcal-press.ti3";
    const std::string reference = kData + "/../linearization/printcal-reference.ti3";
    const Result r = Run("calibrate '" + wedges + "' -r '" + reference + "' -n 101 -o '" + Path("curves.txt") +
                         "' -k '" + Path("curves.lnk") + "' -p '" + Path("curves.icc") + "'");
    ASSERT_EQ(r.code, 0) << r.err;
    const std::string curves = Slurp(Path("curves.txt"));
    const size_t row = curves.find("\n51 50.0000 ");
    ASSERT_NE(row, std::string::npos) << curves.substr(0, 400);
    std::istringstream fields(curves.substr(row + 12));
    for (int c = 0; c < 4; ++c) {
        double value = 0;
        fields >> value;
        EXPECT_NEAR(value, 42.04, 0.3) << c;
    }
    // The same curves through the library's link and through the ICC device link (which Little
    // CMS 2.14's transicc -l reads to 42.04 too).
    for (const std::string& link : {"-l '" + Path("curves.lnk") + "'", "-p '" + Path("curves.icc") + "'"}) {
        const Result converted = Run("convert " + link + " 50 50 50 50");
        ASSERT_EQ(converted.code, 0) << converted.err;
        std::istringstream linked(converted.out);
        for (int c = 0; c < 4; ++c) {
            double value = 0;
            linked >> value;
            EXPECT_NEAR(value, 42.04, 0.3) << c;
        }
    }
    ASSERT_EQ(Run("testimage --space cmyk -s 64x48 '" + Path("in.tif") + "'").code, 0);
    ASSERT_EQ(Run("apply -l '" + Path("curves.lnk") + "' '" + Path("in.tif") + "' '" + Path("out.tif") + "'").code, 0);

    // Bad input: one line and no output; a wrong number of limits is a command-line mistake.
    const Result missing = Run("calibrate '" + Path("none.txt") + "' -o '" + Path("bad.txt") + "'");
    EXPECT_EQ(missing.code, 1);
    EXPECT_EQ(std::count(missing.err.begin(), missing.err.end(), '\n'), 1);
    EXPECT_EQ(Run("calibrate '" + Path("curves.txt") + "'").code, 1);  // curves hold no measurements
    EXPECT_EQ(Run("calibrate '" + wedges + "' -G").code, 1);             // no gray wedge
    EXPECT_EQ(Run("calibrate '" + wedges + "' -L 100,90").code, 2);
    EXPECT_EQ(Run("calibrate '" + wedges + "' -s 2,1 -o '" + Path("bad.txt") + "'").code, 1);
    const std::vector<std::string> files = Files();
    EXPECT_EQ(std::count(files.begin(), files.end(), "bad.txt"), 0);
}

}  // namespace

// --- tintara chart ------------------------------------------------------------------------------

TEST_F(Host, ChartInfoShowsKeywordsFieldsCountsAndTypes) {
    const Result r = Run("chart info '" + kData + "/../charts/FOGRA39L.ti3'");
    ASSERT_EQ(r.code, 0) << r.err;
    for (const char* line : {"table 1: CTI3, 1617 samples", "  DESCRIPTOR = FOGRA39L", "  KEYWORD/0 = DEVICE_CLASS",
                             "fields (11): SAMPLE_ID CMYK_C CMYK_M CMYK_Y CMYK_K XYZ_X XYZ_Y XYZ_Z LAB_L LAB_A LAB_B",
                             "colour types: CMYK (device, 4 channels) XYZ (measured, 3 channels) Lab (measured, 3 channels)"})
        EXPECT_NE(r.out.find(line), std::string::npos) << line << "\n" << r.out;
    const Result bad = Run("chart info '" + kData + "/../charts/missing.ti3'");
    EXPECT_EQ(bad.code, 1);
    EXPECT_NE(bad.err.find("missing.ti3"), std::string::npos) << bad.err;
}

TEST_F(Host, ChartConvertWritesChosenTypesAndFields) {
    const std::string in = kData + "/../charts/FOGRA39L.ti3";
    struct Case {
        std::string options;
        std::vector<std::string> expected;
    };
    const Case cases[] = {
        {"--to Lab --keep SAMPLE_ID,CMYK,Lab", {"CTI3\n", "SAMPLE_ID\tCMYK_C\tCMYK_M\tCMYK_Y\tCMYK_K\tLAB_L\tLAB_A\tLAB_B\n",
                                                 "NUMBER_OF_SETS 1617\n", "\n9\t0.000\t100.000\t0.000\t0.000\t48.000\t74.000\t-3.000\n"}},
        {"--merge --keep CMYK,XYZ", {"NUMBER_OF_SETS 1588\n", "CMYK_C\tCMYK_M\tCMYK_Y\tCMYK_K\tXYZ_X\tXYZ_Y\tXYZ_Z\n"}},
        {"--csc", {"% CSC gammut file\n% Version: 2\n\n% Cyan;Magenta;Yellow;Black;L;a;b\n",
                   "0.00;100.00;0.00;0.00;48.00;74.00;-3.00;\n"}},
    };
    for (const Case& c : cases) {
        const Result r = Run("chart convert '" + in + "' '" + Path("out.txt") + "' " + c.options);
        ASSERT_EQ(r.code, 0) << c.options << ": " << r.err;
        const std::string text = Slurp(Path("out.txt"));
        for (const std::string& piece : c.expected) EXPECT_NE(text.find(piece), std::string::npos) << c.options << ": " << piece;
    }
    for (const char* options : {"--keep Foo", "--to CMYK", "--to Lab --add XYZ", "", "--bogus"}) {
        const Result r = Run("chart convert '" + in + "' '" + Path("bad.txt") + "' " + options + (*options ? "" : " extra"));
        EXPECT_NE(r.code, 0) << options;
        const std::vector<std::string> files = Files();
        EXPECT_EQ(std::count(files.begin(), files.end(), "bad.txt"), 0) << options << ": no partial output";
    }
}

TEST_F(Host, ChartConvertsBetweenCGATSAndCxF3) {
    const std::string fogra = kData + "/../charts/FOGRA39L.ti3", spot = kData + "/../charts/SpotInkWarmRed.cxf";
    // By the name of the output, by option, and back: the CGATS text comes back unchanged.
    ASSERT_EQ(Run("chart convert '" + fogra + "' '" + Path("fogra.cxf") + "'").code, 0);
    ASSERT_EQ(Run("chart convert '" + fogra + "' '" + Path("fogra.xml") + "' --cxf").code, 0);
    EXPECT_EQ(Slurp(Path("fogra.cxf")).rfind("<?xml", 0), 0u);
    ASSERT_EQ(Run("chart convert '" + Path("fogra.xml") + "' '" + Path("fogra.ti3") + "'").code, 0);
    ASSERT_EQ(Run("chart convert '" + fogra + "' '" + Path("direct.ti3") + "'").code, 0);
    EXPECT_EQ(Slurp(Path("fogra.ti3")), Slurp(Path("direct.ti3")));
    const Result info = Run("chart info '" + Path("fogra.cxf") + "'");
    EXPECT_NE(info.out.find("fogra.cxf (CxF3)\ntable 1: CTI3, 1617 samples"), std::string::npos) << info.out;

    const Result spotInfo = Run("chart info '" + spot + "'");
    ASSERT_EQ(spotInfo.code, 0) << spotInfo.err;
    for (const char* line : {"spot ink: Warm Red\n", "  on Black: 0 10 20 30 40 50 60 70 80 90 100 %\n", " 100%=86.4\n"})
        EXPECT_NE(spotInfo.out.find(line), std::string::npos) << line << "\n" << spotInfo.out;
    ASSERT_EQ(Run("chart convert '" + spot + "' '" + Path("spot.txt") + "' --cgats").code, 0);
    ASSERT_EQ(Run("chart convert '" + Path("spot.txt") + "' '" + Path("spot.cxf") + "'").code, 0);
    EXPECT_NE(Slurp(Path("spot.cxf")).find("<sic:TintLevel>30.00</sic:TintLevel>"), std::string::npos);
    EXPECT_EQ(Run("chart convert '" + spot + "' '" + Path("x.cxf") + "' --csc --cxf").code, 2);
}

// ---- Merge links of device-link profiles ----

#if TINTARA_HOST_PROFILES
TEST_F(Host, MergeLinkMatchesSixInkRastersWithSpots) {
    const std::string merge =
        " -m '" + Link("press.icc") + "' -m '" + Link("orange.icc") + "' -m '" + Link("green.icc") + "' ";
    const Result described = Run("link" + merge);
    ASSERT_EQ(described.code, 0) << described.err;
    EXPECT_NE(described.out.find("(6) -> CMYK (4) of 3 device-link profiles"), std::string::npos) << described.out;
    EXPECT_EQ(Run("link" + merge + "-o '" + Path("x.icc") + "'").code, 2);
    EXPECT_EQ(Run("link" + merge + "-l '" + Link("rgb-to-6.lnk") + "'").code, 2);

    // The library's own view of the merge link, colour by colour.
    TKLinkRef link = TKNewTKMCLink16Ref();
    std::vector<TKFileSpec*> specs;
    for (const char* name : {"press.icc", "orange.icc", "green.icc"})
        specs.push_back(TKName2FileSpec(TKNewFileSpecRef(), Link(name).c_str()));
    ASSERT_EQ(TKDLProfiles2MCLink16(link, 3, specs.data(), nullptr), 0);
    for (TKFileSpec* spec : specs) TKFreeFileSpecRef(spec);

    for (const char* layout : {"", "--planar"})
        for (const char* bits : {"8", "16"})
            for (bool emptySpots : {false, true}) {
                SCOPED_TRACE(std::string(layout) + " " + bits + (emptySpots ? " empty spots" : " spots"));
                // Six inks and an alpha from the RGB test image; spots cleared on request.
                ASSERT_EQ(Run(std::string("testimage -a -b ") + bits + " " + layout + " -s 90x70 '" + Path("in.tif") + "'").code, 0);
                ASSERT_EQ(Run("apply -l '" + Link("rgb-to-6.lnk") + "' '" + Path("in.tif") + "' '" + Path("six.tif") + "'").code, 0);
                host::Image six = host::ReadImage(Path("six.tif"));
                if (emptySpots) {
                    for (uint32_t y = 0; y < six.height; ++y)
                        for (uint32_t x = 0; x < six.width; ++x)
                            for (uint16_t s : {4, 5}) {
                                const uint64_t pixel = uint64_t(y) * six.width + x;
                                const uint64_t at = (six.planar ? pixel : pixel * six.samples + s) * six.BytesPerSample();
                                for (uint32_t b = 0; b < six.BytesPerSample(); ++b) six.planes[six.planar ? s : 0][at + b] = 0;
                            }
                    host::WriteTiff(Path("six.tif"), six, "six.tif");
                }
                const Result applied = Run("apply" + merge + "'" + Path("six.tif") + "' '" + Path("out.tif") + "'");
                ASSERT_EQ(applied.code, 0) << applied.err;
                EXPECT_NE(applied.out.find("2 extra channels merged"), std::string::npos) << applied.out;
                const host::Image out = host::ReadImage(Path("out.tif"));
                ASSERT_EQ(out.samples, 5);
                ASSERT_EQ(out.extra, 1);
                EXPECT_EQ(out.inkSet, INKSET_CMYK);
                EXPECT_EQ(out.planar, six.planar);
                const double full = six.bits == 16 ? 65535.0 : 255.0;
                double largest = 0;
                uint32_t alphaDiffers = 0;
                for (uint32_t y = 0; y < six.height; y += 3)
                    for (uint32_t x = 0; x < six.width; ++x) {
                        double src[6], dst[4];
                        for (uint16_t c = 0; c < 6; ++c) src[c] = Sample(six, x, y, c) / full * 100.0;
                        ASSERT_EQ(TKDoTrafo(link, src, dst), 0);
                        for (uint16_t o = 0; o < 4; ++o)
                            largest = std::max(largest, std::fabs(Sample(out, x, y, o) - dst[o] / 100.0 * full));
                        alphaDiffers += Sample(six, x, y, 6) != Sample(out, x, y, 4);
                    }
                // 8 bits: one code; 16 bits: a spot member at 0 is the identity within its table's rounding.
                EXPECT_LE(largest, six.bits == 16 ? 40.0 : 1.0);
                EXPECT_EQ(alphaDiffers, 0u);
            }
    TKFreeTKLink16Ref(link);
}
#endif
