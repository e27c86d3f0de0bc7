// tintara convert: colour values through a profile chain or a link, from the command line or
// from standard input, one colour a line.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <sstream>

#include "Chain.h"
#include "Commands.h"
#include "ConnectionSpace.h"

namespace host {

namespace {

const char* const kUsage =
    "usage: tintara convert [CHAIN] [--precision N] [VALUE ...]\n"
    "Converts colours. Give the values of one or more colours as arguments, or none (or '-') to\n"
    "read standard input, one colour a line. Units: RGB 0-255, inks 0-100, Lab as is, XYZ with\n"
    "Y = 100 for the white.\n\noptions:\n";

bool ParseNumber(const std::string& text, double& value) {
    char* end = nullptr;
    value = std::strtod(text.c_str(), &end);
    return !text.empty() && *end == '\0' && std::isfinite(value);
}

struct Converter {
    TKTrafoRef trafo;
    int32_t srcDim, dstDim;
    uint32_t userIn;   // the connection space the user's values are in, or 0
    int precision;

    void Convert(const std::vector<double>& colour, const std::string& where) {
        std::vector<double> src(colour), dst(size_t(std::max(dstDim, srcDim)) + 8);
        if (userIn && userIn != TKGetTrafoSrcType(trafo)) {
            // The user gave the other connection space than the profile's; convert it here.
            if (userIn == kLab) LabToXYZ(colour.data(), src.data());
            else XYZToLab(colour.data(), src.data());
        }
        Check(TKDoTrafo(trafo, src.data(), dst.data()), "converting " + where);
        for (int32_t i = 0; i < dstDim; ++i) std::printf("%s%.*f", i ? " " : "", precision, dst[size_t(i)]);
        std::printf("\n");
    }
};

}  // namespace

int RunConvert(Args& args) {
    ChainOptions chain;
    int precision = 3;
    std::vector<std::string> words;
    while (!args.Done()) {
        if (WantsHelp(args, kUsage)) {
            std::printf("%s  -n, --precision N    decimals of the results (default 3)\n", ChainUsage());
            return 0;
        }
        if (chain.Take(args)) continue;
        const std::string word = args.Take();
        double number;
        if (word == "-n" || word == "--precision") precision = args.IntValue(word, 0, 12);
        else if (IsOption(word) && !ParseNumber(word, number)) throw UsageError("unknown option " + word);
        else words.push_back(word);
    }
    Ref trafo = BuildTrafo(chain);
    Converter converter{trafo.get(), TKGetTrafoSrcDim(trafo.get()), TKGetTrafoDstDim(trafo.get()), chain.pcsIn,
                        precision};
    if (converter.srcDim < 1 || converter.dstDim < 1)
        throw Failure("the trafo has no fixed number of channels");

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
