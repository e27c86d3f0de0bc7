// Helpers shared by the fuzz targets: errors the library reports are valid outcomes, so they
// are swallowed; crashes, overruns and leaks are what the sanitizers look for.
#pragma once

#include <cstddef>
#include <cstdint>

#include "foundation/TKError.h"
#include "icc/TKICCProfile.h"
#include "io/TKBuffer.h"
#include "numeric/TKTrafo.h"

namespace fuzz {

template <class F>
bool Try(F&& f) {
    try {
        f();
        return true;
    } catch (const TKError&) {
        return false;
    }
}

// A profile read whole from the bytes, or null when the reader refused them.
inline TKRefPtr<TKICCProfile> ReadProfile(const uint8_t* data, size_t size) {
    if (size > UINT32_MAX) return {};
    auto profile = TKMakeRef<TKICCProfile>();
    TKBuffer stream(data, uint32_t(size));
    if (!Try([&] { profile->Read(stream, 2); })) return {};
    return profile;
}

// Maps a few colours through the trafo: the corners and the middle of the unit cube in as many
// channels as it takes, and a short 16-bit raster where it has a pixel path.
inline void EvaluateSome(const TKTrafo& trafo) {
    int32_t dim = trafo.GetSrcDim();
    if (dim <= 0) dim = 3;
    if (dim > TKTrafo::kMaxPixelChannels) return;
    for (double value : {0.0, 0.5, 1.0}) {
        TKVector colour(dim, trafo.GetSrcType(), value);
        Try([&] { trafo.TrafoInPlace(colour); });
    }
    if (!trafo.CanTrafo16()) return;
    const int32_t out = trafo.GetDstDim(dim);
    if (out <= 0 || out > TKTrafo::kMaxPixelChannels) return;
    constexpr int32_t kPixels = 4;
    uint16_t source[kPixels * TKTrafo::kMaxPixelChannels];
    uint16_t result[kPixels * TKTrafo::kMaxPixelChannels];
    for (int32_t i = 0; i < kPixels * dim; ++i) source[i] = uint16_t(i * 0x3FFF);
    Try([&] { trafo.TrafoRaster16(kPixels, 1, source, result, 0, 0, nullptr); });
}

}  // namespace fuzz
