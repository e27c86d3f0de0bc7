// tintara apply: converts an image through a profile chain or a saved link, streaming it band by
// band from a TIFF, PNG or JPEG into a TIFF that keeps the source's tags, a PNG or a JPEG.
#include <tiffio.h>

#include <cstdio>
#include <thread>

#include "Chain.h"
#include "Commands.h"
#include "EmbeddedProfile.h"
#include "ImageIO.h"
#include "ImagePipeline.h"
#include "LinkBake.h"
#include "MatchImage.h"
#include "PureColours.h"

namespace host {

namespace {

const char* const kUsage =
    "usage: tintara apply [CHAIN] [options] IN OUT\n"
    "Converts an image through the chain. IN is a TIFF (8 or 16-bit gray, RGB, CMYK, n inks,\n"
    "CIELab or ICCLab; strips or tiles, interleaved or planar), a PNG or a JPEG, told apart by\n"
    "content; OUT is a TIFF, or a PNG (gray, RGB) or JPEG (gray, RGB, CMYK) by its name's ending.\n"
    "The profile embedded in the image is the source: the -p profiles follow it (a first -p equal\n"
    "to it is the same source); --no-embedded makes the first -p the source instead. A Lab image\n"
    "starts in the connection space of the one -p profile; --to lab writes a Lab TIFF. Gray keeps\n"
    "its file's convention (black 0 or white 0). Extra samples such as alpha pass through\n"
    "untouched; unspecified extra samples after the colours count as spot channels when the link\n"
    "takes more channels. Resolution, compression, tiles, ink names, description, XMP, IPTC and\n"
    "Photoshop tags are kept, and the last profile of the chain is embedded when it describes the\n"
    "result (a device link never is). The image streams through in bands: memory stays the same\n"
    "whatever its size, and the bytes are the same for every thread count.\n\n"
    "options:\n";

// Takes unspecified extra samples right after the colours as further colour channels when the
// link wants them: a CMYK + spot TIFF often calls its spot plane an extra sample.
void CountSpotChannels(ImageShape& shape, int32_t wanted) {
    const int32_t missing = wanted - shape.ColourChannels();
    if (missing <= 0 || missing > shape.extra) return;
    for (int32_t e = 0; e < missing; ++e)
        if (shape.extraKinds[size_t(e)] != EXTRASAMPLE_UNSPECIFIED) return;
    shape.extra = uint16_t(shape.extra - missing);
    shape.extraKinds.erase(shape.extraKinds.begin(), shape.extraKinds.begin() + missing);
}

// The result: the source's size and tags, the link's channels, the same extra samples.
ImageShape ResultShape(const ImageShape& in, TKLinkRef link, const std::string& inName, ImageFormat format) {
    const int32_t srcDim = TKGetTrafoSrcDim(link), dstDim = TKGetTrafoDstDim(link);
    if (srcDim != in.ColourChannels())
        throw Failure(inName + " has " + std::to_string(in.ColourChannels()) + " colour channels; the trafo takes " +
                      std::to_string(srcDim));
    const uint32_t srcType = TKGetTrafoSrcType(link), dstType = TKGetTrafoDstType(link);
    if (in.IsLab() != (srcType == kLab))
        throw Failure(in.IsLab() ? inName + " holds Lab; the trafo starts in " + SignatureText(srcType)
                                 : "the trafo starts in Lab; " + inName + " holds device colours");
    if (dstType == kXYZ) throw Failure("the trafo ends in XYZ; images are written in device colours or Lab");
    if (dstDim < 1 || dstDim + in.extra > 0xFFFF) throw Failure("the trafo has no usable channel count");
    ImageShape out = in;
    out.samples = uint16_t(dstDim + in.extra);
    const bool lightGray = format != ImageFormat::Tiff || in.ColourChannels() != 1;
    // Gray results keep a gray source's convention; others, PNG and JPEG get the common one, black 0.
    out.photometric = dstType == kLab ? (in.IsLab() ? in.photometric : uint16_t(PHOTOMETRIC_CIELAB))
                      : dstDim == 1   ? (lightGray ? uint16_t(PHOTOMETRIC_MINISBLACK) : in.photometric)
                      : (dstDim == 3 && dstType != SignatureFrom("CMY")) ? PHOTOMETRIC_RGB
                                                                         : PHOTOMETRIC_SEPARATED;
    out.inkSet = (dstDim == 4 && dstType != SignatureFrom("mc4A")) ? INKSET_CMYK : INKSET_MULTIINK;
    if (out.photometric != PHOTOMETRIC_SEPARATED || dstDim != in.ColourChannels()) out.inkNames.clear();
    out.iccProfile.clear();
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
    WriteOptions writeOptions;
    std::vector<std::string> files;
    while (!args.Done()) {
        if (WantsHelp(args, kUsage)) {
            std::printf("%s  -g, --grid BITS      grid of the link baked from profiles, 1-6 (default: the\n"
                        "                       library's choice)\n"
                        "  -j, -t, --threads N  threads matching bands (default: the processors)\n"
                        "  -e, --embed FILE     profile to embed (default: the chain's last profile)\n"
                        "      --no-embed       embed no profile\n"
                        "      --no-embedded    ignore the profile embedded in the input; the first -p is the\n"
                        "                       source\n"
                        "  -c, --compression C  none, lzw, deflate or packbits (default: the source's)\n"
                        "      --planar, --interleaved  sample layout of the output (default: the source's)\n"
                        "  -Q, --quality Q      JPEG quality of a .jpg output, 1-100 (default 90)\n"
                        "      --max-image MIB  largest decoded input or output image, 1-4096 (default 4096)\n%s",
                        ChainUsage(), PureUsage());
            return 0;
        }
        if (chain.Take(args) || pure.Take(args)) continue;
        const std::string word = args.Take();
        if (word == "-g" || word == "--grid") gridBits = args.IntValue(word, 1, 6);
        else if (word == "-t" || word == "-j" || word == "--threads") threads = args.IntValue(word, 1, 256);
        else if (word == "-e" || word == "--embed") embed = args.Value(word);
        else if (word == "--no-embed") noEmbed = true;
        else if (word == "--no-embedded") ignoreEmbedded = true;
        else if (word == "-c" || word == "--compression") compression = args.Value(word);
        else if (word == "--planar") layout = 2;
        else if (word == "--interleaved") layout = 1;
        else if (word == "-Q" || word == "--quality") writeOptions.jpegQuality = args.IntValue(word, 1, 100);
        else if (word == "--max-image") maxImageBytes = uint64_t(args.IntValue(word, 1, int(kMaxImageBytes >> 20))) << 20;
        else if (IsOption(word)) throw UsageError("unknown option " + word);
        else files.push_back(word);
    }
    if (files.size() != 2) throw UsageError("give one input and one output image");
    if (chain.pcsIn) throw UsageError("the image says what it holds; --from does not apply");
    if (chain.pcsOut == kXYZ) throw UsageError("images are written in device colours or Lab; --to xyz does not apply");
    const std::string& inName = files[0];
    const std::string& outName = files[1];
    const ImageFormat format = FormatOfName(outName);
    const uint16_t outCompression = compression.empty() ? 0 : CompressionFrom(compression);

    const auto start = std::chrono::steady_clock::now();
    std::unique_ptr<ImageReader> reader = OpenImage(inName, maxImageBytes);
    ImageShape& inShape = reader->Shape();
    // A Lab image starts in the connection space; otherwise its own profile may start the chain.
    ChainOptions imageChain = chain;
    if (inShape.IsLab() && chain.link.empty() && chain.merge.empty()) imageChain.pcsIn = kLab;
    const SourceChoice source =
        ChooseSource(imageChain, inShape.iccProfile, inShape.ColourChannels(), inName, ignoreEmbedded || inShape.IsLab());
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

    CountSpotChannels(inShape, TKGetTrafoSrcDim(link));
    ImageShape outShape = ResultShape(inShape, link, inName, format);
    std::string profileName;
    if (!noEmbed && (!outShape.IsLab() || !embed.empty())) outShape.iccProfile = ProfileToEmbed(chain, embed, outShape.ColourChannels(), profileName);
    if (outCompression) {
        outShape.compression = outCompression;
        outShape.predictor = (outCompression == COMPRESSION_LZW || outCompression == COMPRESSION_ADOBE_DEFLATE) ? 2 : 0;
    }
    if (layout != 0) outShape.planar = layout == 2;
    // Tiles stay tiles in a TIFF; strips fit the bands that stream through.
    outShape.tiled = inShape.tiled && format == ImageFormat::Tiff;
    outShape.rowsPerStrip = StripRows(outShape, reader->BandRows());
    if (outShape.TotalBytes() > std::min(maxImageBytes, kMaxImageBytes))
        throw Failure("cannot write " + outName + ": image of " + std::to_string(outShape.width) + " x " +
                      std::to_string(outShape.height) + " pixels is too large (over " +
                      std::to_string(std::min(maxImageBytes, kMaxImageBytes) >> 20) + " MiB; see --max-image)");

    CheckFormatFits(format, outShape, outName);
    OutputFile file(outName);  // before the work, so that a path that cannot be written fails early
    const auto matchStart = std::chrono::steady_clock::now();
    {
        std::unique_ptr<ImageWriter> writer = CreateImageWriter(format, file.TempPath(), outShape, outName, writeOptions);
        const BandMatcher matcher(link, inShape, outShape);
        ProgressBar bar("converting " + std::to_string(inShape.height) + " rows");
        StreamImage(*reader, outShape, *writer, matcher, threads, bar);
        writer->Finish();
    }
    const double streamSeconds = SecondsSince(matchStart);
    file.Commit();

    const double megapixels = double(inShape.width) * inShape.height / 1e6;
    if (source.usesEmbedded) std::printf("source profile: the one embedded in %s\n", inName.c_str());
    std::printf("%s: %s, %u x %u, %u-bit %s, %d -> %d channels%s, %s\n", outName.c_str(), FormatName(format),
                inShape.width, inShape.height, format == ImageFormat::Jpeg ? 8u : unsigned(inShape.bits),
                outShape.planar ? "planar" : "interleaved", inShape.ColourChannels(), outShape.ColourChannels(),
                inShape.extra ? (" + " + std::to_string(inShape.extra) + " extra").c_str() : "",
                profileName.empty() ? "no profile embedded" : ("embedded " + profileName).c_str());
    if (merged) {
        std::printf("  merge link of %zu device-link profiles set up in %.2f s, %d extra channels merged\n",
                    chain.merge.size(), bakeSeconds, inShape.ColourChannels() - outShape.ColourChannels());
    } else if (chain.link.empty() || pure.Any()) {
        const LinkShape shape = ShapeOf(link);
        std::printf("  link set up in %.2f s, grid %s\n", bakeSeconds, shape.Text().c_str());
    }
    std::printf("  read, matched on %d thread%s and written in %.2f s (%.1f Mpixel/s), total %.2f s\n", threads,
                threads == 1 ? "" : "s", streamSeconds, streamSeconds > 0 ? megapixels / streamSeconds : 0.0,
                SecondsSince(start));
    return 0;
}

}  // namespace host
