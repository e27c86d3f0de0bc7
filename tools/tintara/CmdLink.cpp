// tintara link: bakes a device link from a profile chain (or re-grids a saved link) and saves it.
#include <cstdio>

#include "Chain.h"
#include "Commands.h"
#include "LinkBake.h"
#include "PureColours.h"

namespace host {

namespace {

const char* const kUsage =
    "usage: tintara link [CHAIN] [-g BITS] -o OUT.lnk\n"
    "Bakes the chain into a 16-bit device link and saves it. A saved link given with --link is\n"
    "baked again, for instance onto another grid. Device-link profiles given with -m build a merge\n"
    "link for spot colours instead: it is checked and described, and 'tintara apply' takes the\n"
    "same -m options (a merge link has no file form of its own).\n\noptions:\n";

// Builds the merge link of the -m profiles and describes it.
int DescribeMergeLink(const ChainOptions& chain, int32_t gridBits) {
    const auto start = std::chrono::steady_clock::now();
    Ref link = BuildMergeLink(chain, gridBits);
    std::printf("merge link %s (%d) -> %s (%d) of %zu device-link profiles, built in %.2f s\n",
                SignatureText(TKGetTrafoSrcType(link.get())).c_str(), TKGetTrafoSrcDim(link.get()),
                SignatureText(TKGetTrafoDstType(link.get())).c_str(), TKGetTrafoDstDim(link.get()),
                chain.merge.size(), SecondsSince(start));
    return 0;
}

}  // namespace

int RunLink(Args& args) {
    ChainOptions chain;
    PureOptions pure;
    int32_t gridBits = 0;
    std::string output;
    while (!args.Done()) {
        if (WantsHelp(args, kUsage)) {
            std::printf("%s  -g, --grid BITS      2^BITS + 1 grid points per axis, 1-6 (default: chosen by\n"
                        "                       the library from the channel count)\n"
                        "  -o, --output FILE    the link file to write\n%s",
                        ChainUsage(), PureUsage());
            return 0;
        }
        if (chain.Take(args) || pure.Take(args)) continue;
        const std::string word = args.Take();
        if (word == "-g" || word == "--grid") gridBits = args.IntValue(word, 1, 6);
        else if (word == "-o" || word == "--output") output = args.Value(word);
        else throw UsageError("unexpected argument " + word);
    }
    if (!chain.merge.empty()) {
        if (!output.empty()) throw UsageError("a merge link has no file form; give its profiles to 'tintara apply'");
        if (pure.Any()) throw UsageError("pure colours are not kept through a merge link");
        return DescribeMergeLink(chain, gridBits);
    }
    if (output.empty()) throw UsageError("no output file given (-o)");
    if (chain.pcsIn || chain.pcsOut) throw UsageError("a link runs from device to device; --from and --to do not apply");
    Ref trafo = pure.Apply(BuildTrafo(chain));
    double seconds = 0;
    Ref link = BakeLink(trafo.get(), gridBits, seconds);

    // A link may compute its nodes on first use; the time up to the saved file counts them all.
    const auto saveStart = std::chrono::steady_clock::now();
    OutputFile file(output);
    FileSpec spec(file.TempPath());
    Check(TKSaveLink16(link.get(), spec.get()), "writing link " + output);
    file.Commit();
    seconds += SecondsSince(saveStart);
    const LinkShape shape = ShapeOf(link.get());
    std::printf("link %s (%d) -> %s (%d), grid %s, baked and saved in %.2f s, written to %s\n",
                SignatureText(TKGetTrafoSrcType(link.get())).c_str(), shape.srcDim,
                SignatureText(TKGetTrafoDstType(link.get())).c_str(), shape.dstDim, shape.Text().c_str(), seconds,
                output.c_str());
    if (pure.Any()) std::printf("  built with %s\n", pure.Describe().c_str());
    return 0;
}

}  // namespace host
