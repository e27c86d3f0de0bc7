// tintara apply: converts a TIFF image through a profile chain or a saved link, into a TIFF that
// keeps the source's tags or a PNG to look at.
#include <tiffio.h>

#include <cstdio>
#include <future>
#include <thread>

#include "Chain.h"
#include "Commands.h"
#include "EmbeddedProfile.h"
#include "Image.h"
#include "LinkBake.h"
#include "MatchImage.h"
#include "PureColours.h"
#include "SampleCoding.h"

namespace host {

namespace {

const char* const kUsage =
    "usage: tintara apply [CHAIN] [options] IN.tif OUT.tif|OUT.png\n"
    "Converts an 8 or 16-bit TIFF (gray, RGB, CMYK or n inks, interleaved or planar) through the\n"
    "chain. The profile embedded in the image is the source: the -p profiles follow it (a first -p\n"
    "equal to it is the same source); --no-embedded makes the first -p the source instead. Gray\n"
    "keeps its file convention (black 0 or white 0). Extra samples such as alpha pass through\n"
    "untouched; resolution and compression are kept and the last profile of the chain is embedded\n"
    "when it describes the result (a device link never is). A .png output takes gray or RGB.\n\n"
    "options:\n";

// The output raster: the source's size and tags, the link's channels, the same extra samples.
Image Prepare(const Image& in, TKLinkRef link, const std::string& inName, uint64_t maxImageBytes) {
    const int32_t srcDim = TKGetTrafoSrcDim(link), dstDim = TKGetTrafoDstDim(link);
    if (srcDim != in.ColourChannels())
        throw Failure(inName + " has " + std::to_string(in.ColourChannels()) + " colour channels; the trafo takes " +
                      std::to_string(srcDim));
    const uint32_t dstType = TKGetTrafoDstType(link);
    if (dstType == kLab || dstType == kXYZ)
        throw Failure("the trafo ends in " + SignatureText(dstType) + "; images are written in device colours");
    if (dstDim < 1 || dstDim + in.extra > 0xFFFF) throw Failure("the trafo has no usable channel count");
    Image out(static_cast<const ImageShape&>(in));
    out.samples = uint16_t(dstDim + in.extra);
    // Gray results keep a gray source's convention; others get the common one, black 0.
    out.photometric = dstDim == 1 ? (in.ColourChannels() == 1 ? in.photometric : uint16_t(PHOTOMETRIC_MINISBLACK))
                      : (dstDim == 3 && dstType != SignatureFrom("CMY")) ? PHOTOMETRIC_RGB
                                                                         : PHOTOMETRIC_SEPARATED;
    out.inkSet = (dstDim == 4 && dstType != SignatureFrom("mc4A")) ? INKSET_CMYK : INKSET_MULTIINK;
    out.iccProfile.clear();
    out.Allocate(false, maxImageBytes);  // every sample is matched or copied into it
    return out;
}

}  // namespace

int RunApply(Args& args) {
    ChainOptions chain;
    PureOptions pure;
    int32_t gridBits = 0;
    int threads = int(std::max(1u, std::thread::hardware_concurrency()));
    std::string embed, compression;
    bool noEmbed = false, ignoreEmbedded = false;
    int layout = 0;  // 0 keep, 1 interleaved, 2 planar
    uint64_t maxImageBytes = kMaxImageBytes;
    std::vector<std::string> files;
    while (!args.Done()) {
        if (WantsHelp(args, kUsage)) {
            std::printf("%s  -g, --grid BITS      grid of the link baked from profiles, 1-6 (default: the\n"
                        "                       library's choice)\n"
                        "  -t, --threads N      threads matching strips (default: the processors)\n"
                        "  -e, --embed FILE     profile to embed (default: the chain's last profile)\n"
                        "      --no-embed       embed no profile\n"
                        "      --no-embedded    ignore the profile embedded in the input; the first -p is the\n"
                        "                       source\n"
                        "  -c, --compression C  none, lzw, deflate or packbits (default: the source's)\n"
                        "      --planar, --interleaved  sample layout of the output (default: the source's)\n"
                        "      --max-image MIB  largest decoded input or output image, 1-4096 (default 4096)\n%s",
                        ChainUsage(), PureUsage());
            return 0;
        }
        if (chain.Take(args) || pure.Take(args)) continue;
        const std::string word = args.Take();
        if (word == "-g" || word == "--grid") gridBits = args.IntValue(word, 1, 6);
        else if (word == "-t" || word == "--threads") threads = args.IntValue(word, 1, 256);
        else if (word == "-e" || word == "--embed") embed = args.Value(word);
        else if (word == "--no-embed") noEmbed = true;
        else if (word == "--no-embedded") ignoreEmbedded = true;
        else if (word == "-c" || word == "--compression") compression = args.Value(word);
        else if (word == "--planar") layout = 2;
        else if (word == "--interleaved") layout = 1;
        else if (word == "--max-image") maxImageBytes = uint64_t(args.IntValue(word, 1, int(kMaxImageBytes >> 20))) << 20;
        else if (IsOption(word)) throw UsageError("unknown option " + word);
        else files.push_back(word);
    }
    if (files.size() != 2) throw UsageError("give one input and one output image");
    if (chain.pcsIn || chain.pcsOut) throw UsageError("images run from device to device; --from and --to do not apply");
    const std::string& inName = files[0];
    const std::string& outName = files[1];
    const bool png = IsPngName(outName);
    const uint16_t outCompression = compression.empty() ? 0 : CompressionFrom(compression);

    const auto start = std::chrono::steady_clock::now();
    // The source's own profile decides the chain, so the image is read first.
    const auto readStart = std::chrono::steady_clock::now();
    Image in = ReadTiff(inName, maxImageBytes);
    const double readSeconds = SecondsSince(readStart);
    const SourceChoice source = ChooseSource(chain, in.iccProfile, in.ColourChannels(), inName, ignoreEmbedded);
    // Pure colours are baked into a new link, also around a saved one.
    double bakeSeconds = 0;
    const bool merged = !chain.merge.empty();
    if (merged && pure.Any()) throw UsageError("pure colours are not kept through a merge link");
    const auto setupStart = std::chrono::steady_clock::now();
    Ref trafo = merged ? BuildMergeLink(chain, gridBits) : pure.Apply(BuildTrafo(source.chain));
    if (merged) bakeSeconds = SecondsSince(setupStart);
    Ref baked;
    TKLinkRef link = trafo.get();
    if (!merged && (chain.link.empty() || pure.Any())) {
        baked = BakeLink(trafo.get(), gridBits, bakeSeconds);
        link = baked.get();
    }

    Image out = Prepare(in, link, inName, maxImageBytes);
    if (png && out.ColourChannels() == 1) out.photometric = PHOTOMETRIC_MINISBLACK;  // PNG gray is light
    std::string profileName;
    if (!noEmbed) out.iccProfile = ProfileToEmbed(chain, embed, out.ColourChannels(), profileName);
    if (outCompression) {
        out.compression = outCompression;
        out.predictor = (outCompression == COMPRESSION_LZW || outCompression == COMPRESSION_ADOBE_DEFLATE) ? 2 : 0;
    }

    if (png) CheckPngFits(out, outName);
    OutputFile file(outName);  // before the work, so that a path that cannot be written fails early
    const auto matchStart = std::chrono::steady_clock::now();
    {
        ProgressBar bar("matching " + std::to_string(in.height) + " rows");
        if (StoresLight(in)) InvertChannel(in, 0, 0, in.height);
        MatchImage(link, in, out, threads, bar);
        if (StoresLight(out)) InvertChannel(out, 0, 0, out.height);
    }
    const double matchSeconds = SecondsSince(matchStart);
    if (layout != 0 && (layout == 2) != out.planar) {
        Image relaid(static_cast<const ImageShape&>(out));
        relaid.planar = layout == 2;
        relaid.Allocate(false, maxImageBytes);
        const uint32_t bytes = out.BytesPerSample();
        for (uint32_t y = 0; y < out.height; ++y)
            for (uint32_t x = 0; x < out.width; ++x)
                for (uint16_t s = 0; s < out.samples; ++s) {
                    const uint64_t pixel = uint64_t(y) * out.width + x;
                    const uint64_t inter = (pixel * out.samples + s) * bytes, plane = pixel * bytes;
                    const uint8_t* from = out.planar ? &out.planes[s][plane] : &out.planes[0][inter];
                    uint8_t* to = relaid.planar ? &relaid.planes[s][plane] : &relaid.planes[0][inter];
                    for (uint32_t b = 0; b < bytes; ++b) to[b] = from[b];
                }
        out = std::move(relaid);
    }
    if (png) WritePng(file.TempPath(), out, outName);
    else WriteTiff(file.TempPath(), out, outName);
    file.Commit();

    const double megapixels = double(in.width) * in.height / 1e6;
    if (source.usesEmbedded) std::printf("source profile: the one embedded in %s\n", inName.c_str());
    std::printf("%s: %u x %u, %u-bit %s, %d -> %d channels%s, %s\n", outName.c_str(), in.width, in.height, in.bits,
                in.planar ? "planar" : "interleaved", in.ColourChannels(), out.ColourChannels(),
                in.extra ? (" + " + std::to_string(in.extra) + " extra").c_str() : "",
                profileName.empty() ? "no profile embedded" : ("embedded " + profileName).c_str());
    if (merged) {
        std::printf("  merge link of %zu device-link profiles set up in %.2f s, %d extra channels merged\n",
                    chain.merge.size(), bakeSeconds, in.ColourChannels() - out.ColourChannels());
    } else if (chain.link.empty() || pure.Any()) {
        const LinkShape shape = ShapeOf(link);
        std::printf("  link set up in %.2f s, grid %s\n", bakeSeconds, shape.Text().c_str());
    }
    std::printf("  read %.2f s, matched %.2f s on %d thread%s (%.1f Mpixel/s), total %.2f s\n", readSeconds,
                matchSeconds, threads, threads == 1 ? "" : "s", matchSeconds > 0 ? megapixels / matchSeconds : 0.0,
                SecondsSince(start));
    return 0;
}

}  // namespace host
