// Device-link profiles from trafos: grid sampling into an "mft2" A2B0 tag of a "link" profile.
#include "icc/TKICCLinkProfileWriter.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "color/TKColors.h"
#include "foundation/TKProgress.h"
#include "icc/TKICCLutTags.h"

namespace {

// The largest table written: a 15-channel grid could otherwise ask for petabytes.
constexpr uint64_t kMaxTableBytes = uint64_t(64) << 20;
// The lookup table's channel limit ("mft2" stores counts as bytes, ICC allows 15).
constexpr int32_t kMaxLutChannels = 15;

uint32_t DeviceSide(int32_t type, int32_t channels) {
    const uint32_t device = type ? uint32_t(type) : GetDeviceType(channels);
    if (!IsDeviceSpace(device) || GetChannelCount(device) != channels)
        TKThrowMsg(ArgErr, "a device link runs between device types");
    return device;
}

// A channel range run the other way: from its top down to its bottom.
void TurnOver(double& min, double& span) {
    min += span;
    span = -span;
}

// A "link" class profile, version 2.4, holding `table` as its A2B0.

TKRefPtr<TKICCProfileLink> LinkProfileAround(TKICCLutTag* table, uint32_t srcType, uint32_t dstType,
                                             const TKString& description) {
    auto profile = TKMakeRef<TKICCProfileLink>();
    TKICCHeader& header = profile->GetHeader();
    header.deviceClass = TKICCSig("link");
    header.colorSpace = srcType;
    header.pcs = dstType;
    header.version = 0x02400000;
    profile->AddTextTag(TKICCSig("desc"), description);
    profile->AddTextTag(TKICCSig("cprt"), "No rights reserved");
    profile->AddEmptySequence();
    profile->AddTag(table, false);
    return profile;
}

}  // namespace

TKRefPtr<TKICCProfileLink> TKMakeDeviceLinkProfile(const TKTrafo& trafo, int32_t gridPoints,
                                                   const TKString& description, TKProgress* progress) {
    const int32_t in = trafo.GetSrcDim();
    const int32_t out = trafo.GetDstDim(in);
    if (in < 1 || in > kMaxLutChannels || out < 1 || out > kMaxLutChannels || gridPoints < 2 || gridPoints > 255)
        TKThrow(ArgErr);
    uint64_t nodes = 1;
    for (int32_t c = 0; c < in; ++c) {
        nodes *= uint64_t(gridPoints);
        if (nodes * uint64_t(out) * 2 > kMaxTableBytes) TKThrow(MemFullErr);
    }
    const uint32_t srcType = DeviceSide(trafo.GetSrcType(), in);
    const uint32_t dstType = DeviceSide(trafo.GetDstType(int32_t(srcType)), out);

    // Identity curves of two entries: the grid carries the whole trafo.
    auto table = TKMakeRef<TKICCLutTag>(TKICCSig("mft2"), TKICCSig("A2B0"));
    table->SetupLut16(in, out, 2, 2, gridPoints);
    for (int32_t c = 0; c < in; ++c) table->SetInputCurvePoint(c, 1, 0xFFFF);
    for (int32_t o = 0; o < out; ++o) table->SetOutputCurvePoint(o, 1, 0xFFFF);

    const size_t ins = size_t(in), outs = size_t(out);
    std::vector<double> srcMin(ins), srcSpan(ins), dstMin(outs), dstSpan(outs);
    for (int32_t c = 0; c < in; ++c) {
        srcMin[size_t(c)] = GetChannelMin(srcType, c);
        srcSpan[size_t(c)] = GetChannelMax(srcType, c) - srcMin[size_t(c)];
    }
    for (int32_t o = 0; o < out; ++o) {
        dstMin[size_t(o)] = GetChannelMin(dstType, o);
        dstSpan[size_t(o)] = GetChannelMax(dstType, o) - dstMin[size_t(o)];
    }
    // ICC gray is a device value with 0 for black, the engine's gray an ink: the gray axis of
    // the table runs from full ink down to none.
    if (srcType == TKGraySpace) TurnOver(srcMin[0], srcSpan[0]);
    if (dstType == TKGraySpace) TurnOver(dstMin[0], dstSpan[0]);
    TKVector position(in, int32_t(srcType));
    std::vector<uint16_t> values(outs);
    for (uint64_t node = 0; node < nodes; ++node) {
        // First channel slowest, as the table stores its nodes.
        uint64_t rest = node;
        for (int32_t c = in - 1; c >= 0; --c) {
            const double t = double(rest % uint64_t(gridPoints)) / (gridPoints - 1);
            position[c] = srcMin[size_t(c)] + t * srcSpan[size_t(c)];
            rest /= uint64_t(gridPoints);
        }
        const TKVector result = trafo.Trafo(position);
        if (result.GetDim() != out) TKThrow(DimMismatch);
        for (int32_t o = 0; o < out; ++o) {
            const double t = (result[o] - dstMin[size_t(o)]) / dstSpan[size_t(o)];
            values[size_t(o)] = uint16_t(std::lround(std::clamp(t, 0.0, 1.0) * 65535.0));
        }
        table->SetGridPoint(int64_t(node), values.data());
        if (progress && (node & 0xFFF) == 0) progress->SetProgress(double(node) / double(nodes));
    }

    if (progress) progress->SetProgress(1.0);
    return LinkProfileAround(table.Get(), srcType, dstType, description);
}

TKRefPtr<TKICCProfileLink> TKMakeCurveLinkProfile(uint32_t type, const std::vector<TKVector>& curves,
                                                  const TKString& description) {
    const int32_t channels = int32_t(curves.size());
    if (channels < 1 || channels > kMaxLutChannels) TKThrowMsg(ArgErr, "a curve link has 1 to 15 channels");
    const uint32_t device = DeviceSide(int32_t(type), channels);
    const int32_t entries = curves.front().GetDim();
    if (entries < 2 || entries > 4096) TKThrowMsg(ArgErr, "a curve has 2 to 4096 entries");
    for (const TKVector& curve : curves) {
        if (curve.GetDim() != entries) TKThrowMsg(ArgErr, "the curves of a link have one length");
        for (int32_t i = 0; i < entries; ++i)
            if (!std::isfinite(curve[i])) TKThrowMsg(ArgErr, "a curve value is not a number");
    }
    // The curves go in the input tables; a grid of two nodes per axis and the output tables are
    // the identity, so the profile applies exactly the curves, channel by channel.
    auto table = TKMakeRef<TKICCLutTag>(TKICCSig("mft2"), TKICCSig("A2B0"));
    table->SetupLut16(channels, channels, entries, 2, 2);
    // A gray curve maps ink to ink; the table maps ICC device values (0 black), so it is read
    // backwards and turned upside down.
    const bool gray = device == TKGraySpace;
    for (int32_t c = 0; c < channels; ++c) {
        for (int32_t i = 0; i < entries; ++i) {
            const double value = gray ? 1.0 - curves[size_t(c)][entries - 1 - i] : curves[size_t(c)][i];
            table->SetInputCurvePoint(c, i, uint16_t(std::lround(std::clamp(value, 0.0, 1.0) * 65535.0)));
        }
        table->SetOutputCurvePoint(c, 1, 0xFFFF);
    }
    std::vector<uint16_t> values(static_cast<size_t>(channels));
    for (uint32_t node = 0; node < (1u << channels); ++node) {
        for (int32_t c = 0; c < channels; ++c) values[size_t(c)] = (node >> (channels - 1 - c)) & 1u ? 0xFFFF : 0;
        table->SetGridPoint(int64_t(node), values.data());
    }
    return LinkProfileAround(table.Get(), device, device, description);
}
