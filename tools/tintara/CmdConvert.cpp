// tintara convert: colour values through a profile chain or a link, from the command line or
// from standard input, one colour a line.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <iostream>
#include <sstream>

#include "Chain.h"
#include "Commands.h"
#include "ConnectionSpace.h"
#include "Reseparation.h"

namespace host {

namespace {

const char* const kUsage =
    "usage: tintara convert [CHAIN] [--precision N] [VALUE ...]\n"
    "       tintara convert --separation BLACK [-p CMYK.icc [--from lab|xyz] [-p CMYK2.icc]] [VALUE ...]\n"
    "Converts colours. Give the values of one or more colours as arguments, or none (or '-') to\n"
    "read standard input, one colour a line. Units: RGB 0-255, inks 0-100, Lab as is, XYZ with\n"
    "Y = 100 for the white.\n"
    "With --separation, black is generated as BLACK says: without a profile CMY becomes CMYK on\n"
    "the engine's ink model; with a CMYK profile and --from lab (or xyz) each colour becomes the\n"
    "ink of that profile which prints it, found by search; with CMYK profiles alone each CMYK\n"
    "colour of the first becomes the ink of the last (or the same) that prints the same colour:\n"
    "a re-separation. Colour is kept colorimetrically (-i relative, the default, or -i absolute).\n"
    "\noptions:\n";

bool ParseNumber(const std::string& text, double& value) {
    char* end = nullptr;
    value = std::strtod(text.c_str(), &end);
    return !text.empty() && *end == '\0' && std::isfinite(value);
}

// The colour of the user's connection space in the one the trafo takes (0: as it is).
std::vector<double> InSpace(const std::vector<double>& colour, uint32_t userIn, uint32_t trafoIn) {
    std::vector<double> src(colour);
    if (userIn && trafoIn && userIn != trafoIn) {
        if (userIn == kLab) LabToXYZ(colour.data(), src.data());
        else XYZToLab(colour.data(), src.data());
    }
    return src;
}

// One colour and where it came from, converted and printed.
using ConvertOne = std::function<std::vector<double>(const std::vector<double>&, const std::string&)>;

struct Converter {
    int32_t srcDim;
    int precision;
    ConvertOne convert;

    void Convert(const std::vector<double>& colour, const std::string& where) const {
        const std::vector<double> result = convert(colour, where);
        for (size_t i = 0; i < result.size(); ++i) std::printf("%s%.*f", i ? " " : "", precision, result[i]);
        std::printf("\n");
    }
};

Converter ThroughLibrary(const ChainOptions& chain, int precision, Ref& trafo) {
    trafo = BuildTrafo(chain);
    const TKTrafoRef ref = trafo.get();
    const int32_t srcDim = TKGetTrafoSrcDim(ref), dstDim = TKGetTrafoDstDim(ref);
    if (srcDim < 1 || dstDim < 1) throw Failure("the trafo has no fixed number of channels");
    const uint32_t userIn = chain.pcsIn, trafoIn = uint32_t(TKGetTrafoSrcType(ref));
    return {srcDim, precision, [=](const std::vector<double>& colour, const std::string& where) {
                const std::vector<double> src = InSpace(colour, userIn, trafoIn);
                std::vector<double> dst(size_t(std::max(dstDim, srcDim)) + 8);
                Check(TKDoTrafo(ref, src.data(), dst.data()), "converting " + where);
                dst.resize(size_t(dstDim));
                return dst;
            }};
}

Converter ThroughSeparation(const ChainOptions& chain, const BlackGeneration& black, int precision,
                            std::shared_ptr<InkSearch>& search) {
    search = InkSearchFor(chain, black);
    InkSearch* const s = search.get();
    const uint32_t userIn = chain.pcsIn;
    return {s->SrcDim(), precision, [=](const std::vector<double>& colour, const std::string&) {
                return s->Convert(InSpace(colour, userIn, userIn ? kLab : 0));
            }};
}

}  // namespace

int RunConvert(Args& args) {
    ChainOptions chain;
    int precision = 3;
    std::string separation;
    std::vector<std::string> words;
    while (!args.Done()) {
        if (WantsHelp(args, kUsage)) {
            std::printf("%s  -n, --precision N    decimals of the results (default 3)\n"
                        "      --separation BLACK  generate black as BLACK says (see above):\n%s",
                        ChainUsage(), BlackGenerationUsage());
            return 0;
        }
        if (chain.Take(args)) continue;
        const std::string word = args.Take();
        double number;
        if (word == "-n" || word == "--precision") precision = args.IntValue(word, 0, 12);
        else if (word == "--separation") separation = args.Value(word);
        else if (IsOption(word) && !ParseNumber(word, number)) throw UsageError("unknown option " + word);
        else words.push_back(word);
    }
    Ref trafo;
    std::shared_ptr<InkSearch> search;
    const Converter converter =
        separation.empty() ? ThroughLibrary(chain, precision, trafo)
                           : ThroughSeparation(chain, BlackGeneration::Parse(separation, "--separation"), precision, search);

    std::vector<double> colour;
    auto take = [&](const std::string& text, const std::string& where) {
        double value;
        if (!ParseNumber(text, value)) throw Failure("'" + text + "' is not a number (" + where + ")");
        colour.push_back(value);
        if (colour.size() == size_t(converter.srcDim)) {
            converter.Convert(colour, where);
            colour.clear();
        }
    };
    if (!words.empty() && !(words.size() == 1 && words[0] == "-")) {
        for (const auto& word : words) take(word, "arguments");
        if (!colour.empty())
            throw UsageError("the trafo takes " + std::to_string(converter.srcDim) + " values a colour; " +
                             std::to_string(colour.size()) + " are left over");
        return 0;
    }
    std::string line;
    for (long number = 1; std::getline(std::cin, line); ++number) {
        const size_t hash = line.find('#');
        if (hash != std::string::npos) line.erase(hash);
        std::istringstream fields(line);
        std::string field;
        const std::string where = "line " + std::to_string(number);
        while (fields >> field) {
            if (field.back() == ',') field.pop_back();
            if (!field.empty()) take(field, where);
        }
        if (!colour.empty())
            throw Failure(where + " holds " + std::to_string(colour.size()) + " values; the trafo takes " +
                          std::to_string(converter.srcDim));
    }
    return 0;
}

}  // namespace host
