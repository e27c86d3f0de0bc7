// tintara testimage: a test raster of ramps, a hue sweep, flat patches (neutrals, skin tones,
// saturated colours) and a smooth two-dimensional gradient.
#include <tiffio.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "Commands.h"
#include "Image.h"

namespace host {

namespace {

const char* const kUsage =
    "usage: tintara testimage [options] OUT.tif\n"
    "Writes a test image: gray and primary ramps, a hue sweep, flat patches of neutrals, skin tones\n"
    "and saturated colours, and a smooth two-dimensional gradient.\n\noptions:\n"
    "  -s, --size WxH       pixels (default 1200x900)\n"
    "  -b, --bits 8|16      bits per sample (default 8)\n"
    "      --space S        rgb, gray or cmyk (default rgb)\n"
    "  -a, --alpha          add an alpha channel (a diagonal ramp)\n"
    "      --planar         one plane per sample\n"
    "  -c, --compression C  none, lzw, deflate or packbits (default lzw)\n"
    "  -e, --embed FILE     ICC profile to embed\n"
    "  -r, --resolution DPI (default 300)\n"
    "  -t, --tiles SIZE     tiles of SIZE x SIZE pixels (a multiple of 16) instead of strips\n"
    "  -n, --noise CODES    add up to this many 8-bit codes of fixed pseudo-random noise to each\n"
    "                       sample, so that neighbours rarely repeat, as in a photo (default 0)\n";

struct Rgb {
    double r, g, b;  // 0 to 1
};

// Flat patches: neutrals, skin tones from light to dark, saturated primaries and memory colours.
const Rgb kPatches[] = {
    {1, 1, 1},          {0, 0, 0},          {0.5, 0.5, 0.5},    {0.18, 0.18, 0.18}, {0.92, 0.80, 0.71},
    {0.87, 0.67, 0.55}, {0.76, 0.53, 0.40}, {0.55, 0.33, 0.21}, {1, 0, 0},          {0, 1, 0},
    {0, 0, 1},          {0, 1, 1},          {1, 0, 1},          {1, 1, 0},          {0.35, 0.60, 0.85},
    {0.30, 0.48, 0.22},
};
constexpr int kPatchColumns = 8;

Rgb FromHue(double hue, double saturation, double value) {
    const double h = std::fmod(hue, 1.0) * 6.0;
    const double f = h - std::floor(h);
    const double p = value * (1 - saturation), q = value * (1 - saturation * f), t = value * (1 - saturation * (1 - f));
    switch (int(h)) {
    case 0: return {value, t, p};
    case 1: return {q, value, p};
    case 2: return {p, value, t};
    case 3: return {p, q, value};
    case 4: return {t, p, value};
    default: return {value, p, q};
    }
}

// The colour at pixel (x, y) of a w x h image.
Rgb ColourAt(uint32_t x, uint32_t y, uint32_t w, uint32_t h) {
    const double u = w > 1 ? double(x) / (w - 1) : 0.0;
    const double v = double(y) / h;
    if (v < 0.25) {  // four ramps: gray, red, green, blue
        const int band = std::min(3, int(v * 16));
        switch (band) {
        case 0: return {u, u, u};
        case 1: return {u, 0, 0};
        case 2: return {0, u, 0};
        default: return {0, 0, u};
        }
    }
    if (v < 0.5) {  // hue sweep, saturated at the top, paler and darker below
        const double k = (v - 0.25) * 4;
        return FromHue(u, 1.0 - 0.6 * k, 1.0 - 0.3 * k);
    }
    if (v < 0.75) {  // two rows of flat patches
        const int column = std::min(kPatchColumns - 1, int(u * kPatchColumns));
        const int row = v < 0.625 ? 0 : 1;
        return kPatches[row * kPatchColumns + column];
    }
    const double k = (v - 0.75) * 4;  // smooth gradient over two axes
    return {u, k, 1.0 - 0.5 * (u + k)};
}

// A fixed hash of a sample's place: noise that is the same in every run.
uint32_t Noise(uint32_t x, uint32_t y, uint32_t s) {
    uint32_t h = x * 0x9E3779B1u ^ (y + 0x7F4A7C15u) * 0x85EBCA77u ^ (s + 1) * 0xC2B2AE3Du;
    h ^= h >> 15;
    h *= 0x2C1B3C6Du;
    return h ^ (h >> 12);
}

}  // namespace

int RunTestImage(Args& args) {
    Image image;
    image.width = 1200;
    image.height = 900;
    image.compression = COMPRESSION_LZW;
    image.hasResolution = true;
    image.xResolution = image.yResolution = 300;
    std::string space = "rgb", output, embed;
    bool alpha = false;
    int noise = 0;
    while (!args.Done()) {
        if (WantsHelp(args, kUsage)) return 0;
        const std::string word = args.Take();
        if (word == "-s" || word == "--size") {
            const std::string size = args.Value(word);
            unsigned w = 0, h = 0;
            char tail = 0;
            if (std::sscanf(size.c_str(), "%ux%u%c", &w, &h, &tail) != 2 || w < 1 || h < 1 || w > 65535 || h > 65535)
                throw UsageError("size '" + size + "' is not WxH with 1 to 65535 pixels a side");
            image.width = w;
            image.height = h;
        } else if (word == "-b" || word == "--bits") {
            image.bits = uint16_t(args.IntValue(word, 8, 16));
            if (image.bits != 8 && image.bits != 16) throw UsageError("bits are 8 or 16");
        } else if (word == "--space") {
            space = args.Value(word);
            if (space != "rgb" && space != "gray" && space != "cmyk") throw UsageError("space is rgb, gray or cmyk");
        } else if (word == "-a" || word == "--alpha") {
            alpha = true;
        } else if (word == "--planar") {
            image.planar = true;
        } else if (word == "-c" || word == "--compression") {
            image.compression = CompressionFrom(args.Value(word));
        } else if (word == "-e" || word == "--embed") {
            embed = args.Value(word);
        } else if (word == "-t" || word == "--tiles") {
            const int size = args.IntValue(word, 16, 4096);
            if (size % 16 != 0) throw UsageError("tiles are a multiple of 16 pixels a side");
            image.tiled = true;
            image.tileWidth = image.tileHeight = uint32_t(size);
        } else if (word == "-n" || word == "--noise") {
            noise = args.IntValue(word, 0, 64);
        } else if (word == "-r" || word == "--resolution") {
            image.xResolution = image.yResolution = float(args.IntValue(word, 1, 100000));
        } else if (IsOption(word) || !output.empty()) {
            throw UsageError("unexpected argument " + word);
        } else {
            output = word;
        }
    }
    if (output.empty()) throw UsageError("no output file given");
    const uint16_t colours = space == "gray" ? 1 : space == "rgb" ? 3 : 4;
    image.photometric = space == "gray" ? PHOTOMETRIC_MINISBLACK : space == "rgb" ? PHOTOMETRIC_RGB : PHOTOMETRIC_SEPARATED;
    image.extra = alpha ? 1 : 0;
    if (alpha) image.extraKinds = {EXTRASAMPLE_UNASSALPHA};
    image.samples = uint16_t(colours + image.extra);
    if (image.compression == COMPRESSION_LZW || image.compression == COMPRESSION_ADOBE_DEFLATE) image.predictor = 2;
    if (!embed.empty()) image.iccProfile = ReadFileBytes(embed);
    image.Allocate();

    const double full = image.bits == 16 ? 65535.0 : 255.0;
    for (uint32_t y = 0; y < image.height; ++y)
        for (uint32_t x = 0; x < image.width; ++x) {
            const Rgb c = ColourAt(x, y, image.width, image.height);
            double values[5];
            if (colours == 1) {
                values[0] = 0.2126 * c.r + 0.7152 * c.g + 0.0722 * c.b;
            } else if (colours == 3) {
                values[0] = c.r, values[1] = c.g, values[2] = c.b;
            } else {  // a plain complement separation with full black generation, for testing only
                const double k = 1.0 - std::max({c.r, c.g, c.b});
                const double rest = k < 1.0 ? 1.0 - k : 1.0;
                values[0] = (1 - c.r - k) / rest, values[1] = (1 - c.g - k) / rest, values[2] = (1 - c.b - k) / rest;
                values[3] = k;
            }
            if (alpha) values[colours] = double(x + y) / double(image.width + image.height - 2 > 0 ? image.width + image.height - 2 : 1);
            for (uint16_t s = 0; s < image.samples; ++s) {
                const double offset = noise ? double(Noise(x, y, s) % uint32_t(2 * noise + 1)) - noise : 0.0;
                const uint32_t sample = uint32_t(std::lround(std::clamp(values[s] + offset / 255.0, 0.0, 1.0) * full));
                const uint64_t pixel = uint64_t(y) * image.width + x;
                const uint64_t at = image.planar ? pixel : pixel * image.samples + s;
                auto& plane = image.planes[image.planar ? s : 0];
                if (image.bits == 8) {
                    plane[at] = uint8_t(sample);
                } else {
                    const uint16_t word16 = uint16_t(sample);
                    std::memcpy(&plane[at * 2], &word16, 2);
                }
            }
        }
    OutputFile file(output);
    WriteTiff(file.TempPath(), image, output);
    file.Commit();
    std::printf("%s: %u x %u, %u-bit %s%s, %s\n", output.c_str(), image.width, image.height, image.bits,
                space.c_str(), alpha ? " + alpha" : "", image.planar ? "planar" : "interleaved");
    return 0;
}

}  // namespace host
