// Fuzz target: the text parsers a host hands strings to. The first byte picks the parser
// (matrix block, matrix line, curve block, colour text, channel-info option), the second is its
// parameter, the rest is the text.
#include <cstring>
#include <string>

#include "FuzzSupport.h"
#include "color/TKColors.h"
#include "icc/TKICCColorantTags.h"
#include "numeric/TKCurveLinearization.h"
#include "numeric/TKMatrix.h"
#include "tintara.h"

namespace {

// The colour types the colour reader is asked for; the last entry takes four bytes of input.
constexpr uint32_t kTypes[] = {TKLabSpace, TKXYZSpace,   TKLChSpace, TKRGBSpace, TKCMYKSpace,
                               TKGraySpace, TKReflSpace, TKYxySpace, TKColorSig("7CLR")};

// A CMYK profile with a colorant table, so that options reach real channels.
TKRefPtr<TKICCProfile> ProfileWithColorants() {
    auto profile = TKMakeRef<TKICCProfile>();
    profile->GetHeader().colorSpace = TKCMYKSpace;
    profile->GetHeader().pcs = TKLabSpace;
    auto table = TKMakeRef<TKColorantTableTag>();
    table->SetCount(4);
    profile->AddTag(table.Get(), false);
    return profile;
}

void ChannelOption(const std::string& text) {
    // "key=value"; without "=" the text is the key and asked for.
    const size_t equals = text.find('=');
    TKRefPtr<TKICCProfile> profile = ProfileWithColorants();
    char value[64];
    if (equals == std::string::npos) {
        TKGetProfileOption(profile.Get(), text.c_str(), value, int32_t(sizeof value));
        return;
    }
    const std::string key = text.substr(0, equals);
    if (TKSetProfileOption(profile.Get(), key.c_str(), text.c_str() + equals + 1) == 0)
        TKGetProfileOption(profile.Get(), key.c_str(), value, int32_t(sizeof value));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2 || size > (1u << 16)) return 0;
    const uint8_t parser = data[0] % 5, parameter = data[1];
    const std::string text(reinterpret_cast<const char*>(data + 2), size - 2);
    const auto length = int32_t(text.size());
    switch (parser) {
        case 0: {
            TKMatrix matrix;
            int32_t consumed = 0;
            if (fuzz::Try([&] { matrix.FromText(text.data(), length, &consumed); }) && parameter % 2)
                fuzz::Try([&] { matrix.ToText(); });
            break;
        }
        case 1: {
            TKMatrix matrix;
            fuzz::Try([&] { matrix.FromCompactString(text.c_str()); });
            break;
        }
        case 2: {
            TKCurveLinearization curve;
            int32_t consumed = 0;
            if (fuzz::Try([&] { curve.FromText(text.data(), length, &consumed); }))
                for (double x : {0.0, 0.25, 1.0}) fuzz::Try([&] { curve.ApplyInverse(curve.Apply(x)); });
            break;
        }
        case 3: {
            TKVector colour;
            const uint32_t type = kTypes[parameter % (sizeof kTypes / sizeof kTypes[0])];
            if (fuzz::Try([&] { GetColorFromText(colour, type, text.c_str(), parameter & 0x80); }))
                fuzz::Try([&] { GetColorText(colour, nullptr, parameter & 7); });
            break;
        }
        default:
            fuzz::Try([&] { ChannelOption(text); });
    }
    return 0;
}
