// Separations and re-separation built from the engine's own layers (see Reseparation.h).
#include "Reseparation.h"

#include <strings.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <sstream>

#include "color/TKCIEConverter.h"
#include "color/TKColorDifference.h"
#include "color/TKColors.h"
#include "foundation/TKProgress.h"
#include "icc/TKICCTrafoBuilder.h"
#include "io/TKBuffer.h"
#include "io/TKFileSpec.h"
#include "link/TKLinkGenericTrafo.h"
#include "separation/TKGCRSeparation.h"
#include "separation/TKParametricInvColorTrafo.h"
#include "separation/TKReseparationTrafo.h"

namespace host {

namespace {

const char* const kKeepBlack = "KeepK";
// The names besides the numbered table that the separation factory knows.
const char* const kFurtherNames[] = {"Auto", "PreferK", "InkLimit", "Balance"};

bool KnownName(const std::string& name) {
    if (strcasecmp(name.c_str(), kKeepBlack) == 0) return true;
    for (int32_t i = 0; i < kTKSeparationNameCount; ++i)
        if (strcasecmp(name.c_str(), TKSeparationName(i)) == 0) return true;
    for (const char* further : kFurtherNames)
        if (strcasecmp(name.c_str(), further) == 0) return true;
    // A number stands for the power of a black curve: positive plain, negative smooth.
    char* end = nullptr;
    const double power = std::strtod(name.c_str(), &end);
    return !name.empty() && *end == '\0' && std::isfinite(power) && power != 0.0;
}

std::string KnownNames() {
    std::string names = kKeepBlack;
    for (int32_t i = 0; i < kTKSeparationNameCount; ++i) names += std::string(", ") + TKSeparationName(i);
    for (const char* further : kFurtherNames) names += std::string(", ") + further;
    return names + " or a curve power";
}

// Runs engine code, turning its errors into the host's one-line failures.
template <class Work>
auto Engine(const std::string& what, Work work) -> decltype(work()) {
    try {
        return work();
    } catch (const TKError& error) {
        std::string text = what + ": " + CodeName(error.code()) + " (" + std::to_string(error.code()) + ")";
        if (*error.message()) text += ", " + std::string(error.message());
        throw Failure(text);
    }
}

TKRefPtr<TKColorSeparationBase> SeparationOf(const BlackGeneration& black) {
    return Engine("making the separation " + black.name, [&] {
        return TKNewSeparation(black.name.c_str(), TKVector(), black.p1, black.p2, black.tac);
    });
}

// The profile's forward (ink to connection space) and backward tables of a colorimetric intent.
struct ProfileTables {
    TKRefPtr<TKTrafo> forward, backward;
};

ProfileTables TablesOf(const std::string& path, int32_t intent) {
    return Engine("reading profile " + path, [&] {
        auto profile = TKMakeRef<TKICCProfile>();
        profile->ReadFile(TKFileSpec(TKString(path.c_str())), 2);
        TKICCTrafoBuilder builder(profile.Get());
        ProfileTables tables;
        tables.forward = builder.GetA2BTrafo(intent);
        if (uint32_t(tables.forward->GetSrcType()) != TKCMYKSpace)
            throw Failure("profile " + path + " is no CMYK printer profile: separations make CMYK");
        // The backward table only gives each search its start; a profile without one still works.
        try {
            tables.backward = builder.GetB2ATrafo(intent);
        } catch (const TKError&) {
        }
        return tables;
    });
}

std::string Number(double value) {
    std::ostringstream text;
    text << value;
    return text.str();
}

// The engine reports how far a bake has come at most once a second; the host's bar shows it.
class BarProgress : public TKProgress {
public:
    explicit BarProgress(ProgressBar& bar) : bar_(bar) {}
    void SetProgress(double fraction) override { bar_.Show(int64_t(fraction * 1000.0), 1000); }

private:
    ProgressBar& bar_;
};

}  // namespace

BlackGeneration BlackGeneration::Parse(const std::string& text, const std::string& option) {
    BlackGeneration black;
    std::istringstream fields(text);
    std::string field;
    std::vector<std::string> parts;
    while (std::getline(fields, field, ',')) parts.push_back(field);
    if (parts.empty() || parts.size() > 4)
        throw UsageError("option " + option + " takes NAME[,P1[,P2[,TAC]]], not '" + text + "'");
    black.name = parts[0];
    if (!KnownName(black.name))
        throw UsageError("unknown black generation '" + black.name + "' for " + option + ": give " + KnownNames());
    struct Range {
        double* value;
        const char* what;
        double low, high;
    };
    const Range ranges[] = {{&black.p1, "start", 0.0, 100.0},
                            {&black.p2, "strength", 0.0, 100.0},
                            {&black.tac, "total ink", 100.0, 400.0}};
    for (size_t i = 1; i < parts.size(); ++i) {
        const Range& range = ranges[i - 1];
        char* end = nullptr;
        *range.value = std::strtod(parts[i].c_str(), &end);
        if (parts[i].empty() || *end != '\0' || !(*range.value >= range.low && *range.value <= range.high))
            throw UsageError("the " + std::string(range.what) + " of " + option + " lies in " + Number(range.low) +
                             "-" + Number(range.high) + " percent, not '" + parts[i] + "'");
    }
    if (black.KeepsBlack() && parts.size() > 1) throw UsageError("KeepK of " + option + " takes no parameters");
    return black;
}

bool BlackGeneration::KeepsBlack() const { return strcasecmp(name.c_str(), kKeepBlack) == 0; }

std::string BlackGeneration::Describe() const {
    if (KeepsBlack()) return "KeepK (black kept)";
    return name + " (start " + Number(p1) + ", strength " + Number(p2) + ", TAC " + Number(tac) + ")";
}

const char* BlackGenerationUsage() {
    return "        NAME[,P1[,P2[,TAC]]]: KeepK keeps each colour's black and moves CMY; MaxK takes\n"
           "        all the gray into black (most ink saved); MinK the least; GCRMax, GCR2, GCR, UCR\n"
           "        (power 1, 1.5, 2, 3) less and less; their ...Smooth forms bend the dark end\n"
           "        gently; LinK, MuchK, NoK (no black), FullUCR, RGB, PreferK (P1: the black\n"
           "        wanted), Balance (P1: share of gray in black), InkLimit, Auto, or a number (the\n"
           "        power of a curve; below 0 the smooth form). P1 is the start of black (percent of\n"
           "        gray, default 0), P2 its strength in coloured areas (default 100), TAC the\n"
           "        total ink (100-400, default 400)\n";
}

struct InkSearch::Core {
    TKRefPtr<TKTrafo> trafo;         // the search, or the separation alone
    TKRefPtr<TKTrafo> sourceColour;  // re-separation: source ink to its colour
    TKRefPtr<TKTrafo> resultColour;  // re-separation: result ink to its colour
    uint32_t srcType = 0;
};

InkSearch::InkSearch(std::unique_ptr<Core> core) : core_(std::move(core)) {}
InkSearch::~InkSearch() = default;

std::unique_ptr<InkSearch> InkSearch::Separation(const BlackGeneration& black) {
    if (black.KeepsBlack()) throw UsageError("KeepK keeps the black of CMYK colours; CMY values have none");
    auto core = std::make_unique<Core>();
    core->trafo = SeparationOf(black);
    core->srcType = TKCMYSpace;
    return std::unique_ptr<InkSearch>(new InkSearch(std::move(core)));
}

std::unique_ptr<InkSearch> InkSearch::FromLab(const std::string& profile, int32_t intent, const BlackGeneration& black) {
    if (black.KeepsBlack()) throw UsageError("KeepK keeps the black of CMYK colours; Lab values have none");
    const ProfileTables tables = TablesOf(profile, intent);
    auto core = std::make_unique<Core>();
    core->trafo = Engine("setting up the search", [&] {
        const TKRefPtr<TKColorSeparationBase> separation = SeparationOf(black);
        return TKRefPtr<TKTrafo>(new TKInvColorTrafoSeparation(tables.backward.Get(), tables.forward.Get(),
                                                               separation.Get(), false),
                                 true);
    });
    core->srcType = TKLabSpace;
    return std::unique_ptr<InkSearch>(new InkSearch(std::move(core)));
}

std::unique_ptr<InkSearch> InkSearch::Reseparation(const std::string& source, const std::string& destination,
                                                   int32_t intent, const BlackGeneration& black) {
    const ProfileTables from = TablesOf(source, intent);
    const ProfileTables to = source == destination ? from : TablesOf(destination, intent);
    auto core = std::make_unique<Core>();
    core->trafo = Engine("setting up the re-separation", [&] {
        return TKRefPtr<TKTrafo>(new TKReseparationTrafo(from.forward.Get(), to.forward.Get(), to.backward.Get(),
                                                         black.name.c_str(), black.p1, black.p2, black.tac),
                                 true);
    });
    core->sourceColour = from.forward;
    core->resultColour = to.forward;
    core->srcType = TKCMYKSpace;
    return std::unique_ptr<InkSearch>(new InkSearch(std::move(core)));
}

int32_t InkSearch::SrcDim() const { return GetChannelCount(core_->srcType); }

int32_t InkSearch::DstDim() const { return 4; }

std::vector<double> InkSearch::Convert(const std::vector<double>& colour) {
    return Engine("converting", [&] {
        TKVector source(int32_t(colour.size()), int32_t(core_->srcType));
        for (size_t i = 0; i < colour.size(); ++i) source[int32_t(i)] = colour[i];
        const TKVector result = core_->trafo->Trafo(source);
        return std::vector<double>(result.Values(), result.Values() + result.GetDim());
    });
}

int32_t SeparationIntent(const ChainOptions& chain) {
    int32_t intent = 1;
    for (const auto& member : chain.profiles) {
        if (member.intent == 3) intent = 3;
        else if (member.intent != 0 && member.intent != 1)
            throw UsageError("a separation keeps colour colorimetrically: give -i relative or -i absolute");
    }
    return intent;
}

std::unique_ptr<InkSearch> InkSearchFor(const ChainOptions& chain, const BlackGeneration& black) {
    if (!chain.link.empty() || !chain.merge.empty())
        throw UsageError("a separation is made from profiles, not from a saved link");
    if (chain.pcsOut) throw UsageError("a separation ends in ink; --to does not apply");
    if (chain.refine) throw UsageError("a separation searches each ink anyway; --refine does not apply");
    if (chain.bpc) throw UsageError("a separation keeps colour colorimetrically; -b does not apply");
    if (chain.profiles.empty()) {
        if (chain.pcsIn) throw UsageError("--from needs the CMYK profile whose ink is searched (-p)");
        return InkSearch::Separation(black);
    }
    for (const auto& member : chain.profiles) ReadFileBytes(member.path);  // names a missing file first
    const int32_t intent = SeparationIntent(chain);
    if (chain.pcsIn) {
        if (chain.profiles.size() != 1) throw UsageError("--from takes a chain of one profile");
        return InkSearch::FromLab(chain.profiles.front().path, intent, black);
    }
    if (chain.profiles.size() > 2)
        throw UsageError("a re-separation runs from one CMYK profile to another (or itself): give one or two profiles");
    return InkSearch::Reseparation(chain.profiles.front().path, chain.profiles.back().path, intent, black);
}

std::vector<uint8_t> InkSearch::BakeLink(int32_t gridPoints, LinkSummary& summary) {
    if (!core_->sourceColour) throw Failure("only a re-separation is baked into a link");
    ProgressBar bar("searching the inks");
    BarProgress progress(bar);
    return Engine("baking the re-separation", [&] {
        auto link = TKMakeRef<TKLinkGenericTrafo>();
        link->CalcFromTrafo(core_->trafo.Get(), gridPoints, 0, &progress);
        bar.Finish();

        // Each node against its result: the colour kept, and the ink before and after.
        summary = LinkSummary();
        std::vector<double> deltas;
        int32_t position[4] = {0, 0, 0, 0};
        const double step = 100.0 / double(gridPoints - 1);
        for (bool more = true; more;) {
            const TKVector node({position[0] * step, position[1] * step, position[2] * step, position[3] * step},
                                int32_t(TKCMYKSpace));
            const TKVector ink = link->Trafo(node);
            const TKVector before = ConvertColor(TKLabSpace, core_->sourceColour->Trafo(node));
            const TKVector after = ConvertColor(TKLabSpace, core_->resultColour->Trafo(ink));
            deltas.push_back(DeltaE2000(before.Values(), after.Values()));
            summary.inkBefore += node.Sum();
            summary.inkAfter += ink.Sum();
            summary.maxInkBefore = std::max(summary.maxInkBefore, node.Sum());
            summary.maxInkAfter = std::max(summary.maxInkAfter, ink.Sum());
            int32_t c = 3;
            while (c >= 0 && ++position[c] == gridPoints) position[c--] = 0;
            more = c >= 0;
        }
        summary.nodes = int64_t(deltas.size());
        summary.inkBefore /= double(summary.nodes);
        summary.inkAfter /= double(summary.nodes);
        for (double delta : deltas) summary.meanDelta += delta / double(summary.nodes);
        std::sort(deltas.begin(), deltas.end());
        summary.p95Delta = deltas[size_t(0.95 * double(deltas.size() - 1))];
        summary.maxDelta = deltas.back();

        TKBuffer stream;
        link->SaveStream(stream);
        uint32_t size = 0;
        const uint8_t* data = stream.GetData(&size);
        return std::vector<uint8_t>(data, data + size);
    });
}

}  // namespace host
