// The mode word of the exception logic: one flag per colour that is to stay pure, the names of
// the flags, the help text hosts show, and the four functions that tell a user interface which
// flags make sense for a pair of colour types.
#pragma once

#include <cstdint>

enum TKExceptionMode : uint32_t {
    kTKPureBlack = 0x00000001,
    kTKBlackOverprint = 0x00000002,
    kTKLinearizeGray = 0x00000004,
    kTKIgnoreGray = 0x00000008,
    kTKFullCMY = 0x00000010,
    kTKPurePrimaries = 0x00000020,
    kTKFullRGB = 0x00000040,
    kTKPureWhite = 0x00000080,
    kTKDuplex = 0x00000100,
    kTKTriplex = 0x00000200,
    kTKFullBlack = 0x00000400,
    kTKPurify = 0x00000800,
    kTKPureSecondaries = 0x00001000,
    kTKLimitPrimaries = 0x00002000,
    kTKPreserveZeroBlack = 0x00004000,
    kTKTriplexBelowTAC = 0x00008000,
    kTKClipToEdge = 0x00010000,
    kTKPreserve100Black = 0x00020000,
    kTKFullBlackToBlack = 0x00040000,
    kTKFilterExceptions = 0x00080000,
    kTKPureC = 0x00100000,
    kTKPureM = 0x00200000,
    kTKPureY = 0x00400000,
    kTKPureMY = 0x00800000,
    kTKPureCY = 0x01000000,
    kTKPureCM = 0x02000000,
    kTKMaxCMY = 0x04000000,
    kTKMaxRGB = 0x08000000,
    kTKAutoOn = 0x10000000,
    kTKAutoOff = 0x20000000,
    kTKPreserveTVI = 0x40000000,
    kTKNoLinearization = 0x80000000,
};

// Groups of flags the logic tests together.
constexpr uint32_t kTKPureGray = kTKLinearizeGray | kTKIgnoreGray;
// Bits that change nothing on their own: host markers, the filter path and the purifying path.
constexpr uint32_t kTKInertModes = 0xB0080800u;
constexpr uint32_t kTKOneInkModes = kTKPurePrimaries | kTKPureC | kTKPureM | kTKPureY;  // 0x700020
constexpr uint32_t kTKTwoInkModes = kTKPureSecondaries | kTKPureMY | kTKPureCY | kTKPureCM;  // 0x3801000

// The name of one flag; "None" for 0 and "Unknown" for anything that is not exactly one flag.
const char* TKExceptionModeName(uint32_t flag);
// The help text that documents the flags to hosts (with the older names of three of them).
const char* TKExceptionModeHelp();

// The flags that make sense from `srcType` to `dstType` under a rendering intent.
uint32_t TKAllowedExceptionModes(uint32_t mode, uint32_t srcType, uint32_t dstType, int32_t intent);
// What a set of flags forces on.
uint32_t TKImpliedExceptionModes(uint32_t mode, uint32_t srcType, uint32_t dstType, int32_t intent);
// The flags a user may still choose: allowed but not implied.
uint32_t TKSettableExceptionModes(uint32_t mode, uint32_t srcType, uint32_t dstType, int32_t intent);
// The flags in effect: the requested settable ones with what they imply, completed to the
// group flags their members add up to.
uint32_t TKEffectiveExceptionModes(uint32_t mode, uint32_t srcType, uint32_t dstType, int32_t intent);
