// tintara link: bakes a device link from a profile chain (or re-grids a saved link) and saves it.
#include <algorithm>
#include <cctype>
#include <cstdio>

#include "Chain.h"
#include "Commands.h"
#include "IccLinkWriter.h"
#include "LinkBake.h"
#include "MergeLinkFile.h"
#include "PureColours.h"
#include "Reseparation.h"

namespace host {

namespace {

const char* const kUsage =
    "usage: tintara link [CHAIN] [-g BITS] -o OUT.lnk|OUT.icc\n"
    "       tintara link --reseparate BLACK -p CMYK.icc [-p CMYK2.icc] [-g BITS] -o OUT.lnk|OUT.icc\n"
    "Bakes the chain into a 16-bit device link and saves it: as a link file, or, when the name ends\n"
    "in .icc or .icm, as an ICC device-link profile (version 2.4, class 'link', a 16-bit table with\n"
    "the link's curves and grid, the profile sequence in 'pseq' and the settings in its description)\n"
    "that other colour engines apply. A saved link of either form given with --link is baked\n"
    "again, for instance onto another grid. Device-link profiles given with -m build a merge\n"
    "link for spot colours instead: it is checked and described, and with -o saved as a merge link\n"
    "file (each member baked on its own table's grid, or -g, and kept as an ICC device link) that\n"
    "-l reads like any link; 'tintara apply' also takes the -m options themselves.\n"
    "With --reseparate BLACK and one CMYK profile (or two: from the first to the last) the link\n"
    "separates each CMYK colour anew: it searches the ink that prints the same colour (relative\n"
    "colorimetric, or -i absolute) with black generated as BLACK says, for instance MaxK,0,100,300\n"
    "to save ink by taking the gray into black under a total ink of 300 %, or KeepK to keep each\n"
    "colour's black. Each node is a search, so a 17-point link takes about a minute; the report\n"
    "tells how well the nodes keep their colour and the ink before and after.\n\noptions:\n";

// Builds the merge link of the -m profiles and describes it; with an output name, saves it too.
int MakeMergeLink(const ChainOptions& chain, int32_t gridBits, const std::string& output) {
    const auto start = std::chrono::steady_clock::now();
    Ref link = BuildMergeLink(chain, gridBits);
    if (!output.empty()) {
        OutputFile file(output);
        WriteFileBytes(file.TempPath(), MergeLinkFileOf(chain, gridBits));
        file.Commit();
    }
    std::printf("merge link %s (%d) -> %s (%d) of %zu device-link profiles, built in %.2f s%s%s\n",
                SignatureText(TKGetTrafoSrcType(link.get())).c_str(), TKGetTrafoSrcDim(link.get()),
                SignatureText(TKGetTrafoDstType(link.get())).c_str(), TKGetTrafoDstDim(link.get()),
                chain.merge.size(), SecondsSince(start), output.empty() ? "" : ", written to ", output.c_str());
    return 0;
}

bool NamesIccProfile(const std::string& path) {
    if (path.size() < 4) return false;
    std::string extension = path.substr(path.size() - 4);
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return char(std::tolower(c)); });
    return extension == ".icc" || extension == ".icm";
}

const char* IntentText(int32_t intent) {
    switch (intent) {
    case 0: return "perceptual";
    case 1: return "relative";
    case 2: return "saturation";
    case 3: return "absolute";
    case kPerceptualBpc: return "perceptual-bpc";
    case kRelativeBpc: return "relative-bpc";
    case 20: return "header";
    default: return "intent";
    }
}

// What the ICC form records of how the link was made: the chain, intents, grid and options in
// its description, and the profiles in its sequence.
IccLinkInfo Provenance(const ChainOptions& chain, const PureOptions& pure, const LinkShape& shape,
                       const std::string& reseparation) {
    IccLinkInfo info;
    std::string text = "tintara link: ";
    if (!chain.link.empty()) text += "from link " + BaseName(chain.link);
    for (size_t i = 0; i < chain.profiles.size(); ++i) {
        const auto& member = chain.profiles[i];
        text += (i ? " -> " : "") + BaseName(member.path) + " (" + IntentText(member.intent) +
                (member.intent >= 4 && member.intent != 9 && member.intent != 10 && member.intent != 20
                     ? " " + std::to_string(member.intent)
                     : "") +
                ")";
        info.sequence.push_back(SequenceMemberOf(ReadFileBytes(member.path)));
    }
    if (!chain.profiles.empty()) {
        const int32_t first = chain.profiles.front().intent;
        info.intent = uint32_t(first == kPerceptualBpc ? 0 : first == kRelativeBpc ? 1 : first < 4 ? first : 0);
    }
    if (chain.bpc) text += ", black point compensation";
    if (chain.refine) text += ", refined";
    text += ", grid " + std::to_string(shape.gridPoints);
    if (pure.Any()) text += ", " + pure.Describe();
    if (!reseparation.empty()) text += ", re-separated with black " + reseparation;
    info.description = text;
    return info;
}

