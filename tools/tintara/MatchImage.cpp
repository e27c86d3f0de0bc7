// Matches one band of rows through a ready link.
#include "MatchImage.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <vector>

#include "SampleCoding.h"

namespace host {

namespace {

// Pixels of one kernel call: long calls spread the library's per-call setup, short ones keep
// the recoding buffers of Lab small.
constexpr uint64_t kPixelsPerRun = 65536;

// Pointers to the colour channels of rows from `first` on, and the step between pixels.
template <class Pointer>
std::vector<Pointer> ChannelPointers(const Image& band, uint32_t first, int32_t& step) {
    std::vector<Pointer> pointers(band.ColourChannels());
    step = band.planar ? 1 : band.samples;
    for (uint16_t c = 0; c < band.ColourChannels(); ++c) {
        const uint8_t* base = band.planes[band.planar ? c : 0].data() + first * band.RowBytes();
        pointers[c] = Pointer(base + (band.planar ? 0 : c * band.BytesPerSample()));
    }
    return pointers;
}

}  // namespace

BandMatcher::BandMatcher(TKLinkRef link, const ImageShape& in, const ImageShape& out)
    : link_(link),
      invertIn_(StoresLight(in)),
      invertOut_(StoresLight(out)),
      // Lab files go through 16-bit codes in the link's encoding.
      recode_(in.IsLab() || out.IsLab()),
      rowsPerRun_(uint32_t(std::max<uint64_t>(1, kPixelsPerRun / std::max(1u, in.width)))) {}

void BandMatcher::Match(Image& in, Image& out, uint32_t rows) const {
    if (invertIn_) InvertChannel(in, 0, 0, rows);
    for (uint32_t first = 0; first < rows; first += rowsPerRun_)
        Check(MatchRun(in, out, first, std::min(rowsPerRun_, rows - first)), "matching the pixels");
    if (in.extra > 0) CopyExtra(in, out, rows);
    if (invertOut_) InvertChannel(out, 0, 0, rows);
}

int32_t BandMatcher::MatchRun(Image& in, Image& out, uint32_t first, uint32_t rows) const {
    const int32_t count = int32_t(uint64_t(in.width) * rows);
    if (recode_) {
        std::vector<uint16_t> src(size_t(count) * in.ColourChannels()), dst(size_t(count) * out.ColourChannels());
        ToLinkCodes(in, first, rows, src.data());
        const int32_t code = TKLink16Match(link_, count, src.data(), dst.data(), 0, 0, nullptr, nullptr);
        if (code == 0) FromLinkCodes(dst.data(), out, first, rows);
        return code;
    }
    const bool wide = in.bits == 16;
    if (!in.planar && !out.planar) {
        const void* src = in.planes[0].data() + first * in.RowBytes();
        void* dst = out.planes[0].data() + first * out.RowBytes();
        return wide ? TKLink16Match(link_, count, src, dst, in.extra, out.extra, nullptr, nullptr)
                    : TKLink8Match(link_, count, src, dst, in.extra, out.extra, nullptr, nullptr);
    }
    int32_t srcStep = 1, dstStep = 1;
    std::vector<const void*> src = ChannelPointers<const void*>(in, first, srcStep);
    std::vector<void*> dst = ChannelPointers<void*>(out, first, dstStep);
    return wide ? TKLink16MatchPlanes(link_, count, src.data(), dst.data(), srcStep, dstStep, nullptr, nullptr)
                : TKLink8MatchPlanes(link_, count, src.data(), dst.data(), srcStep, dstStep, nullptr, nullptr);
}

void BandMatcher::CopyExtra(const Image& in, Image& out, uint32_t rows) const {
    const uint32_t bytes = in.BytesPerSample();
    if (in.planar && out.planar) {
        for (uint16_t e = 0; e < in.extra; ++e)
            std::memcpy(out.planes[out.ColourChannels() + e].data(), in.planes[in.ColourChannels() + e].data(),
                        size_t(rows * in.RowBytes()));
        return;
    }
    const uint64_t pixels = uint64_t(in.width) * rows;
    for (uint16_t e = 0; e < in.extra; ++e) {
        const uint16_t from = uint16_t(in.ColourChannels() + e), to = uint16_t(out.ColourChannels() + e);
        const uint8_t* src = in.planes[in.planar ? from : 0].data() + (in.planar ? 0 : from * bytes);
        uint8_t* dst = out.planes[out.planar ? to : 0].data() + (out.planar ? 0 : to * bytes);
        const uint64_t srcStep = (in.planar ? 1 : in.samples) * bytes, dstStep = (out.planar ? 1 : out.samples) * bytes;
        for (uint64_t p = 0; p < pixels; ++p) std::memcpy(dst + p * dstStep, src + p * srcStep, bytes);
    }
}

}  // namespace host
