// Names, help text and the user-interface flag functions of the exception modes.
#include "separation/TKColorExceptionModes.h"

#include "color/TKColors.h"

namespace {

constexpr const char* kNames[32] = {
    "PureBlack",      "BlackOverprint",   "LinearizeGray",    "IgnoreGray",       "FullCMY",
    "PurePrimaries",  "FullRGB",          "PureWhite",        "Duplex",           "Triplex",
    "FullBlack",      "Purify",           "PureSecondaries",  "LimitPrimaries",   "PreserveZeroBlack",
    "TriplexBelowTAC", "ClipToEdge",      "Preserve100Black", "FullBlackToBlack", "FilterExceptions",
    "PureC",          "PureM",            "PureY",            "PureMY",           "PureCY",
    "PureCM",         "MaxCMY",           "MaxRGB",           "AutoOn",           "AutoOff",
    "PreserveTVI",    "NoLinearization"};

constexpr const char* kHelp =
    "PureBlack(1) + BlackOverprint(2) + LinearizeGray(4)|IgnoreGray(8)|PureGray(12) + PureCMY(16) + "
    "PurePrimaries(32) + PureRGB(64) + PureWhite(128) + Duplex(256) + Triplex(512) + FullBlack(1024) + "
    "Purify(2048) + PureSecondaries(4096) + LimitPrimaries(8192) + PreserveZeroBlack(16384) + "
    "TriplexBelowTAC(32768) + ClipToEdge(65536) + Preserve100Black(131072) + MaxSecondaries(262144) + "
    "FilterExceptions(524288)";

bool Has(uint32_t mode, uint32_t flags) { return (mode & flags) != 0; }

int32_t Channels(uint32_t type) { return GetChannelCount(type); }

}  // namespace

const char* TKExceptionModeName(uint32_t flag) {
    if (flag == 0) return "None";
    if ((flag & (flag - 1)) != 0) return "Unknown";
    int32_t bit = 0;
    while ((flag >> bit) != 1) ++bit;
    return kNames[bit];
}

const char* TKExceptionModeHelp() { return kHelp; }

uint32_t TKAllowedExceptionModes(uint32_t mode, uint32_t srcType, uint32_t dstType, int32_t intent) {
    const int32_t nS = Channels(srcType), nD = Channels(dstType);
    uint32_t allowed = 13;
    if (nS >= 3 && nD >= 3) {
        if (Has(mode, kTKFilterExceptions))
            allowed |= nD < 5 ? 0xFF0107Du : 0xFF0103Du;
        else
            allowed |= nD < 5 ? 0xC00107Du : 0xC00103Du;
    }
    if (nS >= 4 && nD >= 3) {
        allowed |= 0x40000u;
        if (nD > 3) allowed |= 0x2E702u;
    }
    if (IsInkSpace(srcType) && IsInkSpace(dstType)) allowed |= 0x40000000u;
    // The other intents map paper white to paper white by themselves; the absolute one keeps
    // the source paper's colour, so forcing white to white is a choice only there.
    if (intent == 3) allowed |= kTKPureWhite;
    return allowed | 0x30090800u;
}

uint32_t TKImpliedExceptionModes(uint32_t mode, uint32_t, uint32_t, int32_t) {
    uint32_t implied = 0;
    if (!Has(mode, kTKFilterExceptions)) {
        if (Has(mode, kTKTriplex)) implied |= 0x1100u;
        if (Has(mode, kTKDuplex)) implied |= 37u;
        if (Has(mode, kTKPureSecondaries)) implied |= 0x3800020u;
        const int mixtures = Has(mode, kTKPureMY) + Has(mode, kTKPureCY) + Has(mode, kTKPureCM);
        if (mixtures >= 2) implied |= kTKPurePrimaries;
        if (Has(mode | implied, kTKPurePrimaries)) implied |= 0x700000u;
        if (Has(mode, kTKPureMY)) implied |= 0x600000u;
        if (Has(mode, kTKPureCY)) implied |= 0x500000u;
        if (Has(mode, kTKPureCM)) implied |= 0x300000u;
    } else {
        if (Has(mode, kTKTriplex)) implied |= kTKDuplex;
        if (Has(mode, kTKDuplex)) implied |= kTKLinearizeGray;
    }
    if (Has(mode | implied, 0x700004u)) implied |= kTKPureWhite;
    if (Has(mode, kTKFullRGB)) implied |= kTKMaxRGB;
    if (Has(mode, kTKFullCMY)) implied |= kTKMaxCMY;
    return implied;
}

uint32_t TKSettableExceptionModes(uint32_t mode, uint32_t srcType, uint32_t dstType, int32_t intent) {
    return TKAllowedExceptionModes(mode, srcType, dstType, intent) & ~TKImpliedExceptionModes(mode, srcType, dstType, intent);
}

uint32_t TKEffectiveExceptionModes(uint32_t mode, uint32_t srcType, uint32_t dstType, int32_t intent) {
    uint32_t effective = mode & TKSettableExceptionModes(mode, srcType, dstType, intent);
    effective |= TKImpliedExceptionModes(effective, srcType, dstType, intent);
    if ((effective & 0x700000u) == 0x700000u) effective |= kTKPurePrimaries;
    if ((effective & 0x3800000u) == 0x3800000u) effective |= kTKPureSecondaries;
    if (IsInkSpace(srcType) && Has(effective, kTKPurePrimaries) && Has(effective, kTKMaxCMY)) effective |= kTKFullCMY;
    return effective;
}
