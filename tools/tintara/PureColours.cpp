// Exception modes by name and number, settings text from the command line or a file, ink limits.
#include "PureColours.h"

#include <cctype>
#include <cstdlib>
#include <cstring>

namespace host {

namespace {

// The names of the mode bits as the library's help text gives them, with the names of the
// flags that the help text calls otherwise, and the combinations it names.
struct ModeName {
    const char* name;
    uint32_t value;
};
constexpr ModeName kModeNames[] = {
    {"PureBlack", 1},          {"BlackOverprint", 2},      {"LinearizeGray", 4},       {"IgnoreGray", 8},
    {"PureGray", 12},          {"PureCMY", 16},            {"FullCMY", 16},            {"PurePrimaries", 32},
    {"PureRGB", 64},           {"FullRGB", 64},            {"PureWhite", 128},         {"Duplex", 256},
    {"Triplex", 512},          {"FullBlack", 1024},        {"Purify", 2048},           {"PureSecondaries", 4096},
    {"LimitPrimaries", 8192},  {"PreserveZeroBlack", 16384}, {"TriplexBelowTAC", 32768}, {"ClipToEdge", 65536},
    {"Preserve100Black", 131072}, {"MaxSecondaries", 262144}, {"FullBlackToBlack", 262144},
    {"FilterExceptions", 524288}, {"PureC", 0x100000},   {"PureM", 0x200000},        {"PureY", 0x400000},
    {"PureMY", 0x800000},      {"PureCY", 0x1000000},      {"PureCM", 0x2000000},      {"MaxCMY", 0x4000000},
    {"MaxRGB", 0x8000000},     {"None", 0},
};

bool SameName(const std::string& a, const char* b) {
    if (a.size() != std::strlen(b)) return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i]))) return false;
    return true;
}

// A word of a mode text: a name, or a decimal or 0x-hexadecimal number of 32 bits.
uint32_t ModeWord(const std::string& word) {
    for (const ModeName& m : kModeNames)
        if (SameName(word, m.name)) return m.value;
    if (!word.empty() && std::isdigit(static_cast<unsigned char>(word[0]))) {
        char* end = nullptr;
        const unsigned long long value = std::strtoull(word.c_str(), &end, 0);
        if (*end == 0 && value <= 0xFFFFFFFFull) return uint32_t(value);
    }
    throw UsageError("unknown exception mode '" + word + "'");
}

std::string SettingsText(const std::string& value) {
    if (value.empty() || value[0] != '@') return value;
    const std::vector<uint8_t> bytes = ReadFileBytes(value.substr(1));
    return std::string(bytes.begin(), bytes.end());
}

}  // namespace

int32_t ParseExceptionMode(const std::string& text) {
    uint32_t mode = 0;
    std::string word;
    for (size_t i = 0; i <= text.size(); ++i) {
        const char c = i < text.size() ? text[i] : '+';
        if (c == '+' || c == '|' || c == ',') {
            if (word.empty()) throw UsageError("empty word in exception mode '" + text + "'");
            mode |= ModeWord(word);
            word.clear();
        } else if (!std::isspace(static_cast<unsigned char>(c))) {
            word += c;
        }
    }
    return int32_t(mode);
}

bool PureOptions::Take(Args& args) {
    if (args.Done()) return false;
    const std::string word = args.Peek();
    if (word == "-x" || word == "--exceptions") {
        args.Take();
        mode = ParseExceptionMode(args.Value(word));
        exceptions = true;
    } else if (word == "--exception-settings") {
        args.Take();
        settings = SettingsText(args.Value(word));
        exceptions = true;
    } else if (word == "--exception-tolerance") {
        args.Take();
        const std::string value = args.Value(word);
        char* end = nullptr;
        tolerance = std::strtod(value.c_str(), &end);
        if (value.empty() || *end != 0 || !(tolerance >= 0.0 && tolerance <= 100.0))
            throw UsageError("--exception-tolerance takes a percentage from 0 to 100, not '" + value + "'");
    } else if (word == "--ink-limit") {
        args.Take();
        inkLimit = args.Value(word);
        if (inkLimit.empty()) throw UsageError("--ink-limit takes a total in percent");
    } else {
        return false;
    }
    return true;
}

Ref PureOptions::Apply(Ref trafo) const {
    if (exceptions) {
        Ref wrapped(TKNewExceptionTrafoRef(trafo.get(), mode, tolerance, settings.c_str()));
        if (!wrapped.get())
            throw Failure("the exception rules cannot wrap this trafo (its channel counts contradict its colour types)");
        trafo = std::move(wrapped);
    }
    if (!inkLimit.empty()) {
        std::string value(inkLimit);
        for (char& c : value)
            if (c == ',') c = ' ';
        Check(TKSetTrafoOption(trafo.get(), "InkLimit", value.c_str()), "ink limit " + inkLimit);
    }
    return trafo;
}

std::string PureOptions::Describe() const {
    std::string text;
    if (exceptions) {
        char mode16[16];
        std::snprintf(mode16, sizeof mode16, "0x%X", unsigned(mode));
        text += std::string("exceptions ") + mode16 + " at " + std::to_string(tolerance).substr(0, 4) + " %";
        if (!settings.empty()) text += " with settings";
    }
    if (!inkLimit.empty()) text += (text.empty() ? "" : ", ") + std::string("ink limit ") + inkLimit;
    return text;
}

const char* PureUsage() {
    return "  -x, --exceptions MODE   keep colours pure inside the link; names or numbers joined by +,\n"
           "                          | or , from: PureBlack(1) + BlackOverprint(2) + LinearizeGray(4)|\n"
           "                          IgnoreGray(8)|PureGray(12) + PureCMY(16) + PurePrimaries(32) +\n"
           "                          PureRGB(64) + PureWhite(128) + Duplex(256) + Triplex(512) +\n"
           "                          FullBlack(1024) + Purify(2048) + PureSecondaries(4096) +\n"
           "                          LimitPrimaries(8192) + PreserveZeroBlack(16384) +\n"
           "                          TriplexBelowTAC(32768) + ClipToEdge(65536) + Preserve100Black(131072)\n"
           "                          + MaxSecondaries(262144) + FilterExceptions(524288)\n"
           "      --exception-tolerance PERCENT  width of the rules' fall-off (default 1)\n"
           "      --exception-settings TEXT|@FILE  lines of GridSize, Spot, Range and TAC rules\n"
           "      --ink-limit TAC[,C,M,Y,K...]  total area coverage in percent, and limits per ink\n";
}

}  // namespace host
