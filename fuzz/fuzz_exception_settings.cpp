// Fuzz target: the texts hosts hand to pure-colour links. The input's first four bytes are a
// mode word; the rest is a settings text of the exception logic and, cut at its first newline,
// option values of trafo options. Whatever reads, the trafos must then evaluate colours in
// every path without a crash; failures are codes only.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "color/TKColors.h"
#include "separation/TKColorException.h"
#include "tintara.h"

namespace {

int32_t Copy(const double* src, double* dst, void*) {
    std::memcpy(dst, src, 4 * sizeof(double));
    return 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 4 || size > 1u << 16) return 0;
    uint32_t mode;
    std::memcpy(&mode, data, 4);
    const std::string text(reinterpret_cast<const char*>(data + 4), size - 4);
    const double colours[][4] = {{0, 0, 0, 100}, {100, 0, 0, 0}, {0, 60, 80, 0}, {0, 0, 0, 0}, {100, 100, 100, 100}, {33, 12, 7, 41}};

    // The settings text on the class, with every mode the input gives.
    for (uint32_t type : {uint32_t(TKCMYKSpace), uint32_t(TKRGBSpace), uint32_t(TKGraySpace)}) {
        TKColorException exception(type, TKCMYKSpace);
        exception.SetMode(mode);
        exception.SetExtendedMode(int32_t(mode >> 31));
        exception.ParseSettings(TKString(text.c_str()));
        for (const auto& c : colours) {
            TKVector source(GetChannelCount(type), int32_t(type));
            for (int32_t i = 0; i < source.GetDim(); ++i) source[i] = c[i] * (type == TKRGBSpace ? 2.55 : 1.0);
            try {
                exception.ApplyExceptions(source, TKVector({c[1], c[2], c[3], c[0]}, int32_t(TKCMYKSpace)));
            } catch (const TKError&) {
            }
        }
    }

    // The same text through the exports, and its first line as option values.
    TKTrafoRef copy = TKNewCustomTrafoRef(4, 4, TKCMYKSpace, TKCMYKSpace, Copy, nullptr);
    TKTrafoRef pure = TKNewExceptionTrafoRef(copy, int32_t(mode), double(mode & 0xFF) / 10.0, text.c_str());
    const std::string value = text.substr(0, text.find('\n'));
    for (const char* key : {"ReplaceSpot", "ReplaceGradient", "ReplaceMode", "InkLimit"}) TKSetTrafoOption(copy, key, value.c_str());
    TKTrafoRef lab = TKNewCustomTrafoRef(0, 0, TKLabSpace, TKXYZSpace, nullptr, nullptr);
    TKSetTrafoOption(lab, "WhiteBase", value.c_str());
    TKSetTrafoOption(lab, "Observer", value.c_str());
    double out[4];
    for (const auto& c : colours) {
        TKDoTrafo(copy, c, out);
        if (pure) TKDoTrafo(pure, c, out);
        TKDoTrafo(lab, c, out);
    }
    TKFreeTKTrafoRef(lab);
    TKFreeTKTrafoRef(pure);
    TKFreeTKTrafoRef(copy);
    return 0;
}
