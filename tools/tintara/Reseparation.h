// Black generation in the host: CMY separated into CMYK, Lab searched into the ink of a CMYK
// profile with a chosen black, and CMYK re-separated into CMYK with the same colour (the
// ink-saving link). The C interface offers no way to choose a separation, so these are built
// from the engine's own layers, linked into the host directly as the chart reader is. Nothing
// of them meets an object of the shared library: a re-separation leaves here as the bytes of a
// link file, which the rest of the host loads through the C interface.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Chain.h"
#include "HostSupport.h"

namespace host {

// How black is generated: "KeepK" (each colour keeps its black, CMY move) or the name of a
// separation with its two black parameters and the total ink.
struct BlackGeneration {
    std::string name;
    double p1 = 0.0;     // start of the black curve in percent (PreferK: the black wanted)
    double p2 = 100.0;   // strength in percent: lower takes black out of coloured areas
    double tac = 400.0;  // total ink the result may carry, percent

    // NAME[,P1[,P2[,TAC]]]. A UsageError names an unknown separation (and lists the names), a
    // parameter that is no number, or one outside its range.
    static BlackGeneration Parse(const std::string& text, const std::string& option);
    bool KeepsBlack() const;
    // "MaxK (start 0, strength 100, TAC 300)".
    std::string Describe() const;
};

// The names --separation and --reseparate accept, for usage texts.
const char* BlackGenerationUsage();

// A trafo of the engine's own classes that searches ink colour by colour: one thread at a time.
class InkSearch {
public:
    // CMY (percent) into CMYK through the separation alone. KeepK has nothing to keep here.
    static std::unique_ptr<InkSearch> Separation(const BlackGeneration& black);
    // Lab into the CMYK ink of `profile` whose colour under `intent` (1 relative, 3 absolute
    // colorimetric) is nearest, black following the separation.
    static std::unique_ptr<InkSearch> FromLab(const std::string& profile, int32_t intent, const BlackGeneration& black);
    // CMYK of `source` into the CMYK of `destination` that prints the same colour under `intent`
    // with the chosen black. Both profiles must be CMYK printer profiles.
    static std::unique_ptr<InkSearch> Reseparation(const std::string& source, const std::string& destination,
                                                   int32_t intent, const BlackGeneration& black);
    ~InkSearch();
    InkSearch(const InkSearch&) = delete;
    InkSearch& operator=(const InkSearch&) = delete;

    int32_t SrcDim() const;
    int32_t DstDim() const;
    // One colour; a Failure when the engine refuses it.
    std::vector<double> Convert(const std::vector<double>& colour);

    // How well a baked link keeps colour and how much ink it takes, over its grid nodes.
    struct LinkSummary {
        int64_t nodes = 0;
        double meanDelta = 0, p95Delta = 0, maxDelta = 0;  // CIEDE2000, node against its result
        double inkBefore = 0, inkAfter = 0;                // mean total ink, percent
        double maxInkBefore = 0, maxInkAfter = 0;
    };
    // The re-separation baked into a 16-bit link of `gridPoints` per axis, as link-file bytes.
    // Only for Reseparation objects. `summary` gets what the nodes show.
    std::vector<uint8_t> BakeLink(int32_t gridPoints, LinkSummary& summary);

private:
    struct Core;
    explicit InkSearch(std::unique_ptr<Core> core);
    std::unique_ptr<Core> core_;
};

// The search a chain asks for with a black generation: no profile, CMY into CMYK; one profile
// and --from lab|xyz, the connection space into its ink; one or two CMYK profiles, a
// re-separation from the first to the last. A UsageError for what does not fit (a link, a merge
// link, --to, --refine, -b, an intent other than relative or absolute, more profiles).
std::unique_ptr<InkSearch> InkSearchFor(const ChainOptions& chain, const BlackGeneration& black);

// The colorimetric intent a separation keeps colour by: absolute when the chain asks for it,
// else relative (the perceptual default included). A UsageError for other intents.
int32_t SeparationIntent(const ChainOptions& chain);

}  // namespace host
