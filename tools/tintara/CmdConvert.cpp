// tintara convert: colour values through a profile chain or a link, from the command line or
// from standard input, one colour a line.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <sstream>

#include "Chain.h"
#include "Commands.h"

namespace host {

namespace {

const char* const kUsage =
    "usage: tintara convert [CHAIN] [--precision N] [VALUE ...]\n"
    "Converts colours. Give the values of one or more colours as arguments, or none (or '-') to\n"
    "read standard input, one colour a line. Units: RGB 0-255, inks 0-100, Lab as is, XYZ with\n"
    "Y = 100 for the white.\n\noptions:\n";

// D50, the white of the connection space, Y = 100.
constexpr double kWhite[3] = {96.42, 100.0, 82.49};

double LabF(double t) { return t > 216.0 / 24389.0 ? std::cbrt(t) : (24389.0 / 27.0 * t + 16.0) / 116.0; }
double LabFInverse(double f) { return f * f * f > 216.0 / 24389.0 ? f * f * f : (116.0 * f - 16.0) * 27.0 / 24389.0; }

// Host-side conversions between the two connection spaces, for a profile whose own connection
// space differs from the one the user speaks.
void LabToXYZ(const double* lab, double* xyz) {
    const double fy = (lab[0] + 16.0) / 116.0;
    const double f[3] = {fy + lab[1] / 500.0, fy, fy - lab[2] / 200.0};
    for (int i = 0; i < 3; ++i) xyz[i] = kWhite[i] * LabFInverse(f[i]);
}

void XYZToLab(const double* xyz, double* lab) {
    double f[3];
    for (int i = 0; i < 3; ++i) f[i] = LabF(xyz[i] / kWhite[i]);
    lab[0] = 116.0 * f[1] - 16.0;
    lab[1] = 500.0 * (f[0] - f[1]);
    lab[2] = 200.0 * (f[1] - f[2]);
}

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