// The re-separation of the chain's CMYK profiles baked on the grid of `gridBits` (0: the host's
// default), loaded through the C interface like any saved link.
Ref ReseparatedLink(ChainOptions& chain, const BlackGeneration& black, int32_t gridBits, double& seconds) {
    const auto start = std::chrono::steady_clock::now();
    if (chain.profiles.empty()) throw UsageError("--reseparate needs the CMYK profile whose colours it keeps (-p)");
    const std::unique_ptr<InkSearch> search = InkSearchFor(chain, black);
    // The description of an ICC link names the intent the colour was kept by.
    const int32_t intent = SeparationIntent(chain);
    for (auto& member : chain.profiles) member.intent = intent;
    InkSearch::LinkSummary summary;
    const std::vector<uint8_t> bytes =
        search->BakeLink((1 << (gridBits ? gridBits : kFourChannelGridBits)) + 1, summary);
    Ref link(TKNewTKLink16Ref());
    if (!link.get()) throw Failure("cannot create a link object");
    Check(TKLoadLink16FromMemory(link.get(), bytes.data(), uint32_t(bytes.size())), "loading the re-separated link");
    seconds = SecondsSince(start);
    std::printf("re-separated with black %s over %lld nodes: CIEDE2000 to the source colour mean %.3f, p95 %.3f, "
                "max %.3f; total ink mean %.1f %% -> %.1f %%, max %.1f %% -> %.1f %%\n",
                black.Describe().c_str(), (long long)summary.nodes, summary.meanDelta, summary.p95Delta,
                summary.maxDelta, summary.inkBefore, summary.inkAfter, summary.maxInkBefore, summary.maxInkAfter);
    return link;
}

}  // namespace

int RunLink(Args& args) {
    ChainOptions chain;
    PureOptions pure;
    int32_t gridBits = 0;
    std::string output, reseparate;
    while (!args.Done()) {
        if (WantsHelp(args, kUsage)) {
            std::printf("%s  -g, --grid BITS      2^BITS + 1 grid points per axis, 1-6 (default: 17 points\n"
                        "                       for four source channels, 33 for three, else the library's\n"
                        "                       choice by the channel count; a saved link keeps its grid)\n"
                        "  -o, --output FILE    the link to write: a name ending in .icc or .icm gets an ICC\n"
                        "                       device-link profile, any other a link file\n"
                        "      --reseparate BLACK  separate CMYK anew keeping its colour (see above):\n%s%s",
                        ChainUsage(), BlackGenerationUsage(), PureUsage());
            return 0;
        }
        if (chain.Take(args) || pure.Take(args)) continue;
        const std::string word = args.Take();
        if (word == "-g" || word == "--grid") gridBits = args.IntValue(word, 1, 6);
        else if (word == "-o" || word == "--output") output = args.Value(word);
        else if (word == "--reseparate") reseparate = args.Value(word);
        else throw UsageError("unexpected argument " + word);
    }
    if (!chain.merge.empty()) {
        if (NamesIccProfile(output))
            throw UsageError("a merge link has no ICC form; save it under a name not ending in .icc or .icm");
        if (pure.Any()) throw UsageError("pure colours are not kept through a merge link");
        if (!reseparate.empty()) throw UsageError("--reseparate makes a link of its own, not a merge link");
        return MakeMergeLink(chain, gridBits, output);
    }
    if (output.empty()) throw UsageError("no output file given (-o)");
    if (!chain.link.empty() && IsMergeLinkFileAt(chain.link))
        throw UsageError("a merge link file is applied as it is, not baked again");
    if (chain.pcsIn || chain.pcsOut) throw UsageError("a link runs from device to device; --from and --to do not apply");
    double seconds = 0;
    Ref link;
    std::string reseparation;
    if (!reseparate.empty()) {
        if (pure.Any()) throw UsageError("--reseparate keeps no pure colours; its TAC limits the ink");
        const BlackGeneration black = BlackGeneration::Parse(reseparate, "--reseparate");
        link = ReseparatedLink(chain, black, gridBits, seconds);
        reseparation = black.Describe();
    } else {
        Ref trafo = pure.Apply(BuildTrafo(chain));
        // A saved link baked again keeps its own grid unless another is asked for.
        link = BakeLink(trafo.get(), gridBits == 0 && !chain.link.empty() ? kLibraryGrid : gridBits, seconds);
    }

    // A link may compute its nodes on first use; the time up to the saved file counts them all.
    const auto saveStart = std::chrono::steady_clock::now();
    const LinkShape shape = ShapeOf(link.get());
    OutputFile file(output);
    if (NamesIccProfile(output)) {
        const NativeLink tables = ParseNativeLink(SavedLinkBytes(link.get()), "in memory");
        WriteFileBytes(file.TempPath(), MakeIccDeviceLink(tables, Provenance(chain, pure, shape, reseparation)));
    } else {
        FileSpec spec(file.TempPath());
        Check(TKSaveLink16(link.get(), spec.get()), "writing link " + output);
    }
    file.Commit();
    seconds += SecondsSince(saveStart);
    std::printf("link %s (%d) -> %s (%d), grid %s, baked and saved in %.2f s, written to %s\n",
                SignatureText(TKGetTrafoSrcType(link.get())).c_str(), shape.srcDim,
                SignatureText(TKGetTrafoDstType(link.get())).c_str(), shape.dstDim, shape.Text().c_str(), seconds,
                output.c_str());
    if (pure.Any()) std::printf("  built with %s\n", pure.Describe().c_str());
    return 0;
}

}  // namespace host
