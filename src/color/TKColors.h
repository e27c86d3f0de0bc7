// Colour types: the 32-bit signatures that say what the values of a vector mean, and the
// pure rules that derive channel counts, classes, ranges and names from a signature.
#pragma once

#include <cstdint>

#include "foundation/TKString.h"
#include "numeric/TKVector.h"

// Builds a signature from four characters, first character in the most significant byte.
constexpr uint32_t TKColorSig(const char (&text)[5]) {
    return (uint32_t(uint8_t(text[0])) << 24) | (uint32_t(uint8_t(text[1])) << 16) |
           (uint32_t(uint8_t(text[2])) << 8) | uint32_t(uint8_t(text[3]));
}

// The named colour types. Device types with 1 to 15 channels ("1CLR".."FCLR") and the
// base-36 families "mc.." and "nm.." are built by GetDeviceType / GetNormType.
enum TKColorSpace : uint32_t {
    TKNoSpace = 0,
    TKCIEClassSpace = TKColorSig("CIE "),
    TKDevClassSpace = TKColorSig("DCS "),
    TKOtherClassSpace = TKColorSig("OTHR"),
    TKNormClassSpace = 0x6E6D0000u,  // "nm" followed by two zero bytes
    TKXYZSpace = TKColorSig("XYZ "),
    TKXYZNSpace = TKColorSig("XYZN"),
    TKLabSpace = TKColorSig("Lab "),
    TKLabXSpace = TKColorSig("LabX"),
    TKLChSpace = TKColorSig("LCh "),
    TKLuvSpace = TKColorSig("Luv "),
    TKLChuSpace = TKColorSig("LChu"),
    TKYxySpace = TKColorSig("Yxy "),
    TKYuvSpace = TKColorSig("Yuv "),
    TKJabSpace = TKColorSig("Jab "),
    TKJChSpace = TKColorSig("JCh "),
    TKLcsSpace = TKColorSig("Lcs "),
    TKLcshSpace = TKColorSig("Lcsh"),
    TKKelvinSpace = TKColorSig("kelv"),
    TKReflSpace = TKColorSig("refl"),
    TKTranSpace = TKColorSig("tran"),
    TKEmisSpace = TKColorSig("emis"),
    TKDensSpace = TKColorSig("dens"),
    TKCMYKDensSpace = TKColorSig("DENS"),
    TKRGBSpace = TKColorSig("RGB "),
    TKHSVSpace = TKColorSig("HSV "),
    TKHLSSpace = TKColorSig("HLS "),
    TKGraySpace = TKColorSig("GRAY"),
    TKCMYSpace = TKColorSig("CMY "),
    TKCMYKSpace = TKColorSig("CMYK"),
    TK1CLRSpace = TKColorSig("1CLR"),
    TK2CLRSpace = TKColorSig("2CLR"),
    TK3CLRSpace = TKColorSig("3CLR"),
    TK4CLRSpace = TKColorSig("4CLR"),
};

// The class of a colour type; 0 for a signature that is not one of ours.
enum TKColorClass : int32_t {
    TKNoClass = 0,
    TKCIEClass = 1,
    TKDeviceClass = 2,
    TKOtherClass = 3,
    TKNormClass = 4,
};

// Spectral types sample 380 to 730 nm in 10 nm steps.
constexpr int32_t kTKSpectralChannels = 36;
constexpr int32_t kTKSpectralStartNM = 380;
constexpr int32_t kTKSpectralStepNM = 10;
// "mc.." and "nm.." carry two base-36 digits: at most 35 * 36 + 35 channels.
constexpr int32_t kTKMaxBase36Channels = 1295;

// --- Channel counts and classes -------------------------------------------------------------

int32_t GetChannelCount(uint32_t type);
TKColorClass GetColorClass(uint32_t type);
bool IsCIESpace(uint32_t type);
bool IsDeviceSpace(uint32_t type);
bool IsKnownSpace(uint32_t type);

