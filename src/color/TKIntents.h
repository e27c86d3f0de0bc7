// Rendering intents: the integer codes, their names, and the XYZ stage each code stands for.
// 0 to 3 are the ICC intents; 20 stands for the intent in a profile's header; 21 to 25 are
// custom intents configured in the global data base.
#pragma once

#include <cstdint>

#include "color/TKXYZTrafoBase.h"
#include "foundation/TKString.h"

enum TKRenderingIntent : int32_t {
    kTKPerceptual = 0,
    kTKRelativeColorimetric = 1,
    kTKSaturation = 2,
    kTKAbsoluteColorimetric = 3,
    kTKBlackCompensationPerceptual = 9,
    kTKBlackCompensation = 10,
    kTKAbsolutePerceptual = 11,
    kTKAbsLightenerCompensation = 12,
    kTKGamutCompression = 13,
    kTKPerceptualCompression = 14,
    kTKRelativeCompression = 15,
    kTKAbsoluteCompression = 16,
    kTKTKRelative = 17,
    kTKTKAbsolute = 18,
    kTKRelativeLightness = 19,
    kTKHeaderIntent = 20,
    kTKCustomRendering1 = 21,
    kTKCustomRendering5 = 25,
    kTKMinimumBlackCompression = 26,
    kTKMinimumWhiteCompression = 27,
    kTKMinimumCompression = 28,
    kTKXYZScaling = 29,
    kTKTestCompression = 30,
};

// The name of an intent ("Perceptual", "CustomRendering3", ...); "Unknown RI" for a code
// without one (4 to 8, 20, and everything outside 0..30).
const char* GetIntentName(int32_t code);
// The code of a name as GetIntentName gives it (case-sensitive); -1 for any other text.
int32_t GetIntentCode(const char* name);
// All names in code order, separated by tabs.
TKString GetIntentNameList();
// Whether a code names a custom intent (21 to 25).
bool IsCustomIntent(int32_t code);

// A new XYZ stage for an intent, black and white at their defaults (D50 white, zero black)
// until the caller sets its points. A code without a stage of its own gives the copy stage.
TKRefPtr<TKXYZTrafoBase> CreateXYZStage(int32_t code, bool smoothBlack);
