// Writes the small device links the host's tests apply: each computes a known function at its
// nodes, so that the tests have gray, RGB, CMYK and n-channel ends while the profile functions
// are not in every build. Usage: make_test_links OUTPUT_DIR
#include <sys/stat.h>

#include <cmath>
#include <cstdio>
#include <functional>
#include <string>

#include "../../../tests/link/MergeTestSupport.h"
#include "color/TKColors.h"
#include "foundation/TKError.h"
#include "icc/TKICCLinkProfileWriter.h"
#include "io/TKFileSpec.h"
#include "link/TKLinkGenericTrafo.h"

namespace {

using NodeFunction = std::function<void(const double* in, double* out)>;

// A link whose nodes are `function` of the node position, both in 0..1 per channel.
class FunctionLink : public TKLinkGenericTrafo {
public:
    explicit FunctionLink(NodeFunction function) : fFunction(std::move(function)) {}
    void EvalNode(const uint16_t* position, uint16_t* out) override {
        double in[16], result[16];
        for (int32_t c = 0; c < GetSrcDim(); ++c) in[c] = position[c] / 65535.0;
        fFunction(in, result);
        for (int32_t o = 0; o < GetDstDim(); ++o)
            out[o] = uint16_t(std::lround(std::fmin(1.0, std::fmax(0.0, result[o])) * 65535.0));
    }

private:
    NodeFunction fFunction;
};

void Write(const std::string& dir, const char* name, int32_t srcDim, int32_t dstDim, uint32_t srcType,
           uint32_t dstType, int32_t grid, NodeFunction function) {
    TKRefPtr<FunctionLink> link = TKMakeRef<FunctionLink>(std::move(function));
    link->Init(srcDim, dstDim, grid, 0);
    link->SetRanges(int32_t(srcType), int32_t(dstType));
    link->Finish(false, false, nullptr);
    TKFileSpec spec(TKString((dir + "/" + name).c_str()));
    link->Save(&spec);
}

constexpr uint32_t Sig(const char (&text)[5]) {
    return uint32_t(uint8_t(text[0])) << 24 | uint32_t(uint8_t(text[1])) << 16 | uint32_t(uint8_t(text[2])) << 8 |
           uint8_t(text[3]);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: make_test_links OUTPUT_DIR\n");
        return 2;
    }
    const std::string dir = argv[1];
    mkdir(dir.c_str(), 0777);  // an existing folder is fine
    try {
        // A plain proof of inks on white paper: each ink takes away its complement.
        Write(dir, "cmyk-to-rgb.lnk", 4, 3, Sig("CMYK"), Sig("RGB "), 9, [](const double* in, double* out) {
            for (int i = 0; i < 3; ++i) out[i] = (1 - in[i]) * (1 - in[3]);
        });
        // A curved RGB edit: a gamma per channel and a channel rotation.
        Write(dir, "rgb-to-rgb.lnk", 3, 3, Sig("RGB "), Sig("RGB "), 17, [](const double* in, double* out) {
            out[0] = std::pow(in[1], 0.8), out[1] = std::pow(in[2], 1.2), out[2] = in[0];
        });
        Write(dir, "rgb-to-gray.lnk", 3, 1, Sig("RGB "), Sig("GRAY"), 17, [](const double* in, double* out) {
            out[0] = 0.2126 * in[0] + 0.7152 * in[1] + 0.0722 * in[2];
        });
        Write(dir, "gray-to-cmyk.lnk", 1, 4, Sig("GRAY"), Sig("CMYK"), 33, [](const double* in, double* out) {
            out[0] = out[1] = out[2] = 0.4 * (1 - in[0]);
            out[3] = (1 - in[0]) * (1 - in[0]);
        });
        // Six inks out and back: n-channel rasters on both sides.
        Write(dir, "rgb-to-6.lnk", 3, 6, Sig("RGB "), GetColorType(6), 9, [](const double* in, double* out) {
            for (int i = 0; i < 3; ++i) out[i] = 1 - in[i], out[i + 3] = in[i] * in[(i + 1) % 3];
        });
        Write(dir, "6-to-rgb.lnk", 6, 3, GetColorType(6), Sig("RGB "), 5, [](const double* in, double* out) {
            for (int i = 0; i < 3; ++i) out[i] = 1 - 0.5 * (in[i] + in[i + 3]);
        });
        // Device-link profiles of a merge link: a CMYK press conversion, orange and green over CMYK.
        using namespace merge_test;
        const std::pair<const char*, TKRefPtr<TKTrafo>> profiles[] = {
            {"press.icc", TKRefPtr<TKTrafo>(new PressCMYK, true)},
            {"orange.icc", TKRefPtr<TKTrafo>(new SpotOverCMYK(OrangeRecipe()), true)},
            {"green.icc", TKRefPtr<TKTrafo>(new SpotOverCMYK(GreenRecipe()), true)},
        };
        for (const auto& [name, trafo] : profiles)
            TKMakeDeviceLinkProfile(*trafo, 9, name)->WriteFile(TKFileSpec(TKString((dir + "/" + name).c_str())));
    } catch (const TKError& error) {
        std::fprintf(stderr, "make_test_links: error %d\n", int(error.code()));
        return 1;
    }
    return 0;
}