// n channels to a device type: 0 -> 0, 1 "GRAY", 2 "2CLR", 3 "CMY ", 4 "CMYK", 5..15 "nCLR",
// 16..1295 "mc" with two base-36 digits; more raises DimMismatch.
uint32_t GetDeviceType(int32_t channels);
// As GetDeviceType, but 1..4 give "1CLR", "2CLR", "3CLR", "CMYK".
uint32_t GetColorType(int32_t channels);
// As GetDeviceType, but 1..4 give "1CLR".."4CLR".
uint32_t GetPureColorType(int32_t channels);
// "nm" with two base-36 digits; more than 1295 raises DimMismatch.
uint32_t GetNormType(int32_t channels);

bool IsInkSpace(uint32_t type);
bool IsMultiChannel(uint32_t type);
bool IsRelativeSpace(uint32_t type);
bool IsSpectral(uint32_t type);
bool IsSpectralOrDensity(uint32_t type);
bool IsClassMarker(uint32_t type);
bool IsPolarType(uint32_t type);

uint32_t GetPolarType(uint32_t type, uint32_t fallback);
uint32_t GetRectType(uint32_t type, uint32_t fallback);

bool IsSameClass(uint32_t a, uint32_t b);
bool IsCompatible(uint32_t a, uint32_t b);
bool IsConvertible(uint32_t a, uint32_t b);

// --- Ranges -----------------------------------------------------------------------------------

// Range modes: the real range, the 8-bit / ICC v4 encoding, the 16-bit legacy encoding.
enum TKRangeMode : int32_t { kTKRangeReal = 0, kTKRange8Bit = 1, kTKRange16Legacy = 2 };

double GetChannelMin(uint32_t type, int32_t channel);
double GetChannelMax(uint32_t type, int32_t channel, int32_t mode = kTKRangeReal);
double GetMaxOfAll(uint32_t type);

// --- Names --------------------------------------------------------------------------------------

// The shown name: "Lab", "XYZ-Norm", "mc1A", ...; an unknown signature shows its printable
// characters without blanks, or "None".
TKString GetTypeName(uint32_t type);

// --- Colours of a type ---------------------------------------------------------------------------

// Channel minima and maxima as vectors of the type; a mode other than 0, 1 or 2 is ArgErr.
TKVector GetMinVector(uint32_t type, int32_t mode = kTKRangeReal);
TKVector GetMaxVector(uint32_t type, int32_t mode = kTKRangeReal);
// The white of a type: D50 for the CIE types, full scale for RGB, else each channel at its minimum.
TKVector GetWhite(uint32_t type);
// The black of a type; `kind` picks which inks stand at their maximum for ink types:
// 3 the first three, 1 the first four, 2 the fourth alone, otherwise all of them.
TKVector GetBlack(uint32_t type, int32_t kind = 0);
// A colour that shows one channel; empty for a channel out of range.
TKVector GetPrimary(uint32_t type, int32_t channel);

// --- Text forms ---------------------------------------------------------------------------------

// The name of a channel: style 1 the long names ("Red", "MCH_0"), style 2 and above the short
// ones ("R", "MCH_1"), style 0 the generic "<type>_<letter or number>"; empty out of range.
TKString GetChannelName(uint32_t type, int32_t channel, int32_t style);
// The type whose shown name is the text, or stands in it between blanks; 0 if none.
uint32_t GetTypeFromName(const char* text);
// The same search, also telling where the name stands in the text (byte offset and length).
uint32_t FindTypeNameInText(const char* text, int32_t* position, int32_t* length);

enum TKColorTextFlags : int32_t {
    kTKColorTextWithType = 1,  // append the shown name of the type
    kTKColorTextAligned = 2,   // fixed-width numbers
    kTKColorTextCommas = 4,    // separate values with ","
};
// The values of a colour as text. A given `format` must hold exactly one floating-point
// conversion (ArgErr otherwise) and is applied to each value.
TKString GetColorText(const TKVector& colour, const char* format = nullptr, int32_t flags = 0);
// Reads a colour, a light source ("D65", "D50UV", "A", "F11", "Equal") or a white from text.
// With `strict`, text that names no colour is WrongDataType and too few numbers BufferTooSmall;
// without, both give an empty colour.
void GetColorFromText(TKVector& result, uint32_t type, const char* text, bool strict);
// A plain colour word ("Red", "Gray", ...) for a CIE colour; empty for other colours.
const char* GetColorNameOf(const TKVector& colour);
